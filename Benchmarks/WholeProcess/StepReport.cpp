#include "Reports.h"
#include "Spread.h"
#include "Table.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

// The budgets, µs, by the beginning of the step's name.
const std::map<std::string, double> Budgets{
    {"off/DebugFmt/11", 0.5}, {"off/DebugFmt/254", 2.5}, {"off/WarnFmt/11", 0.5},  {"off/WarnFmt/254", 2.5},
    {"off/ErrorFmt/11", 0.5}, {"off/ErrorFmt/254", 2.5}, {"off/DebugHex/11", 0.5}, {"off/DebugHex/254", 2.5},
};

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// These are made from the repetitions, and are none themselves.
bool IsAggregate(const std::string& name)
{
    return EndsWith(name, "_mean") || EndsWith(name, "_median") || EndsWith(name, "_stddev") || EndsWith(name, "_cv");
}

struct Step
{
    std::string name;
    std::vector<double> times; // ns
};

// The lines of the file that have a repetition of a step: "name",iterations,real time,processor time,unit and more. If
// the step measured the processor's time by itself, the real time has that.
std::vector<Step> ReadSteps(const std::string& file)
{
    std::ifstream stream(file);
    std::vector<Step> steps;
    for (std::string line; std::getline(stream, line);)
    {
        std::istringstream fields(line);
        std::string name;
        std::string iterations;
        std::string realTime;
        std::string processorTime;
        if (line[0] != '"' || !std::getline(fields, name, ',') || !std::getline(fields, iterations, ',') ||
            iterations.empty() || !std::getline(fields, realTime, ',') || !std::getline(fields, processorTime, ','))
        {
            continue;
        }
        name = name.substr(1, name.find_last_not_of('"'));
        if (IsAggregate(name))
        {
            continue;
        }
        const bool own = name.find("/manual_time") != std::string::npos;
        name.resize(std::min(name.size(), name.find("/manual_time")));
        name.resize(std::min(name.size(), name.find("/process_time")));
        if (steps.empty() || steps.back().name != name)
        {
            steps.push_back({name, {}});
        }
        steps.back().times.push_back(std::stod(own ? realTime : processorTime));
    }
    if (steps.empty())
    {
        throw std::runtime_error("no steps in " + file);
    }
    return steps;
}

} // namespace

void ReportSteps(const std::string& file)
{
    PrintHeading("Steps");
    Table table({"step", "µs: min", "median", "max", "budget", "met"});
    std::ofstream queues("queues.tsv");
    queues << "# queues, then median, minimum and maximum, µs an event\n";
    for (const Step& step : ReadSteps(file))
    {
        constexpr double Nanoseconds = 1000;
        const Spread spread(step.times);
        const auto budget = Budgets.find(step.name);
        const bool judged = budget != Budgets.end();
        table.Add({step.name, Text(spread.minimum / Nanoseconds, 3), Text(spread.median / Nanoseconds, 3),
                   Text(spread.maximum / Nanoseconds, 3), judged ? "≤ " + Text(budget->second, 1) : "",
                   judged ? (spread.median / Nanoseconds <= budget->second ? "yes" : "NO") : ""});
        const std::string perQueues = "button/queues/";
        if (step.name.rfind(perQueues, 0) == 0)
        {
            queues << step.name.substr(perQueues.size()) << '\t' << spread.median / Nanoseconds << '\t'
                   << spread.minimum / Nanoseconds << '\t' << spread.maximum / Nanoseconds << '\n';
        }
    }
    table.Print();
}
