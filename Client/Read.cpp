#include "Read.h"

#include "CommonOptions.h"
#include "Conversation.h"
#include "GroupRequest.h"
#include "Output.h"

namespace OrvelClient
{

namespace
{

constexpr int64_t MaxTimeout = 3600000; // ms: an hour

// What a device answers to the read; nothing when the message is anything else.
std::optional<Knx::GroupValue> AnswerIn(const Message& message, uint16_t group)
{
    const Knx::CemiMessage cemi = Knx::Decode(message.frame);
    const bool isAnswer = cemi.Is(Knx::MessageCode::LDataInd) && IsGroupTelegram(cemi) && cemi.destination == group &&
                          (*cemi.apci & ServiceMask) == static_cast<uint16_t>(GroupService::Response);
    return isAnswer ? ValueOf(cemi) : std::nullopt;
}

std::string Shown(const Knx::GroupValue& value, const Knx::DatapointType* type)
{
    if (type == nullptr)
    {
        return ToText(value);
    }
    try
    {
        return ToText(*type, value);
    }
    catch (const Knx::NotAValue& problem)
    {
        throw Failure(Status::NotUnderstood, "the answer " + ToText(value) + " is none: " + problem.what());
    }
}

Status Read(const ReadOptions& options)
{
    const ChosenGroup group(options.group);
    const Bytes request = GroupRequest(GroupService::Read, group.address);
    Output output;
    if (options.print)
    {
        output.Write(Knx::ToHex(request) + "\n");
        return Status::Done;
    }
    const StopSignals stop;
    Conversation conversation(options.bus, stop, options.wait);
    conversation.SendConfirmed(request, [&group](const Message& message)
                               { return AnswerIn(message, group.address).has_value(); });
    const auto limit = std::chrono::steady_clock::now() + options.timeout;
    while (const auto message = conversation.Next(limit))
    {
        if (const auto value = AnswerIn(*message, group.address))
        {
            output.Write(Shown(*value, group.type) + "\n");
            return Status::Done;
        }
    }
    throw Failure(Status::NoAnswer, "nobody has answered for " + std::to_string(options.timeout.count()) + " ms");
}

} // namespace

void ReadOptions::AddTo(Arguments::Parser& parser)
{
    group.AddTo(parser);
    AddMilliseconds(parser, "--timeout", timeout, 1, MaxTimeout, "Wait so many milliseconds for the answer");
    AddPrint(parser, print);
    AddWait(parser, wait);
    AddBus(parser, bus);
}

Command ReadCommand()
{
    return {"read",
            "GROUP",
            "ask for the value of a group",
            "[OPTION...] GROUP",
            "Asks for the value of a group, and shows what a device answers.\n"
            "\n"
            "  orvelctl read 1/2/4 --dpt 9.001\n"
            "  orvelctl read \"Living room/Temperature\" --timeout 500",
            Define<ReadOptions, Read>};
}

} // namespace OrvelClient
