#pragma once

#include <cerrno>
#include <string>

namespace System
{

/// Throws std::system_error, a std::runtime_error that says "cannot do this: Permission denied" in one line. The error is
/// that of the last system call unless it is given.
[[noreturn]] void ThrowErrno(const std::string& what, int error = errno);

} // namespace System
