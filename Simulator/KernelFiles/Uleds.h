#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Simulator
{

/// Told of an LED that came into being or ceased to be.
using LedListener = std::function<void(const std::string& name, bool present)>;

/// The userspace LED device and the LED class, without the files: handles of the device, each with the LED it registered.
///
/// All operations may be called from any thread. The listener is told before the operation returns, on the caller's
/// thread and one change after the other; it may ask for the LEDs but not open, write to or close handles.
class Uleds
{
public:
    /// Of an open device, and of the LED registered through it. Never 0, never used again.
    using Handle = uint64_t;

    struct Led
    {
        Handle handle;
        std::string name;
    };

    /// `reportPending` is called, on the thread that sets a brightness, when a handle has something to read.
    explicit Uleds(LedListener ledListener = {}, std::function<void()> reportPending = {});

    Uleds(const Uleds&) = delete;
    Uleds& operator=(const Uleds&) = delete;

    Handle Open();

    /// Registers an LED with a record of 68 bytes. Returns the number of bytes taken (0 of 0), or negated: EINVAL for any
    /// other length, a name or brightness that cannot be; EBUSY when the handle has an LED; ENOMEM when the name exists
    /// and leaves no room for the number that makes it different. The handle stays usable.
    long Write(Handle handle, std::string_view record);

    /// Takes the report into `brightness`. Returns 4, or 0 when `size` is too small for it, or negated: ENODEV while there
    /// is no LED, EAGAIN when there is no report.
    long Read(Handle handle, std::size_t size, int32_t& brightness);

    /// POLLIN and POLLRDNORM while there is a report, else 0.
    short Poll(Handle handle) const;

    /// Removes the handle's LED. A handle that is not open is ignored.
    void Close(Handle handle);
    void CloseAll();

    /// In the order in which they were opened.
    std::vector<Led> Leds() const;

    /// The name of the LED as it was registered: with the number that makes it different. Empty while there is no LED.
    std::string NameOf(Handle handle) const;

    /// What an application writes to and reads from the LED's files, with the newline.
    /// Error numbers, 0 for success: ENODEV when there is no such LED, EINVAL and ERANGE for what is no decimal number.
    /// A brightness above the maximum counts as the maximum; the one that is set already makes no report.
    int WriteBrightness(Handle led, std::string_view text);
    int ReadBrightness(Handle led, std::string& text) const;
    int ReadMaxBrightness(Handle led, std::string& text) const;

private:
    struct Device
    {
        std::string name; // empty until registered
        int32_t maxBrightness = 0;
        int32_t brightness = 0;
        bool pending = false;
    };

    bool Exists(const std::string& name) const;
    int Register(Device& device, std::string_view record);
    const Device* Find(Handle handle) const;
    const Device* FindLed(Handle handle) const;

    const LedListener listener;
    const std::function<void()> pendingListener;
    std::mutex changing; // held while LEDs come and go and the listener is told: this keeps the order
    mutable std::mutex mutex;
    std::map<Handle, Device> devices;
    Handle lastHandle = 0;
};

} // namespace Simulator
