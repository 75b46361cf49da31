#include "FrameSender.h"

#include "Failure.h"

#include "Orvel/Protocol.h"
#include "System/Deadline.h"

#include <poll.h>

#include <algorithm>
#include <array>

namespace OrvelClient
{

namespace
{

// Between two looks at whether the other side is still there: a queue does not tell.
constexpr std::chrono::milliseconds Glance{250};

} // namespace

FrameSender::FrameSender(BusOptions wantedBus, const StopSignals& stopSignals, std::chrono::milliseconds wait)
    : options(std::move(wantedBus))
    , stop(stopSignals)
    , patience(wait)
{
}

void FrameSender::CheckLength(const Bytes& frame)
{
    if (frame.empty())
    {
        throw Failure(Status::WrongLength, "a frame has at least 1 byte");
    }
    if (frame.size() > ORVEL_CEMI_MAX_FRAME_TO_LL)
    {
        throw Failure(Status::WrongLength, "a frame has at most " + std::to_string(ORVEL_CEMI_MAX_FRAME_TO_LL) +
                                               " bytes, and this one " + std::to_string(frame.size()));
    }
}

void FrameSender::Send(const Bytes& frame)
{
    using namespace std::chrono;
    CheckLength(frame);
    Bytes message = frame;
    message.insert(message.begin(), static_cast<uint8_t>(frame.size()));

    const auto limit = steady_clock::now() + patience;
    for (;;)
    {
        OpenWhereRemoved();
        if (bus->Send(message))
        {
            return;
        }
        if (bus->IsRemoved())
        {
            continue; // it went just now
        }
        const int left = System::PollTimeout(limit);
        if (left == 0)
        {
            throw Failure(Status::NoRoom,
                          bus->Name() + " is full" +
                              (patience == milliseconds::zero() ? "; --wait waits for room"
                                                                : ", for " + std::to_string(patience.count()) + " ms"));
        }
        std::array<pollfd, 2> set{{{bus->Descriptor(), POLLOUT, 0}, {stop.Descriptor(), POLLIN, 0}}};
        poll(set.data(), set.size(), std::min(left, static_cast<int>(Glance.count())));
        if (set[1].revents != 0)
        {
            throw Failure(Status::Interrupted, "stopped while " + bus->Name() + " was full");
        }
    }
}

void FrameSender::OpenWhereRemoved()
{
    if (!bus)
    {
        bus.emplace(options, Bus::For::Requests, stop);
    }
    if (bus->IsRemoved())
    {
        bus->Open();
    }
}

} // namespace OrvelClient
