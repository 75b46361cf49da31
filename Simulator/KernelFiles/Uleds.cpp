#include "Uleds.h"

#include "KernelText.h"

#include <linux/uleds.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace Simulator
{

namespace
{

constexpr std::size_t MaxName = LED_MAX_NAME_SIZE - 1; // a zero byte follows

bool IsName(const std::string& name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos;
}

} // namespace

Uleds::Uleds(LedListener ledListener, std::function<void()> reportPending)
    : listener(std::move(ledListener))
    , pendingListener(std::move(reportPending))
{
}

Uleds::Handle Uleds::Open()
{
    const std::lock_guard<std::mutex> lock(mutex);
    devices.emplace(++lastHandle, Device{});
    return lastHandle;
}

long Uleds::Write(Handle handle, std::string_view record)
{
    if (record.empty())
    {
        return 0;
    }
    const std::lock_guard<std::mutex> order(changing);
    std::string name;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto device = devices.find(handle);
        if (device == devices.end())
        {
            return -EBADF;
        }
        if (const int error = Register(device->second, record); error != 0)
        {
            return -error;
        }
        name = device->second.name;
    }
    if (listener)
    {
        listener(name, true);
    }
    return static_cast<long>(record.size());
}

int Uleds::Register(Device& device, std::string_view record)
{
    if (!device.name.empty())
    {
        return EBUSY; // before anything else about the record
    }
    uleds_user_dev wanted{};
    if (record.size() != sizeof(wanted))
    {
        return EINVAL;
    }
    memcpy(&wanted, record.data(), sizeof(wanted));
    const std::string base(wanted.name, strnlen(wanted.name, sizeof(wanted.name)));
    if (base.size() > MaxName || !IsName(base) || wanted.max_brightness <= 0)
    {
        return EINVAL;
    }
    std::string name = base;
    for (int number = 1; Exists(name); ++number)
    {
        name = base + "_" + std::to_string(number);
        if (name.size() > MaxName)
        {
            return ENOMEM;
        }
    }
    device = {name, wanted.max_brightness, 0, true}; // the first report is 0, though nobody has set a brightness
    return 0;
}

long Uleds::Read(Handle handle, std::size_t size, int32_t& brightness)
{
    if (size < sizeof(brightness))
    {
        return 0; // the report stays
    }
    const std::lock_guard<std::mutex> lock(mutex);
    const auto device = devices.find(handle);
    if (device == devices.end() || device->second.name.empty())
    {
        return -ENODEV;
    }
    if (!device->second.pending)
    {
        return -EAGAIN;
    }
    device->second.pending = false;
    brightness = device->second.brightness;
    return sizeof(brightness);
}

short Uleds::Poll(Handle handle) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const Device* const device = Find(handle);
    return device != nullptr && device->pending ? POLLIN | POLLRDNORM : 0;
}

void Uleds::Close(Handle handle)
{
    const std::lock_guard<std::mutex> order(changing);
    std::string name;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto device = devices.find(handle);
        if (device == devices.end())
        {
            return;
        }
        name = device->second.name;
        devices.erase(device);
    }
    if (!name.empty() && listener)
    {
        listener(name, false);
    }
}

void Uleds::CloseAll()
{
    std::vector<Handle> open;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        std::transform(devices.begin(), devices.end(), std::back_inserter(open),
                       [](const auto& device) { return device.first; });
    }
    std::for_each(open.begin(), open.end(), [this](Handle handle) { Close(handle); });
}

std::vector<Uleds::Led> Uleds::Leds() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    std::vector<Led> leds;
    for (const auto& [handle, device] : devices)
    {
        if (!device.name.empty())
        {
            leds.push_back({handle, device.name});
        }
    }
    return leds;
}

std::string Uleds::NameOf(Handle handle) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const Device* const device = Find(handle);
    return device != nullptr ? device->name : std::string();
}

int Uleds::WriteBrightness(Handle led, std::string_view text)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto device = devices.find(led);
        if (device == devices.end() || device->second.name.empty())
        {
            return ENODEV;
        }
        unsigned long wanted = 0;
        if (const int error = ParseDecimal(text, wanted); error != 0)
        {
            return error;
        }
        const auto maximum = static_cast<unsigned long>(device->second.maxBrightness);
        const auto brightness = static_cast<int32_t>(std::min(wanted, maximum));
        if (device->second.brightness == brightness)
        {
            return 0; // no report; one that is pending stays
        }
        device->second.brightness = brightness;
        device->second.pending = true;
    }
    if (pendingListener)
    {
        pendingListener();
    }
    return 0;
}

int Uleds::ReadBrightness(Handle led, std::string& text) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const Device* const device = FindLed(led);
    if (device == nullptr)
    {
        return ENODEV;
    }
    text = std::to_string(device->brightness) + "\n";
    return 0;
}

int Uleds::ReadMaxBrightness(Handle led, std::string& text) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const Device* const device = FindLed(led);
    if (device == nullptr)
    {
        return ENODEV;
    }
    text = std::to_string(device->maxBrightness) + "\n";
    return 0;
}

bool Uleds::Exists(const std::string& name) const
{
    return std::any_of(devices.begin(), devices.end(), [&](const auto& device) { return device.second.name == name; });
}

const Uleds::Device* Uleds::Find(Handle handle) const
{
    const auto device = devices.find(handle);
    return device == devices.end() ? nullptr : &device->second;
}

const Uleds::Device* Uleds::FindLed(Handle handle) const
{
    const Device* const device = Find(handle);
    return device == nullptr || device->name.empty() ? nullptr : device;
}

} // namespace Simulator
