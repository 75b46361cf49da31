#pragma once

#include <sys/types.h>

namespace OrvelPrepare
{

/// Whose the daemon's devices and queues are to be.
struct User
{
    uid_t id;
    gid_t group; ///< that of the applications
};

} // namespace OrvelPrepare
