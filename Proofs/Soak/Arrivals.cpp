#include "Arrivals.h"

#include "Frames.h"

#include <utility>

void Arrivals::OnEvent(const Simulator::Event& event)
{
    const std::lock_guard lock(mutex);
    switch (event.kind)
    {
    case Simulator::Event::LedOn:
    case Simulator::Event::LedOff:
    case Simulator::Event::TerminationOn:
    case Simulator::Event::TerminationOff:
        ++ledStates;
        break;
    case Simulator::Event::TelegramToKnx:
        OnFrame(event.bytes);
        break;
    default:
        break;
    }
}

void Arrivals::OnFrame(const Knx::Bytes& frame)
{
    if (frame.size() >= Frames::HeaderSize && frame == Frames::ToLink(Frames::Number(frame.data())))
    {
        numbers.push_back(Frames::Number(frame.data()));
    }
    else
    {
        ++strange;
    }
}

std::size_t Arrivals::Count() const
{
    const std::lock_guard lock(mutex);
    return numbers.size();
}

std::vector<uint32_t> Arrivals::Take()
{
    const std::lock_guard lock(mutex);
    return std::exchange(numbers, {});
}

long Arrivals::LedStates() const
{
    const std::lock_guard lock(mutex);
    return ledStates;
}

long Arrivals::Strange() const
{
    const std::lock_guard lock(mutex);
    return strange;
}
