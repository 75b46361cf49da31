#pragma once

#include <stdexcept>
#include <string>

namespace OrvelGateway
{

/// The exit statuses of orvel-gateway, as its manual page lists them. Those that orvelctl has too mean the same there.
enum class Status
{
    Done = 0,   ///< stopped by a signal, or told what was asked for
    Failed = 1, ///< something else, as the text says
    WrongOption = 2,
    NotThere = 5,   ///< the directory of the socket
    NotAllowed = 6, ///< to use the queues, or to make the socket
    InUse = 9       ///< another gateway runs: it has the socket, or the queues
};

/// The reason why the gateway does not start, or ends: one line for the person, and the exit status.
class Failure : public std::runtime_error
{
public:
    Failure(Status exitStatus, const std::string& line)
        : std::runtime_error(line)
        , status(exitStatus)
    {
    }

    Status ExitStatus() const
    {
        return status;
    }

private:
    Status status;
};

} // namespace OrvelGateway
