// Measures the release daemon as a whole process against a bare relay on the same link, which answers at once.

#include "BareBoard.h"
#include "Machine.h"
#include "Namespaces.h"
#include "Reports.h"
#include "Subject.h"
#include "Table.h"

#include "System/Process.h"
#include "System/ThrowErrno.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

constexpr const char* Usage = R"(usage: whole-process short DIRECTORY
       whole-process full DIRECTORY PAIRS [STEPS.csv]
       whole-process exec COMMAND [ARGUMENT...]

short  counts, fails when a count is not kept, and prints some times
full   prints everything, from PAIRS pairs of runs, and from the step benchmarks' results when they are given
exec   runs a command where the daemon's queues may be made, on the processor that the daemon is kept on

Files are written into DIRECTORY.)";

constexpr int UsageError = 2;
constexpr std::size_t Turns = 10; // of each load, in each pair

void GoTo(const std::string& directory)
{
    std::filesystem::create_directories(directory);
    std::filesystem::current_path(directory);
}

bool Short(const Processors& processors)
{
    const BareBoard board;
    if (!ReportCounts(processors, std::chrono::seconds(15)))
    {
        return false;
    }
    ReportRatios(processors, 3, Turns, Extent::Judged);
    ReportLife(processors, 3);
    return true;
}

bool Full(const Processors& processors, std::size_t pairs, const std::string& steps)
{
    const OtherWork others;
    PrintHeading("Machine");
    for (const std::string& fact : DescribeMachine())
    {
        std::printf("- %s\n", fact.c_str());
    }
    {
        const BareBoard board;
        if (!ReportCounts(processors, std::chrono::seconds(20)))
        {
            return false;
        }
        ReportRatios(processors, pairs, Turns, Extent::Everything);
        ReportFloors(processors, pairs, Turns);
        ReportLevels(processors, pairs, Turns);
        ReportLife(processors, 3 * pairs);
    }
    if (!steps.empty())
    {
        ReportSteps(steps);
    }
    std::printf("\nOther programs took %.0f %% of the processors meanwhile.\n", others.Percent());
    return true;
}

int Run(const std::vector<std::string>& arguments)
{
    const std::string mode = arguments.empty() ? "" : arguments[0];
    const Processors processors = ChooseProcessors();
    RaisePriority();
    if (mode == "short" && arguments.size() == 2)
    {
        Simulator::EnterNamespaces();
        GoTo(arguments[1]);
        return Short(processors) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (mode == "full" && (arguments.size() == 3 || arguments.size() == 4))
    {
        const std::size_t pairs = std::stoul(arguments[2]);
        const std::string steps = arguments.size() == 4 ? std::filesystem::absolute(arguments[3]).string() : "";
        Simulator::EnterNamespaces();
        GoTo(arguments[1]);
        return Full(processors, pairs, steps) ? EXIT_SUCCESS : EXIT_FAILURE;
    }
    if (mode == "exec" && arguments.size() > 1)
    {
        Simulator::EnterNamespaces();
        KeepOn(processors.subject);
        System::Execute(arguments[1], {arguments.begin() + 1, arguments.end()});
        System::ThrowErrno("cannot run " + arguments[1]);
    }
    std::puts(Usage);
    return UsageError;
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        return Run({argv + 1, argv + argc});
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "whole-process: %s\n", failure.what());
    }
    return EXIT_FAILURE;
}
