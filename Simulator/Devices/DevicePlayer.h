#pragma once

#include "Devices.h"
#include "Event.h"

#include "System/WakeUp.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace Simulator
{

/// The telegrams on the board's bus, on their way from those who tell of events to the thread that plays the devices.
class HeardTelegrams
{
public:
    /// Any thread; returns at once.
    void OnEvent(const Event& event);

    /// What came since the last time.
    std::vector<Bytes> Take();

    /// Lets the thread that waits look at what else there is.
    void Wake() const
    {
        wakeUp.Signal();
    }

    /// For poll.
    int Descriptor() const
    {
        return wakeUp.Descriptor();
    }

private:
    std::mutex mutex;
    std::vector<Bytes> telegrams;
    System::WakeUp wakeUp;
};

/// Plays devices on the board's bus. Runs on a thread of its own.
class DevicePlayer
{
public:
    /// Puts a telegram of a device onto the bus.
    using Send = std::function<void(const Bytes& indication)>;

    DevicePlayer(std::vector<std::unique_ptr<Device>> theDevices, HeardTelegrams& heardTelegrams, Send sendTelegram);

    /// The devices say no more.
    ~DevicePlayer();

    DevicePlayer(const DevicePlayer&) = delete;
    DevicePlayer& operator=(const DevicePlayer&) = delete;

private:
    void ThreadFunction();

    Devices devices; // of the thread
    HeardTelegrams& heard;
    const Send send;
    std::atomic<bool> running{true};
    std::thread thread;
};

} // namespace Simulator
