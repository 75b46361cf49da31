#include "Judgement.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <set>

namespace
{

constexpr unsigned PeriodsToEnd = 2; // begun after the one that runs
const std::set<std::string> Sleeps{"1ms", "10ms", "250ms"};

using Problems = std::vector<std::string>;

std::set<int> Statuses(const Report& report, const Expectation& expectation)
{
    constexpr int NotLoaded = 127;
    constexpr int Interrupted = 128 + 2; // SIGINT before its handler stands
    constexpr int Aborted = 128 + 6;
    if (expectation.Has("any"))
    {
        constexpr int Crashed = 128 + 11;
        std::set<int> statuses{0, NotLoaded, Interrupted, Aborted, expectation.Has("crash") ? Crashed : 0};
        statuses.insert(report.ends.begin(), report.ends.end());
        return statuses;
    }
    if (const std::string status = expectation.Of("ends"); !status.empty())
    {
        return {std::stoi(status)};
    }
    return {expectation.Has("ends")     ? *report.ends.begin()
            : expectation.Has("dies")   ? Aborted
            : expectation.Has("killed") ? Interrupted
                                        : 0};
}

std::vector<std::string> ExpectedLines(const Expectation& expectation, const Report& report, const Fault& fault)
{
    std::vector<std::string> lines;
    for (unsigned call = 0; call < report.struck; ++call)
    {
        for (std::string line : expectation.lines)
        {
            if (const std::size_t text = line.find("%m"); text != std::string::npos)
            {
                line.replace(text, 2, strerror(fault.error));
            }
            lines.push_back(line);
        }
    }
    return lines;
}

// Leaves out the lines that the end may bring: on a busy machine the first report of an LED can come after the link has
// closed.
std::vector<std::string> LinesOf(const Report& report, const Expectation& expectation)
{
    std::vector<std::string> lines = report.lines;
    const auto isLate = [](const std::string& line) { return line.rfind("ERROR Leds Failed to transmit ", 0) == 0; };
    if (expectation.Ends())
    {
        lines.erase(std::remove_if(lines.begin(), lines.end(), isLate), lines.end());
    }
    return lines;
}

bool Match(const std::vector<std::string>& patterns, const std::vector<std::string>& lines)
{
    return std::equal(patterns.begin(), patterns.end(), lines.begin(), lines.end(),
                      [](const std::string& pattern, const std::string& line)
                      { return fnmatch(pattern.c_str(), line.c_str(), 0) == 0; });
}

// Removes the frames from before the start. Returns how many there were.
std::size_t TakeStale(std::vector<std::string>& received)
{
    const auto isStale = [](const std::string& frame) { return frame.rfind("ee ", 0) == 0; };
    const auto first = std::remove_if(received.begin(), received.end(), isStale);
    const auto count = static_cast<std::size_t>(received.end() - first);
    received.erase(first, received.end());
    return count;
}

// Whether everything that was received had been sent, in this order and once.
bool InOrder(const Delivery& delivery)
{
    auto sent = delivery.sent.begin();
    return std::all_of(delivery.received.begin(), delivery.received.end(),
                       [&](const std::string& message)
                       {
                           sent = std::find(sent, delivery.sent.end(), message);
                           if (sent == delivery.sent.end())
                           {
                               return false;
                           }
                           ++sent;
                           return true;
                       });
}

void JudgeDeliveries(const Report& report, const Expectation& expectation, Problems& problems)
{
    for (auto [what, delivery] : report.deliveries)
    {
        if (what == "to" && (TakeStale(delivery.received) > 0) != expectation.Has("stale"))
        {
            problems.emplace_back("what was left before the start is not treated as expected");
        }
        const std::size_t missing = delivery.sent.size() - std::min(delivery.sent.size(), delivery.received.size());
        const std::size_t expected = expectation.Of("drops") == what ? 1 : 0;
        if (!InOrder(delivery) || (missing != expected && expectation.Of("loses") != what))
        {
            problems.push_back(what + ": sent " + Joined(delivery.sent, ", ") + "; received " +
                               Joined(delivery.received, ", "));
        }
    }
}

} // namespace

std::string Joined(const std::vector<std::string>& texts, const char* separator)
{
    std::string joined;
    for (const std::string& text : texts)
    {
        joined += (joined.empty() ? "" : separator) + text;
    }
    return joined;
}

std::vector<std::string> Judge(const Report& report, const Cell& cell, const Expectation& expectation)
{
    Problems problems;
    const auto require = [&problems](bool holds, const std::string& problem)
    {
        if (!holds)
        {
            problems.push_back(problem);
        }
    };
    require(!report.hung, "it hangs");
    require(Statuses(report, expectation).count(report.status) > 0, "status " + std::to_string(report.status));
    if ((!expectation.Has("on") && !expectation.Ends()) || expectation.Has("lasts"))
    {
        return problems;
    }
    require(report.sleepsToEnd <= PeriodsToEnd, std::to_string(report.sleepsToEnd) + " periods until the end");
    for (const auto& [point, calls] : report.calls)
    {
        const bool isKnown = point.call != "clock_nanosleep" || Sleeps.count(point.object) > 0;
        require(isKnown, "it sleeps for " + point.object);
    }
    require(report.threadsAtExit == 0, std::to_string(report.threadsAtExit) + " threads at the end");
    require(Joined(report.left, ",") == expectation.Of("leaves"), "left: " + Joined(report.left, ","));
    require(!expectation.Has("again") || report.callBehind == cell.point, "the call is not made again");
    require(expectation.Has("unlogged") ||
                Match(ExpectedLines(expectation, report, Fault(cell.fault)), LinesOf(report, expectation)),
            "lines: " + Joined(report.lines, "; "));
    if (expectation.Has("on"))
    {
        JudgeDeliveries(report, expectation, problems);
    }
    return problems;
}
