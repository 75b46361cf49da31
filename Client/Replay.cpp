#include "Replay.h"

#include "CommonOptions.h"
#include "Failure.h"
#include "FrameSender.h"
#include "Output.h"
#include "Recording.h"

#include "Knx/CemiMessage.h"
#include "Orvel/Protocol.h"

#include <algorithm>
#include <vector>

namespace OrvelClient
{

namespace
{

using Knx::MessageCode;

Bytes Request(MessageCode code, const Bytes& frame, std::size_t control1)
{
    constexpr std::size_t headSize = 2; // what is before control field 1 at the least
    Bytes request(frame.begin() + static_cast<std::ptrdiff_t>(control1 - headSize), frame.end());
    request[0] = static_cast<uint8_t>(code);
    request[1] = 0; // no additional information: it tells how the frame was received
    return request;
}

bool IsConfirmation(const Bytes& frame)
{
    const auto code = frame.empty() ? MessageCode{} : static_cast<MessageCode>(frame.front());
    return code == MessageCode::LDataCon || code == MessageCode::LRawCon;
}

// The messages to send, with their times from the first message on.
struct Sending
{
    std::chrono::microseconds time;
    Bytes request;
};

struct Plan
{
    std::vector<Sending> sendings;
    std::size_t messages = 0; // in the recording
};

// A recording that has requests has them a second time as confirmations.
Plan ReadPlan(Recording& recording)
{
    Plan plan;
    bool hasRequests = false;
    std::chrono::microseconds start{};
    for (Message message; recording.Next(message); ++plan.messages)
    {
        start = plan.messages == 0 ? message.time : start;
        hasRequests = hasRequests || message.direction == Direction::ToLink;
        if (hasRequests && IsConfirmation(message.frame))
        {
            continue;
        }
        if (auto request = RequestFor(message.frame))
        {
            plan.sendings.push_back({message.time - start, std::move(*request)});
        }
    }
    return plan;
}

} // namespace

std::optional<Bytes> RequestFor(const Bytes& frame)
{
    if (frame.empty())
    {
        return std::nullopt;
    }
    Bytes request;
    const auto control1 = Knx::PlaceOfControl1(frame);
    switch (static_cast<MessageCode>(frame.front()))
    {
    case MessageCode::LDataInd:
    case MessageCode::LDataCon:
        if (!control1)
        {
            return std::nullopt;
        }
        request = Request(MessageCode::LDataReq, frame, *control1);
        request[2] &= 0xFEU; // whether it was confirmed
        break;
    case MessageCode::LRawInd:
    case MessageCode::LRawCon:
        if (!control1)
        {
            return std::nullopt;
        }
        request = Request(MessageCode::LRawReq, frame, *control1);
        break;
    default:
        if (!IsRequestCode(frame.front()))
        {
            return std::nullopt;
        }
        request = frame;
        break;
    }
    return request.size() <= ORVEL_CEMI_MAX_FRAME_TO_LL ? std::optional(request) : std::nullopt;
}

std::chrono::steady_clock::duration PauseBefore(std::chrono::microseconds passed, double speed)
{
    using namespace std::chrono;
    using Pause = duration<double, std::micro>;
    constexpr Pause longest = hours(10 * 365 * 24); // what the clock can add up, and more than anybody waits
    const Pause pause = speed > 0 ? Pause(passed) / speed : Pause::zero();
    return duration_cast<steady_clock::duration>(std::clamp(pause, Pause::zero(), longest));
}

namespace
{

Status Replay(const ReplayOptions& options)
{
    using namespace std::chrono;
    const StopSignals stop;
    Source source(options.file, stop);
    Recording recording(source);
    const Plan plan = ReadPlan(recording);
    const auto& sendings = plan.sendings;
    recording.TellRemark();

    FrameSender sender(options.bus, stop, options.wait);
    const auto start = steady_clock::now();
    std::size_t sent = 0;
    for (const Sending& sending : sendings)
    {
        if (stop.AwaitUntil(start + PauseBefore(sending.time, options.speed)))
        {
            throw Failure(Status::Interrupted, "stopped after " + std::to_string(sent) + " of " +
                                                   std::to_string(sendings.size()) + " frames");
        }
        try
        {
            sender.Send(sending.request);
        }
        catch (const Failure& failure)
        {
            throw Failure(failure.ExitStatus(), "after " + std::to_string(sent) + " of " +
                                                    std::to_string(sendings.size()) + " frames: " + failure.what());
        }
        ++sent;
    }
    Notice(Output(), "sent " + std::to_string(sent) + " of " + std::to_string(plan.messages) + " messages" +
                         (sent < plan.messages ? "; the others are no frames for the bus" : ""));
    return Status::Done;
}

} // namespace

void ReplayOptions::AddTo(Arguments::Parser& parser)
{
    parser.Option("FILE", file);
    parser.Require("FILE");
    parser.Option(
        "--speed",
        [this](const std::string& text)
        { speed = text == "max" ? 0 : Arguments::NumberIn<double>(text, 0.001, 1000, ", or max"); },
        "Send so many times as fast; max is as fast as the queue takes the frames, default is: 1");
    AddWait(parser, wait);
    AddBus(parser, bus);
}

Command ReplayCommand()
{
    return {
        "replay",
        "FILE",
        "send the frames of a recording",
        "[OPTION...] FILE",
        "Sends the frames of a recording, with its timing; '-' is standard input. It reads whatever 'decode' reads.\n"
        "\n"
        "  orvelctl replay log\n"
        "  orvelctl replay --speed 10 log",
        Define<ReplayOptions, Replay>};
}

} // namespace OrvelClient
