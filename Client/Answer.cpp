#include "Answer.h"

#include "CommonOptions.h"
#include "Conversation.h"
#include "GroupRequest.h"
#include "Output.h"
#include "Record.h"

#include <cstdio>

namespace OrvelClient
{

namespace
{

bool Asks(const Message& message, uint16_t group)
{
    const Knx::CemiMessage cemi = Knx::Decode(message.frame);
    return cemi.Is(Knx::MessageCode::LDataInd) && IsGroupTelegram(cemi) && cemi.destination == group &&
           (*cemi.apci & ServiceMask) == static_cast<uint16_t>(GroupService::Read);
}

// Says so when there is no room for it. Comes before any output: a slow one is no reason to answer late.
bool Sends(Conversation& conversation, const Bytes& response)
{
    try
    {
        conversation.Send(response);
        return true;
    }
    catch (const Failure& failure)
    {
        if (failure.ExitStatus() != Status::NoRoom)
        {
            throw;
        }
        std::fprintf(stderr, "orvelctl: not answered: %s\n", failure.what());
        return false;
    }
}

Status Answer(const AnswerOptions& options)
{
    const ChosenGroup group(options.group);
    const Bytes response = GroupRequest(GroupService::Response, group.address, group.ValueFrom(options.value));
    Output output;
    if (options.print)
    {
        output.Write(Knx::ToHex(response) + "\n");
        return Status::Done;
    }
    const StopSignals stop;
    Conversation conversation(options.bus, stop, options.wait);
    Notice(output, "answers " + Knx::GroupAddress(group.address) + "; Ctrl-C ends");
    TimeStamper stamper(TimeStamp::Absolute);
    uint64_t count = 0;
    conversation.GoOn(
        [&]
        {
            const auto message = conversation.Next(std::chrono::steady_clock::now() + std::chrono::hours(1));
            if (message && Asks(*message, group.address) && Sends(conversation, response))
            {
                ++count;
                output.Write(RecordLine(stamper.Stamp(message->time), *message) + "\n");
            }
            return options.number == 0 || count < options.number;
        });
    stop.RequireAll(count, options.number);
    return Status::Done;
}

} // namespace

void AnswerOptions::AddTo(Arguments::Parser& parser)
{
    group.AddTo(parser);
    AddValue(parser, value);
    AddNumber(parser, number, "answers");
    AddPrint(parser, print);
    AddWait(parser, wait);
    AddBus(parser, bus);
}

Command AnswerCommand()
{
    return {"answer",
            "GROUP VALUE",
            "answer those who ask for the value of a group",
            "[OPTION...] GROUP VALUE...",
            "Answers those who ask for the value of a group, until it is stopped, and shows their telegrams.\n"
            "\n"
            "  orvelctl answer 1/2/4 21.5 --dpt 9.001",
            Define<AnswerOptions, Answer>};
}

} // namespace OrvelClient
