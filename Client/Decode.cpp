#include "Decode.h"

#include "CommandLine.h"
#include "Failure.h"
#include "Output.h"
#include "Recording.h"

namespace OrvelClient
{

namespace
{

// Writes what passes the filter.
class Writing
{
public:
    Writing(Output& writtenOutput, Formatter& usedFormatter, const Filter& chosen)
        : output(writtenOutput)
        , formatter(usedFormatter)
        , filter(chosen)
    {
    }

    void Write(const Message& message)
    {
        if (!filter.Passes(message))
        {
            return;
        }
        time = message.time;
        Begin();
        const std::string entry = formatter.Entry(message);
        output.Add(entry);
        leftOut += entry.empty() ? 1 : 0;
    }

    void End()
    {
        Begin();
        output.Add(formatter.End(time));
        output.Flush();
        if (leftOut > 0)
        {
            std::fprintf(stderr, "orvelctl: %zu messages are no frames, and are left out\n", leftOut);
        }
    }

private:
    void Begin()
    {
        if (!hasBegun)
        {
            output.Add(formatter.Begin(time));
        }
        hasBegun = true;
    }

    Output& output;
    Formatter& formatter;
    const Filter& filter;
    bool hasBegun = false;
    std::chrono::microseconds time{}; // of the last message
    std::size_t leftOut = 0;
};

Status Decode(const DecodeOptions& options)
{
    const StopSignals stop;
    Output output;
    if (options.form == Form::Capture && output.IsTerminal())
    {
        throw Failure(Status::WrongOption, "a capture is nothing for a terminal: let a file or a program take it");
    }
    const KnownGroups groups(ReadNames(options.names).groups);
    Filter filter = options.filter;
    filter.Resolve(groups.Addresses());
    Source source(options.file, stop);
    source.BeforeWaiting([&output] { output.Flush(); });
    Recording recording(source);
    Formatter formatter(options.form, options.timeStamp, groups, LookOn(output, options.look));
    Writing writing(output, formatter, filter);
    try
    {
        for (Message message; recording.Next(message);)
        {
            writing.Write(message);
        }
    }
    catch (const Failure&)
    {
        output.Flush(); // before the line that says what is wrong
        throw;
    }
    writing.End();
    recording.TellRemark();
    return Status::Done;
}

Form TakeForm(const CommandLine& line)
{
    const std::string name = line.TextOr("text", "to");
    if (name == "text")
    {
        return Form::Text;
    }
    if (name == "json")
    {
        return Form::Json;
    }
    if (name == "pcap")
    {
        return Form::Capture;
    }
    if (name != "ets")
    {
        Reject("--to is text, json, pcap or ets, not '" + name + "'");
    }
    return Form::TelegramLog;
}

} // namespace

DecodeOptions::DecodeOptions(const CommandLine& line)
    : file(line.Arguments().empty() ? "-" : line.Arguments().front())
    , form(TakeForm(line))
    , timeStamp(TakeTimeStamp(line))
    , look(TakeLook(line))
    , filter(line)
    , names(TakeNamesFile(line))
{
    if (line.Has("time") && form != Form::Text)
    {
        Reject("--time and --to " + line.TextOr("", "to") + " cannot go together");
    }
}

Command DecodeCommand()
{
    return {
        "decode",
        "[FILE]",
        "show what was recorded, or convert it",
        "[OPTION...] [FILE]",
        "Shows what was recorded: a log or a capture of the monitor, hexadecimal digits, the daemon's own log, or a "
        "telegram log of the engineering tool. Without FILE, or with '-', it reads standard input.",
        WithFilterOptions(WithLookOptions(
            {{"to", "Write it as text, json, pcap or ets (the telegram log of the engineering tool), default is: text"},
             TimeOption(),
             NamesOption()})),
        1,
        Prepare<DecodeOptions, Decode>};
}

} // namespace OrvelClient
