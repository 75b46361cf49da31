#include "BenchKit/SandboxedJobs.h"

#include "Namespaces.h"

#include "System/Descriptor.h"
#include "System/Process.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <stdexcept>
#include <utility>

namespace
{

struct Running
{
    std::size_t job;
    System::Descriptor output;
};

[[noreturn]] void Execute(std::vector<std::string> arguments, unsigned limit)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    alarm(limit);
    try
    {
        Simulator::EnterNamespaces();
    }
    catch (const std::exception& failure)
    {
        std::printf("%s\n", failure.what());
        std::fflush(stdout);
        _exit(EXIT_FAILURE);
    }
    arguments.insert(arguments.begin(), "job");
    System::Execute("/proc/self/exe", arguments);
    _exit(EXIT_FAILURE);
}

pid_t Start(const std::vector<std::string>& arguments, unsigned limit, System::Descriptor& output)
{
    System::Pipe pipe;
    const pid_t process = fork();
    if (process == 0)
    {
        dup2(pipe.writing.Number(), STDOUT_FILENO);
        Execute(arguments, limit);
    }
    output = std::move(pipe.reading);
    return process;
}

JobResult Finish(const System::Descriptor& output, int waitStatus)
{
    JobResult result;
    result.status = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 128 + WTERMSIG(waitStatus);
    std::array<char, 4096> buffer{};
    for (ssize_t size = 0; (size = read(output.Number(), buffer.data(), buffer.size())) > 0;)
    {
        result.text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return result;
}

} // namespace

void RunJobs(std::size_t count, std::size_t atOnce, unsigned limit,
             const std::function<std::vector<std::string>(std::size_t)>& argumentsOf,
             const std::function<bool(std::size_t, const JobResult&)>& onEnd)
{
    std::map<pid_t, Running> running;
    const auto start = [&](std::size_t job)
    {
        System::Descriptor output;
        const pid_t process = Start(argumentsOf(job), limit, output);
        running[process] = {job, std::move(output)};
    };
    for (std::size_t next = 0; next < count || !running.empty();)
    {
        for (; next < count && running.size() < atOnce; ++next)
        {
            start(next);
        }
        int status = 0;
        const auto ended = running.find(waitpid(-1, &status, 0));
        if (ended == running.end())
        {
            throw std::runtime_error("lost a job");
        }
        const auto [job, output] = std::move(ended->second);
        running.erase(ended);
        if (!onEnd(job, Finish(output, status)))
        {
            start(job);
        }
    }
}
