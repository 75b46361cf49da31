// Fuzzes what the client makes of a message from the queue. The input is the message: the size byte and the frame.

#include "Capture.h"
#include "Description.h"
#include "Failure.h"
#include "Json.h"
#include "Record.h"
#include "Replay.h"
#include "TelegramLog.h"
#include "TimeStamp.h"

#include "Orvel/Protocol.h"

#include "BenchKit/ReceivedMessage.h"
#include "Expect.h"
#include "ReadRecording.h"

#include <algorithm>

using namespace OrvelClient;

namespace
{

bool IsPrintable(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char character) { return character >= ' ' && character <= '~'; });
}

void ExpectSame(const char* what, const std::vector<Message>& messages, const Message& message)
{
    Fuzz::Expect(what, messages.size() == 1 && messages[0].frame == message.frame && messages[0].time == message.time);
}

void CheckTexts(const Message& message)
{
    const std::string description = Describe(message);
    Fuzz::Expect("a line of words", !description.empty() && IsPrintable(description));
    const std::string json = DescribeAsJson(message);
    Fuzz::Expect("an object", json.front() == '{' && json.back() == '}' && IsPrintable(json));
    Fuzz::Expect("the bytes", json.find(R"("hex":")" + Knx::ToHex(message.frame, "") + "\"") != std::string::npos);
    Fuzz::Expect("a kind", !KindOf(message).empty() && IsPrintable(KindOf(message)));
}

void CheckRecordings(const Message& message)
{
    ExpectSame("the message from the log",
               Fuzz::ReadRecording(RecordLine(TimeStamper(TimeStamp::Absolute).Stamp(message.time), message) + "\n"),
               message);
    ExpectSame("the message from the object", Fuzz::ReadRecording(DescribeAsJson(message) + "\n"), message);
    ExpectSame("the message from the capture", Fuzz::ReadRecording(CaptureHeader() + CapturePacket(message)), message);
    ExpectSame(
        "the message from the telegram log",
        Fuzz::ReadRecording(TelegramLogHeader(ReceivedAt) + TelegramLogEntry(message) + TelegramLogEnd(ReceivedAt)),
        message);
}

void CheckRequest(const Bytes& frame)
{
    if (const auto request = RequestFor(frame))
    {
        Fuzz::Expect("a frame that can be sent", !request->empty() && request->size() <= ORVEL_CEMI_MAX_FRAME_TO_LL);
        Fuzz::Expect("a request stays as it is", RequestFor(*request) == request);
    }
}

// The frame as a person types it.
void CheckDigits(const std::string& text)
{
    try
    {
        const Bytes bytes = FrameFromText(text);
        Fuzz::Expect("the digits again", FrameFromText(Knx::ToHex(bytes)) == bytes);
    }
    catch (const Failure& failure)
    {
        Fuzz::Expect("not understood, in one line",
                     failure.ExitStatus() == Status::NotUnderstood && IsPrintable(failure.what()));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const Message message = FromQueue(Bytes(data, data + size), ReceivedAt);
    CheckTexts(message);
    CheckRecordings(message);
    CheckRequest(message.frame);
    CheckDigits(std::string(data, data + size));
    return 0;
}
