#include "Decode.h"

#include "Capture.h"
#include "CommandLine.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "Json.h"
#include "Output.h"
#include "Record.h"
#include "Recording.h"
#include "TelegramLog.h"

namespace OrvelClient
{

namespace
{

using Format = DecodeOptions::Format;

// Writes messages in one of the forms, from the begin of a file to its end.
class Writer
{
public:
    Writer(const DecodeOptions& options, Output& writtenOutput)
        : format(options.format)
        , stamper(options.timeStamp)
        , output(writtenOutput)
    {
    }

    void Write(const Message& message)
    {
        Begin(message.time);
        lastTime = message.time;
        switch (format)
        {
        case Format::Text:
            output.Add(RecordLine(stamper.Stamp(message.time), message) + "\n");
            break;
        case Format::Json:
            output.Add(DescribeAsJson(message) + "\n");
            break;
        case Format::Capture:
            output.Add(CapturePacket(message));
            break;
        case Format::TelegramLog:
            if (message.frame.empty() || LinkState(message.frame))
            {
                ++leftOut;
                break;
            }
            output.Add(TelegramLogEntry(message));
            break;
        }
    }

    void End()
    {
        Begin({});
        if (format == Format::TelegramLog)
        {
            output.Add(TelegramLogEnd(lastTime));
        }
        output.Flush();
        if (leftOut > 0)
        {
            std::fprintf(stderr, "orvelctl: left out %zu messages, which are no frames\n", leftOut);
        }
    }

private:
    void Begin(std::chrono::microseconds time)
    {
        if (hasBegun)
        {
            return;
        }
        hasBegun = true;
        if (format == Format::Capture)
        {
            output.Add(CaptureHeader());
        }
        if (format == Format::TelegramLog)
        {
            output.Add(TelegramLogHeader(time));
        }
    }

    Format format;
    TimeStamper stamper;
    Output& output;
    bool hasBegun = false;
    std::chrono::microseconds lastTime{};
    std::size_t leftOut = 0;
};

Status Decode(const DecodeOptions& options)
{
    const StopSignals stop;
    Output output;
    if (options.format == Format::Capture && output.IsTerminal())
    {
        throw Failure(Status::WrongOption, "a capture is nothing for a terminal: let a file or a program take it");
    }
    Source source(options.file, stop);
    source.BeforeWaiting([&output] { output.Flush(); });
    Recording recording(source);
    Writer writer(options, output);
    for (Message message; recording.Next(message);)
    {
        writer.Write(message);
    }
    writer.End();
    recording.TellRemark();
    return Status::Done;
}

Format TakeFormat(const CommandLine& line)
{
    const std::string name = line.TextOr("text", "to");
    if (name == "text")
    {
        return Format::Text;
    }
    if (name == "json")
    {
        return Format::Json;
    }
    if (name == "pcap")
    {
        return Format::Capture;
    }
    if (name != "ets")
    {
        Reject("--to is text, json, pcap or ets, not '" + name + "'");
    }
    return Format::TelegramLog;
}

} // namespace

DecodeOptions::DecodeOptions(const CommandLine& line)
    : file(line.Arguments().empty() ? "-" : line.Arguments().front())
    , format(TakeFormat(line))
    , timeStamp(TakeTimeStamp(line))
{
    if (line.Has("time") && format != Format::Text)
    {
        Reject("--time and --to " + line.TextOr("", "to") + " cannot go together");
    }
}

Command DecodeCommand()
{
    return {
        "decode",
        "FILE",
        "show what was recorded, or convert it",
        "[OPTION...] [FILE]",
        "Shows what was recorded: a log or a capture of the monitor, hexadecimal digits, the daemon's own log, or a "
        "telegram log of the engineering tool. Without FILE, or with '-', it reads standard input.",
        {{"to", "Write it as text, json, pcap or ets (the telegram log of the engineering tool), default is: text"},
         TimeOption()},
        1,
        Prepare<DecodeOptions, Decode>};
}

} // namespace OrvelClient
