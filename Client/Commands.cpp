#include "Commands.h"

#include "Answer.h"
#include "Button.h"
#include "Check.h"
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
#include "Top.h"
#include "Version.h"
#include "Write.h"

#include <algorithm>
#include <array>

namespace OrvelClient
{

namespace
{

// In the order in which the help lists them.
std::array<Command, 14> Commands()
{
    return {WriteCommand(),  ReadCommand(),   AnswerCommand(), SendCommand(),     MonitorCommand(),
            TopCommand(),    DecodeCommand(), ReplayCommand(), GenerateCommand(), NamesCommand(),
            ButtonCommand(), LedCommand(),    StatusCommand(), CheckCommand()};
}

std::string Row(const Command& command)
{
    constexpr std::size_t width = 20;
    std::string row = std::string(command.name) + " " + command.arguments;
    row.resize(std::max(width, row.size() + 1), ' ');
    return row + command.summary + "\n";
}

std::string Description()
{
    std::string text = "Talks to the orvel daemon as an application does: sends, shows and checks.\n\n";
    for (const Command& command : Commands())
    {
        text += Row(command);
    }
    return text + "\n'orvelctl COMMAND --help' lists the options of a command.\n";
}

} // namespace

Action ActionFor(int argc, const char* const* argv)
{
    Arguments::Parser program("orvelctl", "COMMAND [OPTION...] [ARGUMENT...]", Description());
    program.Version(OrvelVersion::VersionText("orvelctl"));
    Action action;
    for (const Command& command : Commands())
    {
        program.Command(command.name, command.usage, command.description,
                        [&action, define = command.define](Arguments::Parser& parser) { action = define(parser); });
    }
    program.Check(
        [&action]
        {
            if (!action)
            {
                throw Arguments::Wrong("needs a command; --help lists them");
            }
        });
    try
    {
        if (const auto text = program.Parse(argc, argv))
        {
            return [text]
            {
                Output().Write(*text);
                return Status::Done;
            };
        }
        return action;
    }
    catch (const Arguments::Wrong& wrong)
    {
        throw Failure(Status::WrongOption, wrong.what());
    }
}

} // namespace OrvelClient
