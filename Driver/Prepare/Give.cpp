#include "Give.h"

#include "Failure.h"

#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

namespace OrvelPrepare
{

void Give(const std::string& file, const User& user, gid_t group, mode_t mode)
{
    if (chown(file.c_str(), user.id, group) == -1 || chmod(file.c_str(), mode) == -1)
    {
        throw Failure(EX_UNAVAILABLE, Because("cannot give the daemon " + file));
    }
}

} // namespace OrvelPrepare
