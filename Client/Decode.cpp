#include "Decode.h"

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
        output.AddWith(
            [&](Knx::TextBuffer& text)
            {
                const std::size_t before = text.Size();
                formatter.AddEntry(text, message);
                leftOut += text.Size() == before ? 1 : 0;
            });
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
    Output output;
    if (options.form == Form::Capture && output.IsTerminal())
    {
        throw Failure(Status::WrongOption, "a capture is nothing for a terminal: let a file or a program take it");
    }
    const KnownGroups groups(ReadNames(options.names).groups); // signals still end the program
    const StopSignals stop;
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

} // namespace

void DecodeOptions::AddTo(Arguments::Parser& parser)
{
    parser.Option("FILE", file);
    parser.Choice<Form>(
        "--to", form, {{"text", Form::Text}, {"json", Form::Json}, {"pcap", Form::Capture}, {"ets", Form::TelegramLog}},
        "Write it as text, json, pcap or ets (the telegram log of the engineering tool), default is: text");
    AddTime(parser, timeStamp);
    names.AddTo(parser);
    look.AddTo(parser);
    filter.AddTo(parser);
    parser.Check(
        [this, &parser]
        {
            if (parser.Has("--time") && form != Form::Text)
            {
                throw Arguments::Wrong("--time is for --to text only");
            }
        });
}

Command DecodeCommand()
{
    return {
        "decode",
        "[FILE]",
        "show what was recorded, or convert it",
        "[OPTION...] [FILE]",
        "Shows what was recorded: a log or a capture of the monitor, hexadecimal digits, the daemon's own log, or a "
        "telegram log of the engineering tool. Without FILE, or with '-', it reads standard input.\n"
        "\n"
        "  orvelctl decode --names house.xml log\n"
        "  orvelctl decode --to pcap journal.txt | tshark -r -",
        Define<DecodeOptions, Decode>};
}

} // namespace OrvelClient
