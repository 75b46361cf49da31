#include "Monitor.h"

#include "BusReader.h"
#include "Description.h"
#include "Failure.h"
#include "MessageBuffer.h"
#include "Statistics.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <thread>
#include <utility>

namespace OrvelClient
{

namespace
{

using Format = MonitorOptions::Format;

// Messages that wait while the output is slow: at the fastest pace of a line, a quarter of an hour.
constexpr std::size_t BufferSize = 65536;

class Counter
{
public:
    void Add(const std::string& kind)
    {
        ++counts[kind];
        ++sum;
    }

    std::string Table() const
    {
        std::string table;
        for (const auto& [kind, count] : counts)
        {
            table += Row(count, kind);
        }
        return table + Row(sum, "in all");
    }

private:
    static std::string Row(uint64_t count, const std::string& kind)
    {
        std::array<char, 80> row{};
        std::snprintf(row.data(), row.size(), "%10llu  %s\n", static_cast<unsigned long long>(count), kind.c_str());
        return row.data();
    }

    std::map<std::string, uint64_t> counts;
    uint64_t sum = 0;
};

// Reads on a thread of its own: however slow the output is, nothing waits in the queue, where it would be lost.
class Reading
{
public:
    /// Ends after so many messages that pass the filter; 0: goes on.
    Reading(MessageBuffer& filledBuffer, BusReader& busReader, const StopSignals& stopSignals, const Filter& chosen,
            uint64_t messages)
        : buffer(filledBuffer)
        , reader(busReader)
        , stop(stopSignals)
        , filter(chosen)
        , number(messages)
        , thread([this] { Run(); })
    {
    }

    ~Reading()
    {
        if (!buffer.HasEnded())
        {
            stop.Ask(); // nobody can show any more
        }
        thread.join();
    }

    Reading(const Reading&) = delete;
    Reading& operator=(const Reading&) = delete;

    /// How many messages came; once the buffer has ended.
    uint64_t Count() const
    {
        return count;
    }

private:
    void Run()
    {
        std::exception_ptr failure;
        try
        {
            while (number == 0 || count < number)
            {
                const auto received = reader.Next();
                if (!received)
                {
                    break;
                }
                Message message = FromQueue(*received, Now());
                if (filter.Passes(message))
                {
                    buffer.Put(std::move(message));
                    ++count;
                }
            }
        }
        catch (...)
        {
            failure = std::current_exception();
        }
        buffer.End(failure);
    }

    MessageBuffer& buffer;
    BusReader& reader;
    const StopSignals& stop;
    const Filter& filter;
    uint64_t number;
    uint64_t count = 0;
    std::thread thread; // last: it uses the others
};

// Shows the messages in the way that was chosen.
class Screen
{
public:
    Screen(const MonitorOptions& options, RotatingOutput& shownOutput, const KnownGroups& groups, const Look& look)
        : format(options.format)
        , interval(options.interval)
        , output(shownOutput)
        , formatter(FormOf(format), options.timeStamp, groups, look)
        , stamper(TimeStamp::Date)
    {
    }

    static Form FormOf(Format format)
    {
        return format == Format::Json ? Form::Json : format == Format::Capture ? Form::Capture : Form::Text;
    }

    /// When Report is to be called.
    std::chrono::steady_clock::time_point Due() const
    {
        constexpr std::chrono::hours never{24}; // often enough for a call that does nothing
        return begin + (format == Format::Statistics ? interval : std::chrono::milliseconds(never));
    }

    void Show(const Message& message)
    {
        switch (format)
        {
        case Format::Count:
            counter.Add(KindOf(message));
            break;
        case Format::Statistics:
            statistics.Add(message);
            break;
        default:
            output.Add(formatter.Entry(message));
            break;
        }
    }

    void Report()
    {
        const auto now = std::chrono::steady_clock::now();
        if (format == Format::Statistics)
        {
            output.Add(statistics.Report(stamper.Stamp(Now()), now - begin));
        }
        begin = now;
    }

    void End()
    {
        if (format == Format::Count)
        {
            output.Add(counter.Table());
        }
        if (format == Format::Statistics)
        {
            Report();
        }
        output.Flush();
    }

private:
    Format format;
    std::chrono::milliseconds interval;
    RotatingOutput& output;
    Formatter formatter;
    Counter counter;
    Statistics statistics;
    TimeStamper stamper;
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};

Status Monitor(const MonitorOptions& options)
{
    const KnownGroups groups(ReadNames(options.names).groups); // signals still end the program
    const StopSignals stop;
    Filter filter = options.filter;
    filter.Resolve(groups.Addresses());
    Bus bus(options.bus, Bus::For::Messages, stop); // before the output: without a bus an older capture stays as it is
    const Output terminal;
    if (options.format == Format::Capture && options.file == "-" && terminal.IsTerminal())
    {
        throw Failure(Status::WrongOption, "a capture is nothing for a terminal: let a file or a program take it");
    }
    const Formatter formatter(Screen::FormOf(options.format), options.timeStamp, groups);
    RotatingOutput output(options.file, options.rotation, formatter.Begin({}));
    output.Flush();
    MessageBuffer buffer(BufferSize);
    BusReader reader(bus, stop, terminal, [&buffer](const std::string& notice) { buffer.PutNotice(notice); });
    if (options.file != "-")
    {
        reader.GoOnWithoutReader();
    }
    Screen screen(options, output, groups, options.file == "-" ? LookOn(terminal, options.look) : Look());
    Reading reading(buffer, reader, stop, filter, options.number);
    while (!buffer.HasEnded())
    {
        if (const auto entry = buffer.Take(screen.Due()); entry && entry->notice.empty())
        {
            screen.Show(entry->message);
        }
        else if (entry)
        {
            output.Flush();
            Notice(terminal, entry->notice);
        }
        if (std::chrono::steady_clock::now() >= screen.Due())
        {
            screen.Report();
        }
        if (buffer.IsEmpty())
        {
            output.Flush();
        }
    }
    static_cast<void>(buffer.Take({})); // throws what ended the reading
    screen.End();
    stop.RequireAll(reading.Count(), options.number);
    return Status::Done;
}

// "10M", "500k,3"
Rotation RotationIn(const std::string& text)
{
    constexpr uint64_t least = 1024; // bytes; more than most messages take
    constexpr uint64_t most = uint64_t{1} << 40U;
    constexpr unsigned mostFiles = 10000;
    const std::size_t comma = std::min(text.find(','), text.size());
    std::string sizeText = text.substr(0, comma);
    uint64_t unit = 1;
    if (const std::size_t letter = std::string("kMG").find(sizeText.empty() ? ' ' : sizeText.back());
        letter != std::string::npos)
    {
        unit = uint64_t{1} << (10 * (letter + 1));
        sizeText.pop_back();
    }
    using Arguments::ParseNumber;
    const auto size = ParseNumber<uint64_t>(sizeText);
    const auto count = comma == text.size() ? std::optional(1U) : ParseNumber<unsigned>(text.substr(comma + 1));
    if (!size || *size > most / unit || *size * unit < least || !count || *count < 1 || *count > mostFiles)
    {
        throw Arguments::Wrong("takes a size from 1k on, and how many full files to keep, such as 10M or 10M,5, not '" +
                               text + "'");
    }
    return {*size * unit, *count};
}

std::chrono::milliseconds IntervalIn(const std::string& text)
{
    const std::chrono::duration<double> seconds(Arguments::NumberIn<double>(text, 0.1, 86400));
    return std::chrono::duration_cast<std::chrono::milliseconds>(seconds);
}

} // namespace

void MonitorOptions::AddTo(Arguments::Parser& parser)
{
    AddTime(parser, timeStamp);
    names.AddTo(parser);
    AddNumber(parser, number, "messages");
    parser.Flag(
        "--count", [this] { format = Format::Count; }, "Show only how many messages of each kind came, at the end.");
    parser.Option(
        "--stats",
        [this](const std::string& text)
        {
            format = Format::Statistics;
            interval = IntervalIn(text);
        },
        "Show every so many seconds how many telegrams came, the bus load, and from whom to whom.");
    parser.Flag(
        "--json", [this] { format = Format::Json; }, "Show each message as one JSON object.");
    parser.Option(
        "--pcap",
        [this](const std::string& name)
        {
            format = Format::Capture;
            file = name;
        },
        "Write a capture for Wireshark and tshark to this file; '-' is standard output.");
    parser.Option("--write", file, "Write to this file instead of showing it.");
    parser.Option(
        "--rotate", [this](const std::string& text) { rotation = RotationIn(text); },
        "Begin a new file when this one has so many bytes, and keep so many full ones: 10M,5");
    look.AddTo(parser);
    filter.AddTo(parser);
    AddBus(parser, bus);
    parser.Exclude({"--time", "--count", "--stats", "--json", "--pcap"}); // each chooses the format
    parser.Exclude({"--pcap", "--write"});
    parser.Check(
        [this]
        {
            if (rotation && file == "-")
            {
                throw Arguments::Wrong("--rotate needs a file: --write or --pcap");
            }
        });
}

Command MonitorCommand()
{
    return {"monitor",
            "",
            "show what comes from the bus, and the state of the link",
            "[OPTION...]",
            "Shows each message from the bus, and the state of the link.\n"
            "\n"
            "  orvelctl monitor --group '1/2/*' --service read,response\n"
            "  orvelctl monitor --group '1/2/*' --not --group 1/2/7\n"
            "  orvelctl monitor --stats 10\n"
            "  orvelctl monitor --write bus.log --rotate 10M,5\n"
            "  orvelctl monitor --pcap - | tshark -r -",
            Define<MonitorOptions, Monitor>};
}

} // namespace OrvelClient
