// Uses the daemon hard and for a long time, and accounts for every message.
//
//   soak [--full] [--seed N]
//
// Runs several boards at once, each with its own seed that follows from N. The same N gives the same run, except for
// the time that things take. Without --full it takes a minute.

#include "BenchKit/SandboxedJobs.h"
#include "Starts.h"
#include "Traffic.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace
{

constexpr std::size_t Boards = 4;
constexpr unsigned JobLimit = 7200; // s

struct Form
{
    Amounts amounts; // of all boards
    long starts;
};

constexpr Form Short{{32, 40'000, 4'000, 4'000}, 160};
constexpr Form Full{{1'000, 1'000'000, 100'000, 100'000}, 2'000};

Amounts OfOneBoard(const Amounts& all)
{
    constexpr long Share = Boards;
    return {all.losses / Share, all.frames / Share, all.buttons / Share, all.brightness / Share};
}

void Print(const Figures& figures)
{
    for (const auto& [name, value] : figures)
    {
        std::cout << value << ' ' << name << '\n';
    }
}

void Add(Figures& all, const std::string& text)
{
    std::istringstream lines(text);
    long value = 0;
    for (std::string name; lines >> value && std::getline(lines >> std::ws, name);)
    {
        const bool isMost = name.rfind("most ", 0) == 0;
        all[name] = isMost ? std::max(all[name], value) : all[name] + value;
    }
}

// The boards with traffic come first, then those with starts.
int RunAll(const Form& form, uint32_t seed)
{
    std::printf("seed %u\n", seed);
    std::fflush(stdout);
    const auto begun = std::chrono::steady_clock::now();
    const Amounts amounts = OfOneBoard(form.amounts);
    Figures figures;
    bool passed = true;
    RunJobs(
        Boards * 2, Boards, JobLimit,
        [&](std::size_t job) -> std::vector<std::string>
        {
            const std::string jobSeed = std::to_string(seed + job);
            if (job < Boards)
            {
                return {"traffic",
                        jobSeed,
                        std::to_string(amounts.losses),
                        std::to_string(amounts.frames),
                        std::to_string(amounts.buttons),
                        std::to_string(amounts.brightness)};
            }
            return {"starts", jobSeed, std::to_string(form.starts / static_cast<long>(Boards))};
        },
        [&](std::size_t job, const JobResult& result)
        {
            if (result.status == EXIT_SUCCESS)
            {
                Add(figures, result.text);
            }
            else
            {
                std::printf("board %zu failed (%d):\n%s\n", seed + job, result.status, result.text.c_str());
                passed = false;
            }
            return true;
        });
    for (const auto& [name, value] : figures)
    {
        std::printf("%9ld  %s\n", value, name.c_str());
    }
    const auto time = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begun);
    std::printf("%9ld  s\n", static_cast<long>(time.count()));
    return passed ? EXIT_SUCCESS : EXIT_FAILURE;
}

int Run(const std::vector<std::string>& arguments)
{
    const auto number = [&](std::size_t index) { return std::stol(arguments.at(index)); };
    if (!arguments.empty() && arguments[0] == "traffic")
    {
        Print(RunTraffic(static_cast<uint32_t>(number(1)), {number(2), number(3), number(4), number(5)}));
        return EXIT_SUCCESS;
    }
    if (!arguments.empty() && arguments[0] == "starts")
    {
        Print(RunStarts(static_cast<uint32_t>(number(1)), number(2)));
        return EXIT_SUCCESS;
    }
    Form form = Short;
    uint32_t seed = std::random_device()();
    for (std::size_t index = 0; index < arguments.size(); ++index)
    {
        if (arguments[index] == "--full")
        {
            form = Full;
        }
        else if (arguments[index] == "--seed")
        {
            seed = static_cast<uint32_t>(number(++index));
        }
        else
        {
            std::cerr << "soak [--full] [--seed N]\n";
            return 2; // what the script knows to be about the options
        }
    }
    return RunAll(form, seed);
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
        std::cout << failure.what() << std::endl;
        return EXIT_FAILURE;
    }
}
