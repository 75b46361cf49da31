#include "Scenes.h"

#include "Connection.h"
#include "DaemonLog.h"

#include "BenchKit/Messages.h"
#include "BenchKit/Paths.h"
#include "Board.h"
#include "EventLog.h"
#include "LoggedDaemon.h"

#include "Orvel/Protocol.h"

#include "System/Lines.h"
#include "System/Process.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <thread>
#include <vector>

using Messages::Item;

namespace Scenes
{

namespace
{

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int ResetGpio = 3;
constexpr uint16_t CemiTopic = 0x100;
constexpr auto Limit = 300s; // the machine may be very busy

// The board's own directory.
constexpr const char* Socket = "/dev/scene.gateway";
constexpr const char* PropertiesFile = "/dev/scene.properties";

template<typename Act, typename Condition>
void ActUntil(const Act& act, const Condition& condition, const std::string& otherwise)
{
    for (const auto limit = Clock::now() + Limit; !condition();)
    {
        if (Clock::now() > limit)
        {
            throw Mismatch(otherwise);
        }
        act();
    }
}

std::unique_ptr<System::Process> Start(std::vector<std::string> command, int output = -1)
{
    System::Process::Start start;
    start.command = std::move(command);
    start.standardOutput = output;
    return std::make_unique<System::Process>(start);
}

constexpr Item Usable{Item::State, ORVEL_LINK_STATE_USABLE};
constexpr Item Lost{Item::State, ORVEL_LINK_STATE_LOST};

// A program that keeps what it is told, with times.
class Listener
{
public:
    struct Message
    {
        Item item;
        Clock::time_point at;
    };

    Listener()
    {
        std::optional<System::Descriptor> connected;
        ActUntil([] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); },
                 [&] { return (connected = Connection::TryConnect(Socket)).has_value(); }, "nobody serves the socket");
        socket = std::move(*connected);
    }

    void Send(uint32_t request) const
    {
        const Bytes message = WithSize(Messages::Request(request));
        if (send(socket.Number(), message.data(), message.size(), MSG_NOSIGNAL) == -1)
        {
            throw Mismatch("the gateway does not take a request");
        }
    }

    /// Reads what is there.
    void Read()
    {
        std::array<uint8_t, 512> bytes;
        for (ssize_t size = 0; (size = recv(socket.Number(), bytes.data(), bytes.size(), MSG_DONTWAIT)) > 0;)
        {
            messages.push_back({Messages::Received(bytes.data(), static_cast<std::size_t>(size)), Clock::now()});
        }
    }

    /// Waits for something to read.
    void Await()
    {
        pollfd entry{socket.Number(), POLLIN, 0};
        poll(&entry, 1, 100);
        Read();
    }

    int Descriptor() const
    {
        return socket.Number();
    }

    const std::vector<Message>& Heard() const
    {
        return messages;
    }

    /// How many there are of it.
    long Count(const Item& item) const
    {
        return std::count_if(messages.begin(), messages.end(),
                             [&](const Message& message) { return message.item == item; });
    }

private:
    System::Descriptor socket;
    std::vector<Message> messages;
};

// The board, the daemon and the gateway, with a link that is usable.
class Stage
{
public:
    Stage()
        : board(events, ResetGpio)
        , null(open("/dev/null", O_WRONLY | O_CLOEXEC))
    {
        std::ofstream(PropertiesFile) << DaemonLog::Properties();
        StartDaemon();
        gateway = Start({Paths::Gateway(), "--socket", Socket}, null.Number());
        Listener first;
        ActUntil([&] { first.Await(); }, [&] { return first.Count(Usable) == 1; }, "the link is not usable");
    }

    void StartDaemon()
    {
        daemon = std::make_unique<LoggedDaemon>(std::vector<std::string>{"--log_config_file", PropertiesFile},
                                                [](const std::string&) {});
    }

    /// Lets others go on meanwhile.
    template<typename Act>
    void StopDaemon(const Act& act)
    {
        daemon->Signal(SIGINT);
        ActUntil(
            act, [this] { return daemon->HasEnded(); }, "the daemon does not end");
        if (const int status = daemon->Wait(); status != 0)
        {
            throw Mismatch("the daemon ends with " + std::to_string(status));
        }
    }

    void Inject(uint32_t number)
    {
        board.TheCoProcessor().Flood(CemiTopic, Messages::Telegram(number), 1);
    }

    void End()
    {
        StopDaemon([] { std::this_thread::sleep_for(std::chrono::milliseconds(5)); });
        gateway->Signal(SIGTERM);
        if (const int status = gateway->Wait(); status != 0)
        {
            throw Mismatch("the gateway ends with " + std::to_string(status));
        }
    }

private:
    Simulator::EventLog events;
    Simulator::Board board;
    System::Descriptor null;
    std::unique_ptr<LoggedDaemon> daemon;
    std::unique_ptr<System::Process> gateway;
};

std::string Line(long value, const std::string& what)
{
    std::array<char, 200> text{};
    std::snprintf(text.data(), text.size(), "%9ld  %s\n", value, what.c_str());
    return text.data();
}

// What a line of the monitor tells of.
Item MonitorItem(const std::string& line)
{
    const auto begin = line.find("rx ");
    const auto end = line.find("  #", begin);
    if (begin == std::string::npos || end == std::string::npos)
    {
        return {Item::Strange, 0};
    }
    const Bytes frame = Knx::FromHex(line.substr(begin + 3, end - begin - 3));
    const Bytes message = WithSize(frame);
    return Messages::Received(message.data(), message.size());
}

void Require(const std::vector<Item>& got, const std::vector<Item>& wanted, const std::string& who)
{
    const auto [mine, others] = std::mismatch(got.begin(), got.end(), wanted.begin(), wanted.end());
    if (mine != got.end())
    {
        throw Mismatch(who + " has " + TextOf(*mine) +
                       (others == wanted.end() ? " too much" : " in place of " + TextOf(*others)));
    }
    if (others != wanted.end())
    {
        throw Mismatch(who + " has missed " + TextOf(*others));
    }
}

} // namespace

std::string Monitor(long telegrams)
{
    Stage stage;
    Listener application;
    ActUntil([&] { application.Await(); }, [&] { return application.Count(Usable) == 1; }, "the link is not usable");

    System::Pipe pipe;
    const auto monitor = Start({Paths::Client(), "monitor", "--socket", Socket, "--wide"}, pipe.writing.Number());
    pipe.writing.Close();
    System::Lines lines;
    std::vector<Item> shown;
    const auto readMonitor = [&]
    {
        std::array<pollfd, 2> entries{{{pipe.reading.Number(), POLLIN, 0}, {application.Descriptor(), POLLIN, 0}}};
        if (poll(entries.data(), entries.size(), 100) > 0 && entries[0].revents != 0)
        {
            std::array<char, 65'536> text;
            const ssize_t size = read(pipe.reading.Number(), text.data(), text.size());
            lines.Take({text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))},
                       [&](const std::string& line) { shown.push_back(MonitorItem(line)); });
        }
        application.Read();
    };
    ActUntil(
        readMonitor, [&] { return !shown.empty(); }, "the monitor does not begin");

    // Half of them come from the bus; the others are requests of the application. One of each is under way.
    const auto begun = Clock::now();
    std::vector<Item> wanted{Usable};
    std::vector<Item> wantedByMonitor{Usable};
    const auto half = static_cast<uint32_t>(telegrams / 2);
    for (uint32_t number = 1; number <= half; ++number)
    {
        application.Send(number);
        wanted.push_back({Item::Confirmed, number});
        wantedByMonitor.push_back({Item::Request, number});
        ActUntil(
            readMonitor, [&] { return application.Heard().size() == wanted.size(); }, "a request is not confirmed");
        stage.Inject(number);
        wanted.push_back({Item::Telegram, number});
        wantedByMonitor.push_back({Item::Telegram, number});
        ActUntil(
            readMonitor, [&] { return application.Heard().size() == wanted.size(); }, "a telegram does not come");
    }
    ActUntil(
        readMonitor, [&] { return shown.size() >= wantedByMonitor.size(); }, "the monitor does not show all");
    const auto time = std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - begun);
    monitor->Signal(SIGINT);
    if (const int status = monitor->Wait(); status != 0)
    {
        throw Mismatch("the monitor ends with " + std::to_string(status));
    }
    std::vector<Item> had;
    for (const Listener::Message& message : application.Heard())
    {
        had.push_back(message.item);
    }
    Require(had, wanted, "the application");
    Require(shown, wantedByMonitor, "the monitor");
    stage.End();
    return Line(half, "telegrams from the bus") + Line(half, "requests of the application") +
           Line(half, "telegrams that the application received, in order") +
           Line(half, "confirmations that it received, in order") +
           Line(2L * half, "telegrams that the monitor beside it showed, in order") +
           Line(static_cast<long>(time.count()), "s");
}

std::string Restart()
{
    constexpr int Programs = 32;
    constexpr uint32_t Telegrams = 20; // before, and after
    Stage stage;
    std::list<Listener> programs(Programs);
    const auto readAll = [&]
    {
        std::vector<pollfd> entries;
        for (const Listener& program : programs)
        {
            entries.push_back({program.Descriptor(), POLLIN, 0});
        }
        poll(entries.data(), entries.size(), 10);
        std::for_each(programs.begin(), programs.end(), [](Listener& program) { program.Read(); });
    };
    const auto all = [&](const Item& item, long count)
    {
        return [&programs, item, count]
        {
            return std::all_of(programs.begin(), programs.end(),
                               [&](const Listener& program) { return program.Count(item) == count; });
        };
    };
    uint32_t number = 0;
    const auto speak = [&]
    {
        for (uint32_t count = 0; count < Telegrams; ++count)
        {
            stage.Inject(++number);
            ActUntil(readAll, all({Item::Telegram, number}, 1), "a program does not hear a telegram");
        }
    };
    ActUntil(readAll, all(Usable, 1), "the link is not usable");
    speak();
    const auto stopped = Clock::now();
    stage.StopDaemon(readAll);
    const auto ended = Clock::now();
    // Each asks for something while there is no daemon.
    uint32_t request = 0;
    ActUntil(readAll, all(Lost, 1), "a program is not told that the link is lost");
    for (const Listener& program : programs)
    {
        program.Send(++request);
    }
    const auto isAnswered = [&]
    {
        uint32_t its = 0;
        return std::all_of(programs.begin(), programs.end(),
                           [&](const Listener& program) {
                               return program.Count({Item::Refused, ++its}) == 1;
                           });
    };
    ActUntil(readAll, isAnswered, "a request is not refused");
    const auto started = Clock::now();
    stage.StartDaemon();
    ActUntil(readAll, all(Usable, 2), "a program is not told that the link is usable again");
    speak();

    const auto ms = [&](Clock::time_point time)
    { return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(time - stopped).count()); };
    std::array<char, 300> text{};
    std::snprintf(text.data(), text.size(),
                  "at 0 ms the daemon is told to stop, at %ld ms it has ended, at %ld ms the next one starts\n"
                  "program  telegrams  lost, ms  request refused, ms  usable, ms  first telegram, ms  telegrams\n",
                  ms(ended), ms(started));
    std::string table = text.data();
    uint32_t its = 0;
    for (const Listener& program : programs)
    {
        std::vector<Item> wanted{Usable};
        for (uint32_t telegram = 1; telegram <= number; ++telegram)
        {
            if (telegram == Telegrams + 1)
            {
                wanted.insert(wanted.end(), {Lost, {Item::Refused, its + 1}, Usable});
            }
            wanted.push_back({Item::Telegram, telegram});
        }
        ++its;
        std::vector<Item> had;
        for (const Listener::Message& message : program.Heard())
        {
            had.push_back(message.item);
        }
        Require(had, wanted, "program " + std::to_string(its));
        const auto at = [&](std::size_t index) { return ms(program.Heard().at(1 + Telegrams + index).at); };
        std::snprintf(text.data(), text.size(), "%7u  %9u  %8ld  %19ld  %10ld  %18ld  %9u\n", its, Telegrams, at(0),
                      at(1), at(2), at(3), Telegrams);
        table += text.data();
    }
    stage.End();
    return table;
}

} // namespace Scenes
