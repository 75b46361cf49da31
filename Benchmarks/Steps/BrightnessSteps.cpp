// Measures a brightness from the kernel to the link. One end of a pair of sockets stands for "/dev/uleds", a pair for
// each LED.

#include "Leds.h"
#include "Steps.h"

#include "System/Descriptor.h"

#include <benchmark/benchmark.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr std::size_t LedCount = 4;

// One LED: what the daemon opens, and the kernel's side of it.
struct Device
{
    void SetBrightness(int32_t brightness) const
    {
        static_cast<void>(write(ends.other.Number(), &brightness, sizeof(brightness)) == -1);
    }

    int Driver() const
    {
        return ends.one.Number();
    }

    System::SocketPair ends{SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK};
};

// The handles that were opened last, in this order.
class Devices
{
public:
    int Open()
    {
        const std::lock_guard lock(mutex);
        devices.push_back(std::make_unique<Device>());
        return devices.back()->Driver();
    }

    void Clear()
    {
        const std::lock_guard lock(mutex);
        devices.clear();
    }

    std::size_t Count()
    {
        const std::lock_guard lock(mutex);
        return devices.size();
    }

    const Device& operator[](std::size_t index)
    {
        const std::lock_guard lock(mutex);
        return *devices[index];
    }

private:
    std::mutex mutex;
    std::vector<std::unique_ptr<Device>> devices;
};

Devices& TheDevices()
{
    static Devices devices;
    return devices;
}

// On a busy machine the LED worker can come before its table is filled and then opens none; such a start cannot be used
// here.
std::unique_ptr<OrvelDriver::Leds> StartLeds()
{
    while (true)
    {
        TheDevices().Clear();
        auto leds = std::make_unique<OrvelDriver::Leds>(nullptr, std::map<int, std::string>{}, false);
        for (int tries = 0; tries < 1000; ++tries)
        {
            if (TheDevices().Count() == LedCount)
            {
                return leds;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
}

void Brightness(benchmark::State& state)
{
    LogFrom(log4cplus::WARN_LOG_LEVEL);
    const auto leds = StartLeds();
    const Device& last = TheDevices()[LedCount - 1];
    for (auto _ : state)
    {
        last.SetBrightness(1);
        Transmitted().Await();
    }
}

void BrightnessFloor(benchmark::State& state)
{
    const std::array<Device, LedCount> devices{};
    std::thread worker(
        [&]
        {
            std::array<pollfd, LedCount> set{};
            for (std::size_t index = 0; index < LedCount; ++index)
            {
                set.at(index) = {devices.at(index).Driver(), POLLIN, 0};
            }
            int32_t brightness = 0;
            while (poll(set.data(), set.size(), -1) > 0 &&
                   read(devices.back().Driver(), &brightness, sizeof(brightness)) > 0 && brightness != 0)
            {
                Transmitted().Give();
            }
        });
    for (auto _ : state)
    {
        devices.back().SetBrightness(1);
        Transmitted().Await();
    }
    devices.back().SetBrightness(0); // ends the worker
    worker.join();
}

BENCHMARK(Brightness)->Name("brightness/to-link")->MeasureProcessCPUTime();
BENCHMARK(BrightnessFloor)->Name("brightness/to-link-floor")->MeasureProcessCPUTime();

} // namespace

// The LED worker's call comes here instead of the kernel.
extern "C" int __wrap_open(const char* /*path*/, int /*flags*/, ...)
{
    return TheDevices().Open();
}
