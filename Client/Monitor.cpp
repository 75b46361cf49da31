#include "Monitor.h"

#include "BusReader.h"
#include "Capture.h"
#include "CommandLine.h"
#include "CommonOptions.h"
#include "Description.h"
#include "Failure.h"
#include "Json.h"
#include "Record.h"

#include <array>
#include <cstdio>
#include <map>
#include <utility>

namespace OrvelClient
{

namespace
{

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

Status Monitor(const MonitorOptions& options)
{
    using Format = MonitorOptions::Format;
    const StopSignals stop;
    Bus bus(options.bus, Bus::For::Messages, stop); // before the output: without a bus an older capture stays as it is
    Output output(options.format == Format::Capture ? options.captureFile : "-");
    if (options.format == Format::Capture && output.IsTerminal())
    {
        throw Failure(Status::WrongOption, "a capture is nothing for a terminal: let a file or a program take it");
    }
    BusReader reader(bus, stop, output);
    if (options.format == Format::Capture)
    {
        output.Write(CaptureHeader());
    }

    TimeStamper stamper(options.timeStamp);
    Counter counter;
    uint64_t count = 0;
    for (; options.number == 0 || count < options.number; ++count)
    {
        const auto received = reader.Next();
        if (!received)
        {
            break;
        }
        const Message message = FromQueue(*received, Now());
        switch (options.format)
        {
        case Format::Log:
            output.Write(RecordLine(stamper.Stamp(message.time), message) + "\n");
            break;
        case Format::Json:
            output.Write(DescribeAsJson(message) + "\n");
            break;
        case Format::Capture:
            output.Write(CapturePacket(message));
            break;
        case Format::Count:
            counter.Add(KindOf(message));
            break;
        }
    }
    if (options.format == Format::Count)
    {
        output.Write(counter.Table());
    }
    stop.RequireAll(count, options.number);
    return Status::Done;
}

// Each of these options chooses a format; none chooses the log.
MonitorOptions::Format ChosenFormat(const CommandLine& line)
{
    using Format = MonitorOptions::Format;
    constexpr std::array<std::pair<const char*, Format>, 4> formats{
        {{"time", Format::Log}, {"count", Format::Count}, {"json", Format::Json}, {"pcap", Format::Capture}}};
    const char* chosen = nullptr;
    Format format = Format::Log;
    for (const auto& [option, itsFormat] : formats)
    {
        if (!line.Has(option))
        {
            continue;
        }
        if (chosen != nullptr)
        {
            Reject(std::string("--") + chosen + " and --" + option + " cannot go together");
        }
        chosen = option;
        format = itsFormat;
    }
    return format;
}

} // namespace

MonitorOptions::MonitorOptions(const CommandLine& line)
    : format(ChosenFormat(line))
    , timeStamp(TakeTimeStamp(line))
    , captureFile(line.TextOr("", "pcap"))
    , number(TakeNumber(line))
    , bus(TakeBus(line))
{
}

Command MonitorCommand()
{
    return {
        "monitor",
        "",
        "show what comes from the bus, and the state of the link",
        "[OPTION...]",
        "Shows each message from the bus, and the state of the link.",
        WithBusOptions({TimeOption(),
                        NumberOption("messages"),
                        {"count", "Show only how many messages of each kind came, at the end.", Option::Kind::Flag},
                        {"json", "Show each message as one JSON object.", Option::Kind::Flag},
                        {"pcap", "Write a capture for Wireshark and tshark to this file; '-' is standard output."}}),
        0,
        Prepare<MonitorOptions, Monitor>};
}

} // namespace OrvelClient
