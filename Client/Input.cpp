#include "Input.h"

#include "Failure.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace OrvelClient
{

namespace
{

constexpr std::size_t MaxLine = 65536; // bytes; whoever sends more without a newline sends no frames

} // namespace

bool LineInput::Next(std::string& line)
{
    while (waiting.empty() && !ended)
    {
        if (lines.Pending() > MaxLine)
        {
            throw Failure(Status::NotUnderstood, "line " + std::to_string(number + 1) + " does not end");
        }
        if (!Read())
        {
            return false;
        }
    }
    if (waiting.empty())
    {
        return false;
    }
    line = std::move(waiting.front());
    waiting.pop_front();
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
    const auto add = [this](const std::string& line) { waiting.push_back(line); };
    ended = size == 0;
    if (ended)
    {
        lines.End(add);
    }
    else if (size > 0)
    {
        lines.Take({buffer.data(), static_cast<std::size_t>(size)}, add);
    }
    return true;
}

} // namespace OrvelClient
