#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// How a job ended: its exit status, or 128 and the number of the signal that killed it, and what it wrote to its standard
/// output.
struct JobResult
{
    int status = 0;
    std::string text;
};

/// Runs this program with other arguments, `count` times and as many `atOnce`, each time in a process and namespaces of its
/// own. `onEnd` is told each result, in the order in which they come; false when the job is to be run again. A job that
/// takes longer than `limit` s is killed. Other children of this process must not exist. Throws std::runtime_error.
void RunJobs(std::size_t count, std::size_t atOnce, unsigned limit,
             const std::function<std::vector<std::string>(std::size_t job)>& argumentsOf,
             const std::function<bool(std::size_t job, const JobResult& result)>& onEnd);
