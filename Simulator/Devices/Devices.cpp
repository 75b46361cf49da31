#include "Devices.h"

#include <algorithm>
#include <utility>

namespace Simulator
{

namespace
{

using Knx::GroupService;

constexpr std::size_t MaxWaiting = 1000; // telegrams; whoever asks so fast would lose answers on a line too

uint16_t AddressOf(std::size_t device)
{
    constexpr std::size_t first = 0x1165; // 1.1.101
    return static_cast<uint16_t>(first + device);
}

bool WasOnBus(const Knx::CemiMessage& cemi)
{
    const bool isTelegram = cemi.Is(Knx::MessageCode::LDataInd) ||
                            (cemi.Is(Knx::MessageCode::LDataCon) && cemi.control1 && !cemi.ErrorBit());
    return isTelegram && cemi.problems.empty();
}

Bytes Indication(std::size_t device, uint16_t group, GroupService service, const Knx::GroupValue& value)
{
    auto telegram = TelegramTo(group, service, value);
    telegram.code = Knx::MessageCode::LDataInd;
    telegram.source = AddressOf(device);
    return Encode(telegram);
}

} // namespace

Devices::Devices(std::vector<std::unique_ptr<Device>> theDevices, Clock::time_point now)
    : devices(std::move(theDevices))
{
    for (const auto& device : devices)
    {
        device->Begin(now);
    }
}

void Devices::OnTelegram(const Bytes& cemi, Clock::time_point now)
{
    const Knx::CemiMessage telegram = Knx::Decode(cemi);
    const auto service = WasOnBus(telegram) ? GroupServiceOf(telegram) : std::nullopt;
    if (!service || service == GroupService::Response)
    {
        return;
    }
    const uint16_t group = *telegram.destination;
    for (std::size_t index = 0; index < devices.size(); ++index)
    {
        Device& device = *devices[index];
        if (telegram.source == AddressOf(index))
        {
            continue;
        }
        if (service == GroupService::Write)
        {
            for (const auto& report : device.OnWrite(group, *ValueOf(telegram)))
            {
                Send(Indication(index, report.group, GroupService::Write, report.value), now + ReactionTime);
            }
        }
        else if (const auto value = device.ValueOf(group))
        {
            Send(Indication(index, group, GroupService::Response, *value), now + ReactionTime);
        }
    }
}

std::vector<Bytes> Devices::Take(Clock::time_point now)
{
    std::vector<Bytes> telegrams;
    while (!waiting.empty() && waiting.front().due <= now)
    {
        telegrams.push_back(std::move(waiting.front().telegram));
        waiting.pop_front();
    }
    for (std::size_t index = 0; index < devices.size(); ++index)
    {
        for (const auto& report : devices[index]->OnTime(now))
        {
            telegrams.push_back(Indication(index, report.group, GroupService::Write, report.value));
        }
    }
    return telegrams;
}

std::optional<Devices::Clock::time_point> Devices::NextTime() const
{
    auto next = waiting.empty() ? std::nullopt : std::optional(waiting.front().due);
    for (const auto& device : devices)
    {
        if (const auto time = device->NextTime())
        {
            next = std::min(next.value_or(*time), *time);
        }
    }
    return next;
}

// In the order of their times, because all of them wait equally long.
void Devices::Send(const Bytes& telegram, Clock::time_point due)
{
    if (waiting.size() < MaxWaiting)
    {
        waiting.push_back({due, telegram});
    }
}

} // namespace Simulator
