#include "Programs.h"
#include "Reports.h"
#include "Spread.h"
#include "Table.h"

#include "System/Process.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr double ResetPulse = 11; // ms; the pauses that are part of it

double Milliseconds(std::chrono::nanoseconds duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

struct Life
{
    std::vector<double> start;        // ms
    std::vector<double> resident;     // KiB
    std::vector<double> proportional; // KiB
    std::vector<double> stop;         // ms
};

void LiveOnce(const Program& program, const Processors& processors, Life& life, bool stops)
{
    Subject subject(program, processors);
    life.start.push_back(Milliseconds(subject.StartTime()));
    subject.Run(1000, 254, 1);
    life.resident.push_back(static_cast<double>(subject.ResidentMemory()));
    life.proportional.push_back(static_cast<double>(subject.ProportionalMemory()));
    if (stops)
    {
        life.stop.push_back(Milliseconds(subject.Stop()));
    }
}

// The bus carries at most 50 short telegrams a second. Here so many go each way.
double BusyShare(const Program& program, const Processors& processors)
{
    constexpr std::size_t Telegrams = 250;
    constexpr std::chrono::milliseconds Interval{20};
    constexpr std::size_t Size = 11;
    Subject subject(program, processors);
    subject.AwaitSilence();
    const auto begin = std::chrono::steady_clock::now();
    const auto used = subject.ProcessorTime();
    for (std::size_t telegram = 0; telegram < Telegrams; ++telegram)
    {
        subject.Run(1, Size, 1);
        std::this_thread::sleep_until(begin + (telegram + 1) * Interval);
    }
    return 100 * std::chrono::duration<double>(subject.ProcessorTime() - used) /
           std::chrono::duration<double>(std::chrono::steady_clock::now() - begin);
}

std::vector<double> BusyShares(const Program& program, const Processors& processors, std::size_t runs)
{
    std::vector<double> shares;
    while (shares.size() < runs)
    {
        shares.push_back(BusyShare(program, processors));
    }
    return shares;
}

// The size in KiB without symbols, as a package installs it.
double StrippedSize(const std::string& binary)
{
    const std::string stripped = "stripped";
    System::Process::Start start;
    start.command = {"strip", "-o", stripped, binary};
    if (System::Process(start).Wait() != 0)
    {
        throw std::runtime_error("cannot strip " + binary);
    }
    return static_cast<double>(std::filesystem::file_size(stripped)) / 1024;
}

class LifeTable
{
public:
    void Add(const std::string& what, const std::vector<double>& daemon, const std::vector<double>& relay, int digits,
             double budget = 0)
    {
        const Spread spread(daemon);
        table.Add({what, Text(spread.minimum, digits), Text(spread.median, digits), Text(spread.maximum, digits),
                   relay.empty() ? "" : Text(Spread(relay).median, digits), budget == 0 ? "" : "≤ " + Text(budget, 0),
                   budget == 0 ? "" : (spread.median <= budget ? "yes" : "NO")});
    }

    void Print() const
    {
        table.Print();
    }

private:
    Table table{{"", "min", "median", "max", "relay", "budget", "met"}};
};

} // namespace

void ReportLife(const Processors& processors, std::size_t runs)
{
    PrintHeading("From start to end");
    constexpr double ResidentBudget = 4.5 * 1024; // KiB
    Life daemon;
    Life quiet;
    Life relay;
    Life relayWithLogLibrary;
    // The programs run in turns: other work on the machine affects all of them, and what the kernel still clears away
    // of a process affects the same one each time.
    for (std::size_t run = 0; run < runs; ++run)
    {
        LiveOnce(Daemon(), processors, daemon, true);
        LiveOnce(Daemon("WARN"), processors, quiet, false);
        LiveOnce(Relay(), processors, relay, false);
        LiveOnce(RelayWithLogLibrary(), processors, relayWithLogLibrary, false);
    }
    std::vector<double> startWithoutPulse;
    for (const double start : daemon.start)
    {
        startWithoutPulse.push_back(start - ResetPulse);
    }
    const std::size_t busyRuns = (runs + 2) / 3;

    LifeTable table;
    table.Add("exec to the first link state message, less the reset's 11 ms, ms", startWithoutPulse, relay.start, 2, 4);
    table.Add("exec to the first message of a relay with the log library, ms", relayWithLogLibrary.start, relay.start,
              2);
    table.Add("SIGINT to the end, ms", daemon.stop, {}, 0, 800);
    table.Add("resident memory at DEBUG, KiB", daemon.resident, relay.resident, 0, ResidentBudget);
    table.Add("resident memory at WARN, KiB", quiet.resident, relay.resident, 0, ResidentBudget);
    table.Add("proportional memory at DEBUG, KiB", daemon.proportional, relay.proportional, 0);
    table.Add("CPU at 50 telegrams a second each way, at DEBUG, %", BusyShares(Daemon(), processors, busyRuns),
              BusyShares(Relay(), processors, busyRuns), 3);
    table.Add("CPU at 50 telegrams a second each way, at WARN, %", BusyShares(Daemon("WARN"), processors, busyRuns), {},
              3);
    table.Add("binary without symbols, KiB", {StrippedSize(Daemon().command.front())},
              {StrippedSize(Relay().command.front())}, 0);
    table.Print();
    std::printf("\n%zu runs of each program, %zu for the CPU at 50 telegrams.\n", runs, busyRuns);
}
