#include "CoProcessor.h"

#include "System/Deadline.h"

#include <poll.h>

#include <array>
#include <utility>

namespace Simulator
{

CoProcessor::CoProcessor(SerialLine& serialLine, EventLog& eventLog)
    : line(serialLine)
    , events(eventLog)
    , firmware(Outside())
{
    thread = std::thread(&CoProcessor::ThreadFunction, this);
}

CoProcessor::~CoProcessor()
{
    {
        const std::lock_guard lock(mutex);
        running = false;
    }
    wakeUp.Signal();
    thread.join();
}

// What the firmware has to send, or to do at its time, is the thread's business afterwards.
template<typename Operation>
auto CoProcessor::WithFirmware(const Operation& operation)
{
    const std::lock_guard lock(mutex);
    wakeUp.Signal();
    return operation(Clock::now());
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
    WithFirmware(
        [&](Clock::time_point now)
        {
            events.Add({Event::TelegramFromKnx, cemi});
            if (!firmware.SendTelegram(cemi, now) || !line.IsPlugged())
            {
                events.Add(Event::TelegramLost);
            }
        });
}

void CoProcessor::ConnectBus(Bus theBus)
{
    const std::lock_guard lock(mutex);
    bus = std::move(theBus);
}

void CoProcessor::SetResetLine(bool high)
{
    WithFirmware([&](Clock::time_point now) { firmware.SetResetLine(high, now); });
}

bool CoProcessor::SetButton(bool pressed)
{
    return WithFirmware([&](Clock::time_point now) { return firmware.SetButton(pressed, now); });
}

void CoProcessor::Hang()
{
    WithFirmware([&](Clock::time_point) { firmware.Hang(); });
}

void CoProcessor::SetDead(bool dead)
{
    WithFirmware([&](Clock::time_point) { firmware.SetDead(dead); });
}

void CoProcessor::SetDelay(std::chrono::milliseconds delay)
{
    WithFirmware([&](Clock::time_point) { firmware.SetDelay(delay); });
}

void CoProcessor::Flood(uint16_t topic, const Bytes& payload, int count)
{
    WithFirmware([&](Clock::time_point now) { firmware.Flood(topic, payload, count, now); });
}

void CoProcessor::SendGarbage(const Bytes& garbage)
{
    WithFirmware([&](Clock::time_point now) { firmware.SendGarbage(garbage, now); });
}

int CoProcessor::LedState(uint8_t number) const
{
    const std::lock_guard lock(mutex);
    return firmware.LedState(number);
}

int CoProcessor::Rs485TerminationState() const
{
    const std::lock_guard lock(mutex);
    return firmware.Rs485TerminationState();
}

// Both are called with the mutex locked.
Firmware::Outside CoProcessor::Outside()
{
    return {[this](const Event& event) { events.Add(event); },
            [this](const Firmware::Request& request) { return SendToBus(request); }};
}

bool CoProcessor::SendToBus(const Firmware::Request& request)
{
    if (bus)
    {
        bus(request.cemi, [this, request](bool sent)
            { WithFirmware([&](Clock::time_point now) { firmware.Confirm(request, sent, now); }); });
    }
    return bus != nullptr;
}

void CoProcessor::ThreadFunction()
{
    std::unique_lock lock(mutex);
    while (running)
    {
        auto now = Clock::now();
        const bool hasDue = !firmware.Due(now).empty();
        std::array<pollfd, 2> set{{{line.Descriptor(), static_cast<short>(POLLIN | (hasDue ? POLLOUT : 0)), 0},
                                   {wakeUp.Descriptor(), POLLIN, 0}}};
        const int timeout = PollTimeout(now);
        lock.unlock();
        poll(set.data(), set.size(), timeout);
        lock.lock();

        wakeUp.Clear();
        now = Clock::now();
        firmware.OnTime(now);
        firmware.TakeIn(line.Read(), now);
        SendWhatIsDue(now);
    }
}

// ms until the next thing that has its time; -1 when nothing has.
int CoProcessor::PollTimeout(Clock::time_point now) const
{
    return System::PollTimeout(firmware.NextTime(now).value_or(System::NoDeadline), now);
}

void CoProcessor::SendWhatIsDue(Clock::time_point now)
{
    for (Bytes due = firmware.Due(now); !due.empty(); due = firmware.Due(now))
    {
        const std::size_t sent = line.Write(due.data(), due.size());
        firmware.OnSent(sent);
        if (sent < due.size())
        {
            return; // the line is busy
        }
    }
}

} // namespace Simulator
