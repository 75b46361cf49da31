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
        lines.End(onLine);
        return false;
    }
    lines.Take({buffer.data(), static_cast<std::size_t>(size)}, onLine);
    return true;
}

} // namespace Simulator
