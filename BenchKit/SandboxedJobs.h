#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

/// How a job ended: its exit status, or 128 and the number of the signal that killed it; and what it wrote to its
/// standard output.
struct JobResult
{
    int status = 0;
    std::string text;
};

/// Runs this program `count` times with other arguments, up to `atOnce` at a time, each in its own process and
/// namespaces. Calls `onEnd` with each result as it comes; if that returns false, the job runs again. Kills a job
/// that takes longer than `limit` s. This process must not have other children. Throws std::runtime_error.
void RunJobs(std::size_t count, std::size_t atOnce, unsigned limit,
             const std::function<std::vector<std::string>(std::size_t job)>& argumentsOf,
             const std::function<bool(std::size_t job, const JobResult& result)>& onEnd);
