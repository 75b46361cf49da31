#include "StatusReport.h"

#include "Description.h"

#include "Orvel/Protocol.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;
using Object = nlohmann::ordered_json; // its members stay in the order in which they were added

// The gateway writes its counters each 10 s.
constexpr std::chrono::seconds OldestCounters{30};

std::string Joined(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
    {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

// Beside a certain one, the others are those of other boards.
const std::vector<RunningDaemons::Process>& Seen(const RunningDaemons& daemons)
{
    return daemons.certain.empty() ? daemons.possible : daemons.certain;
}

Finding DaemonFinding(const RunningDaemons& daemons)
{
    constexpr const char* subject = "daemon";
    if (daemons.certain.size() > 1)
    {
        std::vector<std::string> ids;
        for (const auto& process : daemons.certain)
        {
            ids.push_back(process.id);
        }
        return {Level::Failure, subject,
                "runs more than once, as the processes " + Joined(ids) + ": they take the link from each other"};
    }
    if (!daemons.certain.empty())
    {
        return {Level::Ok, subject, "is process " + daemons.certain.front().id};
    }
    if (!daemons.possible.empty())
    {
        return {Level::Ok, subject,
                "is process " + daemons.possible.front().id + " by its name; this user may not look into it"};
    }
    return {Level::Failure, subject,
            daemons.othersAreHidden ? "is not seen, but not every process is: run this as root" : "does not run"};
}

Finding GatewayFinding(const StatusReport::Gateway& gateway)
{
    constexpr const char* subject = "gateway";
    if (gateway.answers)
    {
        return {Level::Ok, subject, "answers at " + gateway.socket};
    }
    if (gateway.problem.empty())
    {
        return {Level::Ok, subject, "does not run: applications use the queues, one at a time"};
    }
    return {Level::Failure, subject, gateway.problem};
}

std::string LinkWord(uint16_t state)
{
    const Bytes message{ORVEL_LINK_STATE_CODE, static_cast<uint8_t>(state >> 8U), static_cast<uint8_t>(state & 0xFFU)};
    return NoticeText(message).substr(std::strlen("link "));
}

Finding LinkFinding(const std::optional<uint16_t>& state)
{
    constexpr const char* subject = "link";
    if (!state)
    {
        return {Level::Ok, subject, "is not known: only a gateway can tell it without taking the message"};
    }
    return {*state == ORVEL_LINK_STATE_USABLE ? Level::Ok : Level::Failure, subject, "is " + LinkWord(*state)};
}

Finding QueueFinding(const StatusReport::Queue& queue)
{
    switch (queue.error)
    {
    case 0:
        break;
    case ENOENT:
        return {Level::Failure, queue.name, "is not there"};
    case EACCES:
        return {Level::Warning, queue.name, "is not for this user: be root, or in the group orvel"};
    default:
        return {Level::Warning, queue.name, std::string("cannot be opened: ") + strerror(queue.error)};
    }
    const std::string text = std::to_string(queue.waiting) + " of " + std::to_string(queue.capacity) + " messages wait";
    if (queue.waiting < queue.capacity)
    {
        return {Level::Ok, queue.name, text};
    }
    return {Level::Warning, queue.name,
            text + (queue.name == ORVEL_CEMI_TO_LL_QUEUE ? ": the daemon does not take them"
                                                         : ": nobody reads them, and what comes is dropped")};
}

Finding LedsFinding(const StatusReport& report)
{
    constexpr const char* subject = "LEDs";
    std::vector<std::string> there;
    std::vector<std::string> missing;
    for (const auto& led : report.leds)
    {
        (led.isThere ? there : missing).push_back(led.name);
    }
    // cppcheck-suppress knownConditionTrueFalse ; it does not see what the loop adds to
    if (missing.empty())
    {
        return {Level::Ok, subject, Joined(there) + " are there"};
    }
    return {Level::Failure, subject,
            Joined(missing) + (!Seen(report.daemons).empty() ? " are lost: a restart of the daemon makes them anew"
                                                             : " are not there")};
}

std::string PlainNumber(double number)
{
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.15g", number);
    return text.data();
}

// A line of the report: values with the words behind them.
struct Row
{
    const char* subject;
    std::vector<std::pair<const char*, const char*>> values;
};

Findings CounterFindings(const StatusReport::Counters& counters)
{
    if (!counters.age)
    {
        return {{Level::Ok, "counters", "none: the gateway does not write " + counters.file + " (--metrics)"}};
    }
    static const std::vector<Row> rows{
        {"frames", {{"frames.from_bus", "from the bus"}, {"frames.to_bus", "to it"}}},
        {"requests",
         {{"requests.confirmed", "confirmed"},
          {"requests.refused", "refused"},
          {"requests.refused_without_link", "refused without a link"},
          {"requests.timed_out", "timed out"}}},
        {"programs",
         {{"programs", "connected"},
          {"refused_connections", "refused"},
          {"invalid_packets", "invalid packets"},
          {"lost_messages", "lost messages"}}},
        {"bus", {{"bus_load_percent", "% load"}, {"link_losses", "times without a link"}}},
    };
    Findings findings;
    for (const Row& row : rows)
    {
        std::vector<std::string> parts;
        for (const auto& [name, words] : row.values)
        {
            if (const auto value = counters.metrics.find(name); value != counters.metrics.end())
            {
                parts.push_back(PlainNumber(value->second) + " " + words);
            }
        }
        if (!parts.empty())
        {
            findings.push_back({Level::Ok, row.subject, Joined(parts)});
        }
    }
    if (*counters.age > OldestCounters)
    {
        findings.push_back({Level::Warning, "counters",
                            "are " + std::to_string(counters.age->count()) + " s old: " + counters.file +
                                " is not of the gateway that runs"});
    }
    return findings;
}

} // namespace

Findings FindingsOf(const StatusReport& report)
{
    Findings findings{DaemonFinding(report.daemons), GatewayFinding(report.gateway), LinkFinding(report.linkState)};
    for (const auto& queue : report.queues)
    {
        findings.push_back(QueueFinding(queue));
    }
    findings.push_back(LedsFinding(report));
    if (report.gateway.answers)
    {
        for (const Finding& finding : CounterFindings(report.counters))
        {
            findings.push_back(finding);
        }
    }
    return findings;
}

bool IsWell(const StatusReport& report)
{
    const Findings findings = FindingsOf(report);
    return std::all_of(findings.begin(), findings.end(),
                       [](const Finding& finding) { return finding.level == Level::Ok; });
}

std::string ToJson(const StatusReport& report)
{
    Object object;
    object["well"] = IsWell(report);
    object["daemons"] = Object::array();
    for (const auto& process : Seen(report.daemons))
    {
        object["daemons"].push_back(std::stol(process.id));
    }
    object["gateway"] = report.gateway.answers ? Object(report.gateway.socket) : Object();
    object["link"] = report.linkState ? Object(LinkWord(*report.linkState)) : Object();
    object["queues"] = Object::object();
    for (const auto& queue : report.queues)
    {
        object["queues"][queue.name] =
            queue.error == 0 ? Object{{"waiting", queue.waiting}, {"capacity", queue.capacity}} : Object();
    }
    object["leds"] = Object::object();
    for (const auto& led : report.leds)
    {
        object["leds"][led.name] = led.isThere;
    }
    object["counters"] = Object();
    for (const auto& [name, value] : report.counters.metrics)
    {
        const bool isWhole = std::floor(value) == value && std::abs(value) < 1e15;
        object["counters"][name] = isWhole ? Object(static_cast<int64_t>(value)) : Object(value);
    }
    object["problems"] = Object::array();
    for (const Finding& finding : FindingsOf(report))
    {
        if (finding.level != Level::Ok)
        {
            object["problems"].push_back(finding.subject + " " + finding.text);
        }
    }
    return object.dump(-1, ' ', false, Object::error_handler_t::replace); // names can have any bytes
}

} // namespace OrvelClient
