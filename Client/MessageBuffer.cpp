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
        lastTime = message.time;
        if (entries.size() >= capacity)
        {
            ++dropped;
            return;
        }
        PutDropped();
        entries.push_back({std::move(message), ""});
    }
    changed.notify_one();
}

void MessageBuffer::PutNotice(std::string notice)
{
    {
        const std::lock_guard lock(mutex);
        PutDropped();
        entries.push_back({{}, std::move(notice)});
    }
    changed.notify_one();
}

void MessageBuffer::PutDropped()
{
    if (dropped > 0)
    {
        entries.push_back({DroppedMessage(dropped, lastTime), ""});
        dropped = 0;
    }
}

void MessageBuffer::End(std::exception_ptr reason)
{
    {
        const std::lock_guard lock(mutex);
        PutDropped();
        ended = true;
        failure = std::move(reason);
    }
    changed.notify_one();
}

std::optional<MessageBuffer::Entry> MessageBuffer::Take(std::chrono::steady_clock::time_point time)
{
    std::unique_lock lock(mutex);
    changed.wait_until(lock, time, [this] { return ended || !entries.empty(); });
    if (!entries.empty())
    {
        Entry entry = std::move(entries.front());
        entries.pop_front();
        return entry;
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
    return ended && entries.empty();
}

bool MessageBuffer::IsEmpty() const
{
    const std::lock_guard lock(mutex);
    return entries.empty();
}

} // namespace OrvelClient
