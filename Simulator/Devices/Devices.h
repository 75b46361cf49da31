#pragma once

#include "Device.h"

#include "Knx/GroupService.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace Simulator
{

using Knx::Bytes;

/// The devices of a bus: they hear its telegrams, and send their own. Their individual addresses are 1.1.101 and so on.
///
/// Without a thread and without a clock: the caller tells the time, which must not go back. Not for several threads at once.
class Devices
{
public:
    using Clock = Device::Clock;

    static constexpr std::size_t Most = 150; ///< devices

    /// As long as the shortest telegram takes on a line: nobody answers sooner.
    static constexpr std::chrono::milliseconds ReactionTime{20};

    Devices(std::vector<std::unique_ptr<Device>> theDevices, Clock::time_point now);

    /// A message of which the bus has heard: an indication, or the confirmation of one that was sent. Any bytes. A device does
    /// not hear itself.
    void OnTelegram(const Bytes& cemi, Clock::time_point now);

    /// The telegrams that are due, as indications.
    std::vector<Bytes> Take(Clock::time_point now);

    /// When Take is to be called; nothing while nobody has anything to say.
    std::optional<Clock::time_point> NextTime() const;

private:
    struct Waiting
    {
        Clock::time_point due;
        Bytes telegram;
    };

    void Send(const Bytes& telegram, Clock::time_point due);

    std::vector<std::unique_ptr<Device>> devices;
    std::deque<Waiting> waiting;
};

} // namespace Simulator
