#include "CommandInput.h"

#include <unistd.h>

#include <array>
#include <cerrno>

namespace Simulator
{

bool CommandInput::Read(const std::function<void(const std::string&)>& onLine)
{
    std::array<char, 4096> buffer{};
    const ssize_t size = read(descriptor, buffer.data(), buffer.size());
    if (size == -1 && (errno == EINTR || errno == EAGAIN))
    {
        return true;
    }
    if (size <= 0)
    {
        onLine(pending);
        return false;
    }
    pending.append(buffer.data(), static_cast<std::size_t>(size));
    for (std::size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n'))
    {
        onLine(pending.substr(0, end));
        pending.erase(0, end + 1);
    }
    return true;
}

} // namespace Simulator
