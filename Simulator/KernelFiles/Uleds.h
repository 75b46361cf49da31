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

/// Hears of each LED that came into being or ceased to be.
using LedListener = std::function<void(const std::string& name, bool present)>;

/// The userspace LED device and the LED class, without the files: the device's handles, each with the LED that it
/// registered.
///
/// Any thread may call all operations. The listener hears of a change before the operation returns, on the caller's
/// thread, one change after the other. It may ask for the LEDs, but must not open, write to or close handles.
class Uleds
{
public:
    /// Identifies an open device and the LED registered through it. It is never 0, and never used again.
    using Handle = uint64_t;

    struct Led
    {
        Handle handle;
        std::string name;
    };

    /// `reportPending` is called on the thread that sets a brightness, if a handle then has something to read.
    explicit Uleds(LedListener ledListener = {}, std::function<void()> reportPending = {});

    Uleds(const Uleds&) = delete;
    Uleds& operator=(const Uleds&) = delete;

    Handle Open();

    /// Registers an LED with a record of 68 bytes. Returns the number of bytes taken (0 of 0), or a negated error:
    /// EINVAL for any other length, or for an impossible name or brightness; EBUSY if the handle has an LED; ENOMEM if
    /// the name exists and has no room for the number that makes it different. The handle stays usable.
    long Write(Handle handle, std::string_view record);

    /// Takes the report into `brightness`. Returns 4, or 0 if `size` is too small for it, or a negated error: ENODEV
    /// while there is no LED, EAGAIN if there is no report.
    long Read(Handle handle, std::size_t size, int32_t& brightness);

    /// POLLIN and POLLRDNORM while there is a report, else 0.
    short Poll(Handle handle) const;

    /// Removes the handle's LED. A handle that is not open is ignored.
    void Close(Handle handle);
    void CloseAll();

    /// The handles, in the order in which they were opened.
    std::vector<Led> Leds() const;

    /// The LED's name as it was registered, with the number that makes it different. Empty while there is no LED.
    std::string NameOf(Handle handle) const;

    /// What an application writes to and reads from the LED's files, with the newline. Returns error numbers, 0 for
    /// success: ENODEV if there is no such LED, EINVAL and ERANGE for what is no decimal number. A brightness above the
    /// maximum counts as the maximum. Setting the same brightness again makes no report.
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
