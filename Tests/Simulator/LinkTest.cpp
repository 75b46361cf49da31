#include "Link.h"

#include "Nemt/CommHub.h"

#include "System/Descriptor.h"
#include "System/WakeUp.h"

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <future>
#include <mutex>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace std::chrono_literals;
using Simulator::Link;
using Simulator::Wire::Frame;
using Simulator::Wire::Kind;

using Bytes = std::vector<uint8_t>;

namespace
{

constexpr auto Patience = 10s;  // for whatever must happen; a loaded machine takes its time
constexpr auto Glimpse = 100ms; // for what must not happen: long enough to see it if it does

constexpr auto ReconnectLimit = 5s;        // what Reconnect may take
constexpr std::size_t QueueSize = 64;      // messages that wait for the line
constexpr std::size_t MaxMessage = 1024;   // bytes
constexpr std::size_t MoreThanFits = 1000; // messages; what a queue and a pseudo-terminal hold together is far less

/// Values guarded by a lock, and waiting for them to become as they should.
template<typename Value>
class Watched
{
public:
    template<typename Change>
    auto With(const Change& change)
    {
        const Notifier notifier{changed};
        const std::lock_guard lock(mutex);
        return change(value);
    }

    Value Get()
    {
        return With([](const Value& current) { return current; });
    }

    template<typename Condition>
    bool Await(const Condition& condition)
    {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, Patience, [&] { return condition(value); });
    }

private:
    struct Notifier // after the lock is released
    {
        std::condition_variable& changed;
        ~Notifier()
        {
            changed.notify_all();
        }
    };

    std::mutex mutex;
    std::condition_variable changed;
    Value value{};
};

using Lines = std::vector<std::string>;

/// What was logged through the functions below: a letter for the level, a space and the text.
Watched<Lines>& Log()
{
    static Watched<Lines> log;
    return log;
}

void AddLine(const char* level, const std::string& text)
{
    Log().With([&](Lines& lines) { lines.push_back(level + (' ' + text)); });
}

void AddFormatted(const char* level, const char* format, va_list arguments)
{
    std::array<char, 256> text{};
    std::vsnprintf(text.data(), text.size(), format, arguments);
    AddLine(level, text.data());
}

std::ptrdiff_t CountIn(const Lines& lines, const std::string& part)
{
    return std::count_if(lines.begin(), lines.end(),
                         [&](const std::string& line) { return line.find(part) != std::string::npos; });
}

std::ptrdiff_t Logged(const std::string& part)
{
    return CountIn(Log().Get(), part);
}

bool AwaitLogged(const std::string& part)
{
    return Log().Await([&](const Lines& lines) { return CountIn(lines, part) > 0; });
}

} // namespace

extern "C"
{
    void NemtLog_Debug(char* text)
    {
        AddLine("D", text);
    }

    void NemtLog_Warn(char* text)
    {
        AddLine("W", text);
    }

    void NemtLog_Error(char* text)
    {
        AddLine("E", text);
    }

    void NemtLog_DebugFmt(char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        AddFormatted("D", format, arguments);
        va_end(arguments);
    }

    void NemtLog_WarnFmt(char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        AddFormatted("W", format, arguments);
        va_end(arguments);
    }

    void NemtLog_ErrorFmt(char* format, ...)
    {
        va_list arguments;
        va_start(arguments, format);
        AddFormatted("E", format, arguments);
        va_end(arguments);
    }

    void NemtLog_DebugHex(char* text, unsigned char* data, unsigned int length)
    {
        std::string line = text;
        for (unsigned int index = 0; index < length; ++index)
        {
            std::array<char, 8> byte{};
            std::snprintf(byte.data(), byte.size(), " %x", static_cast<unsigned int>(data[index]));
            line += byte.data();
        }
        AddLine("D", line);
    }
}

namespace
{

struct Message
{
    uint16_t topic;
    Bytes payload;

    bool operator==(const Message& other) const
    {
        return topic == other.topic && payload == other.payload;
    }
};

using Messages = std::vector<Message>;

/// A co-processor at the far end of a pseudo-terminal that does what a test tells it to. While nothing else is said it
/// answers each Hello and each Ping of the session.
class Peer
{
public:
    Peer()
        : master(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK))
    {
        std::array<char, 64> name{};
        if (!master.IsOpen() || grantpt(master.Number()) == -1 || unlockpt(master.Number()) == -1 ||
            ptsname_r(master.Number(), name.data(), name.size()) != 0)
        {
            throw std::runtime_error("no pseudo-terminal");
        }
        device = name.data();
        // Kept open, so that this end never reports that nobody has the device open. Raw, so that nothing is echoed.
        slave = System::Descriptor(open(device.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));
        termios settings{};
        tcgetattr(slave.Number(), &settings);
        cfmakeraw(&settings);
        tcsetattr(slave.Number(), TCSANOW, &settings);
        thread = std::thread(&Peer::ThreadFunction, this);
    }

    ~Peer()
    {
        HangUp();
    }

    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    const std::string& Device() const
    {
        return device;
    }

    /// Sets the line as if it had been used for something else.
    void MisconfigureLine()
    {
        termios settings = Settings();
        settings.c_iflag |= ICRNL | ISTRIP | IXON | IXOFF;
        settings.c_oflag |= OPOST;
        settings.c_lflag |= ICANON | ECHO | ISIG | IEXTEN;
        settings.c_cflag |= CSTOPB | PARODD | CRTSCTS;
        settings.c_cc[VMIN] = 100;
        settings.c_cc[VTIME] = 100;
        cfsetispeed(&settings, B9600);
        cfsetospeed(&settings, B9600);
        tcsetattr(slave.Number(), TCSANOW, &settings);
    }

    termios Settings() const
    {
        termios settings{};
        tcgetattr(slave.Number(), &settings);
        return settings;
    }

    /// Everything below is guarded by a lock.
    struct Script
    {
        int deafTo = 0;           // so many Hellos more are not heard
        bool answersHello = true; // with Welcome
        bool answersPing = true;  // with Pong
        bool reads = true;        // takes from the line what the host sends; if not, it shows that it lives
        Bytes beforeWelcome;      // sent once, in front of the next Welcome
        Bytes afterWelcome;       // sent once, behind the next Welcome in the same write
        bool running = true;
        Bytes session;             // current since boot
        std::vector<Bytes> hellos; // their session numbers
        int pings = 0;
        Messages messages;
    };

    template<typename Change>
    void Tell(const Change& change)
    {
        script.With(change);
        wakeUp.Signal();
    }

    void BeSilent()
    {
        Tell([](Script& told) { told.answersHello = told.answersPing = false; });
    }

    void Reboot()
    {
        Tell([](Script& told) { told.session.clear(); });
    }

    void SetReads(bool reads)
    {
        Tell([reads](Script& told) { told.reads = reads; });
    }

    void Send(uint16_t topic, const Bytes& payload)
    {
        SendBytes(Simulator::Wire::Encode({Kind::Message, topic, payload}));
    }

    void SendBytes(const Bytes& bytes)
    {
        const std::lock_guard lock(writing);
        for (std::size_t done = 0; done < bytes.size();)
        {
            const ssize_t written = write(master.Number(), &bytes[done], bytes.size() - done);
            if (written > 0)
            {
                done += static_cast<std::size_t>(written);
                continue;
            }
            pollfd entry{master.Number(), POLLOUT, 0};
            if (poll(&entry, 1, static_cast<int>(std::chrono::milliseconds(Patience).count())) != 1)
            {
                ADD_FAILURE() << "the line does not take what the co-processor sends";
                return;
            }
        }
    }

    template<typename Condition>
    bool Await(const Condition& condition)
    {
        return script.Await(condition);
    }

    bool AwaitMessages(std::size_t count)
    {
        return Await([count](const Script& told) { return told.messages.size() >= count; });
    }

    bool AwaitHellos(std::size_t count)
    {
        return Await([count](const Script& told) { return told.hellos.size() >= count; });
    }

    bool AwaitPings(int count)
    {
        return Await([count](const Script& told) { return told.pings >= count; });
    }

    Script Observed()
    {
        return script.Get();
    }

    /// Takes the device away.
    void HangUp()
    {
        if (!thread.joinable())
        {
            return;
        }
        Tell([](Script& told) { told.running = false; });
        thread.join();
        slave.Close();
        master.Close();
    }

private:
    void ThreadFunction()
    {
        Simulator::Wire::Decoder decoder;
        for (Script told = Observed(); told.running; told = Observed())
        {
            std::array<pollfd, 2> set{
                {{wakeUp.Descriptor(), POLLIN, 0}, {told.reads ? master.Number() : -1, POLLIN, 0}}};
            poll(set.data(), set.size(), told.reads ? -1 : SignOfLifePeriod);
            wakeUp.Clear();
            if (!told.reads)
            {
                SendBytes(Simulator::Wire::Encode({Kind::Pong, 0, told.session}));
            }
            std::array<uint8_t, 4096> bytes;
            const ssize_t size = set[1].revents != 0 ? read(master.Number(), bytes.data(), bytes.size()) : 0;
            if (size > 0)
            {
                decoder.Feed(bytes.data(), static_cast<std::size_t>(size),
                             [this](const Frame& frame) { Answer(frame); });
            }
        }
    }

    void Answer(const Frame& frame)
    {
        const Bytes answer = script.With([&frame](Script& told) { return AnswerTo(frame, told); });
        SendBytes(answer);
    }

    static Bytes AnswerTo(const Frame& frame, Script& told)
    {
        switch (frame.kind)
        {
        case Kind::Hello:
            return Welcome(frame.payload, told);
        case Kind::Ping:
            ++told.pings;
            return told.answersPing && frame.payload == told.session
                       ? Simulator::Wire::Encode({Kind::Pong, 0, frame.payload})
                       : Bytes{};
        case Kind::Message:
            told.messages.push_back({frame.topic, frame.payload});
            return {};
        default:
            ADD_FAILURE() << "the host sent an answer";
            return {};
        }
    }

    static Bytes Welcome(const Bytes& session, Script& told)
    {
        told.hellos.push_back(session);
        if (!told.answersHello || told.deafTo-- > 0)
        {
            return {};
        }
        told.session = session;
        Bytes bytes = std::exchange(told.beforeWelcome, {});
        const Bytes behind = std::exchange(told.afterWelcome, {});
        const Bytes welcome = Simulator::Wire::Encode({Kind::Welcome, 0, session});
        bytes.insert(bytes.end(), welcome.begin(), welcome.end());
        bytes.insert(bytes.end(), behind.begin(), behind.end());
        return bytes;
    }

    static constexpr int SignOfLifePeriod = 50; // ms

    System::Descriptor master;
    System::Descriptor slave;
    std::string device;
    Watched<Script> script;
    std::mutex writing; // one frame after the other
    System::WakeUp wakeUp;
    std::thread thread;
};

/// A name for a peer's device that can be taken away and given to another peer's. Where the device goes away and the
/// link opens it again, its own name will not do: the system gives that to the next pseudo-terminal, maybe another
/// test's.
class DeviceName
{
public:
    DeviceName()
    {
        std::array<char, 32> name{"/tmp/orvel-link-XXXXXX"};
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("no temporary directory");
        }
        directory = name.data();
        path = directory + "/port";
    }

    ~DeviceName()
    {
        Remove();
        rmdir(directory.c_str());
    }

    DeviceName(const DeviceName&) = delete;
    DeviceName& operator=(const DeviceName&) = delete;

    void PointTo(const Peer& peer)
    {
        Remove();
        ASSERT_EQ(symlink(peer.Device().c_str(), path.c_str()), 0);
    }

    void Remove()
    {
        unlink(path.c_str());
    }

    const char* Path() const
    {
        return path.c_str();
    }

private:
    std::string directory;
    std::string path;
};

/// Listeners of both kinds that record their calls and then do what a test wants done within them.
class TopicRecorder : public Nemt::ITopicListener
{
public:
    virtual ~TopicRecorder() = default;

    void OnTopicData(uint16_t topic, const uint8_t* data, uint16_t length) override
    {
        messages.With([&](Messages& received) { received.push_back({topic, Bytes(data, data + length)}); });
        if (then)
        {
            then();
        }
    }

    bool AwaitMessages(std::size_t count)
    {
        return messages.Await([count](const Messages& received) { return received.size() >= count; });
    }

    Messages Received()
    {
        return messages.Get();
    }

    std::function<void()> then; // set before it is registered

private:
    Watched<Messages> messages;
};

class ConnectionRecorder : public Nemt::IConnectionListener
{
public:
    virtual ~ConnectionRecorder() = default;

    void OnConnectionChanged(bool connected) override
    {
        changes.With([connected](std::vector<bool>& reported) { reported.push_back(connected); });
        if (then)
        {
            then();
        }
    }

    bool Await(const std::vector<bool>& expected)
    {
        return changes.Await([&](const std::vector<bool>& reported) { return reported == expected; });
    }

    std::vector<bool> Reported()
    {
        return changes.Get();
    }

    std::function<void()> then; // set before it is registered

private:
    Watched<std::vector<bool>> changes;
};

/// A place in a callback where the link's thread waits until the test lets it go on.
class Gate
{
public:
    ~Gate()
    {
        Open(); // a failed test must not hang
    }

    void Pass()
    {
        state.With([](State& now) { now.reached = true; });
        state.Await([](const State& now) { return now.open; });
        state.With([](State& now) { now.passed = true; });
    }

    bool AwaitReached()
    {
        return state.Await([](const State& now) { return now.reached; });
    }

    void Open()
    {
        state.With([](State& now) { now.open = true; });
    }

    bool WasPassed()
    {
        return state.Get().passed;
    }

private:
    struct State
    {
        bool reached = false;
        bool open = false;
        bool passed = false;
    };

    Watched<State> state;
};

class LinkTest : public testing::Test
{
protected:
    LinkTest()
    {
        Log().With([](Lines& lines) { lines.clear(); });
    }

    void OpenConnected()
    {
        ASSERT_TRUE(link.Open(peer.Device().c_str(), 0));
        ASSERT_TRUE(link.IsConnected());
    }

    bool Transmit(uint16_t topic, const Bytes& payload)
    {
        return link.Transmit(topic, payload.data(), static_cast<uint16_t>(payload.size()));
    }

    // Transmits to a co-processor that does not read, until nothing is accepted any more. Returns what was.
    Messages FillTheLine()
    {
        peer.SetReads(false);
        Messages accepted;
        auto refusedSince = std::chrono::steady_clock::time_point::max();
        while (accepted.size() < MoreThanFits && std::chrono::steady_clock::now() - refusedSince < Glimpse)
        {
            const Bytes payload(MaxMessage, static_cast<uint8_t>(accepted.size()));
            if (Transmit(256, payload))
            {
                accepted.push_back({256, payload});
                refusedSince = std::chrono::steady_clock::time_point::max();
            }
            else
            {
                refusedSince = std::min(refusedSince, std::chrono::steady_clock::now());
            }
            std::this_thread::yield();
        }
        return accepted;
    }

    Peer peer;
    Gate gate;
    TopicRecorder topics;
    ConnectionRecorder connections;
    Link link; // last: its thread ends before the listeners do
};

const Bytes Payload{0x02, 0x01, 0x00};

} // namespace

// --- Opening

TEST_F(LinkTest, IsConnectedWhenTheCoProcessorAnswers)
{
    EXPECT_FALSE(link.IsConnected());

    EXPECT_TRUE(link.Open(peer.Device().c_str(), 0));

    EXPECT_TRUE(link.IsConnected());
}

TEST_F(LinkTest, HasToldItsListenersWhenOpenReturns)
{
    link.RegisterConnectionListener(&connections);

    OpenConnected();

    EXPECT_EQ(connections.Reported(), std::vector<bool>{true});
}

TEST_F(LinkTest, RepeatsTheSameHelloWhileTheCoProcessorBoots)
{
    peer.Tell([](Peer::Script& told) { told.deafTo = 3; });

    OpenConnected();

    const std::vector<Bytes> hellos = peer.Observed().hellos;
    ASSERT_GE(hellos.size(), 4U);
    EXPECT_EQ(hellos.front().size(), 4U);
    EXPECT_EQ(hellos.front(), hellos.back());
}

TEST_F(LinkTest, OpensWithoutAConnectionWhenTheCoProcessorIsSilent)
{
    peer.BeSilent();
    link.RegisterConnectionListener(&connections);

    EXPECT_TRUE(link.Open(peer.Device().c_str(), 0));

    EXPECT_FALSE(link.IsConnected());
    EXPECT_TRUE(connections.Reported().empty());
    EXPECT_GT(peer.Observed().hellos.size(), 1U);
}

TEST_F(LinkTest, RefusesAPortThatIsMissing)
{
    EXPECT_FALSE(link.Open("/dev/no-such-port", 0));

    EXPECT_FALSE(link.IsConnected());
    EXPECT_EQ(Log().Get(), Lines{"E Cannot open /dev/no-such-port: No such file or directory"});
}

TEST_F(LinkTest, RefusesAPortThatIsNoTerminal)
{
    EXPECT_FALSE(link.Open("/dev/null", 0));

    EXPECT_EQ(Log().Get(), Lines{"E Cannot open /dev/null: Inappropriate ioctl for device"});
}

TEST_F(LinkTest, OpensAfterARefusal)
{
    EXPECT_FALSE(link.Open("/dev/null", 0));

    OpenConnected();
}

TEST_F(LinkTest, RefusesToOpenTwiceAndKeepsTheFirstLink)
{
    Peer other;
    OpenConnected();

    EXPECT_FALSE(link.Open(other.Device().c_str(), 0));

    EXPECT_TRUE(link.IsConnected());
    EXPECT_TRUE(Transmit(256, Payload));
    EXPECT_TRUE(peer.AwaitMessages(1));
    EXPECT_EQ(Logged("E Cannot open " + other.Device() + ": the link is open already"), 1);
}

TEST_F(LinkTest, SetsTheLineUp)
{
    peer.MisconfigureLine();

    OpenConnected();

    const termios settings = peer.Settings();
    EXPECT_EQ(cfgetispeed(&settings), speed_t{B115200});
    EXPECT_EQ(cfgetospeed(&settings), speed_t{B115200});
    EXPECT_EQ(settings.c_cflag & CSIZE, tcflag_t{CS8});
    EXPECT_EQ(settings.c_cflag & (CSTOPB | PARODD | CRTSCTS), 0U); // even parity is lost on a pseudo-terminal
    EXPECT_EQ(settings.c_cflag & (CREAD | CLOCAL), tcflag_t{CREAD | CLOCAL});
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG | IEXTEN), 0U);
    EXPECT_EQ(settings.c_iflag & (ICRNL | INLCR | IGNCR | ISTRIP | IXON | IXOFF), 0U);
    EXPECT_EQ(settings.c_oflag & OPOST, 0U);
    EXPECT_EQ(settings.c_cc[VMIN], 0);
    EXPECT_EQ(settings.c_cc[VTIME], 0);
}

TEST_F(LinkTest, DropsWhatWasOnTheLineBeforeItWasOpened)
{
    link.RegisterTopicListener(&topics);
    peer.SendBytes({1, 2, 3, 0x7E, 4, 5, 6, 0x7E});

    OpenConnected();
    peer.Send(256, Payload);

    EXPECT_TRUE(topics.AwaitMessages(1));
    EXPECT_EQ(Logged("Damaged"), 0);
}

// --- Messages from the co-processor

TEST_F(LinkTest, OffersEveryMessageToEveryListener)
{
    TopicRecorder other;
    link.RegisterTopicListener(&topics);
    link.RegisterTopicListener(&other);
    OpenConnected();
    Bytes all(MaxMessage);
    for (std::size_t index = 0; index < all.size(); ++index)
    {
        all[index] = static_cast<uint8_t>(index);
    }
    const Messages messages{{256, all}, {257, {}}, {0xFFFF, {0x7E}}};

    for (const Message& message : messages)
    {
        peer.Send(message.topic, message.payload);
    }

    EXPECT_TRUE(topics.AwaitMessages(3));
    EXPECT_TRUE(other.AwaitMessages(3));
    EXPECT_EQ(topics.Received(), messages);
    EXPECT_EQ(other.Received(), messages);
    link.Close(); // before the listener of this test is gone
}

TEST_F(LinkTest, TellsOfTheConnectionBeforeTheFirstMessage)
{
    std::vector<bool> toldAtFirstMessage;
    topics.then = [&] { toldAtFirstMessage = connections.Reported(); };
    link.RegisterTopicListener(&topics);
    link.RegisterConnectionListener(&connections);
    peer.Tell([](Peer::Script& told) { told.afterWelcome = Simulator::Wire::Encode({Kind::Message, 256, Payload}); });

    OpenConnected();

    ASSERT_TRUE(topics.AwaitMessages(1));
    link.Close();
    EXPECT_EQ(toldAtFirstMessage, std::vector<bool>{true});
}

TEST_F(LinkTest, DropsMessagesFromBeforeTheWelcome)
{
    link.RegisterTopicListener(&topics);
    peer.Tell([](Peer::Script& told) { told.beforeWelcome = Simulator::Wire::Encode({Kind::Message, 256, {1}}); });

    OpenConnected();
    peer.Send(256, {2});

    EXPECT_TRUE(topics.AwaitMessages(1));
    EXPECT_EQ(topics.Received(), (Messages{{256, {2}}}));
}

TEST_F(LinkTest, ReceivesOnAfterDamagedFrames)
{
    link.RegisterTopicListener(&topics);
    OpenConnected();

    peer.SendBytes({1, 2, 3, 0x7E});
    ASSERT_TRUE(AwaitLogged("Damaged"));
    peer.Send(256, Payload);

    EXPECT_TRUE(topics.AwaitMessages(1));
    EXPECT_EQ(Logged("W Damaged frames dropped: 1"), 1);
}

TEST_F(LinkTest, FindsMessagesInAFloodOfGarbageWithoutFillingTheLog)
{
    link.RegisterTopicListener(&topics);
    OpenConnected();
    std::mt19937 random(1); // the same garbage each time
    const auto noise = [&random] { return static_cast<uint8_t>(random()); };
    Messages messages;

    for (uint8_t piece = 0; piece < 200; ++piece)
    {
        Bytes garbage(1000);
        std::generate(garbage.begin(), garbage.end(), noise);
        peer.SendBytes(garbage);
        messages.push_back({256, {piece}});
        peer.Send(256, {piece});
    }

    EXPECT_TRUE(topics.AwaitMessages(messages.size()));
    EXPECT_EQ(topics.Received(), messages);
    EXPECT_GE(Logged("Damaged"), 1);
    EXPECT_LT(Logged("Damaged"), 50) << "one a second at most";
}

// --- Messages to the co-processor

TEST_F(LinkTest, SendsWhatIsTransmitted)
{
    OpenConnected();
    const Bytes longest(MaxMessage, 0x7E);

    EXPECT_TRUE(Transmit(256, longest));
    EXPECT_TRUE(Transmit(257, Payload));
    EXPECT_TRUE(Transmit(0xFFFF, {0x7D}));

    EXPECT_TRUE(peer.AwaitMessages(3));
    EXPECT_EQ(peer.Observed().messages, (Messages{{256, longest}, {257, Payload}, {0xFFFF, {0x7D}}}));
}

TEST_F(LinkTest, SendsAnEmptyMessage)
{
    OpenConnected();

    EXPECT_TRUE(link.Transmit(257, nullptr, 0));

    EXPECT_TRUE(peer.AwaitMessages(1));
    EXPECT_EQ(peer.Observed().messages, (Messages{{257, {}}}));
}

TEST_F(LinkTest, SendsTheBytesOfTheCallEvenWhenTheyAreOverwrittenAfterIt)
{
    topics.then = [this] { gate.Pass(); };
    link.RegisterTopicListener(&topics);
    OpenConnected();
    peer.Send(256, {});
    ASSERT_TRUE(gate.AwaitReached()); // nothing is sent while the link's thread is held up here

    Bytes buffer = Payload;
    EXPECT_TRUE(Transmit(257, buffer));
    std::fill(buffer.begin(), buffer.end(), uint8_t{0xEE});
    gate.Open();

    EXPECT_TRUE(peer.AwaitMessages(1));
    EXPECT_EQ(peer.Observed().messages, (Messages{{257, Payload}}));
}

TEST_F(LinkTest, RefusesAMessageThatIsTooLong)
{
    OpenConnected();

    EXPECT_FALSE(Transmit(256, Bytes(MaxMessage + 1)));

    EXPECT_EQ(Logged("W Refused a message of 1025 bytes for topic 256: too long"), 1);
}

TEST_F(LinkTest, RefusesMessagesWhileItIsNotConnected)
{
    EXPECT_FALSE(Transmit(257, Payload)) << "before it is opened";
    OpenConnected();
    link.Close();
    EXPECT_FALSE(Transmit(257, Payload)) << "after it is closed";

    EXPECT_EQ(Logged("W Refused a message of 3 bytes for topic 257: the link is down"), 2);
}

TEST_F(LinkTest, RefusesMessagesWhenTheQueueIsFull)
{
    topics.then = [this] { gate.Pass(); };
    link.RegisterTopicListener(&topics);
    OpenConnected();
    peer.Send(256, {});
    ASSERT_TRUE(gate.AwaitReached()); // nothing is sent while the link's thread is held up here

    for (std::size_t count = 0; count < QueueSize; ++count)
    {
        EXPECT_TRUE(Transmit(256, {static_cast<uint8_t>(count)}));
    }
    EXPECT_FALSE(Transmit(257, {0xFF}));
    gate.Open();

    EXPECT_EQ(Logged("W Refused a message of 1 bytes for topic 257: the queue is full"), 1);
    EXPECT_TRUE(peer.AwaitMessages(QueueSize));
    const Messages messages = peer.Observed().messages;
    ASSERT_EQ(messages.size(), QueueSize);
    for (std::size_t count = 0; count < QueueSize; ++count)
    {
        EXPECT_EQ(messages[count].payload, Bytes{static_cast<uint8_t>(count)});
    }
}

TEST_F(LinkTest, KeepsABoundedNumberOfMessagesWhileTheLineDoesNotMove)
{
    OpenConnected();

    const Messages accepted = FillTheLine();

    EXPECT_GE(accepted.size(), QueueSize);
    EXPECT_LT(accepted.size(), MoreThanFits);
}

TEST_F(LinkTest, SendsEverythingItAcceptedOnceTheLineMovesAgain)
{
    OpenConnected();
    const Messages accepted = FillTheLine();

    peer.SetReads(true);

    EXPECT_TRUE(peer.AwaitMessages(accepted.size()));
    EXPECT_EQ(peer.Observed().messages, accepted);
}

TEST_F(LinkTest, TakesMessagesFromSeveralThreadsAtOnce)
{
    constexpr uint8_t Threads = 4;
    constexpr uint8_t MessagesEach = 100;
    OpenConnected();

    std::vector<std::thread> threads;
    for (uint8_t number = 0; number < Threads; ++number)
    {
        threads.emplace_back(
            [this, number]
            {
                const auto end = std::chrono::steady_clock::now() + Patience;
                for (uint8_t count = 0; count < MessagesEach; ++count)
                {
                    while (!Transmit(number, Bytes(32, count)) && std::chrono::steady_clock::now() < end)
                    {
                        std::this_thread::yield(); // the queue is full
                    }
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_TRUE(peer.AwaitMessages(std::size_t{Threads} * MessagesEach));
    std::array<uint8_t, Threads> next{};
    for (const Message& message : peer.Observed().messages)
    {
        ASSERT_LT(message.topic, Threads);
        ASSERT_EQ(message.payload, Bytes(32, next[message.topic])) << "in each thread's order, and whole";
        ++next[message.topic];
    }
    EXPECT_EQ(next, (std::array<uint8_t, Threads>{MessagesEach, MessagesEach, MessagesEach, MessagesEach}));
}

// --- Losing the link

TEST_F(LinkTest, LeavesTheProcessorAloneWhileNothingHappens)
{
    OpenConnected();
    ASSERT_TRUE(Transmit(256, Payload));

    const std::clock_t before = std::clock(); // of the process, in its own time
    EXPECT_TRUE(peer.AwaitPings(3));
    const std::clock_t used = std::clock() - before;

    EXPECT_LT(used, CLOCKS_PER_SEC / 5) << "in the half second that these pings take";
}

TEST_F(LinkTest, NoticesASilentCoProcessor)
{
    link.RegisterConnectionListener(&connections);
    OpenConnected();

    peer.BeSilent();

    EXPECT_TRUE(connections.Await({true, false}));
    EXPECT_FALSE(link.IsConnected());
    EXPECT_FALSE(Transmit(257, Payload));
    EXPECT_EQ(Logged("D The link on " + peer.Device() + " is down"), 1);
}

TEST_F(LinkTest, NoticesThatThePortIsGone)
{
    link.RegisterConnectionListener(&connections);
    OpenConnected();

    peer.HangUp();

    EXPECT_TRUE(connections.Await({true, false}));
    EXPECT_FALSE(link.IsConnected());
    EXPECT_EQ(Logged("W The other end of " + peer.Device() + " is gone"), 1);
}

TEST_F(LinkTest, NoticesThatThePortIsGoneWhileTheLinkIsDown)
{
    peer.BeSilent();
    ASSERT_TRUE(link.Open(peer.Device().c_str(), 0));

    peer.HangUp();

    EXPECT_TRUE(AwaitLogged("W The other end of " + peer.Device() + " is gone"));
}

// --- Reconnecting

TEST_F(LinkTest, ReconnectWaitsForListenersThatTakeTheirTime)
{
    OpenConnected();
    connections.then = [this] { gate.Pass(); };
    link.RegisterConnectionListener(&connections);

    std::future<bool> reconnected = std::async(std::launch::async, [this] { return link.Reconnect(); });
    ASSERT_TRUE(gate.AwaitReached());

    EXPECT_EQ(reconnected.wait_for(Glimpse), std::future_status::timeout);
    gate.Open();
    EXPECT_TRUE(reconnected.get());
    EXPECT_EQ(connections.Reported(), (std::vector<bool>{false, true}));
}

TEST_F(LinkTest, StartsANewSessionWhenItIsToldToReconnectWhileItIsUp)
{
    link.RegisterConnectionListener(&connections);
    OpenConnected();
    const Bytes before = peer.Observed().session;
    peer.Reboot(); // not noticed yet

    EXPECT_TRUE(link.Reconnect());

    EXPECT_NE(peer.Observed().session, before);
    EXPECT_EQ(connections.Reported(), (std::vector<bool>{true, false, true}));
    EXPECT_TRUE(peer.AwaitPings(1));
}

TEST_F(LinkTest, UsesAnotherSessionNumberEachTime)
{
    OpenConnected();
    EXPECT_TRUE(link.Reconnect());
    EXPECT_TRUE(link.Reconnect());
    link.Close();
    OpenConnected();

    std::vector<Bytes> sessions = peer.Observed().hellos;
    sessions.erase(std::unique(sessions.begin(), sessions.end()), sessions.end()); // repetitions within an attempt
    EXPECT_EQ(sessions.size(), 4U);
    std::sort(sessions.begin(), sessions.end());
    EXPECT_EQ(std::unique(sessions.begin(), sessions.end()), sessions.end());
}

TEST_F(LinkTest, ReconnectDropsWhatWasNotSentYet)
{
    OpenConnected();
    const Messages accepted = FillTheLine();
    std::future<bool> reconnected = std::async(std::launch::async, [this] { return link.Reconnect(); });
    ASSERT_TRUE(AwaitLogged("is down"));

    peer.SetReads(true);
    ASSERT_TRUE(reconnected.get());
    const std::size_t late = peer.Observed().messages.size(); // what the co-processor had already been given
    ASSERT_TRUE(Transmit(257, {2}));

    EXPECT_TRUE(peer.AwaitMessages(late + 1));
    const Messages messages = peer.Observed().messages;
    EXPECT_EQ(messages.size(), late + 1);
    EXPECT_EQ(messages.back(), (Message{257, {2}}));
    EXPECT_LT(late, accepted.size());
}

TEST_F(LinkTest, ReconnectDropsWhatWasReceivedInPart)
{
    link.RegisterTopicListener(&topics);
    peer.Tell([](Peer::Script& told) { told.answersPing = false; }); // nothing follows what is sent in part
    OpenConnected();
    Bytes bytes = Simulator::Wire::Encode({Kind::Message, 256, {1}});
    bytes.insert(bytes.end(), {1, 2, 3}); // the begin of another
    peer.SendBytes(bytes);
    ASSERT_TRUE(topics.AwaitMessages(1));

    ASSERT_TRUE(link.Reconnect());
    peer.Send(256, {2});

    EXPECT_TRUE(topics.AwaitMessages(2));
    EXPECT_EQ(topics.Received().back(), (Message{256, {2}}));
    EXPECT_EQ(Logged("Damaged"), 0);
}

TEST_F(LinkTest, CannotReconnectBeforeItIsOpenedOrAfterItIsClosed)
{
    EXPECT_FALSE(link.Reconnect());
    OpenConnected();
    link.Close();

    EXPECT_FALSE(link.Reconnect());
    EXPECT_FALSE(link.IsConnected());
}

TEST_F(LinkTest, ReopensThePortByItsName)
{
    DeviceName name;
    name.PointTo(peer);
    link.RegisterTopicListener(&topics);
    link.RegisterConnectionListener(&connections);
    ASSERT_TRUE(link.Open(name.Path(), 0));
    peer.HangUp();
    ASSERT_TRUE(connections.Await({true, false}));
    Peer other;
    name.PointTo(other);

    EXPECT_TRUE(link.Reconnect());

    EXPECT_EQ(connections.Reported(), (std::vector<bool>{true, false, true}));
    EXPECT_TRUE(Transmit(256, {1}));
    EXPECT_TRUE(other.AwaitMessages(1));
    other.Send(256, {2});
    EXPECT_TRUE(topics.AwaitMessages(1));
    link.Close(); // before its port is gone
}

TEST_F(LinkTest, GoesOnTryingUntilThePortIsBack)
{
    DeviceName name;
    name.PointTo(peer);
    ASSERT_TRUE(link.Open(name.Path(), 0));
    name.Remove();
    peer.HangUp();
    Peer other;
    std::future<bool> reconnected = std::async(std::launch::async, [this] { return link.Reconnect(); });
    ASSERT_TRUE(AwaitLogged("E Cannot open"));

    name.PointTo(other);

    EXPECT_TRUE(reconnected.get());
    link.Close(); // before its port is gone
}

TEST_F(LinkTest, LeavesTheProcessorAndTheLogAloneWhileThePortIsGone)
{
    DeviceName name;
    name.PointTo(peer);
    ASSERT_TRUE(link.Open(name.Path(), 0));
    name.Remove();
    peer.HangUp();
    std::future<bool> reconnected = std::async(std::launch::async, [this] { return link.Reconnect(); });
    ASSERT_TRUE(AwaitLogged("E Cannot open"));

    const std::clock_t before = std::clock(); // of the process, in its own time
    EXPECT_EQ(reconnected.wait_for(5 * Glimpse), std::future_status::timeout);
    const std::clock_t used = std::clock() - before;

    EXPECT_LT(used, CLOCKS_PER_SEC / 5) << "in the half second of ten tries";
    EXPECT_EQ(Logged(std::string("E Cannot open ") + name.Path()), 1) << "once, not for each try";
    link.Close();
    EXPECT_FALSE(reconnected.get());
}

// --- Closing

TEST_F(LinkTest, EndsARunningReconnectWhenItIsClosed)
{
    OpenConnected();
    peer.BeSilent();
    const std::size_t hellosBefore = peer.Observed().hellos.size();
    const auto begin = std::chrono::steady_clock::now();
    std::future<bool> reconnected = std::async(std::launch::async, [this] { return link.Reconnect(); });
    ASSERT_TRUE(peer.AwaitHellos(hellosBefore + 2));

    link.Close();

    EXPECT_FALSE(reconnected.get());
    EXPECT_LT(std::chrono::steady_clock::now() - begin, ReconnectLimit);
}

TEST_F(LinkTest, EndsARunningOpenWhenItIsClosed)
{
    peer.BeSilent();
    std::future<bool> opened = std::async(std::launch::async, [this] { return link.Open(peer.Device().c_str(), 0); });
    ASSERT_TRUE(peer.AwaitHellos(1));

    link.Close();

    EXPECT_TRUE(opened.get()) << "the port could be opened";
    EXPECT_FALSE(link.IsConnected());
}

TEST_F(LinkTest, ClosesTheDevice)
{
    const auto openDescriptors = []
    {
        int count = 0;
        for (int descriptor = 0; descriptor < 1024; ++descriptor)
        {
            count += fcntl(descriptor, F_GETFD) != -1 ? 1 : 0;
        }
        return count;
    };
    const int before = openDescriptors();
    OpenConnected();
    ASSERT_EQ(openDescriptors(), before + 1);

    link.Close();

    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LinkTest, MayBeClosedAgainAndWithoutBeingOpen)
{
    link.Close();
    OpenConnected();

    link.Close();
    link.Close();

    EXPECT_FALSE(link.IsConnected());
    EXPECT_EQ(Logged("D Closed"), 1);
}

TEST_F(LinkTest, DoesNotReportItsClosingAsALoss)
{
    link.RegisterConnectionListener(&connections);
    OpenConnected();

    link.Close();

    EXPECT_EQ(connections.Reported(), std::vector<bool>{true});
}

TEST_F(LinkTest, OpensAgainAfterItWasClosed)
{
    link.RegisterTopicListener(&topics);
    OpenConnected();
    link.Close();

    OpenConnected();
    peer.Send(256, Payload);
    EXPECT_TRUE(Transmit(257, Payload));

    EXPECT_TRUE(topics.AwaitMessages(1));
    EXPECT_TRUE(peer.AwaitMessages(1));
}

TEST_F(LinkTest, DropsMessagesThatWereQueuedWhenItWasClosed)
{
    topics.then = [this] { gate.Pass(); };
    link.RegisterTopicListener(&topics);
    OpenConnected();
    peer.Send(256, {});
    ASSERT_TRUE(gate.AwaitReached()); // nothing is sent while the link's thread is held up here
    ASSERT_TRUE(Transmit(256, {1}));
    std::thread closer([this] { link.Close(); });
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (link.IsConnected() && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::yield();
    }
    gate.Open();
    closer.join();

    OpenConnected();
    ASSERT_TRUE(Transmit(256, {2}));

    EXPECT_TRUE(peer.AwaitMessages(1));
    EXPECT_EQ(peer.Observed().messages, (Messages{{256, {2}}}));
}

// --- Listeners

TEST_F(LinkTest, CallsListenersOnOneThreadOfItsOwn)
{
    Watched<std::vector<std::thread::id>> callers;
    const auto record = [&callers]
    { callers.With([](std::vector<std::thread::id>& ids) { ids.push_back(std::this_thread::get_id()); }); };
    topics.then = record;
    connections.then = record;
    link.RegisterTopicListener(&topics);
    link.RegisterConnectionListener(&connections);
    OpenConnected();
    peer.Send(256, Payload);
    ASSERT_TRUE(topics.AwaitMessages(1));
    ASSERT_TRUE(link.Reconnect());

    ASSERT_TRUE(callers.Await([](const std::vector<std::thread::id>& ids) { return ids.size() == 4; }));
    link.Close();

    for (const std::thread::id caller : callers.Get())
    {
        EXPECT_NE(caller, std::this_thread::get_id());
        EXPECT_EQ(caller, callers.Get().front());
    }
}

TEST_F(LinkTest, DoesNotCallAListenerBecauseItIsRegistered)
{
    OpenConnected();

    link.RegisterConnectionListener(&connections);
    link.RegisterTopicListener(&topics);
    peer.Send(256, Payload);

    ASSERT_TRUE(topics.AwaitMessages(1)); // the link's thread has been busy since
    EXPECT_TRUE(connections.Reported().empty());
    EXPECT_EQ(topics.Received().size(), 1U);
}

TEST_F(LinkTest, CallsAListenerOnceHoweverOftenItIsRegistered)
{
    TopicRecorder last;
    link.RegisterTopicListener(&topics);
    link.RegisterTopicListener(&topics);
    link.RegisterTopicListener(&last);
    OpenConnected();

    peer.Send(256, Payload);

    EXPECT_TRUE(last.AwaitMessages(1));
    EXPECT_EQ(topics.Received().size(), 1U);
    link.Close(); // before the listener of this test is gone
}

TEST_F(LinkTest, DoesNotCallUnregisteredListeners)
{
    TopicRecorder last;
    ConnectionRecorder lastConnection;
    link.RegisterTopicListener(&topics);
    link.RegisterTopicListener(&last);
    link.RegisterConnectionListener(&connections);
    link.RegisterConnectionListener(&lastConnection);
    link.UnregisterTopicListener(&topics);
    link.UnregisterConnectionListener(&connections);

    OpenConnected();
    peer.Send(256, Payload);

    EXPECT_TRUE(last.AwaitMessages(1));
    EXPECT_TRUE(lastConnection.Await({true}));
    EXPECT_TRUE(topics.Received().empty());
    EXPECT_TRUE(connections.Reported().empty());
    link.Close(); // before the listeners of this test are gone
}

TEST_F(LinkTest, UnregisteringATopicListenerWaitsForItsRunningCall)
{
    topics.then = [this] { gate.Pass(); };
    link.RegisterTopicListener(&topics);
    OpenConnected();
    peer.Send(256, Payload);
    ASSERT_TRUE(gate.AwaitReached());

    std::future<bool> passedWhenUnregistered = std::async(std::launch::async,
                                                          [this]
                                                          {
                                                              link.UnregisterTopicListener(&topics);
                                                              return gate.WasPassed();
                                                          });

    EXPECT_EQ(passedWhenUnregistered.wait_for(Glimpse), std::future_status::timeout);
    gate.Open();
    EXPECT_TRUE(passedWhenUnregistered.get());
}

TEST_F(LinkTest, UnregisteringAConnectionListenerWaitsForItsRunningCall)
{
    OpenConnected();
    connections.then = [this] { gate.Pass(); };
    link.RegisterConnectionListener(&connections);
    peer.HangUp();
    ASSERT_TRUE(gate.AwaitReached());

    std::future<bool> passedWhenUnregistered = std::async(std::launch::async,
                                                          [this]
                                                          {
                                                              link.UnregisterConnectionListener(&connections);
                                                              return gate.WasPassed();
                                                          });

    EXPECT_EQ(passedWhenUnregistered.wait_for(Glimpse), std::future_status::timeout);
    gate.Open();
    EXPECT_TRUE(passedWhenUnregistered.get());
}

TEST_F(LinkTest, UnregisteringDoesNotWaitForTheCallOfAnother)
{
    TopicRecorder other;
    topics.then = [this] { gate.Pass(); };
    link.RegisterTopicListener(&topics);
    link.RegisterTopicListener(&other);
    OpenConnected();
    peer.Send(256, Payload);
    ASSERT_TRUE(gate.AwaitReached());

    link.UnregisterTopicListener(&other);

    EXPECT_FALSE(gate.WasPassed());
    gate.Open();
    link.Close();
    EXPECT_TRUE(other.Received().empty()) << "not even the message that was being offered";
}

TEST_F(LinkTest, LetsListenersUnregisterWithinTheirCalls)
{
    TopicRecorder last;
    topics.then = [this] { link.UnregisterTopicListener(&topics); };
    connections.then = [this] { link.UnregisterConnectionListener(&connections); };
    link.RegisterTopicListener(&topics);
    link.RegisterTopicListener(&last);
    link.RegisterConnectionListener(&connections);

    OpenConnected();
    ASSERT_TRUE(link.Reconnect());
    peer.Send(256, {1});
    peer.Send(256, {2});

    EXPECT_TRUE(last.AwaitMessages(2));
    EXPECT_EQ(topics.Received(), (Messages{{256, {1}}}));
    EXPECT_EQ(connections.Reported(), std::vector<bool>{true});
    link.Close(); // before the listener of this test is gone
}

TEST_F(LinkTest, LetsListenersRegisterOthersWithinTheirCalls)
{
    TopicRecorder added;
    ConnectionRecorder addedConnection;
    topics.then = [&] { link.RegisterTopicListener(&added); };
    connections.then = [&] { link.RegisterConnectionListener(&addedConnection); };
    link.RegisterTopicListener(&topics);
    link.RegisterConnectionListener(&connections);

    OpenConnected();
    ASSERT_TRUE(link.Reconnect());
    peer.Send(256, {1});
    peer.Send(256, {2});

    EXPECT_TRUE(added.AwaitMessages(1));
    EXPECT_EQ(added.Received(), (Messages{{256, {2}}}));
    EXPECT_EQ(addedConnection.Reported(), (std::vector<bool>{false, true}));
    link.Close(); // before the listeners of this test are gone
}

TEST_F(LinkTest, LetsListenersTransmitWithinTheirCalls)
{
    topics.then = [this] { EXPECT_TRUE(Transmit(256, {1})); };
    connections.then = [this] { EXPECT_TRUE(link.IsConnected() && Transmit(257, {2})); };
    link.RegisterTopicListener(&topics);
    link.RegisterConnectionListener(&connections);

    OpenConnected();
    ASSERT_TRUE(peer.AwaitMessages(1));
    peer.Send(256, Payload);

    EXPECT_TRUE(peer.AwaitMessages(2));
    EXPECT_EQ(peer.Observed().messages, (Messages{{257, {2}}, {256, {1}}}));
}

TEST_F(LinkTest, AcceptsRegistrationAndUnregistrationInAllStatesAlsoAfterClose)
{
    link.UnregisterTopicListener(&topics); // never registered
    link.RegisterTopicListener(&topics);
    link.RegisterConnectionListener(&connections);
    OpenConnected();
    link.Close();

    link.UnregisterTopicListener(&topics);
    link.UnregisterConnectionListener(&connections);

    OpenConnected();
    link.Close();
    EXPECT_EQ(connections.Reported(), std::vector<bool>{true}) << "nothing of the second time";
}

TEST_F(LinkTest, AllowsRegistrationFromManyThreadsWhileMessagesCome)
{
    link.RegisterTopicListener(&topics);
    OpenConnected();
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number)
    {
        threads.emplace_back(
            [this]
            {
                for (int round = 0; round < 200; ++round)
                {
                    TopicRecorder passing; // destroyed at once: a late call would be seen by the sanitizers
                    link.RegisterTopicListener(&passing);
                    link.UnregisterTopicListener(&passing);
                }
            });
    }
    for (int count = 0; count < 200; ++count)
    {
        peer.Send(256, {1});
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_TRUE(topics.AwaitMessages(200));
}

// --- Log lines

TEST_F(LinkTest, LogsTheOpeningAndTheClosing)
{
    OpenConnected();
    link.Close();

    const std::string device = peer.Device();
    EXPECT_EQ(Log().Get(), (Lines{"D Opened " + device, "D The link on " + device + " is up", "D Closed " + device}));
}

TEST_F(LinkTest, LogsEachMessageInHexadecimal)
{
    link.RegisterTopicListener(&topics);
    OpenConnected();

    EXPECT_TRUE(Transmit(257, {0x02, 0xFF}));
    peer.Send(256, {0x11, 0x00});

    ASSERT_TRUE(topics.AwaitMessages(1));
    EXPECT_TRUE(AwaitLogged("D Sent on topic 257: 2 ff"));
    EXPECT_TRUE(AwaitLogged("D Received on topic 256: 11 0"));
}

// --- The hub of the library

TEST(CommHub, IsTheSameEveryTime)
{
    EXPECT_NE(Nemt::CommHub::Instance(), nullptr);
    EXPECT_EQ(Nemt::CommHub::Instance(), Nemt::CommHub::Instance());
}

TEST(CommHub, IsALink)
{
    Peer peer;
    TopicRecorder topics;
    ConnectionRecorder connections;
    Nemt::CommHub* const hub = Nemt::CommHub::Instance();
    EXPECT_FALSE(hub->Open("/dev/no-such-port", 0));

    ASSERT_TRUE(hub->Open(peer.Device().c_str(), 0));
    hub->RegisterTopicListener(&topics);
    hub->RegisterConnectionListener(&connections);
    EXPECT_TRUE(hub->IsConnected());
    EXPECT_TRUE(hub->Transmit(257, Payload.data(), static_cast<uint16_t>(Payload.size())));
    EXPECT_TRUE(peer.AwaitMessages(1));
    peer.Send(256, Payload);
    EXPECT_TRUE(topics.AwaitMessages(1));
    EXPECT_TRUE(hub->Reconnect());
    EXPECT_EQ(connections.Reported(), (std::vector<bool>{false, true}));

    hub->Close();
    EXPECT_FALSE(hub->IsConnected());
    EXPECT_FALSE(hub->Transmit(257, Payload.data(), static_cast<uint16_t>(Payload.size())));
    hub->UnregisterTopicListener(&topics);
    hub->UnregisterConnectionListener(&connections);
}

TEST(CommHub, DoesNotCallUnregisteredListeners)
{
    Peer peer;
    TopicRecorder topics;
    TopicRecorder lastTopics;
    ConnectionRecorder connections;
    Nemt::CommHub* const hub = Nemt::CommHub::Instance();
    hub->RegisterTopicListener(&topics);
    hub->RegisterTopicListener(&lastTopics);
    hub->RegisterConnectionListener(&connections);
    hub->UnregisterTopicListener(&topics);
    hub->UnregisterConnectionListener(&connections);

    ASSERT_TRUE(hub->Open(peer.Device().c_str(), 0));
    peer.Send(256, Payload);

    EXPECT_TRUE(lastTopics.AwaitMessages(1));
    hub->Close();
    hub->UnregisterTopicListener(&lastTopics);
    EXPECT_TRUE(topics.Received().empty());
    EXPECT_TRUE(connections.Reported().empty());
}

TEST(CommHub, IsAllThatTheLibraryExports)
{
    void* const library = dlopen("libNemt.so", RTLD_NOW | RTLD_NOLOAD); // loaded with this program, by this name
    ASSERT_NE(library, nullptr);

    EXPECT_NE(dlsym(library, "_ZN4Nemt7CommHub8InstanceEv"), nullptr);
    EXPECT_EQ(dlsym(library, "_ZN9Simulator4Link4OpenEPKcj"), nullptr);
    EXPECT_EQ(dlsym(library, "_ZN9Simulator4Wire6EncodeERKNS0_5FrameE"), nullptr);
    dlclose(library);
}
