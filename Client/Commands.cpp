#include "Commands.h"

#include "Answer.h"
#include "Button.h"
#include "Check.h"
#include "CommandLine.h"
#include "Decode.h"
#include "Generate.h"
#include "Led.h"
#include "Monitor.h"
#include "Names.h"
#include "Output.h"
#include "Read.h"
#include "Replay.h"
#include "Send.h"
#include "Status.h"
#include "Version.h"
#include "Write.h"

#include <algorithm>

namespace OrvelClient
{

namespace
{

Action Print(const std::string& text)
{
    return [text]
    {
        Output().Write(text);
        return Status::Done;
    };
}

std::string Row(const Command& command)
{
    constexpr std::size_t width = 20;
    std::string row = std::string(command.name) + " " + command.arguments;
    row.resize(std::max(width, row.size() + 1), ' ');
    return row + command.summary + "\n";
}

} // namespace

std::vector<Command> Commands()
{
    return {WriteCommand(),  ReadCommand(),   AnswerCommand(),   SendCommand(),  MonitorCommand(),
            DecodeCommand(), ReplayCommand(), GenerateCommand(), NamesCommand(), ButtonCommand(),
            LedCommand(),    StatusCommand(), CheckCommand()};
}

std::string GeneralHelp()
{
    std::string rows;
    for (const Command& command : Commands())
    {
        rows += Row(command);
    }
    return "Talks to the orvel daemon as an application does: sends, shows and checks.\n"
           "\n"
           "Usage:\n"
           "  orvelctl COMMAND [OPTION...] [ARGUMENT...]\n"
           "\n" +
           rows +
           "\n"
           "'orvelctl COMMAND --help' lists the options of a command.\n"
           "\n"
           "  -h, --help     Print this help message and exit.\n"
           "  -v, --version  Print version and revision and exit.\n";
}

Action ActionFor(int argc, const char* const* argv)
{
    const std::string first = argc > 1 ? argv[1] : "";
    if (first == "-h" || first == "--help")
    {
        return Print(GeneralHelp());
    }
    if (first == "-v" || first == "--version")
    {
        return Print(OrvelVersion::VersionText("orvelctl"));
    }
    const std::vector<Command> commands = Commands();
    const auto command =
        std::find_if(commands.begin(), commands.end(), [&first](const Command& entry) { return entry.name == first; });
    if (command == commands.end())
    {
        Reject(first.empty() ? "needs a command; --help lists them"
                             : "'" + first + "' is no command; --help lists them");
    }
    const CommandLine line(*command, argc - 1, argv + 1);
    return line.Help().empty() ? command->prepare(line) : Print(line.Help());
}

} // namespace OrvelClient
