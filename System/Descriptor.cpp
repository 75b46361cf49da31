#include "System/Descriptor.h"

#include "System/ThrowErrno.h"

#include <unistd.h>

#include <array>
#include <utility>

namespace System
{

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept
{
    if (this != &other)
    {
        Close();
        number = other.Release();
    }
    return *this;
}

void Descriptor::Close()
{
    if (number != -1)
    {
        const int error = errno;
        close(Release());
        errno = error;
    }
}

int Descriptor::Release()
{
    return std::exchange(number, -1);
}

Pipe::Pipe(int flags)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), flags) == -1)
    {
        ThrowErrno("cannot make a pipe");
    }
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
}

SocketPair::SocketPair(int type)
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, type, 0, ends.data()) == -1)
    {
        ThrowErrno("cannot make a socket");
    }
    one = Descriptor(ends[0]);
    other = Descriptor(ends[1]);
}

} // namespace System
