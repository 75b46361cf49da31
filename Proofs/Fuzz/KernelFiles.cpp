// Fuzzes what programs write to the board's GPIO and LED files. The input is a row of calls: a byte that chooses the
// call, one that chooses the pin or the LED, and a text after its length.

#include "Gpio.h"
#include "Uleds.h"

#include "Expect.h"
#include "Input.h"

#include <linux/uleds.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

using namespace Simulator;

namespace
{

void ExpectPins(const Gpio& gpio)
{
    for (int pin = 0; pin < Gpio::PinCount; ++pin)
    {
        std::string direction;
        std::string value;
        const bool exported = gpio.ExportNumber(pin) != 0;
        Fuzz::ExpectEqual("direction", gpio.Read(pin, PinFile::Direction, direction), exported ? 0 : ENODEV);
        Fuzz::ExpectEqual("value", gpio.Read(pin, PinFile::Value, value), exported ? 0 : ENODEV);
        Fuzz::Expect("a direction", !exported || gpio.IsDriven(pin) == (direction == "out\n"));
        Fuzz::Expect("an output without its files, which is low", exported || !gpio.IsDriven(pin) || !gpio.IsHigh(pin));
        Fuzz::Expect("an input that is pulled up", gpio.IsDriven(pin) || gpio.IsHigh(pin));
        Fuzz::Expect("a value", !exported || value == "0\n" || value == "1\n");
    }
}

void ExpectLeds(const Uleds& uleds)
{
    std::set<std::string> names;
    for (const Uleds::Led& led : uleds.Leds())
    {
        Fuzz::Expect("a name that a directory can have", !led.name.empty() && led.name.size() < LED_MAX_NAME_SIZE &&
                                                             led.name.find('/') == std::string::npos &&
                                                             led.name != "." && led.name != "..");
        Fuzz::Expect("a name of its own", names.insert(led.name).second);
        std::string brightness;
        std::string maximum;
        Fuzz::ExpectEqual("brightness", uleds.ReadBrightness(led.handle, brightness), 0);
        Fuzz::ExpectEqual("max_brightness", uleds.ReadMaxBrightness(led.handle, maximum), 0);
        Fuzz::Expect("a brightness in its range", std::stol(brightness) >= 0 && std::stol(maximum) > 0 &&
                                                      std::stol(brightness) <= std::stol(maximum));
    }
}

std::string RecordOf(const std::string& name, int brightness)
{
    uleds_user_dev record{};
    name.copy(record.name, sizeof(record.name));
    record.max_brightness = brightness;
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

struct Files
{
    Gpio gpio;
    Uleds uleds;
    std::vector<Uleds::Handle> handles{0}; // that are open; 0 never is

    void Call(Fuzz::Input& input)
    {
        const uint8_t call = input.TakeByte();
        const uint8_t which = input.TakeByte();
        const std::string text = input.TakeText();
        const int pin = which % Gpio::PinCount;
        const Uleds::Handle handle = handles[which % handles.size()];
        const std::size_t wasWritten = gpio.Writes().size();
        switch (call % 10)
        {
        case 0:
            gpio.Export(text);
            break;
        case 1:
            gpio.Unexport(text);
            break;
        case 2:
            WritePin(pin, static_cast<PinFile>(which / Gpio::PinCount % 4), text);
            break;
        case 3:
            gpio.Export(std::to_string(pin));
            break;
        case 4:
            handles.push_back(uleds.Open());
            break;
        case 5:
            uleds.Write(handle, text);
            break;
        case 6:
            uleds.Write(handle, RecordOf(text, which));
            break;
        case 7:
            uleds.WriteBrightness(handle, text);
            break;
        case 8:
            ReadReport(handle, text.size());
            break;
        default:
            uleds.Close(handle);
        }
        Fuzz::ExpectEqual("writes that are remembered", gpio.Writes().size(), wasWritten + (call % 10 < 4 ? 1 : 0));
    }

private:
    void WritePin(int pin, PinFile file, const std::string& text)
    {
        const int error = gpio.Write(pin, file, text);
        if (error == 0 && file == PinFile::Direction)
        {
            Fuzz::ExpectEqual("driven", gpio.IsDriven(pin), text.rfind("in", 0) != 0);
            Fuzz::ExpectEqual("driven high", gpio.IsDriven(pin) && gpio.IsHigh(pin), text.rfind("high", 0) == 0);
        }
        if (file == PinFile::Edge && (error == 0 || error == EIO))
        {
            std::string edge;
            Fuzz::ExpectEqual("an edge that can be read", gpio.Read(pin, file, edge), 0);
            edge.pop_back();
            Fuzz::ExpectEqual("the edge", error == 0 ? text.substr(0, edge.size()) : "none", edge);
            Fuzz::Expect("an output that takes no edge", error == 0 || gpio.IsDriven(pin));
        }
        if (error == 0 && file == PinFile::Value)
        {
            std::string level;
            Fuzz::ExpectEqual("a value that can be read", gpio.Read(pin, file, level), 0);
            Fuzz::ExpectEqual("the value", level,
                              text.find_first_of("123456789abcdefABCDEF") < text.find('\0') ? "1\n" : "0\n");
        }
    }

    void ReadReport(Uleds::Handle handle, std::size_t size)
    {
        const bool pending = uleds.Poll(handle) != 0;
        int32_t brightness = -1;
        const long count = uleds.Read(handle, size, brightness);
        Fuzz::ExpectEqual("a report to read", count == sizeof(brightness), pending && size >= sizeof(brightness));
        Fuzz::ExpectEqual("a brightness", brightness >= 0, count == sizeof(brightness));
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Files files;
    for (Fuzz::Input input(data, size); !input.IsEmpty();)
    {
        files.Call(input);
    }
    ExpectPins(files.gpio);
    ExpectLeds(files.uleds);
    return 0;
}
