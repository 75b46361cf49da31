#include "Pair.h"
#include "Programs.h"
#include "Reports.h"
#include "Spread.h"
#include "Table.h"

#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace
{

constexpr Load ShortFrame{11, 1};
constexpr Load LongFrame{254, 1};
constexpr Load ManyFrames{11, 14};

using Pairs = std::vector<std::vector<PairOfFigures>>; // of each pair, the figures of each load
using Figure = std::function<double(const Figures&)>;

double RoundTrip(const Figures& figures)
{
    return figures.roundTrip;
}

double ProcessorTime(const Figures& figures)
{
    return figures.processorTime;
}

double FramesPerSecond(const Figures& figures)
{
    return figures.framesPerSecond;
}

std::vector<Load> JudgedLoads()
{
    return {ShortFrame, LongFrame, ManyFrames};
}

// The judged loads come first, then those that only show how the cost grows.
std::vector<Load> AllLoads()
{
    std::vector<Load> loads = JudgedLoads();
    for (const std::size_t size : {1U, 32U, 64U, 128U, 192U})
    {
        loads.push_back({size, 1});
    }
    for (const std::size_t underWay : {2U, 3U, 4U, 6U, 8U, 10U, 12U})
    {
        loads.push_back({ShortFrame.size, underWay});
    }
    return loads;
}

Pairs Measure(const Program& first, const Program& second, const std::vector<Load>& loads, std::size_t pairs,
              std::size_t turns, const Processors& processors)
{
    Pairs measured;
    while (measured.size() < pairs)
    {
        measured.push_back(MeasurePair(first, second, loads, turns, processors));
    }
    return measured;
}

enum class Side
{
    First,
    Second,
    Ratio
};

Spread SpreadOf(const Pairs& pairs, std::size_t load, Side side, const Figure& figure)
{
    std::vector<double> values;
    for (const auto& pair : pairs)
    {
        const double first = figure(pair[load].first);
        const double second = figure(pair[load].second);
        values.push_back(side == Side::First ? first : side == Side::Second ? second : first / second);
    }
    return Spread(values);
}

struct Budget
{
    double limit;
    bool atLeast;
};

const Budget None{0, true};

class RatioTable
{
public:
    explicit RatioTable(const std::string& first)
        : table({"", first, "relay", "ratio: min", "median", "max", "budget", "met"})
    {
    }

    void Add(const std::string& what, const Pairs& pairs, std::size_t load, const Figure& figure, int digits,
             const Budget& budget)
    {
        const Spread ratio = SpreadOf(pairs, load, Side::Ratio, figure);
        const bool met = budget.atLeast ? ratio.median >= budget.limit : ratio.median <= budget.limit;
        const bool judged = budget.limit != 0;
        table.Add({what, Text(SpreadOf(pairs, load, Side::First, figure).median, digits),
                   Text(SpreadOf(pairs, load, Side::Second, figure).median, digits), Text(ratio.minimum, 3),
                   Text(ratio.median, 3), Text(ratio.maximum, 3),
                   judged ? (budget.atLeast ? "≥ " : "≤ ") + Text(budget.limit, 2) : "",
                   judged ? (met ? "yes" : "NO") : ""});
    }

    // For the judged loads.
    void AddAll(const Pairs& pairs, const Budget& roundTrip, const Budget& processorTime, const Budget& framesPerSecond)
    {
        Add("round trip, 11 bytes, µs", pairs, 0, RoundTrip, 1, roundTrip);
        Add("round trip, 254 bytes, µs", pairs, 1, RoundTrip, 1, roundTrip);
        Add("CPU a frame, 1 under way, µs", pairs, 0, ProcessorTime, 2, processorTime);
        Add("CPU a frame, 14 under way, µs", pairs, 2, ProcessorTime, 2, processorTime);
        Add("frames a second, 14 under way", pairs, 2, FramesPerSecond, 0, framesPerSecond);
    }

    void Print() const
    {
        table.Print();
    }

private:
    Table table;
};

void Write(std::ofstream& file, const Spread& spread)
{
    file << '\t' << spread.median << '\t' << spread.minimum << '\t' << spread.maximum;
}

// Writes a line for each load that `matches`, in the order of `x`: first `x`, then median, minimum and maximum of each
// program's figures.
void WriteGrowth(const std::string& name, const std::vector<Load>& loads, const Pairs& quiet, const Pairs& talking,
                 const std::function<bool(const Load&)>& matches, const std::function<std::size_t(const Load&)>& x,
                 const Figure& figure)
{
    std::map<std::size_t, std::size_t> chosen;
    for (std::size_t load = 0; load < loads.size(); ++load)
    {
        if (matches(loads[load]))
        {
            chosen[x(loads[load])] = load;
        }
    }
    std::ofstream file(name);
    file << "# x, then median, minimum and maximum of: relay, daemon at WARN, daemon at DEBUG\n";
    for (const auto& [position, load] : chosen)
    {
        file << position;
        Write(file, SpreadOf(quiet, load, Side::Second, figure));
        Write(file, SpreadOf(quiet, load, Side::First, figure));
        Write(file, SpreadOf(talking, load, Side::First, figure));
        file << '\n';
    }
}

} // namespace

void ReportRatios(const Processors& processors, std::size_t pairs, std::size_t turns, Extent extent)
{
    const std::vector<Load> loads = extent == Extent::Everything ? AllLoads() : JudgedLoads();

    PrintHeading("Daemon at WARN and relay");
    const Pairs quiet = Measure(Daemon("WARN"), Relay(), loads, pairs, turns, processors);
    RatioTable quietTable("daemon");
    quietTable.AddAll(quiet, {1.05, false}, {1.08, false}, {0.95, true});
    quietTable.Print();

    PrintHeading("Daemon at DEBUG, standard output a pipe that is read, and relay");
    const Pairs talking = Measure(Daemon(), Relay(), loads, pairs, turns, processors);
    RatioTable talkingTable("daemon");
    talkingTable.AddAll(talking, None, {1.6, false}, None);
    talkingTable.Print();

    std::printf("\n%zu pairs of runs.\n", pairs);
    if (extent == Extent::Judged)
    {
        return;
    }

    const auto oneUnderWay = [](const Load& load) { return load.underWay == 1; };
    const auto sameSize = [](const Load& load) { return load.size == ShortFrame.size; };
    const auto size = [](const Load& load) { return load.size; };
    const auto underWay = [](const Load& load) { return load.underWay; };
    WriteGrowth("length-round-trip.tsv", loads, quiet, talking, oneUnderWay, size, RoundTrip);
    WriteGrowth("length-processor-time.tsv", loads, quiet, talking, oneUnderWay, size, ProcessorTime);
    WriteGrowth("under-way-processor-time.tsv", loads, quiet, talking, sameSize, underWay, ProcessorTime);
    WriteGrowth("under-way-frames.tsv", loads, quiet, talking, sameSize, underWay, FramesPerSecond);
}

void ReportFloors(const Processors& processors, std::size_t pairs, std::size_t turns)
{
    PrintHeading("Relay whose waiting ends after 250 ms, as the daemon's must, and relay");
    RatioTable limitTable("with limit");
    limitTable.AddAll(Measure(Relay("limit"), Relay(), JudgedLoads(), pairs, turns, processors), None, None, None);
    limitTable.Print();

    PrintHeading("Relay with that limit that also writes two ready-made lines a frame into a pipe, and relay");
    RatioTable linesTable("with lines");
    linesTable.AddAll(Measure(Relay("lines"), Relay(), JudgedLoads(), pairs, turns, processors), None, None, None);
    linesTable.Print();
}

void ReportLevels(const Processors& processors, std::size_t pairs, std::size_t turns)
{
    PrintHeading("CPU a frame by log level, as ratio to the relay's");
    Table table({"level", "1 under way: min", "median", "max", "14 under way: min", "median", "max"});
    std::ofstream file("level.tsv");
    file << "# level, then median, minimum and maximum of the ratio: 1 under way, 14 under way\n";
    for (const std::string level : {"OFF", "ERROR", "WARN", "INFO", "DEBUG"})
    {
        const Pairs measured = Measure(Daemon(level), Relay(), {ShortFrame, ManyFrames}, pairs, turns, processors);
        const Spread one = SpreadOf(measured, 0, Side::Ratio, ProcessorTime);
        const Spread many = SpreadOf(measured, 1, Side::Ratio, ProcessorTime);
        table.Add({level, Text(one.minimum, 3), Text(one.median, 3), Text(one.maximum, 3), Text(many.minimum, 3),
                   Text(many.median, 3), Text(many.maximum, 3)});
        file << level;
        Write(file, one);
        Write(file, many);
        file << '\n';
    }
    table.Print();
}
