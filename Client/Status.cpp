#include "Status.h"

#include "CommonOptions.h"
#include "DaemonSettings.h"
#include "Message.h"
#include "Output.h"
#include "StatusReport.h"

#include "Orvel/Protocol.h"
#include "System/MessageQueue.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <filesystem>
#include <fstream>

namespace OrvelClient
{

namespace
{

constexpr const char* DefaultMetricsFile = "/run/orvel/gateway.metrics";

// The daemon that runs, or one that would run with no options.
DaemonSettings SettingsOfTheDaemon(const RunningDaemons& daemons)
{
    const auto& seen = daemons.certain.empty() ? daemons.possible : daemons.certain;
    return SettingsOf(seen.empty() ? std::vector<std::string>() : CommandLineOf(seen.front().id));
}

StatusReport::Queue LookAt(const std::string& name)
{
    StatusReport::Queue queue{name};
    using System::MessageQueue;
    for (const auto access :
         {MessageQueue::For::Reading, MessageQueue::For::Writing}) // an application may do one of them
    {
        const auto opened = MessageQueue::TryOpen(name, access);
        queue.error = opened ? 0 : errno;
        if (opened)
        {
            queue.waiting = opened->Pending();
            queue.capacity = opened->Capacity();
        }
        if (queue.error != EACCES)
        {
            break;
        }
    }
    return queue;
}

void AskGateway(StatusReport& report, const BusOptions& options)
{
    report.gateway.socket = options.socket;
    BusOptions gatewayOnly = options;
    gatewayOnly.named = true;
    try
    {
        const StopSignals stop;
        Bus gateway(gatewayOnly, Bus::For::Messages, stop);
        if (const auto greeting = gateway.Receive())
        {
            report.linkState = LinkState(FromQueue(*greeting, Now()).frame);
        }
        report.gateway.answers = true;
    }
    catch (const Failure& failure)
    {
        if (failure.ExitStatus() == Status::Interrupted)
        {
            throw;
        }
        const bool isMissed = options.named || failure.ExitStatus() != Status::NotThere;
        report.gateway.problem = isMissed ? failure.what() : "";
    }
}

void ReadCounters(StatusReport::Counters& counters)
{
    struct stat state
    {
    };
    std::ifstream file(counters.file);
    if (!file || stat(counters.file.c_str(), &state) == -1)
    {
        return;
    }
    counters.age = std::chrono::seconds(std::max<time_t>(time(nullptr) - state.st_mtime, 0));
    counters.metrics = System::ReadOpenMetrics(file, "orvel_gateway_");
}

Status ShowStatus(const StatusOptions& options)
{
    StatusReport report;
    report.daemons = FindDaemons();
    const DaemonSettings settings = SettingsOfTheDaemon(report.daemons);
    for (const char* const name : {ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_TO_LL_QUEUE})
    {
        report.queues.push_back(LookAt(name));
    }
    for (const std::string& name : settings.buttonQueues)
    {
        report.queues.push_back(LookAt(name));
    }
    for (const std::string& name : settings.leds)
    {
        report.leds.push_back({name, std::filesystem::exists("/sys/class/leds/" + name)});
    }
    AskGateway(report, options.bus);
    report.counters.file = options.metricsFile;
    if (report.gateway.answers)
    {
        ReadCounters(report.counters);
    }

    Output output;
    if (options.json)
    {
        output.Write(ToJson(report) + "\n");
    }
    else
    {
        for (const Finding& finding : FindingsOf(report))
        {
            output.Write(LineOf(finding));
        }
    }
    return IsWell(report) ? Status::Done : Status::Failed;
}

} // namespace

void StatusOptions::AddTo(Arguments::Parser& parser)
{
    AddSocket(parser, bus);
    metricsFile = DefaultMetricsFile;
    parser.Option("--metrics", metricsFile, "The file with the gateway's counters, default is: " + metricsFile);
    parser.Flag("--json", json, "Show all as one JSON object.");
}

Command StatusCommand()
{
    return {"status",
            "",
            "say how things are: daemon, gateway, link, queues, LEDs",
            "[OPTION...]",
            "Says how things are with the daemon and what it makes for applications, without taking a message.\n"
            "\n"
            "  orvelctl status\n"
            "  orvelctl status --json",
            Define<StatusOptions, ShowStatus>};
}

} // namespace OrvelClient
