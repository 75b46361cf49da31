#pragma once

#include "User.h"

#include <string>

namespace OrvelPrepare
{

/// Stands for the group that the file has.
constexpr gid_t SameGroup = static_cast<gid_t>(-1);

/// Makes the user the owner of a file of the kernel, with exactly this group and mode: an earlier daemon, as the owner, may
/// have opened it to others. Throws Failure.
void Give(const std::string& file, const User& user, gid_t group, mode_t mode);

} // namespace OrvelPrepare
