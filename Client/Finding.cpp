#include "Finding.h"

#include <array>
#include <cstdio>

namespace OrvelClient
{

std::string LineOf(const Finding& finding)
{
    static const std::array<const char*, 3> levels{"ok", "warn", "fail"};
    std::array<char, 80> begin{};
    std::snprintf(begin.data(), begin.size(), "%-4s  %-22s ", levels.at(static_cast<std::size_t>(finding.level)),
                  finding.subject.substr(0, 60).c_str());
    return begin.data() + finding.text + "\n";
}

} // namespace OrvelClient
