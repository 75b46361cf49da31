#include "DevicePlayer.h"

#include "System/Deadline.h"

#include <poll.h>

#include <utility>

namespace Simulator
{

namespace
{

constexpr std::size_t MostHeard = 10'000; // telegrams; a line needs minutes for as many

} // namespace

void HeardTelegrams::OnEvent(const Event& event)
{
    if (event.kind != Event::TelegramConfirmed && event.kind != Event::TelegramFromKnx)
    {
        return;
    }
    {
        const std::lock_guard lock(mutex);
        if (telegrams.size() < MostHeard)
        {
            telegrams.push_back(event.bytes);
        }
    }
    wakeUp.Signal();
}

std::vector<Bytes> HeardTelegrams::Take()
{
    wakeUp.Clear();
    const std::lock_guard lock(mutex);
    return std::exchange(telegrams, {});
}

DevicePlayer::DevicePlayer(std::vector<std::unique_ptr<Device>> theDevices, HeardTelegrams& heardTelegrams,
                           Send sendTelegram)
    : devices(std::move(theDevices), Devices::Clock::now())
    , heard(heardTelegrams)
    , send(std::move(sendTelegram))
    , thread(&DevicePlayer::ThreadFunction, this)
{
}

DevicePlayer::~DevicePlayer()
{
    running = false;
    heard.Wake();
    thread.join();
}

void DevicePlayer::ThreadFunction()
{
    while (running)
    {
        pollfd entry{heard.Descriptor(), POLLIN, 0};
        poll(&entry, 1, System::PollTimeout(devices.NextTime().value_or(System::NoDeadline)));
        for (const Bytes& telegram : heard.Take())
        {
            devices.OnTelegram(telegram, Devices::Clock::now());
        }
        for (const Bytes& telegram : devices.Take(Devices::Clock::now()))
        {
            send(telegram);
        }
    }
}

} // namespace Simulator
