#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace Simulator
{

/// The files that a pin has while it is exported.
enum class PinFile
{
    Direction,
    Value,
    ActiveLow,
    Edge
};

/// What was written to a file of the GPIO directory.
struct GpioWrite
{
    std::string path; ///< below the directory: "export", "gpio3/value"
    std::string text; ///< as it was written, in one write
    int error;        ///< number of the error it was refused with; 0: accepted
    std::chrono::steady_clock::time_point time;
};

/// A pin whose direction or level changed.
struct PinChange
{
    int pin;
    bool driven; ///< an output
    bool high;   ///< the level of the line, also of one that is not driven
    std::chrono::steady_clock::time_point time;
};

/// Hears of each pin whose direction or level changed. `high` is the level of the line, even if nobody drives it.
using PinListener = std::function<void(int pin, bool driven, bool high)>;

/// A GPIO chip and its directory in sysfs, without the files. It has the pins 0 to 31, each with a pull-up outside the
/// chip.
///
/// Any thread may call all operations. Those that change a pin call the listener before they return, on the caller's
/// thread, one change after the other. The listener may read the pins but not change them. Results are error numbers, 0
/// for success.
class Gpio
{
public:
    static constexpr int PinCount = 32;
    static constexpr std::size_t MaxWrites = 10000; ///< and changes, that are remembered

    explicit Gpio(PinListener pinListener = {});

    Gpio(const Gpio&) = delete;
    Gpio& operator=(const Gpio&) = delete;

    /// Exports the pin with this number. It is an input, or the output that it was when it was last unexported. EBUSY
    /// if it is exported already, EINVAL if there is no such pin or this is no number, ERANGE for a number of more than
    /// 64 bits.
    int Export(std::string_view text);

    /// Removes the pin's files. An input stays an input; an output stays an output, driven low. EINVAL if it is not
    /// exported.
    int Unexport(std::string_view text);

    /// Direction: "in", "out" and "low" (driven low), "high" (driven high).
    /// Value: 0 or not 0, inverted by active_low. EPERM for an input.
    /// ActiveLow: 0 or not 0. Edge: "none", "rising", "falling", "both", which is kept and has no effect; an output
    /// takes no other than the one it had as an input, and has "none" when it refused one with EIO.
    /// EINVAL for any other text, ENODEV when the pin is not exported.
    int Write(int pin, PinFile file, std::string_view text);

    /// Gives the text of the file, with its newline. ENODEV if the pin is not exported.
    int Read(int pin, PinFile file, std::string& text) const;

    /// 0 while the pin is not exported, else a number that no earlier export of any pin had.
    uint64_t ExportNumber(int pin) const;

    /// The level of the line, whoever drives it.
    bool IsHigh(int pin) const;
    bool IsDriven(int pin) const;

    /// All writes so far, including refused ones, the oldest first; only the last 10000 of them.
    std::vector<GpioWrite> Writes() const;
    /// All changes of pins so far, the oldest first; only the last 10000 of them.
    std::vector<PinChange> Changes() const;

    /// Forgets the writes and the changes.
    void Forget();

private:
    struct Pin
    {
        uint64_t exportNumber = 0;
        bool output = false;
        bool outputHigh = false;
        bool activeLow = false;
        std::string edge = "none";

        bool IsHigh() const
        {
            return !output || outputHigh;
        }
    };

    int ExportPin(int pin);
    int UnexportPin(int pin);
    int WritePin(Pin& pin, PinFile file, std::string_view text) const;
    int Change(int pin, const std::string& path, std::string_view text, const std::function<int()>& change);

    const PinListener listener;
    std::mutex changing; // held while a pin is changed and the listener told: this keeps the order
    mutable std::mutex mutex;
    std::array<Pin, PinCount> pins;
    uint64_t exports = 0;
    std::deque<GpioWrite> writes;
    std::deque<PinChange> changes;
};

} // namespace Simulator
