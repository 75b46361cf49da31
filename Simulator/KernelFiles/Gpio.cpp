#include "Gpio.h"

#include "KernelText.h"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Simulator
{

namespace
{

constexpr std::array<const char*, 4> FileNames{"direction", "value", "active_low", "edge"}; // in the order of PinFile
constexpr std::array<const char*, 4> Edges{"none", "rising", "falling", "both"};
constexpr int NoPin = -1;

int PinIn(std::string_view text, int& error)
{
    long number = 0;
    error = ParseNumber(text, number);
    if (error == 0 && (number < 0 || number >= Gpio::PinCount))
    {
        error = EINVAL;
    }
    return error == 0 ? static_cast<int>(number) : NoPin;
}

template<typename Record>
void Remember(std::deque<Record>& records, Record record)
{
    records.push_back(std::move(record));
    if (records.size() > Gpio::MaxWrites)
    {
        records.pop_front();
    }
}

} // namespace

Gpio::Gpio(PinListener pinListener)
    : listener(std::move(pinListener))
{
}

int Gpio::Export(std::string_view text)
{
    int error = 0;
    const int pin = PinIn(text, error);
    return Change(pin, "export", text, [&] { return error != 0 ? error : ExportPin(pin); });
}

int Gpio::Unexport(std::string_view text)
{
    int error = 0;
    const int pin = PinIn(text, error);
    return Change(pin, "unexport", text, [&] { return error != 0 ? error : UnexportPin(pin); });
}

int Gpio::Write(int pin, PinFile file, std::string_view text)
{
    const std::string path = "gpio" + std::to_string(pin) + "/" + FileNames.at(static_cast<std::size_t>(file));
    return Change(pin, path, text, [&] { return WritePin(pins.at(static_cast<std::size_t>(pin)), file, text); });
}

int Gpio::ExportPin(int pin)
{
    Pin& exported = pins.at(static_cast<std::size_t>(pin));
    if (exported.exportNumber != 0)
    {
        return EBUSY;
    }
    exported.exportNumber = ++exports;
    return 0;
}

int Gpio::UnexportPin(int pin)
{
    Pin& exported = pins.at(static_cast<std::size_t>(pin));
    if (exported.exportNumber == 0)
    {
        return EINVAL;
    }
    Pin released;
    released.output = exported.output; // the chip goes on driving it, low
    exported = released;
    return 0;
}

int Gpio::WritePin(Pin& pin, PinFile file, std::string_view text) const
{
    if (pin.exportNumber == 0)
    {
        return ENODEV;
    }
    if (file == PinFile::Direction)
    {
        const bool high = IsWord(text, "high");
        const bool low = IsWord(text, "low") || IsWord(text, "out"); // "out" is low, also when the line was high
        if (!high && !low && !IsWord(text, "in"))
        {
            return EINVAL;
        }
        pin.output = high || low;
        pin.outputHigh = high;
        return 0;
    }
    if (file == PinFile::Edge)
    {
        const auto* const edge =
            std::find_if(Edges.begin(), Edges.end(), [&](auto word) { return IsWord(text, word); });
        if (edge == Edges.end())
        {
            return EINVAL;
        }
        const bool refused = pin.output && *edge != pin.edge && *edge != Edges.front(); // an output gives no interrupt
        pin.edge = refused ? Edges.front() : *edge;
        return refused ? EIO : 0;
    }
    if (file == PinFile::Value && !pin.output)
    {
        return EPERM; // whatever the text is
    }
    long number = 0;
    if (const int error = ParseNumber(text, number); error != 0)
    {
        return error;
    }
    if (file == PinFile::ActiveLow)
    {
        pin.activeLow = number != 0; // changes what is read and how values are taken, not the line
        return 0;
    }
    pin.outputHigh = (number != 0) != pin.activeLow;
    return 0;
}

// `pin` may be no pin: the write is remembered all the same.
int Gpio::Change(int pin, const std::string& path, std::string_view text, const std::function<int()>& change)
{
    const std::lock_guard<std::mutex> order(changing);
    bool changed = false;
    Pin after;
    int error = 0;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        const auto now = [&] { return pin == NoPin ? Pin{} : pins.at(static_cast<std::size_t>(pin)); };
        const Pin before = now();
        error = change();
        after = now();
        changed = before.output != after.output || before.IsHigh() != after.IsHigh();
        const auto time = std::chrono::steady_clock::now();
        Remember<GpioWrite>(writes, {path, std::string(text), error, time});
        if (changed)
        {
            Remember<PinChange>(changes, {pin, after.output, after.IsHigh(), time});
        }
    }
    if (changed && listener)
    {
        listener(pin, after.output, after.IsHigh());
    }
    return error;
}

int Gpio::Read(int pin, PinFile file, std::string& text) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const Pin& exported = pins.at(static_cast<std::size_t>(pin));
    if (exported.exportNumber == 0)
    {
        return ENODEV;
    }
    switch (file)
    {
    case PinFile::Direction:
        text = exported.output ? "out\n" : "in\n";
        break;
    case PinFile::Value:
        text = exported.IsHigh() != exported.activeLow ? "1\n" : "0\n";
        break;
    case PinFile::ActiveLow:
        text = exported.activeLow ? "1\n" : "0\n";
        break;
    case PinFile::Edge:
        text = exported.edge + "\n";
        break;
    }
    return 0;
}

uint64_t Gpio::ExportNumber(int pin) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return pins.at(static_cast<std::size_t>(pin)).exportNumber;
}

bool Gpio::IsHigh(int pin) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return pins.at(static_cast<std::size_t>(pin)).IsHigh();
}

bool Gpio::IsDriven(int pin) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return pins.at(static_cast<std::size_t>(pin)).output;
}

std::vector<GpioWrite> Gpio::Writes() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return {writes.begin(), writes.end()};
}

std::vector<PinChange> Gpio::Changes() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return {changes.begin(), changes.end()};
}

void Gpio::Forget()
{
    const std::lock_guard<std::mutex> lock(mutex);
    writes.clear();
    changes.clear();
}

} // namespace Simulator
