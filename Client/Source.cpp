#include "Source.h"

#include "Failure.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace OrvelClient
{

namespace
{

constexpr std::size_t Portion = 65536;   // bytes of a read
constexpr std::size_t MaxLine = 1048576; // bytes; nothing that is read here has longer ones

} // namespace

Source::Source(const std::string& file, const StopSignals& stopSignals)
    : stop(stopSignals)
    , name(file == "-" ? "standard input" : file)
    , descriptor(file == "-" ? STDIN_FILENO : open(file.c_str(), O_RDONLY | O_CLOEXEC))
{
    if (descriptor == -1)
    {
        throw Failure(Status::Failed, "cannot read " + name + ": " + strerror(errno));
    }
}

Source::~Source()
{
    if (descriptor != STDIN_FILENO)
    {
        close(descriptor);
    }
}

std::string_view Source::Ahead(std::size_t size)
{
    while (end - begin < size && Read())
    {
    }
    return {buffer.data() + begin, end - begin};
}

bool Source::Skip(std::size_t size)
{
    while (size > 0)
    {
        const std::size_t taken = std::min(size, Ahead(1).size());
        if (taken == 0)
        {
            return false;
        }
        begin += taken;
        size -= taken;
    }
    return true;
}

bool Source::Line(std::string_view& line)
{
    std::size_t searched = 0;
    for (;;)
    {
        const char* const first = buffer.data() + begin;
        const std::size_t size = end - begin;
        const void* const newline = size == searched ? nullptr : std::memchr(first + searched, '\n', size - searched);
        if (newline != nullptr)
        {
            const auto length = static_cast<std::size_t>(static_cast<const char*>(newline) - first);
            line = {first, length};
            begin += length + 1;
            hasLineEnded = true;
            return true;
        }
        if (size > MaxLine)
        {
            throw Failure(Status::NotUnderstood, "has a line that does not end");
        }
        searched = size;
        if (!Read())
        {
            line = {buffer.data() + begin, size};
            begin = end;
            hasLineEnded = false;
            return size > 0;
        }
    }
}

// False at the end of the file.
bool Source::Read()
{
    if (hasFileEnded)
    {
        return false;
    }
    if (begin > 0)
    {
        std::memmove(buffer.data(), buffer.data() + begin, end - begin);
        end -= begin;
        begin = 0;
    }
    if (buffer.size() - end < Portion)
    {
        buffer.resize(end + Portion);
    }
    beforeWaiting();
    for (;;)
    {
        std::array<pollfd, 2> set{{{descriptor, POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}}};
        poll(set.data(), set.size(), -1);
        if (set[1].revents != 0)
        {
            throw Failure(Status::Interrupted, "stopped before the end of the input");
        }
        const ssize_t size = read(descriptor, buffer.data() + end, buffer.size() - end);
        if (size >= 0)
        {
            hasFileEnded = size == 0;
            end += static_cast<std::size_t>(size);
            return size > 0;
        }
        if (errno != EINTR && errno != EAGAIN)
        {
            throw Failure(Status::Failed, "cannot read " + name + ": " + strerror(errno));
        }
    }
}

} // namespace OrvelClient
