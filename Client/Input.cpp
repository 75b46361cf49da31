#include "Input.h"

#include "Failure.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace OrvelClient
{

namespace
{

constexpr std::size_t MaxLine = 65536; // bytes; whoever sends more without a newline sends no frames

} // namespace

bool LineInput::Next(std::string& line)
{
    std::size_t end = pending.find('\n');
    while (end == std::string::npos && !ended)
    {
        if (pending.size() > MaxLine)
        {
            throw Failure(Status::NotUnderstood, "line " + std::to_string(number + 1) + " does not end");
        }
        if (!Read())
        {
            return false;
        }
        end = pending.find('\n');
    }
    if (end == std::string::npos && pending.empty())
    {
        return false;
    }
    line = pending.substr(0, end);
    pending.erase(0, end == std::string::npos ? end : end + 1);
    ++number;
    return true;
}

// False when the program is to stop.
bool LineInput::Read()
{
    std::array<pollfd, 2> set{{{STDIN_FILENO, POLLIN, 0}, {stop.Descriptor(), POLLIN, 0}}};
    poll(set.data(), set.size(), -1);
    if (set[1].revents != 0)
    {
        return false;
    }
    std::array<char, 4096> buffer{};
    const ssize_t size = read(STDIN_FILENO, buffer.data(), buffer.size());
    if (size == -1 && errno != EINTR && errno != EAGAIN)
    {
        throw Failure(Status::Failed, std::string("cannot read standard input: ") + strerror(errno));
    }
    ended = size == 0;
    if (size > 0)
    {
        pending.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return true;
}

} // namespace OrvelClient
