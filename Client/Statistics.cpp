#include "Statistics.h"

#include "Description.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"
#include "Knx/Telegram.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>
#include <vector>

namespace OrvelClient
{

namespace
{

// The most frequent first: "  groups    1/2/3 120  1/2/4 7  and 3 more"
std::string Row(const char* title, const std::map<std::string, uint64_t>& counts)
{
    constexpr std::size_t shown = 5;
    if (counts.empty())
    {
        return "";
    }
    std::vector<std::pair<std::string, uint64_t>> sorted(counts.begin(), counts.end());
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& one, const auto& other) { return one.second > other.second; });
    std::array<char, 32> head{};
    std::snprintf(head.data(), head.size(), "  %-9s", title);
    std::string row = head.data();
    for (std::size_t index = 0; index < std::min(shown, sorted.size()); ++index)
    {
        row += " " + sorted[index].first + " " + std::to_string(sorted[index].second) +
               (index + 1 < std::min(shown, sorted.size()) ? "," : "");
    }
    if (sorted.size() > shown)
    {
        row += " and " + std::to_string(sorted.size() - shown) + " more";
    }
    return row + "\n";
}

} // namespace

void Statistics::Add(const Message& message)
{
    ++kinds[KindOf(message)];
    const Knx::CemiMessage cemi = TakenApart(message);
    if (!WasOnBus(cemi))
    {
        return;
    }
    ++telegrams;
    onLine += Knx::Telegram::TimeOnLine(message.frame);
    if (cemi.apci)
    {
        ++services[Knx::ServiceName(cemi)];
    }
    if (cemi.IsGroupAddressed())
    {
        ++groups[Knx::Destination(cemi)];
    }
    ++sources[Knx::IndividualAddress(*cemi.source)];
}

std::string Statistics::Report(std::string_view stamp, std::chrono::nanoseconds passed)
{
    const double seconds = std::max(std::chrono::duration<double>(passed).count(), 1e-3);
    const double load = std::chrono::duration<double>(onLine).count() / seconds;
    std::array<char, 120> head{};
    std::snprintf(head.data(), head.size(), " %llu telegrams, %.1f/s, bus load %.1f %%\n",
                  static_cast<unsigned long long>(telegrams), static_cast<double>(telegrams) / seconds, load * 100);
    std::string report = std::string(stamp) + head.data() + Row("kinds", kinds) + Row("services", services) +
                         Row("groups", groups) + Row("sources", sources);
    *this = Statistics();
    return report;
}

} // namespace OrvelClient
