#include "Starts.h"

#include "BenchKit/Await.h"
#include "Board.h"
#include "FaultPlan.h"
#include "LoggedDaemon.h"
#include "Namespaces.h"

#include <linux/capability.h>
#include <poll.h>
#include <sys/prctl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <vector>

using Simulator::Operation;

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int ResetGpio = 3;
constexpr int Killed = 128 + SIGINT; // before its handler stands
constexpr int Failed = 255;
constexpr auto BusyMachine = 10s; // in addition to every limit

// Something that fails. Whoever notices logs a line that contains the text. Without a text nothing fails.
struct Defect
{
    const char* name;
    const char* line;
    std::function<void(Simulator::Board&)> make;
    std::vector<std::string> options;
};

Defect Fault(const char* name, const char* line, Operation operation, unsigned call)
{
    return {name, line, [=](Simulator::Board& board) { board.Files().TheFaults().Fail(operation, EIO, call, 1); }, {}};
}

const std::vector<Defect>& Defects()
{
    static const std::vector<Defect> All{
        Fault("export", "Failed to export STM32 reset GPIO 3: ", Operation::ExportOpen, 1),
        Fault("direction at first", "Cannot set direction of STM32 reset GPIO 3: ", Operation::DirectionOpen, 1),
        Fault("direction after the pulse", "Cannot set direction of STM32 reset GPIO 3: ", Operation::DirectionOpen, 3),
        Fault("value", "Cannot set value of STM32 reset GPIO 3: ", Operation::ValueOpen, 1),
        Fault("first LED", "Failed to open /dev/uleds: ", Operation::UledsOpen, 1),
        Fault("third LED", "Failed to write to /dev/uleds for virtual led device ", Operation::UledsWrite, 3),
        {"LED in use",
         "Return events in poll signalled virtual led error, aborting.",
         [](Simulator::Board& board)
         {
             Simulator::Fault fault;
             fault.events = POLLERR;
             fault.onlyTheseEvents = true;
             board.Files().TheFaults().Set(Operation::UledsPoll, fault);
         },
         {}},
        {"button's queue", "Failed to open message queue noSlash", [](Simulator::Board&) {}, {"-p", "noSlash"}},
        {"bridge's queues",
         "Failed to open message queue /cemiFromLL",
         [](Simulator::Board&) { Simulator::SetMessageLimit(10); },
         {}},
        {"serial line",
         "Failed to reconnect to STM32, aborting.",
         [](Simulator::Board& board) { board.TheCoProcessor().SetDead(true); },
         {}},
    };
    return All;
}

void MakeSound(Simulator::Board& board)
{
    board.Files().TheFaults().ClearAll();
    board.TheCoProcessor().SetDead(false);
    Simulator::SetMessageLimit(32);
}

class Start
{
public:
    Start(Simulator::Board& theBoard, std::mt19937& theRandom, Figures& theFigures)
        : random(theRandom)
        , figures(theFigures)
        , defect(Random(0, 2) == 0
                     ? &Defects().at(static_cast<std::size_t>(Random(0, static_cast<long>(Defects().size()) - 1)))
                     : nullptr)
    {
        if (defect != nullptr)
        {
            defect->make(theBoard);
        }
    }

    void Play()
    {
        const auto first = RandomTime();
        const auto second = std::chrono::milliseconds(Random(0, 300));
        std::vector<std::string> lines;
        auto noticed = Clock::time_point::max();
        LoggedDaemon daemon(defect != nullptr ? defect->options : std::vector<std::string>(),
                            [&](const std::string& line)
                            {
                                lines.push_back(line);
                                if (defect != nullptr && line.find(defect->line) != std::string::npos)
                                {
                                    noticed = std::min(noticed, Clock::now());
                                }
                            });
        std::this_thread::sleep_for(first);
        const auto interrupted = Clock::now();
        daemon.Signal(SIGINT);
        if (!Await([&] { return daemon.HasEnded(); }, second))
        {
            daemon.Signal(SIGINT);
        }
        if (!Await([&] { return daemon.HasEnded(); }, Bound() + BusyMachine))
        {
            daemon.Signal(SIGKILL);
            daemon.Wait();
            throw std::runtime_error("it hangs" + Description(first, lines));
        }
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - interrupted);
        const int status = daemon.Wait(); // all lines have come then
        Judge(status, noticed, interrupted, first, lines);
        Count(time);
    }

private:
    long Random(long from, long to)
    {
        return std::uniform_int_distribution<long>(from, to)(random);
    }

    // There are as many moments below 3 ms as between 30 and 300 ms, because the start is short. It is long where it
    // waits for the link.
    std::chrono::microseconds RandomTime()
    {
        constexpr double Least = 2.5; // 300 us
        constexpr double Most = 6;    // 1 s
        if (IsDead())
        {
            return std::chrono::milliseconds(Random(0, 7000));
        }
        return std::chrono::microseconds(
            std::lround(std::pow(10, std::uniform_real_distribution<>(Least, Most)(random))));
    }

    bool IsDead() const
    {
        return defect != nullptr && std::string(defect->name) == "serial line";
    }

    void Judge(int status, Clock::time_point noticed, Clock::time_point interrupted, std::chrono::microseconds first,
               const std::vector<std::string>& lines)
    {
        // Two periods after its line, a failure has ended the daemon or is about to.
        const bool notices = noticed != Clock::time_point::max();
        const bool hadTime = notices && interrupted - noticed > 500ms;
        const bool allowed =
            (status == 0 && !hadTime) || (status == Killed && lines.empty()) || (status == Failed && notices);
        if (!allowed)
        {
            throw std::runtime_error("status " + std::to_string(status) + Description(first, lines));
        }
        if (!std::filesystem::is_empty("/dev/mqueue"))
        {
            throw std::runtime_error("a queue is left behind" + Description(first, lines));
        }
        ++figures["starts that ended with " + std::to_string(status)];
        if (defect != nullptr && notices)
        {
            ++figures[std::string("starts with a failure noticed: ") + defect->name];
        }
    }

    // Three periods, and the link library's own time to open a line without an answer and to give up on it.
    std::chrono::milliseconds Bound() const
    {
        return 750ms + (IsDead() ? 6s : 0s);
    }

    void Count(std::chrono::milliseconds time)
    {
        long& most = figures[IsDead() ? "most ms from SIGINT to the end, without a co-processor"
                                      : "most ms from SIGINT to the end"];
        most = std::max(most, static_cast<long>(time.count()));
        constexpr auto Scheduling = 50ms;
        if (time > Bound() + Scheduling)
        {
            ++figures["starts whose end took more than three periods, on a busy machine"];
        }
    }

    std::string Description(std::chrono::microseconds first, const std::vector<std::string>& lines) const
    {
        std::string text = std::string("; failing: ") + (defect != nullptr ? defect->name : "nothing") +
                           "; SIGINT after " + std::to_string(first.count()) + " us\n";
        for (const std::string& line : lines)
        {
            text += line + "\n";
        }
        return text;
    }

    std::mt19937& random;
    Figures& figures;
    const Defect* const defect;
};

} // namespace

Figures RunStarts(uint32_t seed, long starts)
{
    prctl(PR_CAPBSET_DROP, CAP_SYS_RESOURCE, 0, 0, 0); // so that a limit is one for the daemon
    std::mt19937 random(seed);
    Simulator::EventLog events;
    Simulator::Board board(events, ResetGpio);
    Figures figures;
    for (long start = 0; start < starts; ++start)
    {
        Start(board, random, figures).Play();
        MakeSound(board);
        ++figures["starts"];
    }
    return figures;
}
