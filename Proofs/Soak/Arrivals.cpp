#include "Arrivals.h"

#include "Frames.h"

#include <utility>

void Arrivals::OnEvent(const std::string& event)
{
    const auto begins = [&event](const std::string& start) { return event.compare(0, start.size(), start) == 0; };
    const std::string start = "telegram to KNX: ";
    const std::lock_guard lock(mutex);
    if (begins("LED ") || begins("RS485 "))
    {
        ++ledStates;
    }
    if (!begins(start))
    {
        return;
    }
    const Knx::Bytes frame = Knx::FromHex(event.substr(start.size()));
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
