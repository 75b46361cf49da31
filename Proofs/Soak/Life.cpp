#include "Life.h"

#include "BenchKit/Await.h"
#include "BenchKit/ProcessFiles.h"
#include "FaultPlan.h"
#include "Orvel/Protocol.h"

#include <mqueue.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

using Knx::Bytes;

namespace
{

using namespace std::chrono_literals;

constexpr uint16_t CemiTopic = 0x100;
constexpr uint16_t DeviceTopic = 0x101;
constexpr auto Limit = 300s;         // for whatever must happen; the machine may be very busy
constexpr auto Still = 500ms;        // so long nothing has come: nothing more will
constexpr auto TrafficLimit = 3600s; // for all that there is to do
constexpr long MemoryGrowth = 256;   // KiB; what the C library keeps for itself

// The LED's name, and the number of the co-processor's output.
struct Led
{
    const char* name;
    uint8_t number;
};
constexpr Led Rs485{"rs485termination", 0};
constexpr std::array<Led, 5> Leds{{{"prg1", 3}, {"prg2", 4}, {"system", 2}, {"knx", 1}, Rs485}};

// Whether `part` is `whole` with some elements left out.
bool IsSubsequence(const std::vector<uint32_t>& part, const std::vector<uint32_t>& whole)
{
    auto position = whole.begin();
    return std::all_of(part.begin(), part.end(),
                       [&](uint32_t number)
                       {
                           position = std::find(position, whole.end(), number);
                           if (position == whole.end())
                           {
                               return false;
                           }
                           ++position;
                           return true;
                       });
}

// Waits until `count` no longer changes.
void AwaitStill(const std::function<std::size_t()>& count)
{
    auto last = count();
    for (auto since = std::chrono::steady_clock::now(); std::chrono::steady_clock::now() - since < Still;)
    {
        std::this_thread::sleep_for(10ms);
        if (const auto now = count(); now != last)
        {
            last = now;
            since = std::chrono::steady_clock::now();
        }
    }
}

} // namespace

Resources Resources::Of(pid_t process)
{
    const std::filesystem::directory_iterator descriptors(DirectoryOf(process) / "fd");
    const auto number = [process](const char* key)
    {
        const std::string value = StatusOf(process, key);
        return value.empty() ? 0 : std::stol(value); // one that has ended has no memory
    };
    return {std::distance(begin(descriptors), end(descriptors)), number("Threads"), number("VmRSS")};
}

Life::Life(Simulator::Board& theBoard, Arrivals& theArrivals, const Amounts& theAmounts, Progress& theProgress,
           std::mt19937& theRandom, Figures& theFigures)
    : board(theBoard)
    , coProcessor(theBoard.TheCoProcessor())
    , arrivals(theArrivals)
    , amounts(theAmounts)
    , progress(theProgress)
    , random(theRandom)
    , figures(theFigures)
    , ledStatesBefore(theArrivals.LedStates())
    , ledReportsBefore(board.Files().TheFaults().Calls(Simulator::Operation::UledsRead))
    , daemon({"--enable_rs485", "--log_config_file", Ledger::PropertiesFile},
             [this](const std::string& line) { ledger.OnLine(line); })
{
}

void Life::Play(long losses)
{
    const auto hasLeds = [] { return std::filesystem::exists(std::string("/sys/class/leds/") + Rs485.name); };
    if (!Await(hasLeds, 10s))
    {
        EndDaemon();
        AccountDaemon();
        Require(status == 0, "without LEDs: exit status " + std::to_string(status));
        return;
    }
    applications =
        std::make_unique<Applications>(board, ledger, arrivals, amounts, progress, static_cast<uint32_t>(random()));
    const long warm = std::min(ledger.Count("sent to user") + 100, amounts.frames);
    Await([&] { return ledger.Count("sent to user") >= warm || applications->AreDone(); }, Limit);
    const Resources atStart = Resources::Of(daemon.Id());
    const long unlinking = Random(0, losses);
    for (long loss = 0; loss < losses && !daemon.HasEnded(); ++loss)
    {
        for (long disturbances = Random(1, 3); disturbances > 0; --disturbances)
        {
            Disturb();
        }
        LoseLink();
        if (loss == unlinking)
        {
            UnlinkSome();
        }
    }
    if (losses == 0 || progress.losses >= amounts.losses)
    {
        Require(Await([&] { return daemon.HasEnded() || applications->AreDone(); }, TrafficLimit), "nothing goes on");
    }
    Settle();
    if (!daemon.HasEnded())
    {
        CheckLeds();
        Compare(atStart, Resources::Of(daemon.Id()));
    }
    EndDaemon();
    record = applications->Finish();
    quiet = ledger.Count("lost") == 0;
    Account();
}

long Life::Random(long from, long to)
{
    return std::uniform_int_distribution<long>(from, to)(random);
}

void Life::Require(bool holds, const std::string& otherwise)
{
    if (!holds)
    {
        problems.push_back(otherwise);
    }
}

// Troubles that lose no link.
void Life::Disturb()
{
    switch (Random(0, 6))
    {
    case 0: // the co-processor babbles
        coProcessor.Flood(CemiTopic, {}, static_cast<int>(Random(1, 200)));
        coProcessor.Flood(CemiTopic, Bytes(261), static_cast<int>(Random(1, 50)));
        coProcessor.Flood(DeviceTopic, {0x07, 0x02, 0x01}, static_cast<int>(Random(1, 200)));
        coProcessor.Flood(DeviceTopic, {0x42}, static_cast<int>(Random(1, 200)));
        coProcessor.Flood(0x1234, {0x07, 0x01, 0x01}, static_cast<int>(Random(1, 200)));
        break;
    case 1: // noise on the line, without what begins a frame
    {
        Bytes noise(static_cast<std::size_t>(Random(1, 2000)));
        std::generate(noise.begin(), noise.end(), [this] { return static_cast<uint8_t>(Random(0, 0x7C)); });
        coProcessor.SendGarbage(noise);
        break;
    }
    case 2:
        applications->SendInvalid(Random(1, 30));
        break;
    case 3: // full queues
        applications->PauseReaders(true);
        applications->Burst(Random(1, 60), Random(1, 20));
        std::this_thread::sleep_for(std::chrono::milliseconds(Random(10, 300)));
        applications->PauseReaders(false);
        break;
    case 4:
        applications->ComeAndGo(true);
        std::this_thread::sleep_for(std::chrono::milliseconds(Random(10, 100)));
        applications->ComeAndGo(false);
        break;
    case 5: // late, but not too late
        coProcessor.SetDelay(std::chrono::milliseconds(Random(1, 300)));
        std::this_thread::sleep_for(std::chrono::milliseconds(Random(10, 200)));
        coProcessor.SetDelay(0ms);
        break;
    default:
        break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(Random(0, 100)));
}

void Life::LoseLink()
{
    constexpr long Dead = 25; // one of so many times the co-processor does not recover, and the daemon gives up
    const long lostBefore = ledger.Count("lost");
    const long kind = Random(0, Dead);
    switch (kind == Dead ? kind : kind % 5)
    {
    case 0:
        coProcessor.Hang();
        break;
    case 1: // it has reset itself
        coProcessor.SetResetLine(false);
        coProcessor.SetResetLine(true);
        break;
    case 2:
        coProcessor.SetPlugged(false);
        break;
    case 3: // later than the library waits for an answer after one that was late
        coProcessor.SetDelay(6s);
        break;
    default:
        coProcessor.SetDead(true);
        break;
    }
    Require(Await([&] { return ledger.Count("lost") > lostBefore || daemon.HasEnded(); }, Limit),
            "a lost link is not noticed");
    coProcessor.SetPlugged(true);
    coProcessor.SetDelay(0ms);
    coProcessor.SetDead(kind == Dead);
    const auto isTold = [&] {
        return ledger.Count("states sent") + ledger.Count("states full") >= 1 + ledger.Count("lost") ||
               daemon.HasEnded();
    };
    Require(Await(isTold, Limit), "nobody is told what became of a lost link");
    coProcessor.SetDead(false);
    if (ledger.Count("given up") == 0)
    {
        ++progress.losses;
    }
}

// Some applications do what they must not do.
void Life::UnlinkSome()
{
    for (const char* const queue : {ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_TO_LL_QUEUE, ORVEL_PROG_BUTTON_QUEUE})
    {
        if (Random(0, 3) == 0 && mq_unlink(queue) == 0)
        {
            ++figures["queues unlinked by applications"];
        }
    }
}

void Life::Settle()
{
    applications->StopSending();
    const auto isTaken = [&] { return static_cast<long>(ledger.FateCount()) == applications->Sent(); };
    Require(Await([&] { return isTaken() || daemon.HasEnded(); }, Limit), "messages stay in the queue to the link");
    AwaitStill(
        [&]
        {
            return arrivals.Count() +
                   static_cast<std::size_t>(arrivals.LedStates() + ledger.Count("received") + applications->Received());
        });
}

void Life::CheckLeds()
{
    for (const Led& led : Leds)
    {
        const auto state = [&]
        { return led.name == Rs485.name ? coProcessor.Rs485TerminationState() : coProcessor.LedState(led.number); };
        for (const int wanted : {1, 0, 1})
        {
            bool isSet = false;
            for (int tries = 0; tries < 10 && !isSet; ++tries) // a change is lost when the link is down just then
            {
                const std::string file = "/sys/class/leds/" + std::string(led.name) + "/brightness";
                std::ofstream(file) << 1; // so that the next one is a change
                std::ofstream(file) << (wanted == 1 ? 99 : 0);
                isSet = Await([&] { return state() == wanted || daemon.HasEnded(); }, Limit / 10);
            }
            Require(isSet, std::string(led.name) + " is not switched");
        }
    }
}

void Life::Compare(const Resources& atStart, const Resources& atEnd)
{
    Require(atEnd.descriptors == atStart.descriptors,
            "descriptors: " + std::to_string(atStart.descriptors) + ", then " + std::to_string(atEnd.descriptors));
    Require(atEnd.threads == atStart.threads,
            "threads: " + std::to_string(atStart.threads) + ", then " + std::to_string(atEnd.threads));
    Require(atEnd.memory <= atStart.memory + MemoryGrowth,
            "KiB: " + std::to_string(atStart.memory) + ", then " + std::to_string(atEnd.memory));
    const auto most = [this](const char* name, long value) { figures[name] = std::max(figures[name], value); };
    most("most descriptors at the start", atStart.descriptors);
    most("most descriptors at the end", atEnd.descriptors);
    most("most threads at the start", atStart.threads);
    most("most threads at the end", atEnd.threads);
    most("most KiB of memory at the start", atStart.memory);
    most("most KiB that the memory of a daemon grew by", atEnd.memory - atStart.memory);
}

void Life::EndDaemon()
{
    if (ledger.Count("given up") == 0)
    {
        daemon.Signal(SIGINT);
    }
    const bool ends = Await([&] { return daemon.HasEnded(); }, Limit);
    Require(ends, "it hangs");
    if (!ends)
    {
        daemon.Signal(SIGKILL);
    }
    status = daemon.Wait();
}

void Life::Account()
{
    Require(status == (ledger.Count("given up") == 0 ? 0 : 255), "exit status " + std::to_string(status));
    AccountDaemon();
    AccountToLink();
    AccountFromLink();
    AccountDevices();
    ++figures["daemons"];
    figures["daemons that lost no link"] += quiet ? 1 : 0;
    figures["links lost"] += ledger.Count("lost");
    figures["links given up"] += ledger.Count("given up");
}

void Life::AccountDaemon()
{
    for (const std::string& line : ledger.Unexpected())
    {
        problems.push_back("line: " + line);
    }
    for (const auto& queue : std::filesystem::directory_iterator("/dev/mqueue"))
    {
        problems.push_back("left behind: " + queue.path().string());
    }
}

void Life::AccountToLink()
{
    const auto fates = ledger.Fates();
    const auto left = static_cast<std::size_t>(applications->Unsent());
    Require(record.sent.size() == fates.size() + left, "to the link: accepted " + std::to_string(record.sent.size()) +
                                                           ", with a line " + std::to_string(fates.size()) + ", left " +
                                                           std::to_string(left));
    std::vector<uint32_t> enqueued;
    for (std::size_t index = 0; index < std::min(fates.size(), record.sent.size()); ++index)
    {
        const bool isInvalid = fates[index] == Ledger::Fate::Invalid || fates[index] == Ledger::Fate::Empty;
        if (isInvalid != (record.sent[index] == Applications::Invalid))
        {
            problems.emplace_back("to the link: the wrong line");
            break;
        }
        if (fates[index] == Ledger::Fate::Enqueued)
        {
            enqueued.push_back(record.sent[index]);
        }
    }
    const auto onLine = ledger.SentOnLine();
    const auto arrived = arrivals.Take();
    Require(IsSubsequence(onLine, enqueued), "to the link: the library has what it was not given");
    Require(IsSubsequence(arrived, onLine), "to the link: what arrives was not sent, not in this order, or not once");
    Require(arrivals.Strange() == 0, "to the link: strange frames arrive");
    Require(!quiet || arrived.size() == enqueued.size(), "to the link: frames are lost without a lost link");

    figures["to the link: accepted by the queue"] += static_cast<long>(record.sent.size());
    figures["to the link: handed to the library"] += static_cast<long>(enqueued.size());
    figures["to the link: refused by the library, with a line each"] += ledger.Count("refused");
    figures["to the link: invalid, with a line each"] += ledger.Count("invalid") + ledger.Count("empty");
    figures["to the link: left in the queue of a daemon that gave up"] += static_cast<long>(left);
    figures["to the link: lost in the library or on the line"] += static_cast<long>(enqueued.size() - arrived.size());
    figures["to the link: arrived, once and in order"] += static_cast<long>(arrived.size());
}

void Life::AccountFromLink()
{
    const auto sent = ledger.SentToUser();
    const long states = ledger.Count("states sent");
    Require(ledger.Count("received") == static_cast<long>(sent.size()) + ledger.Count("full"),
            "from the link: handed over " + std::to_string(ledger.Count("received")) + ", put into the queue " +
                std::to_string(sent.size()) + ", queue full " + std::to_string(ledger.Count("full")));
    Require(record.received == sent, "from the link: read is not what was put into the queue");
    Require(record.strange == 0, "from the link: strange messages are read");
    Require(!quiet || applications->Injected() == ledger.Count("received"),
            "from the link: frames are lost without a lost link");
    Require(states + ledger.Count("states full") == 1 + ledger.Count("lost"), "not each lost link is told of");
    Require(record.usable + record.lost == states, "states of the link are lost");
    Require(record.lost <= ledger.Count("given up"), "the link is told to be lost");

    figures["from the link: sent by the co-processor"] += applications->Injected();
    figures["from the link: handed over by the library"] += ledger.Count("received");
    figures["from the link: queue full, with a line each"] += ledger.Count("full");
    figures["from the link: read, once and in order"] += static_cast<long>(record.received.size());
    figures["states of the link read"] += states;
    figures["states of the link, queue full, with a line each"] += ledger.Count("states full");
}

void Life::AccountDevices()
{
    const long reports = board.Files().TheFaults().Calls(Simulator::Operation::UledsRead) - ledReportsBefore;
    Require(ledger.Count("led set") + ledger.Count("led refused") == reports, "reports of the kernel without a line");
    const long ledStates = arrivals.LedStates() - ledStatesBefore;
    Require(ledStates <= ledger.Count("led set") && (!quiet || ledStates == ledger.Count("led set")),
            "brightness: states arrived " + std::to_string(ledStates) + " of " +
                std::to_string(ledger.Count("led set")));
    Require(record.buttons == ledger.ButtonStates(), "button: read is not what was put into the queue");
    Require(!quiet || record.pressed == ledger.Count("button changes"), "button: events lost without a lost link");
    Require(ledger.Count("refusals") ==
                ledger.Count("refused") + ledger.Count("led refused") + ledger.Count("request refused"),
            "refusals of the library without a line");

    figures["brightness: changes by applications"] += record.brightness;
    figures["brightness: reports by the kernel"] += reports;
    figures["brightness: handed to the library"] += ledger.Count("led set");
    figures["brightness: arrived"] += ledStates;
    figures["brightness: refused by the library, with a line each"] += ledger.Count("led refused");
    figures["button: pressed and released"] += record.pressed;
    figures["button: handed over by the library"] += ledger.Count("button changes");
    figures["button: pressed since boot, put into the queue three times"] += ledger.Count("pressed since boot");
    figures["button: queue full, with a line each"] += ledger.Count("button full");
    figures["button: read, in order"] += static_cast<long>(record.buttons.size());
}
