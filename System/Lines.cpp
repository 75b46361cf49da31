#include "System/Lines.h"

#include <utility>

namespace System
{

void Lines::Take(std::string_view bytes, const OnLine& onLine)
{
    const auto keep = [this](std::string_view piece) { pending += piece.substr(0, longest - pending.size()); };
    for (std::size_t end = bytes.find('\n'); end != std::string_view::npos; end = bytes.find('\n'))
    {
        keep(bytes.substr(0, end));
        bytes.remove_prefix(end + 1);
        onLine(std::exchange(pending, {}));
    }
    keep(bytes);
}

void Lines::End(const OnLine& onLine)
{
    if (!pending.empty())
    {
        onLine(std::exchange(pending, {}));
    }
}

} // namespace System
