#pragma once

#include <stdexcept>
#include <string>

namespace OrvelClient
{

/// The exit statuses of orvelctl, as its manual page lists them.
enum class Status
{
    Done = 0,
    Failed = 1, ///< something else, as the text says; `check`: the daemon would not start
    WrongOption = 2,
    NotUnderstood = 3, ///< input: digits, a line of a log, a capture, a group, the file with the names
    WrongLength = 4,   ///< a frame of no byte, or of more than the queue takes
    NotThere = 5,      ///< the queue or the LED: no daemon runs; or the group
    NotAllowed = 6,    ///< to use the queue or the LED
    NoRoom = 7,        ///< the queue is full
    Interrupted = 8,   ///< by a signal, before all was sent or as many messages had come as were asked for
    NotConfirmed = 9,  ///< the telegram was not sent, or nobody says that it was
    NoAnswer = 10      ///< nobody has answered a read
};

/// The reason why a command ends early: one line for the person, and the exit status.
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

} // namespace OrvelClient
