#pragma once

#include <cstddef>
#include <string>

namespace System
{

/// All of a file, which may be a pipe. Throws std::system_error with one line that names the file: also (file_too_large) for
/// more than `most` bytes.
std::string FileContent(const std::string& name, std::size_t most);

} // namespace System
