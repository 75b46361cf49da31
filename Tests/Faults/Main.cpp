// Lets every system call of the daemon fail once, in every way that it can, and compares what the daemon does then with what
// is expected of it.
//
//   fault-matrix [--jobs N] [--only TEXT] [--list]
//
// TEXT is a part of a cell's name, such as "mq_open /progButton 1 EMFILE". The cells are made of the calls that a run
// without failures makes, at their first, a middle and a late one, and of what the file Errors has for them; what is
// expected stands in the file Expectations. Every cell runs in a process, in namespaces and on a board of its own.

#include "Judgement.h"
#include "Namespaces.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <numeric>
#include <sstream>
#include <stdexcept>

namespace
{

constexpr unsigned CellLimit = 300; // s; nothing in a cell waits so long
constexpr int MaxTries = 5;         // of a cell whose call does not come, or whose start loses its LEDs
constexpr int NotReached = 2;       // exit status of such a cell

const std::vector<Expectation>& Expectations()
{
    static const std::vector<Expectation> All = ReadExpectations(FAULTS_DIRECTORY "/Expectations");
    return All;
}

std::string Name(const Cell& cell)
{
    return cell.point.call + " " + cell.point.object + " " + std::to_string(cell.occurrence) + " " + cell.fault;
}

// How often a run without failures makes each call.
using Record = std::map<Point, unsigned>;

// Which of so many calls fail: the first, a middle and a late one. How often some of them are made is a matter of time; a
// late one of them is not the last, which may not come the next time. All, where there are few and it matters which.
std::vector<unsigned> Occurrences(const Point& point, const std::string& fault, unsigned calls)
{
    constexpr unsigned Few = 7;
    std::vector<unsigned> all(std::min(calls, Few));
    std::iota(all.begin(), all.end(), 1U);
    const auto isKnown = [&](unsigned occurrence) {
        return !Find(Expectations(), {point, occurrence, fault}).Has("any");
    };
    if (calls <= Few && std::any_of(all.begin(), all.end(), isKnown))
    {
        return all;
    }
    std::vector<unsigned> some{1, (calls + 1) / 2, calls - calls / 4};
    some.erase(std::unique(some.begin(), some.end()), some.end());
    return some;
}

std::vector<Cell> MakeCells(const Record& record)
{
    const Errors errors(FAULTS_DIRECTORY "/Errors");
    std::vector<Cell> cells;
    for (const auto& [point, calls] : record)
    {
        if (point.call == "execve" || point.call == "exit_group")
        {
            continue;
        }
        for (const std::string& fault : errors.Of(point))
        {
            auto occurrences = Occurrences(point, fault, calls);
            if (fault.back() == '+')
            {
                occurrences = {occurrences[occurrences.size() / 2]}; // it lasts
            }
            for (const unsigned occurrence : occurrences)
            {
                cells.push_back({point, occurrence, fault});
            }
        }
    }
    return cells;
}

// In the cell's own process: prints what is wrong, then a line for the summary.
int RunCell(const Cell& cell)
{
    const Expectation& expectation = Find(Expectations(), cell);
    const Report report = Run(Watch::Plan{cell.point, cell.occurrence, Fault(cell.fault)}, expectation);
    if (report.struck == 0 || (report.disturbed && !expectation.Has("any")))
    {
        return NotReached;
    }
    const auto problems = Judge(report, cell, expectation);
    for (const std::string& problem : problems)
    {
        std::cout << problem << '\n';
    }
    std::cout << report.status << ' ' << report.struck << ' ' << report.timeToEnd.count() << '\n';
    return problems.empty() ? EXIT_SUCCESS : EXIT_FAILURE;
}

int RunRecord()
{
    const Expectation expectation{"*", "*", "*", "*", {"on"}, {}};
    const Report report = Run({}, expectation);
    const auto problems = Judge(report, {{}, 1, "delay"}, expectation);
    if (report.disturbed)
    {
        return NotReached;
    }
    if (!problems.empty())
    {
        std::cout << "without a failure: " << Joined(problems, "; ");
        return EXIT_FAILURE;
    }
    for (const auto& [point, calls] : report.calls)
    {
        std::cout << calls << ' ' << point.call << ' ' << point.object << '\n';
    }
    return EXIT_SUCCESS;
}

// A run in a process and namespaces of its own.
class Job
{
public:
    Job(std::vector<std::string> theArguments, std::string theTitle)
        : arguments(std::move(theArguments))
        , title(std::move(theTitle))
    {
    }

    void Start()
    {
        ++tries;
        std::array<int, 2> pipe{};
        if (pipe2(pipe.data(), O_CLOEXEC) == -1)
        {
            throw std::runtime_error("no pipe");
        }
        output = pipe[0];
        process = fork();
        if (process == 0)
        {
            dup2(pipe[1], STDOUT_FILENO);
            Execute();
        }
        close(pipe[1]);
    }

    pid_t Process() const
    {
        return process;
    }

    // Takes the end of the process; false when it has to be started again.
    bool Finish(int waitStatus)
    {
        text.clear();
        std::array<char, 4096> buffer{};
        for (ssize_t size = 0; (size = read(output, buffer.data(), buffer.size())) > 0;)
        {
            text.append(buffer.data(), static_cast<std::size_t>(size));
        }
        close(output);
        status = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
        return status != NotReached || tries == MaxTries;
    }

    const std::string& Title() const
    {
        return title;
    }

    int Status() const
    {
        return status;
    }

    const std::string& Text() const
    {
        return text;
    }

private:
    [[noreturn]] void Execute()
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        alarm(CellLimit);
        try
        {
            Simulator::EnterNamespaces();
        }
        catch (const std::exception& failure)
        {
            std::cout << failure.what() << std::endl;
            _exit(EXIT_FAILURE);
        }
        std::vector<char*> argv;
        for (std::string& argument : arguments)
        {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        execv("/proc/self/exe", argv.data());
        _exit(EXIT_FAILURE);
    }

    std::vector<std::string> arguments;
    std::string title;
    pid_t process = -1;
    int output = -1;
    int tries = 0;
    int status = 0;
    std::string text;
};

Record MakeRecord()
{
    Job job({"fault-matrix", "record"}, "the run without a failure");
    int waitStatus = 0;
    do
    {
        job.Start();
        waitpid(job.Process(), &waitStatus, 0);
    } while (!job.Finish(waitStatus));
    if (job.Status() != EXIT_SUCCESS)
    {
        throw std::runtime_error(job.Text().empty() ? "the machine is too busy" : job.Text());
    }
    std::istringstream text(job.Text());
    Record record;
    Point point;
    for (unsigned calls = 0; text >> calls >> point.call && std::getline(text >> std::ws, point.object);)
    {
        record[point] = calls;
    }
    return record;
}

struct Tally
{
    unsigned cells = 0;
    unsigned passed = 0;
    unsigned notReached = 0;
    long longest = 0; // ms
};

class Matrix
{
public:
    Matrix(std::vector<Cell> theCells, std::size_t theJobs)
        : cells(std::move(theCells))
        , jobs(theJobs)
    {
    }

    bool Run()
    {
        std::size_t next = 0;
        std::map<pid_t, std::pair<Job, const Cell*>> running;
        while (next < cells.size() || !running.empty())
        {
            for (; next < cells.size() && running.size() < jobs; ++next)
            {
                Job job = MakeJob(cells[next]);
                job.Start();
                running.emplace(job.Process(), std::pair(job, &cells[next]));
            }
            int status = 0;
            const auto ended = running.find(waitpid(-1, &status, 0));
            auto [job, cell] = ended->second;
            running.erase(ended);
            if (job.Finish(status))
            {
                Count(*cell, job);
            }
            else
            {
                job.Start();
                running.emplace(job.Process(), std::pair(job, cell));
            }
        }
        return Summarize();
    }

private:
    Job MakeJob(const Cell& cell) const
    {
        return {
            {"fault-matrix", "cell", cell.point.call, cell.point.object, std::to_string(cell.occurrence), cell.fault},
            Name(cell)};
    }

    void Count(const Cell& cell, const Job& job)
    {
        Tally& tally = tallies[Joined(Find(Expectations(), cell).outcome, " ")];
        ++tally.cells;
        if (job.Status() == NotReached)
        {
            ++tally.notReached;
            std::cout << Name(cell) << ": the call did not come\n";
            return;
        }
        if (job.Status() != EXIT_SUCCESS)
        {
            std::cout << Name(cell) << ": failed (" << job.Status() << ")\n" << job.Text() << std::flush;
            return;
        }
        ++tally.passed;
        int status = 0;
        unsigned struck = 0;
        long time = 0;
        std::istringstream(job.Text()) >> status >> struck >> time;
        tally.longest = std::max(tally.longest, time);
        if (struck > 1)
        {
            std::cout << Name(cell) << ": " << struck << " calls failed until the end\n";
        }
    }

    bool Summarize() const
    {
        Tally all;
        std::printf("%-28s %6s %6s %12s\n", "outcome", "cells", "passed", "longest end");
        for (const auto& [outcome, tally] : tallies)
        {
            std::printf("%-28s %6u %6u %9.2f s\n", outcome.c_str(), tally.cells, tally.passed,
                        static_cast<double>(tally.longest) / 1000);
            all.cells += tally.cells;
            all.passed += tally.passed;
            all.notReached += tally.notReached;
        }
        std::printf("%u cells, %u passed, %u not reached\n", all.cells, all.passed, all.notReached);
        return all.passed == all.cells;
    }

    const std::vector<Cell> cells;
    const std::size_t jobs;
    std::map<std::string, Tally> tallies;
};

int RunMatrix(const std::vector<std::string>& arguments)
{
    std::size_t jobs = 24; // they mostly wait
    std::string only;
    bool list = false;
    for (std::size_t index = 0; index < arguments.size(); ++index)
    {
        const std::string& argument = arguments[index];
        list = list || argument == "--list";
        if (argument == "--jobs" || argument == "--only")
        {
            const std::string& value = arguments.at(++index);
            argument == "--jobs" ? static_cast<void>(jobs = std::stoul(value)) : static_cast<void>(only = value);
        }
    }
    const Record record = MakeRecord();
    auto cells = MakeCells(record);
    cells.erase(std::remove_if(cells.begin(), cells.end(),
                               [&](const Cell& cell) { return Name(cell).find(only) == std::string::npos; }),
                cells.end());
    if (list)
    {
        for (const Cell& cell : cells)
        {
            std::cout << Name(cell) << ": " << Joined(Find(Expectations(), cell).outcome, " ") << '\n';
        }
        return EXIT_SUCCESS;
    }
    return Matrix(cells, jobs).Run() ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string mode = arguments.empty() ? "" : arguments[0];
    try
    {
        if (mode == "launch")
        {
            return Watch::Launch(argv + 2);
        }
        if (mode == "record")
        {
            return RunRecord();
        }
        if (mode == "cell")
        {
            const Cell cell{{arguments.at(1), arguments.at(2)},
                            static_cast<unsigned>(std::stoul(arguments.at(3))),
                            arguments.at(4)};
            return RunCell(cell);
        }
        return RunMatrix(arguments);
    }
    catch (const std::exception& failure)
    {
        std::cout << "fault-matrix: " << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}
