#include "MessageBuffer.h"

#include "Orvel/Gateway.h"

#include <algorithm>
#include <utility>

namespace OrvelClient
{

namespace
{

// As the gateway says it.
Message DroppedMessage(uint64_t count, std::chrono::microseconds time)
{
    const auto shown = static_cast<uint16_t>(std::min<uint64_t>(count, UINT16_MAX));
    Message message;
    message.time = time;
    message.frame = {ORVEL_GATEWAY_LOST_CODE, static_cast<uint8_t>(shown >> 8U), static_cast<uint8_t>(shown & 0xFFU)};
    return message;
}

} // namespace

void MessageBuffer::Put(Message message)
{
    {
        const std::lock_guard lock(mutex);
        if (messages.size() >= capacity)
        {
            ++dropped;
            return;
        }
        PutDropped(message.time);
        messages.push_back(std::move(message));
    }
    changed.notify_one();
}

void MessageBuffer::PutDropped(std::chrono::microseconds time)
{
    if (dropped > 0)
    {
        messages.push_back(DroppedMessage(dropped, time));
        dropped = 0;
    }
}

void MessageBuffer::End(std::exception_ptr reason)
{
    {
        const std::lock_guard lock(mutex);
        PutDropped(messages.empty() ? std::chrono::microseconds{} : messages.back().time);
        ended = true;
        failure = std::move(reason);
    }
    changed.notify_one();
}

std::optional<Message> MessageBuffer::Take(std::chrono::steady_clock::time_point time)
{
    std::unique_lock lock(mutex);
    changed.wait_until(lock, time, [this] { return ended || !messages.empty(); });
    if (!messages.empty())
    {
        Message message = std::move(messages.front());
        messages.pop_front();
        return message;
    }
    if (failure)
    {
        std::rethrow_exception(std::exchange(failure, nullptr));
    }
    return std::nullopt;
}

bool MessageBuffer::HasEnded() const
{
    const std::lock_guard lock(mutex);
    return ended && messages.empty();
}

bool MessageBuffer::IsEmpty() const
{
    const std::lock_guard lock(mutex);
    return messages.empty();
}

} // namespace OrvelClient
