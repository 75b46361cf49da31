#pragma once

#include <string>

namespace OrvelVersion
{

/// What `program --version` prints: the program, the version of the tree and the revision that it was built from, which
/// the daemon prints too.
std::string VersionText(const std::string& program);

} // namespace OrvelVersion
