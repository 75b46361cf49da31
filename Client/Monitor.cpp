#include "Monitor.h"

#include "Capture.h"
#include "Description.h"
#include "Failure.h"
#include "Queue.h"
#include "QueueReader.h"

#include "Orvel/Protocol.h"

#include <array>
#include <cstdio>
#include <map>

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

} // namespace

void Monitor(const MonitorOptions& options)
{
    using Format = MonitorOptions::Format;
    const StopSignals stop;
    static_cast<void>(Queue(ORVEL_CEMI_FROM_LL_QUEUE, Queue::For::Reading)); // or an older capture stays as it is
    Output output(options.format == Format::Capture ? options.captureFile : "-");
    if (options.format == Format::Capture && output.IsTerminal())
    {
        throw Failure(Status::WrongOption, "a capture is nothing for a terminal: let a file or a program take it");
    }
    QueueReader reader(ORVEL_CEMI_FROM_LL_QUEUE, stop, output);
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
            output.Write(LogLine(stamper.Stamp(message.time), message) + "\n");
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
}

} // namespace OrvelClient
