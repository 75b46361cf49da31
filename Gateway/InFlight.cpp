#include "InFlight.h"

#include <algorithm>

namespace OrvelGateway
{

namespace
{

bool IsConfirmedBy(InFlight::Request& request, const Knx::TelegramView& confirmation)
{
    const auto telegram = Knx::TelegramView::Of(request.message.Frame(), request.message.FrameSize());
    return telegram && telegram->IsSameTelegramAs(confirmation);
}

} // namespace

void InFlight::Add(std::size_t sender, const Message& message, Time limit)
{
    Request& request = requests[count++];
    request.sender = sender;
    request.limit = limit;
    request.message = message;
}

std::optional<InFlight::Match> InFlight::Confirm(const Knx::TelegramView& confirmation)
{
    for (std::size_t i = 0; i < count; ++i)
    {
        if (IsConfirmedBy(requests[i], confirmation))
        {
            const std::size_t sender = requests[i].sender;
            Remove(i);
            return Match{sender, false};
        }
    }
    for (std::size_t i = 0; i < Remembered; ++i)
    {
        Request& request = late[(nextLate + i) % Remembered]; // from the oldest on
        if (IsConfirmedBy(request, confirmation))
        {
            request.message = Message();
            return Match{request.sender, true};
        }
    }
    return std::nullopt;
}

std::optional<InFlight::Request> InFlight::TakeExpired(Time now)
{
    if (count == 0 || now < requests[0].limit)
    {
        return std::nullopt;
    }
    late[nextLate] = requests[0];
    nextLate = (nextLate + 1) % Remembered;
    return Remove(0);
}

std::optional<InFlight::Request> InFlight::TakeWithoutLink()
{
    if (count == 0)
    {
        late.fill({});
        return std::nullopt;
    }
    return Remove(0);
}

void InFlight::Leave(std::size_t sender)
{
    const auto leave = [sender](Request& request)
    {
        if (request.sender == sender)
        {
            request.sender = Nobody;
        }
    };
    std::for_each(requests.begin(), requests.end(), leave);
    std::for_each(late.begin(), late.end(), leave);
}

std::optional<InFlight::Time> InFlight::Due() const
{
    return count == 0 ? std::nullopt : std::optional(requests[0].limit);
}

InFlight::Request InFlight::Remove(std::size_t index)
{
    Request removed = requests[index];
    std::copy(requests.begin() + static_cast<std::ptrdiff_t>(index) + 1,
              requests.begin() + static_cast<std::ptrdiff_t>(count),
              requests.begin() + static_cast<std::ptrdiff_t>(index));
    --count;
    return removed;
}

} // namespace OrvelGateway
