#include "Firmware.h"

#include "Knx/Telegram.h"

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

Firmware::Firmware(Outside outsideWorld)
    : outside(std::move(outsideWorld))
{
}

void Firmware::SetResetLine(bool high, Clock::time_point now)
{
    if (!high && state != State::HeldInReset)
    {
        Reset(now);
    }
    else if (high && state == State::HeldInReset)
    {
        state = State::Booting;
        hung = false;
        bootsAt = now + BootTime;
        outside.tell({Event::ResetLineHigh, std::chrono::nanoseconds(now - lowSince).count()});
    }
}

void Firmware::Reset(Clock::time_point now)
{
    state = State::HeldInReset;
    lowSince = now;
    decoder = Wire::Decoder();
    session.clear();
    outgoing.clear();
    ++resets;
    leds.fill(0);
    rs485Termination = 0;
    outside.tell(Event::ResetLineLow);
}

bool Firmware::SetButton(bool pressed, Clock::time_point now)
{
    if (buttonPressed == pressed)
    {
        return false;
    }
    buttonPressed = pressed;
    outside.tell(pressed ? Event::ButtonPressed : Event::ButtonReleased);
    if (state == State::Running && !hung)
    {
        pressedSinceBoot = pressedSinceBoot || pressed;
        SendMessage(DeviceTopic, {ButtonMessage, ButtonNumber, static_cast<uint8_t>(pressed ? 1 : 0)}, now);
    }
    return true;
}

void Firmware::Hang()
{
    hung = true;
    outside.tell(Event::CoProcessorHangs);
}

bool Firmware::SendTelegram(const Bytes& cemi, Clock::time_point now)
{
    return SendMessage(CemiTopic, cemi, now);
}

void Firmware::TakeIn(const Bytes& bytes, Clock::time_point now)
{
    if (state != State::Running || hung || isDead)
    {
        return; // nobody reads its serial input
    }
    decoder.Feed(bytes.data(), bytes.size(), [this, now](const Wire::Frame& frame) { OnFrame(frame, now); });
}

void Firmware::OnTime(Clock::time_point now)
{
    if (IsBooting() && now >= bootsAt)
    {
        state = State::Running;
        pressedSinceBoot = buttonPressed; // its first look at the button
        outside.tell(Event::CoProcessorBooted);
    }
}

Bytes Firmware::Due(Clock::time_point now) const
{
    return !outgoing.empty() && outgoing.front().due <= now ? outgoing.front().bytes : Bytes();
}

void Firmware::OnSent(std::size_t count)
{
    Bytes& bytes = outgoing.front().bytes;
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
    if (bytes.empty())
    {
        outgoing.pop_front();
    }
}

std::optional<Firmware::Clock::time_point> Firmware::NextTime(Clock::time_point now) const
{
    std::optional<Clock::time_point> next;
    if (IsBooting())
    {
        next = bootsAt;
    }
    if (!outgoing.empty() && outgoing.front().due > now)
    {
        next = std::min(next.value_or(outgoing.front().due), outgoing.front().due);
    }
    return next;
}

void Firmware::OnFrame(const Wire::Frame& frame, Clock::time_point now)
{
    switch (frame.kind)
    {
    case Wire::Kind::Hello:
        OnHello(frame.payload, now);
        break;
    case Wire::Kind::Ping:
        if (!session.empty() && frame.payload == session)
        {
            Send({Wire::Kind::Pong, 0, session}, now);
        }
        break;
    case Wire::Kind::Message:
        if (!session.empty()) // otherwise it is from before a reset
        {
            OnMessage(frame, now);
        }
        break;
    case Wire::Kind::Welcome:
    case Wire::Kind::Pong:
        break; // answers are the driver's business
    }
}

// The driver repeats its greeting until it is answered.
void Firmware::OnHello(const Bytes& number, Clock::time_point now)
{
    if (number != session)
    {
        session = number;
        outside.tell(Event::LinkUp);
    }
    Send({Wire::Kind::Welcome, 0, session}, now);
}

void Firmware::OnMessage(const Wire::Frame& frame, Clock::time_point now)
{
    switch (frame.topic)
    {
    case CemiTopic:
        OnCemi(frame.payload, now);
        break;
    case DeviceTopic:
        OnDeviceMessage(frame.payload, now);
        break;
    default:
        outside.tell({Event::MessageOfUnknownTopic, frame.payload, frame.topic});
        break;
    }
}

void Firmware::OnCemi(const Bytes& cemi, Clock::time_point now)
{
    outside.tell({Event::TelegramToKnx, cemi});
    if (!Knx::PlaceOfControl1(cemi) || cemi[0] != static_cast<uint8_t>(Knx::MessageCode::LDataReq))
    {
        return;
    }
    const Request request{cemi, resets};
    if (!outside.send(request))
    {
        Confirm(request, true, now);
    }
}

void Firmware::Confirm(const Request& request, bool sent, Clock::time_point now)
{
    if (request.resets != resets || hung)
    {
        return;
    }
    const Bytes confirmation = Knx::Telegram::ToConfirmation(request.cemi, sent);
    SendMessage(CemiTopic, confirmation, now);
    outside.tell({sent ? Event::TelegramConfirmed : Event::TelegramNotSent, confirmation});
}

void Firmware::OnDeviceMessage(const Bytes& message, Clock::time_point now)
{
    const auto is = [&message](uint8_t type, std::size_t size) { return message.size() == size && message[0] == type; };
    if (is(LedMessage, 3) && message[1] >= 1 && message[1] < leds.size())
    {
        leds[message[1]] = message[2];
        outside.tell({message[2] != 0 ? Event::LedOn : Event::LedOff, message[1]});
    }
    else if (is(Rs485Message, 3) && message[1] == 1)
    {
        rs485Termination = message[2];
        outside.tell(message[2] != 0 ? Event::TerminationOn : Event::TerminationOff);
    }
    else if (is(SinceBootRequest, 2) && message[1] == ButtonNumber)
    {
        const auto pressed = static_cast<uint8_t>(pressedSinceBoot ? 1 : 0);
        Send({Wire::Kind::Message, DeviceTopic, {SinceBootAnswer, ButtonNumber, pressed}}, now + SinceBootAnswerTime);
    }
    else
    {
        outside.tell({Event::UnknownDeviceMessage, message});
    }
}

bool Firmware::SendMessage(uint16_t topic, const Bytes& payload, Clock::time_point now)
{
    if (state != State::Running || hung || session.empty())
    {
        return false;
    }
    Send({Wire::Kind::Message, topic, payload}, now);
    return true;
}

void Firmware::Send(const Wire::Frame& frame, Clock::time_point due)
{
    Queue(Wire::Encode(frame), due);
}

void Firmware::Queue(Bytes bytes, Clock::time_point due)
{
    if (!isDead && !bytes.empty() && outgoing.size() < MaxOutgoing)
    {
        outgoing.push_back({due + sendDelay, std::move(bytes)});
    }
}

void Firmware::SetDead(bool dead)
{
    isDead = dead;
}

void Firmware::SetDelay(std::chrono::milliseconds delay)
{
    sendDelay = delay;
}

void Firmware::Flood(uint16_t topic, const Bytes& payload, int count, Clock::time_point now)
{
    for (; count > 0; --count)
    {
        SendMessage(topic, payload, now);
    }
}

void Firmware::SendGarbage(const Bytes& garbage, Clock::time_point now)
{
    Queue(garbage, now);
}

int Firmware::LedState(uint8_t number) const
{
    return leds.at(number);
}

int Firmware::Rs485TerminationState() const
{
    return rs485Termination;
}

} // namespace Simulator
