#include "BenchKit/Await.h"
#include "BenchKit/Daemon.h"
#include "BenchKit/Messages.h"
#include "BenchKit/OwnNetwork.h"
#include "BenchKit/PacketConnection.h"
#include "BenchKit/Paths.h"
#include "Overlay.h"
#include "Scenario.h"
#include "Trial.h"

#include "Knx/Datagram.h"
#include "Knx/HexDigits.h"
#include "Knx/MulticastSocket.h"
#include "System/Descriptor.h"
#include "System/MessageQueue.h"
#include "System/ThrowErrno.h"

#include "Orvel/Gateway.h"
#include "Orvel/Protocol.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <utility>

using Knx::Bytes;
using Knx::MulticastSocket;
using System::OwnMessageQueue;

namespace
{

const std::filesystem::path Directory = "/run/orvel";
const std::string Socket = Directory / "gateway";
const std::string Metrics = Directory / "gateway.metrics";
constexpr const char* Group = "239.0.23.12";
constexpr const char* Usable = "03 b9 00 01";
constexpr const char* Lost = "03 b9 ff ff";

constexpr int RoundsBeforeRestart = 2;
constexpr int MaxRounds = 40; // until the call that is to fail has come

// These come in every run.
const std::set<std::string> UsualLines{"WARN Daemon No daemon: waiting for its queues",
                                       "WARN Daemon The daemon has stopped", "WARN Gateway The link is lost"};

System::Descriptor NewSocket(int flags)
{
    System::Descriptor made = MakeUnixSocket(SOCK_SEQPACKET | flags);
    if (!made.IsOpen())
    {
        System::ThrowErrno("cannot make a socket");
    }
    return made;
}

// Leaves the socket's file behind.
System::Descriptor Bind()
{
    System::Descriptor made = NewSocket(0);
    const sockaddr_un address = UnixAddress(Socket);
    if (bind(made.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == -1)
    {
        System::ThrowErrno("cannot make " + Socket);
    }
    return made;
}

// A program that uses the gateway.
class Program
{
public:
    bool Connect()
    {
        if (connection.IsOpen())
        {
            return true;
        }
        System::Descriptor made = NewSocket(SOCK_NONBLOCK);
        const sockaddr_un address = UnixAddress(Socket);
        if (connect(made.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0)
        {
            connection = std::move(made);
        }
        return connection.IsOpen();
    }

    bool Send(const std::string& message) const
    {
        const Bytes bytes = Knx::FromHex(message);
        return connection.IsOpen() && send(connection.Number(), bytes.data(), bytes.size(), MSG_NOSIGNAL) != -1;
    }

    // The next message; nothing if there is none. The end of the connection closes it.
    std::optional<std::string> Receive()
    {
        std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> bytes{};
        const ssize_t size = connection.IsOpen() ? recv(connection.Number(), bytes.data(), bytes.size(), 0) : 0;
        if (size > 0)
        {
            return Knx::ToHex({bytes.begin(), bytes.begin() + size});
        }
        if (size == 0 || errno != EAGAIN)
        {
            connection.Close();
        }
        return std::nullopt;
    }

    bool IsConnected() const
    {
        return connection.IsOpen();
    }

    void Leave()
    {
        connection.Close();
    }

private:
    System::Descriptor connection;
};

// The daemon's queues, with a link behind them that confirms each request.
class Link
{
public:
    Link()
    {
        Say(Usable);
    }

    void Say(const std::string& message) const
    {
        fromLink.Send(Knx::FromHex(message));
    }

    void Press(uint8_t state) const
    {
        button.Send({state});
    }

    // The next frame that has come.
    std::optional<std::string> Receive() const
    {
        auto message = toLink.Receive();
        if (!message)
        {
            return std::nullopt;
        }
        Bytes frame(message->begin() + 1, message->end());
        std::string received = Knx::ToHex(frame);
        frame[0] = 0x2E; // L_Data.con
        Say(AsMessage(Knx::ToHex(frame)));
        return received;
    }

private:
    // The gateway opens first what is made last.
    OwnMessageQueue button{ORVEL_PROG_BUTTON_QUEUE, OwnMessageQueue::For::Writing, 6, 1};
    OwnMessageQueue toLink{ORVEL_CEMI_TO_LL_QUEUE, OwnMessageQueue::For::Reading, 14, ORVEL_CEMI_MESSAGE_SIZE};
    OwnMessageQueue fromLink{ORVEL_CEMI_FROM_LL_QUEUE, OwnMessageQueue::For::Writing, 14, ORVEL_CEMI_MESSAGE_SIZE};
};

class GatewayScenario : private Trial
{
public:
    GatewayScenario(const std::optional<Watch::Plan>& plan, const Expectation& theExpectation, bool activated)
        : Trial(plan, theExpectation)
        , isActivated(activated)
        , concernsMetrics(plan && plan->point.object.rfind(Metrics, 0) == 0)
    {
    }

    Report Play()
    {
        EnterOwnNetwork();
        Furnish();
        network.emplace("lo", Group);
        System::Descriptor made = Bind();
        if (isActivated && listen(made.Number(), 64) == -1)
        {
            System::ThrowErrno("cannot listen");
        }
        program.emplace(Command(), Daemon::Environment(), isActivated ? made.Number() : -1);
        made.Close(); // without activation: as a killed gateway leaves it
        Begin(*program);
        PlayTraffic();
        End(*program, [&] { AwaitRest(); });
        Collect();
        program.reset();
        return report;
    }

private:
    // The system's files that the gateway looks at are the same on every machine.
    static void Furnish()
    {
        Simulator::CoverDirectory("/run");
        std::filesystem::create_directory(Directory);
        const std::filesystem::path files = "/run/orvel-files";
        std::filesystem::create_directory(files);
        std::ofstream(files / "nsswitch.conf") << "group: files\n";
        std::ofstream(files / "group") << "root:x:0:\norvel:x:0:\n";
        for (const char* const file : {"nsswitch.conf", "group"})
        {
            Simulator::BindMount(files / file, std::filesystem::path("/etc") / file);
        }
    }

    std::vector<std::string> Command()
    {
        auto command = watch.Command(
            {Paths::Gateway(), "--socket", Socket, "--metrics", Metrics, "--knxip", std::string("lo/") + Group});
        if (isActivated)
        {
            command[0] = std::filesystem::read_symlink(command[0]); // the shell is another program
            command.insert(command.begin(),
                           {"sh", "-c", "exec 3<&0 </dev/null; export LISTEN_PID=$$ LISTEN_FDS=1; exec \"$@\"", "sh"});
        }
        return command;
    }

    void PlayTraffic()
    {
        if (!Arrives([&] { return IsTold(Lost); }))
        {
            return;
        }
        link.emplace();
        while (round < RoundsBeforeRestart)
        {
            if (!PlayRound())
            {
                return;
            }
        }
        link.reset(); // the daemon is started anew
        link.emplace();
        if (!Arrives([&] { return report.deliveries["state of one"].received.size() >= 4; }))
        {
            return;
        }
        do
        {
            if (!PlayRound())
            {
                return;
            }
        } while (IsAwaited() && round < MaxRounds);
        if (expectation.Has("recovers"))
        {
            report.deliveries.clear();
            mustArrive = true;
            PlayRound();
        }
        if (concernsMetrics)
        {
            report.deliveries["metrics"].sent.emplace_back("a file");
            Arrives([] { return std::filesystem::exists(Metrics); });
        }
    }

    // A signal that comes when the gateway is about to make a call would make that call fail, because the watch holds it.
    void AwaitRest() const
    {
        const Point waiting{"epoll_wait", "eventpoll"};
        unsigned before = 0;
        Await(
            [&]
            {
                const bool rests = watch.Calls(waiting) == before && watch.LastCall() == waiting;
                before = watch.Calls(waiting);
                return rests || HasEnded();
            },
            GivingUp);
    }

    // A telegram from each side, a press of the button, and a program that comes and goes.
    bool PlayRound()
    {
        const std::string number = Knx::ToHex({static_cast<uint8_t>(++round)});
        const std::string fromOne = " e0 11 03 0a 03 02 00 80 " + number;
        const std::string fromBus = " e0 11 01 0a 04 02 00 80 " + number;
        const std::string fromNetwork = " 11 02 0a 05 02 00 80 " + number;
        const auto isReady = [&] { return IsTold(Usable) && HasJoined(); };
        if (!Arrives(isReady))
        {
            return false;
        }

        Expect("link", "11 00 bc" + fromOne);
        Expect("one", AsMessage("2e 00 bc" + fromOne));
        Expect("other", AsMessage("29 00 bc" + fromOne));
        Expect("network", "29 00 bc" + WithOneHopLess(fromOne));
        if (!Arrives([&] { return one.Send(AsMessage("11 00 bc" + fromOne)); }) || !AllArrive())
        {
            return false;
        }

        link->Say(AsMessage("29 00 bc" + fromBus));
        ExpectOfBoth(AsMessage("29 00 bc" + fromBus));
        Expect("network", "29 00 bc" + WithOneHopLess(fromBus));
        if (!AllArrive())
        {
            return false;
        }

        network->Send(Knx::Routing::Encode(Knx::Routing::Indication{Knx::FromHex("29 00 bc e0" + fromNetwork)}));
        Expect("link", "11 00 bc d0" + fromNetwork);
        ExpectOfBoth(AsMessage("29 00 bc d0" + fromNetwork));
        if (!AllArrive())
        {
            return false;
        }

        link->Press(static_cast<uint8_t>(round)); // the gateway passes on whatever it is
        ExpectOfBoth("02 ba " + number);
        Expect("visitor", Usable);
        visits = true;
        const bool arrived = AllArrive();
        visits = false;
        visitor.Leave();
        return arrived;
    }

    static std::string WithOneHopLess(std::string telegram)
    {
        return telegram.replace(1, 2, "d0");
    }

    void Expect(const std::string& who, const std::string& message)
    {
        report.deliveries[who].sent.push_back(message);
    }

    void ExpectOfBoth(const std::string& message)
    {
        Expect("one", message);
        Expect("other", message);
    }

    bool AllArrive()
    {
        return Arrives(
            [&]
            {
                return std::all_of(report.deliveries.begin(), report.deliveries.end(),
                                   [](const auto& entry)
                                   { return entry.second.received.size() >= entry.second.sent.size(); });
            });
    }

    // False if it is pointless to go on.
    bool Arrives(const std::function<bool()>& done)
    {
        const auto isDone = [&]
        {
            Serve();
            return done();
        };
        const bool arrived = Step(isDone);
        if (arrived || mustArrive || !expectation.Has("recovers") || HasEnded())
        {
            return arrived;
        }
        report.deliveries.clear(); // what is lost is not waited for again
        return true;
    }

    // All that are there take what has come for them.
    void Serve()
    {
        while (const auto frame = link ? link->Receive() : std::nullopt)
        {
            report.deliveries["link"].received.push_back(*frame);
        }
        Serve(one, "one");
        Serve(other, "other");
        if (visits)
        {
            Serve(visitor, "visitor");
        }
        while (const auto datagram = network->Receive())
        {
            const auto decoded = Knx::Routing::Decode(*datagram);
            if (const auto* const telegram = decoded ? std::get_if<Knx::Routing::Indication>(&*decoded) : nullptr)
            {
                report.deliveries["network"].received.push_back(Knx::ToHex(telegram->cemi));
            }
        }
    }

    void Serve(Program& user, const std::string& name)
    {
        if (!user.Connect())
        {
            return;
        }
        while (const auto message = user.Receive())
        {
            const bool isState = message->size() == 11 && message->substr(3, 2) == "b9";
            if (&user == &visitor && !isState)
            {
                continue; // the rest depends on when it came
            }
            report.deliveries[isState && &user != &visitor ? "state of " + name : name].received.push_back(*message);
            states[name] = isState ? *message : states[name];
        }
        if (!user.IsConnected())
        {
            states[name].clear();
            report.deliveries["parted"].received.push_back(name);
        }
    }

    bool IsTold(const std::string& state)
    {
        return states["one"] == state && states["other"] == state;
    }

    // Whether the gateway is in the network's group now, as it says.
    bool HasJoined() const
    {
        bool joined = expectation.Has("unlogged");
        for (const std::string& line : program->Lines())
        {
            joined = line.find("Joined KNXnet/IP routing") != std::string::npos ||
                     (joined && line.find("Lost the network interface") == std::string::npos);
        }
        return joined;
    }

    void Collect()
    {
        CollectCalls();
        if (concernsMetrics && std::filesystem::exists(Metrics))
        {
            report.deliveries["metrics"].received.emplace_back("a file");
        }
        for (const char* const name : {"one", "other"})
        {
            if (expectation.Has("recovers"))
            {
                report.deliveries.erase(std::string("state of ") + name);
            }
            else
            {
                report.deliveries[std::string("state of ") + name].sent = {Lost, Usable, Lost, Usable};
            }
        }
        for (const std::string& line : program->LogLines())
        {
            const bool isFailure =
                line.rfind("ERROR", 0) == 0 || line.rfind("FATAL", 0) == 0 || line.rfind("WARN", 0) == 0;
            const bool isLoss = line.rfind("WARN Network Lost ", 0) == 0 &&
                                line.find(" telegrams from the network, ") != std::string::npos;
            if (isFailure && UsualLines.count(line) == 0 && !(isLoss && expectation.Has("recovers")))
            {
                report.lines.push_back(line);
            }
        }
        for (const std::string& line : program->Lines())
        {
            if (line.rfind("orvel-gateway: ", 0) == 0)
            {
                report.lines.push_back(line);
            }
        }
        for (const auto& file : std::filesystem::directory_iterator(Directory))
        {
            if (file.path() != Metrics && !(isActivated && file.path() == Socket))
            {
                report.left.push_back(file.path());
            }
        }
        report.ends = {1, 2, 5, 6, 9};
    }

    const bool isActivated;
    const bool concernsMetrics;
    std::optional<MulticastSocket> network; // of another participant
    std::optional<Daemon> program;          // the gateway
    std::optional<Link> link;
    Program one;
    Program other;
    Program visitor;
    bool visits = false;
    std::map<std::string, std::string> states; // of the link, the last that each program was told
    int round = 0;
    bool mustArrive = false; // all of this round: what may be lost has been
};

} // namespace

Report RunGateway(const std::optional<Watch::Plan>& plan, const Expectation& expectation)
{
    return GatewayScenario(plan, expectation, false).Play();
}

Report RunActivatedGateway(const std::optional<Watch::Plan>& plan, const Expectation& expectation)
{
    return GatewayScenario(plan, expectation, true).Play();
}
