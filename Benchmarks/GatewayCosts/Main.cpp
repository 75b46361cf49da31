// What the gateway costs, side by side with the daemon's bare queue and with knxd, as one table.
//
//   gateway-costs DIRECTORY TURNS [KNXD]
//
// The link confirms at once. To go the same way through knxd, a program uses its local socket, and a participant of KNXnet/IP
// routing, which is this program too, answers in the bus' place: knxd has the shorter way, because there is no daemon behind
// it. Run this in a network namespace whose loopback interface is up and has the route to the group. Log files are written
// into DIRECTORY.

#include "BareBoard.h"
#include "Connections.h"
#include "Machine.h"
#include "Namespaces.h"
#include "Processors.h"
#include "SharedNumber.h"
#include "Spread.h"
#include "Table.h"
#include "Usage.h"

#include "Knx/Datagram.h"
#include "Knx/MulticastSocket.h"
#include "System/Descriptor.h"
#include "System/MessageQueue.h"
#include "System/Process.h"
#include "System/ThrowErrno.h"

#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <poll.h>
#include <sched.h>
#include <sys/epoll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::size_t TripsPerTurn = 500;
constexpr std::size_t Readers = 32;
constexpr std::chrono::seconds IdleTime{15};
constexpr Telegram ToBus{0x0A03, 1};
constexpr Telegram FromBus{0x0A04, 1};

// The goals. The last three can be counted: whoever misses one of them fails.
constexpr double MostRoundTrip = 2.0;     // of the bare queue's, and less than knxd's
constexpr double MostProcessorTime = 2.5; // of the bare queue's
constexpr double LeastRate = 10'000;      // messages a second to all readers
constexpr double MostHeapCalls = 0;       // a frame
constexpr double MostMemory = 6 * 1024;   // KiB
constexpr double MostWakeUps = 1.1;       // a second

System::Process Start(std::vector<std::string> command, const std::string& log,
                      std::vector<std::pair<std::string, std::string>> environment = {})
{
    const System::Descriptor output(open(log.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    System::Process::Start start;
    start.command = std::move(command);
    start.environment = std::move(environment);
    start.standardOutput = output.Number();
    return System::Process(start);
}

System::Process StartDaemon()
{
    std::ofstream("quiet.properties")
        << "log4cplus.rootLogger=WARN,A1\nlog4cplus.appender.A1=log4cplus::ConsoleAppender\n";
    return Start({DRIVER, "--log_config_file", "quiet.properties"}, "daemon.log",
                 {{"LD_LIBRARY_PATH", CONFIRM_LIBRARY}});
}

std::string SocketPath(const std::string& name)
{
    return std::filesystem::current_path() / name;
}

System::Process StartGateway(std::vector<std::pair<std::string, std::string>> environment = {})
{
    return Start({GATEWAY, "--socket", SocketPath("gateway")}, "gateway.log", std::move(environment));
}

void MoveTo(int processor, pid_t process)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(processor), &set);
    if (sched_setaffinity(process, sizeof(set), &set) == -1)
    {
        System::ThrowErrno("cannot use processor " + std::to_string(processor));
    }
}

// knxd with a participant of routing, in the place of the bus.
class Knxd
{
public:
    explicit Knxd(const std::string& file)
        : process(Start({file, "-e", "0.0.1", "-E", "0.0.2:" + std::to_string(Readers + 8), "-u", SocketPath("knxd"),
                         "-b", "ip:"},
                        "knxd.log"))
        , program(SocketPath("knxd"))
    {
        const auto limit = Clock::now() + std::chrono::seconds(20);
        do
        {
            if (Clock::now() > limit)
            {
                throw std::runtime_error("knxd sends nothing; see knxd.log");
            }
            program.Send(ToBus);
        } while (!HasHeard(std::chrono::milliseconds(200)));
        std::this_thread::sleep_for(std::chrono::milliseconds(500)); // what it has from the time before it was ready
        Forget();
    }

    pid_t Id() const
    {
        return process.Id();
    }

    // As the bus; false if there is no room.
    bool Say() const
    {
        return bus.Send(indication);
    }

    void MakeTrip() const
    {
        program.Send(ToBus);
        if (!HasHeard(std::chrono::seconds(20)))
        {
            throw std::runtime_error("knxd has lost a telegram; see knxd.log");
        }
        Say();
        program.Receive();
    }

    void Forget()
    {
        while (bus.Receive())
        {
        }
        program.TakeAll();
    }

private:
    bool HasHeard(std::chrono::milliseconds patience) const
    {
        for (;;)
        {
            pollfd entry{bus.Descriptor(), POLLIN, 0};
            if (bus.Receive())
            {
                return true;
            }
            if (poll(&entry, 1, static_cast<int>(patience.count())) <= 0)
            {
                return false;
            }
        }
    }

    const Knx::MulticastSocket bus{"lo"};
    const Knx::Bytes indication = Knx::Routing::Encode(Knx::Routing::Indication{
        {0x29, 0, 0xBC, 0xE0, 0x11, 0x01, FromBus.group >> 8U, FromBus.group & 0xFFU, 1, 0, 0x81}});
    System::Process process;
    KnxdConnection program;
};

// A way to the bus and back.
struct Way
{
    std::function<void()> makeTrip;
    std::vector<pid_t> programs; // on it
    std::vector<double> trips;   // µs
    std::chrono::nanoseconds processorTime{0};

    void Turn(bool counts)
    {
        const auto before = Used();
        for (std::size_t trip = 0; trip < TripsPerTurn; ++trip)
        {
            const auto begin = Clock::now();
            makeTrip();
            if (counts)
            {
                trips.push_back(std::chrono::duration<double, std::micro>(Clock::now() - begin).count());
            }
        }
        processorTime += counts ? Used() - before : std::chrono::nanoseconds(0);
    }

    double RoundTrip() const
    {
        return Spread(trips).median;
    }

    double ProcessorTime() const
    {
        return std::chrono::duration<double, std::micro>(processorTime).count() / static_cast<double>(trips.size());
    }

private:
    std::chrono::nanoseconds Used() const
    {
        std::chrono::nanoseconds used{0};
        for (const pid_t program : programs)
        {
            used += ProcessorTimeOf(program);
        }
        return used;
    }
};

// Programs that read all that comes.
class Audience
{
public:
    explicit Audience(const std::function<std::unique_ptr<Connection>()>& connect)
        : waiting(epoll_create1(EPOLL_CLOEXEC))
    {
        for (std::size_t number = 0; number < Readers; ++number)
        {
            readers.push_back(connect());
            epoll_event event{};
            event.events = EPOLLIN;
            event.data.u64 = number;
            if (epoll_ctl(waiting.Number(), EPOLL_CTL_ADD, readers.back()->Descriptor(), &event) == -1)
            {
                System::ThrowErrno("cannot wait for telegrams");
            }
        }
    }

    // Whether all get each of so many a second, for a while.
    bool HearAll(double rate, const std::function<bool()>& say)
    {
        const auto count = static_cast<std::size_t>(rate / 2);
        counts.fill(0);
        const auto begin = Clock::now();
        for (std::size_t number = 0; number < count; ++number)
        {
            const std::chrono::duration<double> due(static_cast<double>(number) / rate);
            do
            {
                Read(0);
            } while (Clock::now() - begin < due);
            if (!say())
            {
                return false;
            }
        }
        const auto haveAll = [&]
        { return std::all_of(counts.begin(), counts.end(), [count](std::size_t heard) { return heard == count; }); };
        while (!haveAll() && Read(1000)) // ms; longer than anybody's period
        {
        }
        return haveAll();
    }

    // What is still under way.
    void Forget()
    {
        while (Read(300))
        {
        }
    }

private:
    // False if nothing came.
    bool Read(int patience)
    {
        std::array<epoll_event, Readers> events{};
        const int ready = epoll_wait(waiting.Number(), events.data(), static_cast<int>(events.size()), patience);
        for (int entry = 0; entry < ready; ++entry)
        {
            const auto number = static_cast<std::size_t>(events.at(static_cast<std::size_t>(entry)).data.u64);
            counts.at(number) += readers[number]->TakeAll();
        }
        return ready > 0;
    }

    System::Descriptor waiting;
    std::vector<std::unique_ptr<Connection>> readers;
    std::array<std::size_t, Readers> counts{};
};

struct Costs
{
    std::optional<double> roundTrip;     // µs
    std::optional<double> processorTime; // µs
    std::optional<double> rate;          // messages a second
    std::optional<double> heapCalls;     // a frame
    std::optional<double> memory;        // KiB
    std::optional<double> wakeUps;       // a second
};

// Messages a second, and the memory of the program that brought them. A rate counts if one of three tries loses nothing: other
// programs may disturb. Beyond the highest one the readers do not read as fast as they should.
void MeasureHighestRate(Audience& audience, const std::function<bool()>& say, pid_t process, Costs& costs)
{
    for (const double rate : {500, 1000, 2000, 4000, 6000, 8000, 10'000, 12'000, 15'000, 20'000, 30'000, 40'000})
    {
        bool kept = false;
        for (int tries = 0; tries < 3 && !kept; ++tries)
        {
            kept = audience.HearAll(rate, say);
            if (!kept)
            {
                audience.Forget();
            }
        }
        if (!kept)
        {
            return;
        }
        costs.rate = rate;
        costs.memory = static_cast<double>(ResidentMemoryOf(process));
    }
}

double WakeUpsOf(pid_t process)
{
    const auto begin = Clock::now();
    const long before = SleepsOf(process);
    std::this_thread::sleep_for(IdleTime);
    const std::chrono::duration<double> watched = Clock::now() - begin;
    return static_cast<double>(SleepsOf(process) - before) / watched.count();
}

// With one processor for all, in turns.
void MeasureTrips(std::size_t turns, const System::Process& daemon, const System::Process& gateway, const Knxd* knxd,
                  Costs& direct, Costs& through, Costs& throughKnxd)
{
    const GatewayConnection program(SocketPath("gateway"));
    const QueueConnection queues; // are there now
    const auto trip = [](const Connection& connection)
    {
        return [&connection]
        {
            connection.Send(ToBus);
            connection.Receive();
        };
    };
    Way bare{trip(queues), {daemon.Id()}, {}, {}};
    Way gatewayWay{trip(program), {daemon.Id(), gateway.Id()}, {}, {}};
    Way knxdWay{[knxd] { knxd->MakeTrip(); }, {}, {}, {}};
    if (knxd != nullptr)
    {
        knxdWay.programs = {knxd->Id()};
    }
    for (std::size_t turn = 0; turn <= turns; ++turn) // the first is not counted, because nothing is prepared
    {
        gateway.Signal(SIGSTOP); // it would take what comes back to the bare queue
        bare.Turn(turn > 0);
        gateway.Signal(SIGCONT);
        gatewayWay.Turn(turn > 0);
        if (knxd != nullptr)
        {
            knxdWay.Turn(turn > 0);
        }
    }
    direct = {bare.RoundTrip(), bare.ProcessorTime(), {}, {}, {}, {}};
    through = {gatewayWay.RoundTrip(), gatewayWay.ProcessorTime(), {}, {}, {}, {}};
    if (knxd != nullptr)
    {
        throughKnxd = {knxdWay.RoundTrip(), knxdWay.ProcessorTime(), {}, {}, {}, {}};
    }
}

template<typename Reader>
void MeasureReaders(const std::string& socket, pid_t process, const std::function<bool()>& say, Costs& costs)
{
    Audience audience([&socket] { return std::make_unique<Reader>(SocketPath(socket)); });
    MeasureHighestRate(audience, say, process, costs);
    costs.wakeUps = WakeUpsOf(process);
}

double HeapCallsPerFrame()
{
    const SharedNumber calls;
    const System::Process gateway =
        StartGateway({{"LD_PRELOAD", HEAP_COUNT}, {"ORVEL_HEAP_COUNT", std::to_string(calls.Descriptor())}});
    const GatewayConnection program(SocketPath("gateway"));
    Way way{[&program]
            {
                program.Send(ToBus);
                program.Receive();
            },
            {gateway.Id()},
            {},
            {}};
    way.Turn(false);
    const uint64_t before = calls.Value();
    if (before == 0)
    {
        throw std::runtime_error("no heap call was counted, not even of the start");
    }
    way.Turn(false);
    return static_cast<double>(calls.Value() - before) / static_cast<double>(TripsPerTurn);
}

class CostTable
{
public:
    void Add(const std::string& what, std::optional<double> Costs::*cost, int digits, const std::string& goal,
             bool reached)
    {
        const auto text = [&](const Costs& costs)
        { return costs.*cost ? Text(*(costs.*cost), digits) : std::string("-"); };
        const bool isRatio = direct.*cost && gateway.*cost;
        table.Add({what, text(direct), text(gateway), isRatio ? Text(*(gateway.*cost) / *(direct.*cost), 2) : "-",
                   text(knxd), goal, reached ? "yes" : "NO"});
    }

    // True if all that can be counted is as it should be.
    bool Print()
    {
        const bool fewHeapCalls = *gateway.heapCalls <= MostHeapCalls;
        const bool littleMemory = gateway.memory && *gateway.memory <= MostMemory;
        const bool fewWakeUps = *gateway.wakeUps <= MostWakeUps + 1.0 / static_cast<double>(IdleTime.count());
        Add("round trip on one processor, µs", &Costs::roundTrip, 1, "2.0 of the queue's, below knxd's",
            *gateway.roundTrip <= MostRoundTrip * *direct.roundTrip &&
                (!knxd.roundTrip || *gateway.roundTrip < *knxd.roundTrip));
        Add("processor time a frame, µs", &Costs::processorTime, 1, "2.5 of the queue's",
            *gateway.processorTime <= MostProcessorTime * *direct.processorTime);
        Add("messages a second to 32 readers", &Costs::rate, 0, "10000", gateway.rate.value_or(0) >= LeastRate);
        Add("heap calls a frame", &Costs::heapCalls, 2, "0", fewHeapCalls);
        Add("KiB resident with 32 readers", &Costs::memory, 0, "6144", littleMemory);
        Add("wake-ups a second, idle", &Costs::wakeUps, 2, "1.1", fewWakeUps);
        table.Print();
        return fewHeapCalls && littleMemory && fewWakeUps;
    }

    Costs direct;
    Costs gateway;
    Costs knxd;

private:
    Table table{{"cost", "queue", "gateway", "ratio", "knxd", "goal", "reached"}};
};

bool Measure(std::size_t turns, const std::string& knxdFile)
{
    const Processors processors = ChooseProcessors();
    const OtherWork others;
    const BareBoard board;
    KeepOn(processors.application);
    CostTable table;
    std::optional<Knxd> knxd;
    if (knxdFile.empty())
    {
        std::puts("knxd is not installed, or this is not root's network: nothing is measured of it.");
    }
    else
    {
        knxd.emplace(knxdFile);
    }
    {
        const System::Process gateway = StartGateway();
        const System::Process daemon = StartDaemon();
        MeasureTrips(turns, daemon, gateway, knxd ? &*knxd : nullptr, table.direct, table.gateway, table.knxd);

        MoveTo(processors.subject, gateway.Id());
        const System::MessageQueue asLink(ORVEL_CEMI_FROM_LL_QUEUE, System::MessageQueue::For::Writing);
        const System::MessageQueue::Message message{11, 0x29, 0, 0xBC, 0xE0, 0x11, 0x01, 0x0A, 0x04, 1, 0, 0x81};
        MeasureReaders<GatewayConnection>(
            "gateway", gateway.Id(), [&] { return asLink.Send(message); }, table.gateway);
    }
    {
        const System::Process daemon = StartDaemon();
        table.gateway.heapCalls = HeapCallsPerFrame();
    }
    if (knxd)
    {
        MoveTo(processors.subject, knxd->Id());
        knxd->Forget();
        MeasureReaders<KnxdConnection>(
            "knxd", knxd->Id(), [&] { return knxd->Say(); }, table.knxd);
    }
    PrintHeading("The gateway");
    const bool kept = table.Print();
    std::printf("\nOther programs took %.0f %% of the processors meanwhile.\n", others.Percent());
    return kept;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        std::puts("usage: gateway-costs DIRECTORY TURNS [KNXD]");
        return 2;
    }
    try
    {
        RaisePriority();
        Simulator::EnterNamespaces();
        std::filesystem::create_directories(argv[1]);
        std::filesystem::current_path(argv[1]);
        return Measure(std::stoul(argv[2]), argc > 3 ? argv[3] : "") ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "gateway-costs: %s\n", failure.what());
    }
    return EXIT_FAILURE;
}
