#include "Link.h"

#include "NemtLog.h"

#include "System/Deadline.h"

#include <poll.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <system_error>
#include <utility>

namespace Simulator
{

namespace
{

using namespace std::chrono_literals;

constexpr auto OpenLimit = 1s;          // a co-processor that runs answers at once; the driver's start must not hang
constexpr auto ReconnectLimit = 5s;     // many times what the co-processor needs to boot; the driver gives up after it
constexpr std::size_t MaxOutbound = 64; // messages

// The log functions take their data as writable, but only read it.
void LogMessage(const char* verb, const Wire::Frame& message)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%s topic %u:", verb, static_cast<unsigned int>(message.topic));
    NemtLog_DebugHex(text.data(), const_cast<unsigned char*>(message.payload.data()),
                     static_cast<unsigned int>(message.payload.size()));
}

} // namespace

std::optional<System::WakeUp> Link::MakeWakeUp()
{
    try
    {
        return System::WakeUp();
    }
    catch (const std::system_error&)
    {
        return std::nullopt; // the application learns of it from Open
    }
}

Link::~Link()
{
    Close();
}

bool Link::Open(const char* name, unsigned int /*flags*/)
{
    if (!Start(name))
    {
        return false;
    }
    Connect(OpenLimit);
    return true;
}

bool Link::Start(const std::string& name)
{
    const std::lock_guard guard(lifecycle);
    if (thread.joinable())
    {
        NemtLog_ErrorFmt(LogText("Cannot open %s: the link is open already"), name.c_str());
        return false;
    }
    if (!wakeUp)
    {
        NemtLog_ErrorFmt(LogText("Cannot open %s: no event descriptor"), name.c_str());
        return false;
    }
    if (!port.Open(name))
    {
        NemtLog_ErrorFmt(LogText("Cannot open %s: %s"), name.c_str(), strerror(errno));
        return false;
    }
    {
        const std::lock_guard lock(mutex);
        running = true;
        attempt = requested; // what was asked for before the last Close is over
    }
    thread = std::thread(&Link::ThreadFunction, this);
    return true;
}

void Link::Close()
{
    const std::lock_guard guard(lifecycle);
    if (!thread.joinable())
    {
        return;
    }
    {
        const std::lock_guard lock(mutex);
        running = false;
        connected = false;
        outbound.clear();
        ended = requested;
        succeeded = false;
    }
    attemptEnded.notify_all();
    wakeUp->Signal();
    thread.join();
    port.Close();
    NemtLog_DebugFmt(LogText("Closed %s"), port.Name().c_str());
}

bool Link::IsConnected() const
{
    const std::lock_guard lock(mutex);
    return connected;
}

bool Link::Reconnect()
{
    return Connect(ReconnectLimit);
}

bool Link::Connect(Clock::duration limit)
{
    std::unique_lock lock(mutex);
    if (!running)
    {
        return false;
    }
    const uint64_t mine = ++requested;
    requestedLimit = limit;
    wakeUp->Signal();
    attemptEnded.wait(lock, [this, mine] { return ended >= mine; });
    return succeeded;
}

bool Link::Transmit(uint16_t topic, const uint8_t* data, uint16_t length)
{
    Wire::Frame message{Wire::Kind::Message, topic};
    if (length > 0)
    {
        message.payload.assign(data, data + length);
    }
    if (const char* const refusal = Enqueue(std::move(message)))
    {
        NemtLog_WarnFmt(LogText("Refused a message of %u bytes for topic %u: %s"), static_cast<unsigned int>(length),
                        static_cast<unsigned int>(topic), refusal);
        return false;
    }
    wakeUp->Signal();
    return true;
}

// Returns why the message was not taken, nothing when it was.
const char* Link::Enqueue(Wire::Frame message)
{
    if (message.payload.size() > Wire::MaxPayload)
    {
        return "too long";
    }
    const std::lock_guard lock(mutex);
    if (!connected)
    {
        return "the link is down";
    }
    if (outbound.size() == MaxOutbound)
    {
        return "the queue is full";
    }
    outbound.push_back(std::move(message));
    return nullptr;
}

void Link::RegisterTopicListener(Nemt::ITopicListener* listener)
{
    topicListeners.Add(listener);
    NemtLog_Debug(LogText("Topic listener registered"));
}

void Link::UnregisterTopicListener(const Nemt::ITopicListener* listener)
{
    topicListeners.Remove(listener);
}

void Link::RegisterConnectionListener(Nemt::IConnectionListener* listener)
{
    connectionListeners.Add(listener);
}

void Link::UnregisterConnectionListener(const Nemt::IConnectionListener* listener)
{
    connectionListeners.Remove(listener);
}

void Link::ThreadFunction()
{
    while (TakeRequest())
    {
        const auto now = Clock::now();
        WaitAndReceive();
        keeper.OnTime(now); // what had come by then has been received before the silence is judged
    }
    keeper.Stop();
}

// False when the link is closed.
bool Link::TakeRequest()
{
    Clock::duration limit{};
    {
        const std::lock_guard lock(mutex);
        if (!running || attempt == requested)
        {
            return running;
        }
        attempt = requested;
        limit = requestedLimit;
    }
    keeper.Start(Clock::now(), limit);
    return true;
}

// ms; -1 when nothing but events is waited for.
int Link::PollTimeout() const
{
    return System::PollTimeout(keeper.NextTime().value_or(System::NoDeadline));
}

void Link::WaitAndReceive()
{
    std::array<pollfd, 2> set{{{wakeUp->Descriptor(), POLLIN, 0}, port.PollEntry()}};
    if (poll(set.data(), set.size(), PollTimeout()) <= 0)
    {
        return;
    }
    if (set[0].revents != 0)
    {
        wakeUp->Clear();
    }
    port.Receive(set[1].revents, [this](const Wire::Frame& frame) { keeper.OnFrame(frame, Clock::now()); });
}

void Link::Deliver(const Wire::Frame& message)
{
    LogMessage("Received on", message);
    topicListeners.CallAll(
        [&message](Nemt::ITopicListener& listener) {
            listener.OnTopicData(message.topic, message.payload.data(), static_cast<uint16_t>(message.payload.size()));
        });
}

std::optional<Wire::Frame> Link::Dequeue()
{
    std::optional<Wire::Frame> message;
    {
        const std::lock_guard lock(mutex);
        if (outbound.empty())
        {
            return std::nullopt;
        }
        message = std::move(outbound.front());
        outbound.pop_front();
    }
    LogMessage("Sent on", *message);
    return message;
}

void Link::ReportState()
{
    SetConnected(keeper.IsUp());
    if (!keeper.IsStarting())
    {
        EndAttempt();
    }
}

void Link::SetConnected(bool nowConnected)
{
    {
        const std::lock_guard lock(mutex);
        if (!running || connected == nowConnected)
        {
            return;
        }
        connected = nowConnected; // before the listeners hear of it, so that they can already transmit
        outbound.clear();
    }
    NemtLog_DebugFmt(LogText("The link on %s is %s"), port.Name().c_str(), nowConnected ? "up" : "down");
    connectionListeners.CallAll([nowConnected](Nemt::IConnectionListener& listener)
                                { listener.OnConnectionChanged(nowConnected); });
}

// After the listeners were told: whoever waits for the attempt may rely on that.
void Link::EndAttempt()
{
    {
        const std::lock_guard lock(mutex);
        if (!running || ended == attempt)
        {
            return;
        }
        ended = attempt;
        succeeded = connected;
    }
    attemptEnded.notify_all();
}

} // namespace Simulator
