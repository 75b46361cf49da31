#include "Knx.h"

#include "Frames.h"

#include <utility>

void Knx::OnEvent(const std::string& event)
{
    const std::string start = "telegram to KNX: ";
    if (event.compare(0, start.size(), start) != 0)
    {
        return;
    }
    const auto frame = Simulator::FromHex(event.substr(start.size()));
    const std::lock_guard lock(mutex);
    if (frame && frame->size() >= Frames::HeaderSize && *frame == Frames::ToLink(Frames::Number(frame->data())))
    {
        numbers.push_back(Frames::Number(frame->data()));
    }
    else
    {
        ++strange;
    }
}

std::size_t Knx::Count() const
{
    const std::lock_guard lock(mutex);
    return numbers.size();
}

std::vector<uint32_t> Knx::Take()
{
    const std::lock_guard lock(mutex);
    return std::exchange(numbers, {});
}

long Knx::Strange() const
{
    const std::lock_guard lock(mutex);
    return strange;
}
