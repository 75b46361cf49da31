// Lets 32 programs use one gateway, and accounts for every message. Before, it shows the monitor beside an application, and what
// 32 programs see of a restart of the daemon.
//
//   gateway-soak [--frames N] [--seed N] [--only monitor|restart|soak]
//
// The seed chooses at random what happens; the same seed makes the same choices, but for the time that things take.

#include "BenchKit/SandboxedJobs.h"
#include "Scenes.h"
#include "Soak.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <random>
#include <string>
#include <vector>

namespace
{

constexpr unsigned JobLimit = 6 * 3600; // s
constexpr long ShortFrames = 20'000;

// A million frames: 200 restarts of the daemon, 50 of the gateway.
Soak::Amounts AmountsOf(long frames)
{
    return {frames, std::max(5L, frames / 5'000), std::max(3L, frames / 20'000)};
}

void RunSoak(uint32_t seed, long frames)
{
    const auto begun = std::chrono::steady_clock::now();
    for (const auto& [name, value] : Soak(seed, AmountsOf(frames)).Run())
    {
        std::printf("%9ld  %s\n", value, name.c_str());
    }
    const auto time = std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - begun);
    std::printf("%9ld  s\n", static_cast<long>(time.count()));
}

// Half a minute's worth in the short form.
long TelegramsOf(long frames)
{
    return std::clamp(frames / 20, 1'000L, 10'000L);
}

struct Options
{
    uint32_t seed = std::random_device()();
    long frames = ShortFrames;
    std::vector<std::string> jobs{"monitor", "restart", "soak"};
};

int RunAll(const Options& options)
{
    std::printf("seed %u\n", options.seed);
    std::fflush(stdout);
    bool passed = true;
    RunJobs(
        options.jobs.size(), 1, JobLimit,
        [&](std::size_t job) -> std::vector<std::string> {
            return {"run", options.jobs[job], std::to_string(options.seed), std::to_string(options.frames)};
        },
        [&](std::size_t job, const JobResult& result)
        {
            std::printf("\n%s%s\n%s", options.jobs[job].c_str(), result.status == EXIT_SUCCESS ? "" : " FAILED",
                        result.text.c_str());
            if (result.status > EXIT_FAILURE)
            {
                std::printf("status %d\n", result.status);
            }
            std::fflush(stdout);
            passed = passed && result.status == EXIT_SUCCESS;
            return true;
        });
    return passed ? EXIT_SUCCESS : EXIT_FAILURE;
}

void RunJob(const std::string& job, uint32_t seed, long frames)
{
    if (job == "monitor")
    {
        std::cout << Scenes::Monitor(TelegramsOf(frames));
    }
    else if (job == "restart")
    {
        std::cout << Scenes::Restart();
    }
    else
    {
        RunSoak(seed, frames);
    }
}

int Run(const std::vector<std::string>& arguments)
{
    const auto number = [&](std::size_t index) { return std::stol(arguments.at(index)); };
    if (!arguments.empty() && arguments[0] == "run")
    {
        RunJob(arguments.at(1), static_cast<uint32_t>(number(2)), number(3));
        return EXIT_SUCCESS;
    }
    Options options;
    for (std::size_t index = 0; index < arguments.size(); ++index)
    {
        if (arguments[index] == "--frames")
        {
            options.frames = number(++index);
        }
        else if (arguments[index] == "--seed")
        {
            options.seed = static_cast<uint32_t>(number(++index));
        }
        else if (arguments[index] == "--only")
        {
            options.jobs = {arguments.at(++index)};
        }
        else
        {
            std::cerr << "gateway-soak [--frames N] [--seed N] [--only monitor|restart|soak]\n";
            return 2; // what the script knows to be about the options
        }
    }
    return RunAll(options);
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
