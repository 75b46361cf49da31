#include "Options.h"

#include "Failure.h"
#include "Queue.h"

#include <cxxopts.hpp>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iomanip>
#include <limits>
#include <optional>
#include <sstream>
#include <string_view>
#include <type_traits>

namespace OrvelClient
{

namespace
{

constexpr const char* GeneralHelp = "Talks to the orvel daemon as an application does: sends, shows and checks.\n"
                                    "\n"
                                    "Usage:\n"
                                    "  orvelctl COMMAND [OPTION...] [ARGUMENT...]\n"
                                    "\n"
                                    "send HEX         send a frame to the bus, or each line of standard input\n"
                                    "monitor          show what comes from the bus, and the state of the link\n"
                                    "replay FILE      send the frames of a log or a capture of the monitor\n"
                                    "generate         send random telegrams, for load\n"
                                    "button           show when the programming button is pressed and released\n"
                                    "led NAME STATE   list the LEDs, show one, or set it: on, off, 0 to 100\n"
                                    "check            say whether the daemon would start on this machine\n"
                                    "\n"
                                    "'orvelctl COMMAND --help' lists the options of a command.\n"
                                    "\n"
                                    "  -h, --help     Print this help message and exit.\n"
                                    "  -v, --version  Print version and revision and exit.\n";

constexpr std::size_t MaxArgument = 4096; // bytes; the parser takes stack for each

[[noreturn]] void Reject(const std::string& why)
{
    throw Failure(Status::WrongOption, why);
}

// Nothing unless all of the text is one number.
template<typename Number>
std::optional<Number> ParseNumber(const std::string& text)
{
    std::istringstream stream(text);
    Number number{};
    const bool isNumber = !text.empty() && std::string("-.0123456789").find(text.front()) != std::string::npos &&
                          (text.front() != '-' || std::is_signed_v<Number>)&&stream >> number && stream.eof();
    return isNumber ? std::optional(number) : std::nullopt;
}

// A command with its own options.
class CommandLine
{
public:
    CommandLine(const std::string& command, const std::string& usage, const std::string& description)
        : definitions("orvelctl " + command, description + "\n")
    {
        definitions.custom_help(usage);
        definitions.add_options()("h,help", "Print this help message and exit.");
    }

    cxxopts::OptionAdder Add()
    {
        return definitions.add_options();
    }

    /// `argv` begins with the command. False when help was asked for.
    bool Parse(int argc, const char* const* argv, std::size_t maxArguments)
    {
        if (std::any_of(argv, argv + argc, [](const char* argument) { return std::strlen(argument) > MaxArgument; }))
        {
            Reject("argument of more than " + std::to_string(MaxArgument) + " bytes");
        }
        try
        {
            given = definitions.parse(argc, argv);
        }
        catch (const cxxopts::exceptions::exception& rejected)
        {
            Reject(rejected.what());
        }
        if (given.count("help") != 0)
        {
            return false;
        }
        if (Arguments().size() > maxArguments)
        {
            Reject("'" + Arguments()[maxArguments] + "' is not understood");
        }
        return true;
    }

    std::string Help() const
    {
        return definitions.help();
    }

    const std::vector<std::string>& Arguments() const
    {
        return given.unmatched();
    }

    bool Has(const char* option) const
    {
        return given.count(option) != 0;
    }

    std::string Text(const char* option) const
    {
        return given[option].as<std::string>();
    }

    std::vector<std::string> Texts(const char* option) const
    {
        return given[option].as<std::vector<std::string>>();
    }

    /// The option's value, or `otherwise` when it was not given.
    template<typename Number>
    Number NumberOr(Number otherwise, const char* option, Number least, Number most) const
    {
        if (!Has(option))
        {
            return otherwise;
        }
        const auto number = ParseNumber<Number>(Text(option));
        if (!number || !(*number >= least && *number <= most))
        {
            Reject(std::string("--") + option + " takes " + PlainNumber(least) + " to " + PlainNumber(most) +
                   ", not '" + Text(option) + "'");
        }
        return *number;
    }

private:
    template<typename Number>
    static std::string PlainNumber(Number number)
    {
        std::ostringstream stream;
        stream << std::setprecision(std::numeric_limits<Number>::digits10) << number;
        return stream.str();
    }

    cxxopts::Options definitions;
    cxxopts::ParseResult given;
};

constexpr int64_t MaxWait = 86400000;            // ms: a day
constexpr uint64_t MaxNumber = 1000000000000000; // more than anybody will wait for
constexpr double MinSpeed = 0.001;
constexpr double MaxSpeed = 1000;
constexpr double MinRate = 0.001; // telegrams a second
constexpr double MaxRate = 100000;
constexpr int MaxBrightness = 100;

std::chrono::milliseconds Wait(const CommandLine& line, std::chrono::milliseconds otherwise)
{
    return std::chrono::milliseconds(line.NumberOr<int64_t>(otherwise.count(), "wait", 0, MaxWait));
}

void AddTime(CommandLine& line)
{
    line.Add()(
        "t,time",
        "Time stamps: absolute (seconds since 1970), relative (to the first message) or delta (to the one before), "
        "default is: absolute",
        cxxopts::value<std::string>());
}

void AddNumber(CommandLine& line, const char* text)
{
    line.Add()("n,number", text, cxxopts::value<std::string>());
}

uint64_t Number(const CommandLine& line)
{
    return line.NumberOr<uint64_t>(0, "number", 1, MaxNumber);
}

void AddWait(CommandLine& line, const std::string& defaultValue)
{
    line.Add()("wait", "Wait so many milliseconds for room in the queue, default is: " + defaultValue,
               cxxopts::value<std::string>());
}

TimeStamp ParseTimeStamp(const CommandLine& line)
{
    const std::string name = line.Has("time") ? line.Text("time") : "absolute";
    if (name == "absolute")
    {
        return TimeStamp::Absolute;
    }
    if (name == "relative")
    {
        return TimeStamp::Relative;
    }
    if (name != "delta")
    {
        Reject("--time is absolute, relative or delta, not '" + name + "'");
    }
    return TimeStamp::Delta;
}

// 0 for as fast as it goes.
double Speed(const std::string& text)
{
    if (text == "max")
    {
        return 0;
    }
    const auto speed = ParseNumber<double>(text);
    if (!speed || !(*speed >= MinSpeed && *speed <= MaxSpeed))
    {
        Reject("--speed takes 0.001 to 1000, or max, not '" + text + "'");
    }
    return *speed;
}

// Nothing for "on".
std::optional<int> Brightness(const std::string& text)
{
    if (text == "on")
    {
        return std::nullopt;
    }
    if (text == "off")
    {
        return 0;
    }
    const auto brightness = ParseNumber<int>(text);
    if (!brightness || *brightness < 0 || *brightness > MaxBrightness)
    {
        Reject("an LED is on, off or 0 to 100, not '" + text + "'");
    }
    return brightness;
}

// Each command defines its options and takes them over; false when help was asked for, which is then in `options`.

void ParseSend(Options& options, int argc, const char* const* argv)
{
    CommandLine line("send", "[OPTION...] [HEX...]",
                     "Sends the frame to the bus. Without HEX, each line of standard input is a frame.");
    AddWait(line, "0");
    if (!line.Parse(argc, argv, SIZE_MAX))
    {
        options.help = line.Help();
        return;
    }
    options.command = Options::Command::Send;
    options.send.digits = line.Arguments();
    options.send.wait = Wait(line, {});
}

void ParseMonitor(Options& options, int argc, const char* const* argv)
{
    CommandLine line("monitor", "[OPTION...]", "Shows each message from the bus, and the state of the link.");
    AddTime(line);
    AddNumber(line, "End after so many messages.");
    // clang-format off
    line.Add()
        ("count", "Show only how many messages of each kind came, at the end.")
        ("json", "Show each message as one JSON object.")
        ("pcap", "Write a capture for Wireshark and tshark to this file; '-' is standard output.",
            cxxopts::value<std::string>());
    // clang-format on
    if (!line.Parse(argc, argv, 0))
    {
        options.help = line.Help();
        return;
    }
    using Format = MonitorOptions::Format;
    constexpr std::array<std::pair<const char*, Format>, 4> formats{
        {{"time", Format::Log}, {"count", Format::Count}, {"json", Format::Json}, {"pcap", Format::Capture}}};
    MonitorOptions& monitor = options.monitor;
    const char* chosen = nullptr;
    for (const auto& [option, format] : formats)
    {
        if (!line.Has(option))
        {
            continue;
        }
        if (chosen != nullptr)
        {
            Reject(std::string("--") + chosen + " and --" + option + " cannot go together");
        }
        chosen = option;
        monitor.format = format;
    }
    options.command = Options::Command::Monitor;
    monitor.timeStamp = ParseTimeStamp(line);
    monitor.captureFile = line.Has("pcap") ? line.Text("pcap") : "";
    monitor.number = Number(line);
}

void ParseReplay(Options& options, int argc, const char* const* argv)
{
    CommandLine line("replay", "[OPTION...] FILE",
                     "Sends the frames of a log or a capture of the monitor, with its timing; '-' is standard input.");
    line.Add()("speed", "Send so many times as fast; max is as fast as the queue takes the frames, default is: 1",
               cxxopts::value<std::string>());
    AddWait(line, "1000");
    if (!line.Parse(argc, argv, 1))
    {
        options.help = line.Help();
        return;
    }
    if (line.Arguments().empty())
    {
        Reject("replay needs a file");
    }
    options.command = Options::Command::Replay;
    options.replay.file = line.Arguments()[0];
    options.replay.speed = Speed(line.Has("speed") ? line.Text("speed") : "1");
    options.replay.wait = Wait(line, options.replay.wait);
}

void ParseGenerate(Options& options, int argc, const char* const* argv)
{
    CommandLine line("generate", "[OPTION...]", "Sends random telegrams to random group addresses.");
    line.Add()("rate", "Send so many telegrams a second, default is: 10", cxxopts::value<std::string>());
    AddNumber(line, "End after so many telegrams.");
    // clang-format off
    line.Add()
        ("seed", "The same seed gives the same telegrams; without it they differ each time.",
            cxxopts::value<std::string>())
        ("print", "Show the telegrams, as 'send' reads them, instead of sending them.");
    // clang-format on
    AddWait(line, "1000");
    if (!line.Parse(argc, argv, 0))
    {
        options.help = line.Help();
        return;
    }
    options.command = Options::Command::Generate;
    GenerateOptions& generate = options.generate;
    generate.rate = line.NumberOr<double>(generate.rate, "rate", MinRate, MaxRate);
    generate.number = Number(line);
    if (line.Has("seed"))
    {
        generate.seed = line.NumberOr<uint32_t>(0, "seed", 0, UINT32_MAX);
    }
    generate.print = line.Has("print");
    generate.wait = Wait(line, generate.wait);
}

void ParseButton(Options& options, int argc, const char* const* argv)
{
    CommandLine line("button", "[OPTION...]", "Shows when the programming button is pressed and released.");
    line.Add()("queue", "The queue of the button, default is: " ORVEL_PROG_BUTTON_QUEUE, cxxopts::value<std::string>());
    AddTime(line);
    AddNumber(line, "End after so many messages.");
    if (!line.Parse(argc, argv, 0))
    {
        options.help = line.Help();
        return;
    }
    options.command = Options::Command::Button;
    options.button.queue = line.Has("queue") ? line.Text("queue") : options.button.queue;
    if (!Queue::IsName(options.button.queue))
    {
        Reject("--queue takes a name that begins with / and has no other, not '" + options.button.queue + "'");
    }
    options.button.timeStamp = ParseTimeStamp(line);
    options.button.number = Number(line);
}

void ParseLed(Options& options, int argc, const char* const* argv)
{
    CommandLine line("led", "[OPTION...] [NAME [on|off|0..100]]",
                     "Lists the LEDs with their brightness and their highest brightness, or sets one.");
    if (!line.Parse(argc, argv, 2))
    {
        options.help = line.Help();
        return;
    }
    options.command = Options::Command::Led;
    const auto& arguments = line.Arguments();
    if (!arguments.empty())
    {
        options.led.name = arguments[0];
        if (options.led.name.empty())
        {
            Reject("an LED has a name");
        }
    }
    if (arguments.size() > 1)
    {
        options.led.full = arguments[1] == "on";
        options.led.brightness = Brightness(arguments[1]);
    }
}

void ParseCheck(Options& options, int argc, const char* const* argv)
{
    CommandLine line("check", "[OPTION...]",
                     "Says whether the daemon would start on this machine for this user, and what to do about it.");
    // clang-format off
    line.Add()
        ("driver", "The daemon to look at, default is the one installed or built beside this program.",
            cxxopts::value<std::string>())
        ("reset_gpio", "As the daemon's option, default is: 3", cxxopts::value<std::string>())
        ("prog_button_message_queue", "As the daemon's option, repeat for multiple, default is: " ORVEL_PROG_BUTTON_QUEUE,
            cxxopts::value<std::vector<std::string>>());
    // clang-format on
    if (!line.Parse(argc, argv, 0))
    {
        options.help = line.Help();
        return;
    }
    options.command = Options::Command::Check;
    CheckOptions& check = options.check;
    check.driver = line.Has("driver") ? line.Text("driver") : "";
    check.resetGpio = line.NumberOr<int>(check.resetGpio, "reset_gpio", 0, INT32_MAX);
    if (line.Has("prog_button_message_queue"))
    {
        check.buttonQueues = line.Texts("prog_button_message_queue");
    }
}

struct CommandName
{
    const char* name;
    void (*parse)(Options&, int, const char* const*);
};

constexpr std::array Commands{CommandName{"send", ParseSend},     CommandName{"monitor", ParseMonitor},
                              CommandName{"replay", ParseReplay}, CommandName{"generate", ParseGenerate},
                              CommandName{"button", ParseButton}, CommandName{"led", ParseLed},
                              CommandName{"check", ParseCheck}};

} // namespace

Options ParseOptions(int argc, const char* const* argv)
{
    Options options;
    const std::string_view first = argc > 1 ? argv[1] : "";
    if (first == "-h" || first == "--help")
    {
        options.help = GeneralHelp;
        return options;
    }
    if (first == "-v" || first == "--version")
    {
        options.command = Options::Command::Version;
        return options;
    }
    const auto* const command = std::find_if(Commands.begin(), Commands.end(),
                                             [first](const CommandName& entry) { return entry.name == first; });
    if (command == Commands.end())
    {
        Reject(first.empty() ? "needs a command; --help lists them"
                             : "'" + std::string(first) + "' is no command; --help lists them");
    }
    command->parse(options, argc - 1, argv + 1);
    return options;
}

} // namespace OrvelClient
