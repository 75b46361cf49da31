#include "Answer.h"

#include "CommonOptions.h"
#include "Conversation.h"
#include "GroupRequest.h"
#include "Output.h"
#include "Record.h"

#include <cstdio>
#include <optional>

namespace OrvelClient
{

namespace
{

// Between two looks at whether the daemon or the gateway is there again.
constexpr std::chrono::milliseconds Glance{250};

bool Asks(const Message& message, uint16_t group)
{
    const Knx::CemiMessage cemi = Knx::Decode(message.frame);
    return cemi.Is(Knx::MessageCode::LDataInd) && IsGroupTelegram(cemi) && cemi.destination == group &&
           (*cemi.apci & ServiceMask) == static_cast<uint16_t>(GroupService::Read);
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
    std::optional<Conversation> conversation(std::in_place, options.bus, stop, options.wait);
    Notice(output, "answers " + Knx::GroupAddress(group.address) + "; Ctrl-C ends");
    TimeStamper stamper(TimeStamp::Absolute);
    uint64_t count = 0;
    while (options.number == 0 || count < options.number)
    {
        try
        {
            if (!conversation)
            {
                conversation.emplace(options.bus, stop, options.wait);
            }
            const auto message = conversation->Next(std::chrono::steady_clock::now() + std::chrono::hours(1));
            if (message && Asks(*message, group.address))
            {
                conversation->Send(response); // first: a slow output is no reason to answer late
                ++count;
                output.Write(RecordLine(stamper.Stamp(message->time), *message) + "\n");
            }
        }
        catch (const Failure& failure)
        {
            if (failure.ExitStatus() == Status::NoRoom && conversation)
            {
                std::fprintf(stderr, "orvelctl: not answered: %s\n", failure.what());
                continue;
            }
            if (failure.ExitStatus() != Status::NotThere && failure.ExitStatus() != Status::Interrupted)
            {
                throw;
            }
            conversation.reset();
            if (stop.AwaitUntil(std::chrono::steady_clock::now() + Glance))
            {
                break;
            }
        }
    }
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
