#pragma once

#include <string>

namespace OrvelVersion
{

/// What `program --version` prints: the program, the version of the tree and the revision that it was built from, which is
/// also what the daemon prints.
std::string VersionText(const std::string& program);

} // namespace OrvelVersion
