// Fuzzes what 'orvelctl decode' and 'orvelctl replay' read. The input is the file, in any of its forms.

#include "Failure.h"
#include "Json.h"
#include "Record.h"
#include "Replay.h"
#include "TimeStamp.h"

#include "Expect.h"
#include "ReadRecording.h"

#include <algorithm>
#include <vector>

using namespace OrvelClient;

namespace
{

// What was read is the same in each form that it can be written in.
void CheckForm(const std::vector<Message>& messages, const std::string& written)
{
    const std::vector<Message> again = Fuzz::ReadRecording(written);
    Fuzz::ExpectEqual("the number of messages", again.size(), messages.size());
    for (std::size_t index = 0; index < messages.size(); ++index)
    {
        Fuzz::Expect("the same time", again[index].time == messages[index].time);
        Fuzz::Expect("the same frame", again[index].frame == messages[index].frame);
    }
}

void CheckForms(const std::vector<Message>& messages)
{
    std::string log;
    TimeStamper stamper(TimeStamp::Absolute);
    for (const Message& message : messages)
    {
        log += RecordLine(stamper.Stamp(message.time), message) + "\n";
        if (message.frame.size() <= 1024) // the library that writes objects takes long
        {
            CheckForm({message}, DescribeAsJson(message) + "\n");
        }
    }
    CheckForm(messages, log);
}

void CheckPauses(const std::vector<Message>& messages)
{
    constexpr double Slowest = 0.001;
    for (const Message& message : messages)
    {
        const auto passed = message.time - messages.front().time;
        Fuzz::Expect("no pause is negative", PauseBefore(passed, 1).count() >= 0);
        Fuzz::Expect("a slow pause is no shorter", PauseBefore(passed, Slowest) >= PauseBefore(passed, 1));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string content(data, data + size);
    try
    {
        const std::vector<Message> messages = Fuzz::ReadRecording(content);
        CheckForms(messages);
        CheckPauses(messages);
    }
    catch (const Failure& failure)
    {
        const std::string line = failure.what();
        Fuzz::Expect("not understood", failure.ExitStatus() == Status::NotUnderstood);
        Fuzz::Expect("what is wrong, in one line",
                     !line.empty() && std::all_of(line.begin(), line.end(),
                                                  [](char character) { return character >= ' ' && character <= '~'; }));
    }
    return 0;
}
