// Lets every system call of the daemon and of the gateway fail once in every possible way, and compares what they do then
// with what they must do.
//
//   fault-matrix [--subject NAME] [--jobs N] [--only TEXT] [--list]
//
// NAME is that of a program below; all unless one is given. TEXT is a part of a cell's name, such as
// "mq_open /progButton 1 EMFILE". The cells combine the calls of a run without failures, at a first, a middle and a late
// time, with what the file Errors lists for them. The files Expectations and GatewayExpectations have what must happen.
// Every cell runs in a process, in namespaces and on a board of its own.

#include "BenchKit/Paths.h"
#include "BenchKit/SandboxedJobs.h"
#include "Judgement.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <numeric>
#include <sstream>
#include <stdexcept>

namespace
{

constexpr int UsageError = 2;

constexpr unsigned CellLimit = 1200; // s; nothing in a cell waits so long
constexpr unsigned MaxTries = 5;     // of a cell whose call does not come, or whose start loses its LEDs
constexpr int NotReached = 2;        // exit status of such a cell

// A program whose calls fail.
struct Subject
{
    const char* name;
    const char* expectations; // file
    Report (*run)(const std::optional<Watch::Plan>& plan, const Expectation& expectation);
    const char* like = nullptr; // a subject whose calls need not fail once more
};

constexpr std::array<Subject, 3> Subjects{
    {{"daemon", "Expectations", RunDaemon},
     {"gateway", "GatewayExpectations", RunGateway},
     {"activated-gateway", "GatewayExpectations", RunActivatedGateway, "gateway"}}};

const Subject& SubjectOf(const std::string& name)
{
    const auto* const found =
        std::find_if(Subjects.begin(), Subjects.end(), [&](const Subject& subject) { return name == subject.name; });
    if (found == Subjects.end())
    {
        throw std::runtime_error("no program " + name);
    }
    return *found;
}

const std::vector<Expectation>& Expectations(const Subject& subject)
{
    static std::map<std::string, std::vector<Expectation>> known;
    auto& expectations = known[subject.expectations];
    if (expectations.empty())
    {
        expectations = ReadExpectations(Paths::InSourceTree(std::string("Proofs/Faults/") + subject.expectations));
    }
    return expectations;
}

std::string Name(const Cell& cell)
{
    return cell.point.call + " " + cell.point.object + " " + std::to_string(cell.occurrence) + " " + cell.fault;
}

// How often a run without failures makes each call.
using Record = std::map<Point, unsigned>;

// Which of so many calls fail: the first, a middle and a late one; or all, if there are few and it matters which. The
// number of some calls depends on time. A late one is therefore not the last, which may not come the next time.
std::vector<unsigned> Occurrences(const Subject& subject, const Point& point, const std::string& fault, unsigned calls)
{
    constexpr unsigned Few = 7;
    std::vector<unsigned> all(std::min(calls, Few));
    std::iota(all.begin(), all.end(), 1U);
    const auto isKnown = [&](unsigned occurrence) {
        return !Find(Expectations(subject), {point, occurrence, fault}).Has("any");
    };
    if (calls <= Few && std::any_of(all.begin(), all.end(), isKnown))
    {
        return all;
    }
    std::vector<unsigned> some{1, (calls + 1) / 2, calls - calls / 4};
    some.erase(std::unique(some.begin(), some.end()), some.end());
    return some;
}

std::vector<Cell> MakeCells(const Subject& subject, const Record& record)
{
    const Errors errors(Paths::InSourceTree("Proofs/Faults/Errors"));
    std::vector<Cell> cells;
    for (const auto& [point, calls] : record)
    {
        if (point.call == "execve" || point.call == "exit_group")
        {
            continue;
        }
        for (const std::string& fault : errors.Of(point))
        {
            auto occurrences = Occurrences(subject, point, fault, calls);
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

// Runs in the cell's own process: prints what is wrong, then a line for the summary.
int RunCell(const Subject& subject, const Cell& cell)
{
    const Expectation& expectation = Find(Expectations(subject), cell);
    const Report report = subject.run(Watch::Plan{cell.point, cell.occurrence, Fault(cell.fault)}, expectation);
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

int RunRecord(const Subject& subject)
{
    const Expectation expectation{"*", "*", "*", "*", {"on"}, {}};
    const Report report = subject.run({}, expectation);
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

Record MakeRecord(const Subject& subject)
{
    Record record;
    unsigned tries = 0;
    RunJobs(
        1, 1, CellLimit,
        [&](std::size_t) {
            return std::vector<std::string>{"record", subject.name};
        },
        [&](std::size_t, const JobResult& result)
        {
            if (result.status == NotReached && ++tries < MaxTries)
            {
                return false;
            }
            if (result.status != EXIT_SUCCESS)
            {
                throw std::runtime_error(result.text.empty() ? "the machine is too busy" : result.text);
            }
            std::istringstream text(result.text);
            Point point;
            for (unsigned calls = 0; text >> calls >> point.call && std::getline(text >> std::ws, point.object);)
            {
                record[point] = calls;
            }
            return true;
        });
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
    Matrix(const Subject& theSubject, std::vector<Cell> theCells, std::size_t theJobs)
        : subject(theSubject)
        , cells(std::move(theCells))
        , jobs(theJobs)
    {
    }

    bool Run()
    {
        std::vector<unsigned> tries(cells.size());
        RunJobs(
            cells.size(), jobs, CellLimit,
            [&](std::size_t job)
            {
                const Cell& cell = cells[job];
                // The number of some calls depends on time: if all are equal, try an earlier one next time.
                const bool isSame = Find(Expectations(subject), cell).occurrences == "*";
                const unsigned occurrence = cell.occurrence - (isSame ? cell.occurrence * tries[job] / 8 : 0);
                return std::vector<std::string>{
                    "cell", subject.name, cell.point.call, cell.point.object, std::to_string(occurrence), cell.fault};
            },
            [&](std::size_t job, const JobResult& result)
            {
                if (result.status == NotReached && ++tries[job] < MaxTries)
                {
                    return false;
                }
                Count(cells[job], result);
                return true;
            });
        return Summarize();
    }

private:
    void Count(const Cell& cell, const JobResult& result)
    {
        const Expectation& expectation = Find(Expectations(subject), cell);
        if (result.status == NotReached && expectation.Has("any"))
        {
            ++notMade; // the libraries make some calls in some runs only
            std::cout << Name(cell) << ": the libraries did not make the call\n";
            return;
        }
        Tally& tally = tallies[Joined(expectation.outcome, " ")];
        ++tally.cells;
        if (result.status == NotReached)
        {
            ++tally.notReached;
            std::cout << Name(cell) << ": the call did not come\n";
            return;
        }
        if (result.status != EXIT_SUCCESS)
        {
            std::cout << Name(cell) << ": failed (" << result.status << ")\n" << result.text << std::flush;
            return;
        }
        ++tally.passed;
        int status = 0;
        unsigned struck = 0;
        long time = 0;
        std::istringstream(result.text) >> status >> struck >> time;
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
        std::printf("%s: %u cells, %u passed, %u not reached", subject.name, all.cells, all.passed, all.notReached);
        std::printf(notMade == 0 ? "\n" : "; %u more of calls that the libraries did not make\n", notMade);
        return all.passed == all.cells;
    }

    const Subject& subject;
    const std::vector<Cell> cells;
    const std::size_t jobs;
    std::map<std::string, Tally> tallies;
    unsigned notMade = 0; // cells
};

struct Wish
{
    std::size_t jobs = 24; // they mostly wait
    std::string subject;   // all if it is empty
    std::string only;
    bool list = false;
};

// False if there is no such cell, or one failed.
bool RunMatrix(const Subject& subject, const Wish& wish)
{
    Record record = MakeRecord(subject);
    std::printf("%s: %zu kinds of calls\n", subject.name, record.size());
    if (subject.like != nullptr)
    {
        for (const auto& [point, calls] : MakeRecord(SubjectOf(subject.like)))
        {
            record.erase(point);
        }
    }
    auto cells = MakeCells(subject, record);
    cells.erase(std::remove_if(cells.begin(), cells.end(),
                               [&](const Cell& cell) { return Name(cell).find(wish.only) == std::string::npos; }),
                cells.end());
    if (cells.empty())
    {
        std::printf("%s: no cell has '%s' in its name\n", subject.name, wish.only.c_str());
        return wish.subject.empty(); // another one may have
    }
    if (wish.list)
    {
        for (const Cell& cell : cells)
        {
            std::cout << Name(cell) << ": " << Joined(Find(Expectations(subject), cell).outcome, " ") << '\n';
        }
        return true;
    }
    return Matrix(subject, cells, wish.jobs).Run();
}

int RunMatrices(const std::vector<std::string>& arguments)
{
    Wish wish;
    for (std::size_t index = 0; index < arguments.size(); ++index)
    {
        const std::string& argument = arguments[index];
        const bool hasValue = index + 1 < arguments.size();
        if (argument == "--list")
        {
            wish.list = true;
        }
        else if (argument == "--jobs" && hasValue &&
                 arguments[index + 1].find_first_not_of("0123456789") == std::string::npos)
        {
            wish.jobs = std::max(1UL, std::stoul("0" + arguments[++index]));
        }
        else if (argument == "--only" && hasValue)
        {
            wish.only = arguments[++index];
        }
        else if (argument == "--subject" && hasValue)
        {
            wish.subject = SubjectOf(arguments[++index]).name;
        }
        else
        {
            std::cerr << "usage: fault-matrix [--list] [--jobs NUMBER] [--subject daemon|gateway|activated-gateway]\n"
                         "                    [--only PART-OF-A-CELL'S-NAME]\n";
            return UsageError;
        }
    }
    bool good = true;
    for (const Subject& subject : Subjects)
    {
        if (wish.subject.empty() || wish.subject == subject.name)
        {
            good = RunMatrix(subject, wish) && good;
        }
    }
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
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
            return RunRecord(SubjectOf(arguments.at(1)));
        }
        if (mode == "cell")
        {
            const Cell cell{{arguments.at(2), arguments.at(3)},
                            static_cast<unsigned>(std::stoul(arguments.at(4))),
                            arguments.at(5)};
            return RunCell(SubjectOf(arguments.at(1)), cell);
        }
        return RunMatrices(arguments);
    }
    catch (const std::exception& failure)
    {
        std::cout << "fault-matrix: " << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}
