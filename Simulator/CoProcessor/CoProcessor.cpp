#include "CoProcessor.h"

#include "Knx/Telegram.h"
#include "System/ThrowErrno.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace Simulator
{

namespace
{

// The link's messages as the firmware knows them.
constexpr uint16_t CemiTopic = 0x100;
constexpr uint16_t DeviceTopic = 0x101;
constexpr uint8_t LedMessage = 0x02;
constexpr uint8_t ButtonMessage = 0x07;
constexpr uint8_t SinceBootRequest = 0x08;
constexpr uint8_t SinceBootAnswer = 0x09;
constexpr uint8_t Rs485Message = 0x0E;
constexpr uint8_t ButtonNumber = 0x01;

constexpr std::size_t MaxOutgoing = 20'000; // frames; more than any test floods

} // namespace

CoProcessor::CoProcessor(SerialLine& serialLine, EventLog& eventLog)
    : line(serialLine)
    , events(eventLog)
    , wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (wakeUp == -1)
    {
        System::ThrowErrno("cannot make an event descriptor");
    }
    thread = std::thread(&CoProcessor::ThreadFunction, this);
}

CoProcessor::~CoProcessor()
{
    {
        const std::lock_guard lock(mutex);
        running = false;
    }
    Wake();
    thread.join();
    close(wakeUp);
}

void CoProcessor::SetResetLine(bool high)
{
    const std::lock_guard lock(mutex);
    const auto now = Clock::now();
    if (!high && state != State::HeldInReset)
    {
        state = State::HeldInReset;
        lowSince = now;
        decoder = Wire::Decoder();
        session.clear();
        outgoing.clear();
        ++resets;
        hung = false;
        leds.fill(0);
        rs485Termination = 0;
        events.Add(Event::ResetLineLow);
    }
    else if (high && state == State::HeldInReset)
    {
        state = State::Booting;
        bootsAt = now + BootTime;
        events.Add({Event::ResetLineHigh, std::chrono::nanoseconds(now - lowSince).count()});
        Wake();
    }
}

bool CoProcessor::SetButton(bool pressed)
{
    const std::lock_guard lock(mutex);
    if (buttonPressed == pressed)
    {
        return false;
    }
    buttonPressed = pressed;
    events.Add(pressed ? Event::ButtonPressed : Event::ButtonReleased);
    if (state == State::Running && !hung)
    {
        pressedSinceBoot = pressedSinceBoot || pressed;
        SendMessage(DeviceTopic, {ButtonMessage, ButtonNumber, static_cast<uint8_t>(pressed ? 1 : 0)});
    }
    return true;
}

bool CoProcessor::SetPlugged(bool plugged)
{
    const std::lock_guard lock(mutex);
    if (line.IsPlugged() == plugged)
    {
        return false;
    }
    line.SetPlugged(plugged);
    events.Add(plugged ? Event::SerialLinePluggedIn : Event::SerialLinePulled);
    return true;
}

void CoProcessor::InjectTelegram(const Bytes& cemi)
{
    const std::lock_guard lock(mutex);
    events.Add({Event::TelegramFromKnx, cemi});
    if (!SendMessage(CemiTopic, cemi) || !line.IsPlugged())
    {
        events.Add(Event::TelegramLost);
    }
}

void CoProcessor::ConnectBus(Bus theBus)
{
    const std::lock_guard lock(mutex);
    bus = std::move(theBus);
}

void CoProcessor::Hang()
{
    const std::lock_guard lock(mutex);
    hung = true;
    events.Add(Event::CoProcessorHangs);
}

void CoProcessor::SetDead(bool dead)
{
    const std::lock_guard lock(mutex);
    isDead = dead;
}

void CoProcessor::SetDelay(std::chrono::milliseconds delay)
{
    const std::lock_guard lock(mutex);
    sendDelay = delay;
}

void CoProcessor::Flood(uint16_t topic, const Bytes& payload, int count)
{
    const std::lock_guard lock(mutex);
    for (; count > 0; --count)
    {
        SendMessage(topic, payload);
    }
}

void CoProcessor::SendGarbage(const Bytes& garbage)
{
    const std::lock_guard lock(mutex);
    Queue(garbage);
}

int CoProcessor::LedState(uint8_t number) const
{
    const std::lock_guard lock(mutex);
    return leds.at(number);
}

int CoProcessor::Rs485TerminationState() const
{
    const std::lock_guard lock(mutex);
    return rs485Termination;
}

void CoProcessor::ThreadFunction()
{
    std::unique_lock lock(mutex);
    while (running)
    {
        const auto now = Clock::now();
        const bool hasDue = !outgoing.empty() && outgoing.front().due <= now;
        std::array<pollfd, 2> set{
            {{line.Descriptor(), static_cast<short>(POLLIN | (hasDue ? POLLOUT : 0)), 0}, {wakeUp, POLLIN, 0}}};
        const int timeout = PollTimeout(now);
        lock.unlock();
        poll(set.data(), set.size(), timeout);
        lock.lock();

        eventfd_t ignored = 0;
        eventfd_read(wakeUp, &ignored);
        BootWhenDue();
        TakeIn(line.Read());
        SendWhenDue();
    }
}

// ms until the next thing that has its time; -1 when nothing has.
int CoProcessor::PollTimeout(Clock::time_point now) const
{
    auto next = Clock::time_point::max();
    if (state == State::Booting)
    {
        next = bootsAt;
    }
    if (!outgoing.empty() && outgoing.front().due > now)
    {
        next = std::min(next, outgoing.front().due);
    }
    if (next == Clock::time_point::max())
    {
        return -1;
    }
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(std::max(next, now) - now).count());
}

void CoProcessor::BootWhenDue()
{
    if (state == State::Booting && Clock::now() >= bootsAt)
    {
        state = State::Running;
        pressedSinceBoot = buttonPressed; // its first look at the button
        events.Add(Event::CoProcessorBooted);
    }
}

void CoProcessor::TakeIn(const Bytes& bytes)
{
    if (state != State::Running || hung || isDead)
    {
        return; // nobody reads its serial input
    }
    decoder.Feed(bytes.data(), bytes.size(), [this](const Wire::Frame& frame) { OnFrame(frame); });
}

void CoProcessor::SendWhenDue()
{
    while (!outgoing.empty() && outgoing.front().due <= Clock::now())
    {
        Bytes& bytes = outgoing.front().bytes;
        const std::size_t written = line.Write(bytes.data(), bytes.size());
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(written));
        if (!bytes.empty())
        {
            return; // the line is busy
        }
        outgoing.pop_front();
    }
}

void CoProcessor::OnFrame(const Wire::Frame& frame)
{
    switch (frame.kind)
    {
    case Wire::Kind::Hello:
        // The driver repeats its greeting until it is answered.
        if (frame.payload != session)
        {
            session = frame.payload;
            events.Add(Event::LinkUp);
        }
        Send({Wire::Kind::Welcome, 0, session});
        break;
    case Wire::Kind::Ping:
        if (!session.empty() && frame.payload == session)
        {
            Send({Wire::Kind::Pong, 0, session});
        }
        break;
    case Wire::Kind::Message:
        if (session.empty())
        {
            break; // from before a reset
        }
        if (frame.topic == CemiTopic)
        {
            OnCemi(frame.payload);
        }
        else if (frame.topic == DeviceTopic)
        {
            OnDeviceMessage(frame.payload);
        }
        else
        {
            events.Add({Event::MessageOfUnknownTopic, frame.payload, frame.topic});
        }
        break;
    case Wire::Kind::Welcome:
    case Wire::Kind::Pong:
        break; // answers are the driver's business
    }
}

void CoProcessor::OnCemi(const Bytes& cemi)
{
    events.Add({Event::TelegramToKnx, cemi});
    if (!Knx::PlaceOfControl1(cemi) || cemi[0] != static_cast<uint8_t>(Knx::MessageCode::LDataReq))
    {
        return;
    }
    if (!bus)
    {
        ConfirmRequest(cemi, true);
        return;
    }
    bus(cemi,
        [this, cemi, before = resets](bool sent)
        {
            const std::lock_guard lock(mutex);
            if (resets == before && !hung) // what was asked before a reset is forgotten
            {
                ConfirmRequest(cemi, sent);
            }
        });
}

void CoProcessor::ConfirmRequest(const Bytes& request, bool sent)
{
    const Bytes confirmation = Knx::Telegram::ToConfirmation(request, sent);
    SendMessage(CemiTopic, confirmation);
    events.Add({sent ? Event::TelegramConfirmed : Event::TelegramNotSent, confirmation});
}

void CoProcessor::OnDeviceMessage(const Bytes& message)
{
    const auto is = [&message](uint8_t type, std::size_t size) { return message.size() == size && message[0] == type; };
    if (is(LedMessage, 3) && message[1] >= 1 && message[1] < leds.size())
    {
        leds[message[1]] = message[2];
        events.Add({message[2] != 0 ? Event::LedOn : Event::LedOff, message[1]});
    }
    else if (is(Rs485Message, 3) && message[1] == 1)
    {
        rs485Termination = message[2];
        events.Add(message[2] != 0 ? Event::TerminationOn : Event::TerminationOff);
    }
    else if (is(SinceBootRequest, 2) && message[1] == ButtonNumber)
    {
        const auto pressed = static_cast<uint8_t>(pressedSinceBoot ? 1 : 0);
        Send({Wire::Kind::Message, DeviceTopic, {SinceBootAnswer, ButtonNumber, pressed}}, SinceBootAnswerTime);
    }
    else
    {
        events.Add({Event::UnknownDeviceMessage, message});
    }
}

bool CoProcessor::SendMessage(uint16_t topic, const Bytes& payload)
{
    if (state != State::Running || hung || session.empty())
    {
        return false;
    }
    Send({Wire::Kind::Message, topic, payload});
    return true;
}

void CoProcessor::Send(const Wire::Frame& frame, std::chrono::milliseconds after)
{
    Queue(Wire::Encode(frame), after);
}

void CoProcessor::Queue(Bytes bytes, std::chrono::milliseconds after)
{
    if (!isDead && outgoing.size() < MaxOutgoing)
    {
        outgoing.push_back({Clock::now() + sendDelay + after, std::move(bytes)});
        Wake();
    }
}

void CoProcessor::Wake() const
{
    eventfd_write(wakeUp, 1);
}

} // namespace Simulator
