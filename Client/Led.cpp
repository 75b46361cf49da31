#include "Led.h"

#include "Failure.h"
#include "Output.h"

#include "System/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>

namespace OrvelClient
{

namespace
{

constexpr const char* LedDirectory = "/sys/class/leds";

std::string Path(const std::string& led, const char* file)
{
    return std::string(LedDirectory) + "/" + led + "/" + file;
}

// Empty if it cannot be read.
std::string Content(const std::string& file)
{
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

std::set<std::string> Leds()
{
    std::set<std::string> names;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator(LedDirectory, ignored))
    {
        names.insert(entry.path().filename());
    }
    return names;
}

// "prg1 0 100": the name, the brightness and the highest brightness.
std::string Line(const std::string& led)
{
    return led + " " + Content(Path(led, "brightness")) + " " + Content(Path(led, "max_brightness")) + "\n";
}

std::string HighestBrightness(const std::string& led)
{
    const std::string file = Path(led, "max_brightness");
    std::string brightness = Content(file);
    if (brightness.empty())
    {
        throw Failure(Status::Failed, "cannot read " + file);
    }
    return brightness;
}

void Set(const std::string& led, const std::string& brightness)
{
    const std::string file = Path(led, "brightness");
    const System::Descriptor descriptor(open(file.c_str(), O_WRONLY | O_CLOEXEC));
    if (descriptor.IsOpen() && write(descriptor.Number(), brightness.data(), brightness.size()) != -1)
    {
        return;
    }
    if (errno == EACCES)
    {
        throw Failure(Status::NotAllowed, file + " is not for this user: be root, or in the group orvel");
    }
    throw Failure(Status::Failed, "cannot write " + file + ": " + strerror(errno));
}

Status Led(const LedOptions& options)
{
    const std::set<std::string> leds = Leds();
    if (!options.name.empty() && leds.count(options.name) == 0)
    {
        throw Failure(Status::NotThere, "there is no LED '" + options.name + "' in " + LedDirectory);
    }
    if (leds.empty())
    {
        throw Failure(Status::NotThere, std::string("there is no LED in ") + LedDirectory + ": does the daemon run?");
    }
    if (options.full || options.brightness)
    {
        Set(options.name, options.full ? HighestBrightness(options.name) : std::to_string(*options.brightness));
        return Status::Done;
    }
    Output output;
    for (const std::string& led : options.name.empty() ? leds : std::set<std::string>{options.name})
    {
        output.Write(Line(led));
    }
    return Status::Done;
}

} // namespace

void LedOptions::AddTo(Arguments::Parser& parser)
{
    parser.Option("NAME",
                  [this](const std::string& text)
                  {
                      if (text.empty())
                      {
                          throw Arguments::Wrong("takes the name of an LED");
                      }
                      name = text;
                  });
    parser.Option("STATE",
                  [this](const std::string& text)
                  {
                      full = text == "on";
                      brightness = full || text == "off" ? 0 : Arguments::NumberIn(text, 0, 100, ", on or off");
                  });
}

Command LedCommand()
{
    return {"led",
            "NAME STATE",
            "list the LEDs, show one, or set it: on, off, 0 to 100",
            "[OPTION...] [NAME [on|off|0..100]]",
            "Lists the LEDs with their brightness and their highest brightness, or sets one.\n"
            "\n"
            "  orvelctl led\n"
            "  orvelctl led prg2 on",
            Define<LedOptions, Led>};
}

} // namespace OrvelClient
