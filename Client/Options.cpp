#include "Options.h"

#include "Failure.h"

#include <cxxopts.hpp>

#include <algorithm>
#include <array>
#include <string_view>

namespace OrvelClient
{

namespace
{

constexpr const char* GeneralHelp = "Talks to the orvel daemon as an application does: shows, sends, tries.\n"
                                    "\n"
                                    "Usage:\n"
                                    "  orvelctl COMMAND [OPTION...] [ARGUMENT...]\n"
                                    "\n"
                                    "send HEX         send a frame to the bus, or each line of standard input\n"
                                    "monitor          show what comes from the bus, and the state of the link\n"
                                    "\n"
                                    "'orvelctl COMMAND --help' has the options of a command.\n"
                                    "\n"
                                    "  -h, --help  Print this help message and exit.\n";

[[noreturn]] void Reject(const std::string& why)
{
    throw Failure(Status::WrongOption, why);
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

    /// The option's value, or `otherwise` when it was not given.
    template<typename Number>
    Number NumberOr(Number otherwise, const char* option, Number least, Number most) const
    {
        if (!Has(option))
        {
            return otherwise;
        }
        const Number number = given[option].as<Number>();
        if (!(number >= least && number <= most))
        {
            Reject(std::string("--") + option + " takes " + PlainNumber(least) + " to " + PlainNumber(most));
        }
        return number;
    }

private:
    template<typename Number>
    static std::string PlainNumber(Number number)
    {
        std::string text = std::to_string(number);
        if (text.find('.') != std::string::npos)
        {
            text.erase(text.find_last_not_of('0') + 1);
            text.erase(text.find_last_not_of('.') + 1);
        }
        return text;
    }

    cxxopts::Options definitions;
    cxxopts::ParseResult given;
};

constexpr long MaxWait = 86400000;               // ms: a day
constexpr uint64_t MaxNumber = 1000000000000000; // more than anybody will wait for

std::chrono::milliseconds Wait(const CommandLine& line, std::chrono::milliseconds otherwise)
{
    return std::chrono::milliseconds(line.NumberOr<long>(otherwise.count(), "wait", 0, MaxWait));
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

// Each command defines its options and takes them over; false when help was asked for, which is then in `options`.

void ParseSend(Options& options, int argc, const char* const* argv)
{
    CommandLine line("send", "[OPTION...] [HEX...]",
                     "Sends the frame to the bus. Without HEX, each line of standard input is a frame.");
    line.Add()("wait", "Wait so many milliseconds for room in the queue, default is: 0", cxxopts::value<long>());
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
    // clang-format off
    line.Add()
        ("t,time", "Time stamps: absolute (seconds since 1970), relative (to the first message) or delta (to the one before), default is: absolute",
            cxxopts::value<std::string>())
        ("n,number", "End after so many messages.", cxxopts::value<uint64_t>())
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
    monitor.number = line.NumberOr<uint64_t>(0, "number", 1, MaxNumber);
}

struct CommandName
{
    const char* name;
    void (*parse)(Options&, int, const char* const*);
};

constexpr std::array Commands{CommandName{"send", ParseSend}, CommandName{"monitor", ParseMonitor}};

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
