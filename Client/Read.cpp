#include "Read.h"

#include "CommonOptions.h"
#include "Conversation.h"
#include "Description.h"
#include "GroupRequest.h"
#include "Output.h"

#include "Orvel/Protocol.h"

#include <cstdio>

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

// `what` it is for the person, should it be none.
std::string Shown(const Knx::GroupValue& value, const Knx::DatapointType* type, const std::string& what)
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
        throw Failure(Status::NotUnderstood, "the " + what + " " + ToText(value) + " is none: " + problem.what());
    }
}

// The value that the group gets, whoever sends it.
std::optional<Knx::GroupValue> NewValueIn(const Message& message, uint16_t group)
{
    const Knx::CemiMessage cemi = TakenApart(message);
    return WasOnBus(cemi) && IsGroupTelegram(cemi) && cemi.destination == group ? ValueOf(cemi) : std::nullopt;
}

void Remark(const std::string& line)
{
    std::fprintf(stderr, "orvelctl: %s\n", line.c_str());
}

std::string NoAnswerFor(std::chrono::milliseconds time)
{
    return "nobody has answered for " + std::to_string(time.count()) + " ms";
}

// Shows the values of a group as they come.
class Following
{
public:
    Following(const ReadOptions& readOptions, const ChosenGroup& chosenGroup, const Bytes& readRequest,
              Output& valueOutput, Conversation& openedConversation)
        : options(readOptions)
        , group(chosenGroup)
        , request(readRequest)
        , output(valueOutput)
        , conversation(openedConversation)
    {
    }

    void Run()
    {
        Notice(output, "follows " + Knx::GroupAddress(group.address) + "; Ctrl-C ends");
        conversation.GoOn(
            [this]
            {
                if (!hasAsked)
                {
                    hasAsked = true;
                    // What waits in a queue is from before.
                    Ask(
                        [this]
                        {
                            conversation.SendConfirmed(request, [this](const Message& message)
                                                       { return AnswerIn(message, group.address).has_value(); });
                        });
                }
                Hear(conversation.Next(limit.value_or(Clock::now() + std::chrono::hours(1))));
                return true;
            });
    }

private:
    using Clock = std::chrono::steady_clock;

    void Ask(const std::function<void()>& send)
    {
        try
        {
            send();
            limit = Clock::now() + options.timeout;
        }
        catch (const NotServed&)
        {
            hasAsked = false; // the next one is asked
            throw;
        }
        catch (const Failure& failure)
        {
            const Status status = failure.ExitStatus();
            if (status != Status::NotConfirmed && status != Status::NotThere && status != Status::NoRoom)
            {
                throw;
            }
            Remark(failure.what());
        }
    }

    void Hear(const std::optional<Message>& message)
    {
        if (!message)
        {
            if (limit)
            {
                limit.reset();
                Remark(NoAnswerFor(options.timeout));
            }
            return;
        }
        if (LinkState(message->frame) == ORVEL_LINK_STATE_USABLE) // a daemon and a gateway begin with it, too
        {
            Ask([this] { conversation.Send(request); });
        }
        if (LostMessages(message->frame))
        {
            Remark(NoticeText(message->frame) + ": values may be missing");
        }
        if (AnswerIn(*message, group.address))
        {
            limit.reset();
        }
        if (const auto value = NewValueIn(*message, group.address))
        {
            Show(*value);
        }
    }

    void Show(const Knx::GroupValue& value)
    {
        std::string line;
        try
        {
            line = Shown(value, group.type, "value") + "\n";
        }
        catch (const Failure& failure)
        {
            Remark(failure.what());
            return;
        }
        output.Write(line);
    }

    const ReadOptions& options;
    const ChosenGroup& group;
    const Bytes& request;
    Output& output;
    Conversation& conversation;
    bool hasAsked = false;
    std::optional<Clock::time_point> limit; // of the answer that it waits for
};

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
    if (options.follow)
    {
        Following(options, group, request, output, conversation).Run();
        return Status::Done;
    }
    conversation.SendConfirmed(request, [&group](const Message& message)
                               { return AnswerIn(message, group.address).has_value(); });
    const auto limit = std::chrono::steady_clock::now() + options.timeout;
    while (const auto message = conversation.Next(limit))
    {
        if (const auto value = AnswerIn(*message, group.address))
        {
            output.Write(Shown(*value, group.type, "answer") + "\n");
            return Status::Done;
        }
    }
    throw Failure(Status::NoAnswer, NoAnswerFor(options.timeout));
}

} // namespace

void ReadOptions::AddTo(Arguments::Parser& parser)
{
    group.AddTo(parser);
    AddMilliseconds(parser, "--timeout", timeout, 1, MaxTimeout, "Wait so many milliseconds for the answer");
    parser.Flag("--follow", follow, "Go on with each value that the group gets, until it is stopped.");
    AddPrint(parser, print);
    parser.Exclude({"--follow", "--print"});
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
            "  orvelctl read \"Living room/Temperature\" --timeout 500\n"
            "  orvelctl read \"Living room/Temperature\" --follow",
            Define<ReadOptions, Read>};
}

} // namespace OrvelClient
