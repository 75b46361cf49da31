#include "Counts.h"
#include "Programs.h"
#include "Reports.h"
#include "Table.h"

#include <string>

namespace
{

constexpr unsigned int PeriodicThreads = 3; // main, the LED worker and the cEMI worker
constexpr double Threads = 8;               // those, the link's, and four that the log library keeps

class CountTable
{
public:
    void Add(const std::string& what, double counted, double allowed, double least = 0)
    {
        const bool kept = counted >= least && counted <= allowed;
        allKept = allKept && kept;
        table.Add({what, Text(counted, 2), Text(allowed, 2), kept ? "yes" : "NO"});
    }

    bool Print() const
    {
        table.Print();
        return allKept;
    }

private:
    Table table{{"count", "daemon", "at most", "kept"}};
    bool allKept = true;
};

std::string Names(const SystemCalls& calls)
{
    std::string names;
    for (const auto& [name, count] : calls.perFrame)
    {
        if (count >= 0.5) // the others belong to no frame
        {
            names += (names.empty() ? "" : ", ") + name;
        }
    }
    return names;
}

} // namespace

bool ReportCounts(const Processors& processors, std::chrono::seconds idle)
{
    // When a tracer comes and goes, interrupted calls begin again; so many calls belong to no frame.
    constexpr double Tolerance = 0.05;

    PrintHeading("Counts");
    const SystemCalls relay = CountSystemCalls(Relay(), processors);
    const SystemCalls quiet = CountSystemCalls(Daemon("WARN"), processors);
    const SystemCalls talking = CountSystemCalls(Daemon(), processors);
    const Idleness idleness = WatchIdle(Daemon(), processors, idle, PeriodicThreads);

    CountTable table;
    table.Add("heap calls a frame at WARN", HeapCallsPerFrame(Daemon("WARN"), processors), 0);
    table.Add("system calls a frame at WARN (" + Names(quiet) + ")", quiet.perFrameInAll,
              relay.perFrameInAll + Tolerance);
    // Two threads log, so one may have to wait for the other.
    table.Add("system calls a frame at DEBUG, without waits for a lock", talking.perFrameInAll - talking.waitsPerFrame,
              relay.perFrameInAll + 2 + Tolerance);
    table.Add("writes a log line, and no less", talking.writesPerLine, 1, 1 - Tolerance);
    table.Add("frames lost", static_cast<double>(quiet.lost + talking.lost), 0);
    table.Add("threads", static_cast<double>(idleness.threads), Threads);
    table.Add("idle wake-ups a second, " + std::to_string(idle.count()) + " s", idleness.wakeUpsPerSecond,
              idleness.mostPossible);
    const bool kept = table.Print();
    std::printf("\nBeside them: the relay makes %.2f system calls a frame; at DEBUG a frame takes the daemon %.1f heap "
                "calls;\nidle it uses %.3f %% of a processor.\n",
                relay.perFrameInAll, HeapCallsPerFrame(Daemon(), processors), 100 * idleness.processorShare);
    return kept;
}
