#pragma once

#include <fcntl.h>
#include <sys/socket.h>

namespace System
{

/// Owns a file descriptor. What works on one is asked for the number.
class Descriptor
{
public:
    Descriptor() = default;

    /// Takes over what a system call has returned: -1 is no descriptor.
    explicit Descriptor(int returned)
        : number(returned)
    {
    }

    ~Descriptor()
    {
        Close();
    }

    Descriptor(Descriptor&& other) noexcept
        : number(other.Release())
    {
    }

    Descriptor& operator=(Descriptor&& other) noexcept;

    bool IsOpen() const
    {
        return number != -1;
    }

    /// -1 if there is none, which poll ignores.
    int Number() const
    {
        return number;
    }

    /// Also without a descriptor. Leaves errno as it is.
    void Close();

    /// Gives the descriptor to the caller.
    int Release();

private:
    int number = -1;
};

/// Throws std::system_error if the system has no pipe to give.
struct Pipe
{
    explicit Pipe(int flags = O_CLOEXEC);

    Descriptor reading;
    Descriptor writing;
};

/// A connection in both directions. Throws as Pipe.
struct SocketPair
{
    explicit SocketPair(int type = SOCK_STREAM | SOCK_CLOEXEC);

    Descriptor one;
    Descriptor other;
};

} // namespace System
