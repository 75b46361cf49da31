#pragma once

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>

namespace OrvelPrepare
{

/// Why the daemon could not do its work, in one line, and the exit status that tells the kind: one of <sysexits.h>, whose
/// names systemd puts into the log.
class Failure : public std::runtime_error
{
public:
    Failure(int exitStatus, const std::string& text)
        : std::runtime_error(text)
        , status(exitStatus)
    {
    }

    int Status() const
    {
        return status;
    }

private:
    int status;
};

/// What went wrong with a file of the kernel, by errno.
inline std::string Because(const std::string& what)
{
    return what + ": " + strerror(errno) + "; \"orvelctl check\" says more";
}

} // namespace OrvelPrepare
