#pragma once

#include "Application.h"
#include "Processors.h"
#include "Usage.h"

#include "System/Descriptor.h"
#include "System/Process.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// A program to measure, and how to start it.
struct Program
{
    std::vector<std::string> command;
    std::string fromLlName;
    std::string toLlName;
    std::vector<std::pair<std::string, std::string>> environment;
};

/// A running program that is measured: the daemon or the relay. Its output is read and counted.
class Subject
{
public:
    /// Starts the program and waits for its first link state message.
    Subject(const Program& program, const Processors& processors);

    /// Kills the program if it still runs.
    ~Subject();

    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    Application& TheApplication()
    {
        return application;
    }

    /// Does the same as the application's, but if a frame was lost, throws std::runtime_error with the program's last
    /// output.
    Exchange Run(std::size_t count, std::size_t size, std::size_t underWay);

    /// The time from before its process was made until its first link state message.
    std::chrono::nanoseconds StartTime() const
    {
        return startTime;
    }

    /// Sends SIGINT and returns how long the program took to end. Throws std::runtime_error unless it ended with 0.
    std::chrono::nanoseconds Stop();

    /// The time that its threads have used so far, in user and in system mode.
    std::chrono::nanoseconds ProcessorTime() const
    {
        return ProcessorTimeOf(process.Id());
    }

    /// How often its threads went to sleep so far.
    long Sleeps() const
    {
        return SleepsOf(process.Id());
    }

    std::size_t Threads() const;

    /// The KiB that it has in memory, and its share of them if several processes use the same.
    long ResidentMemory() const
    {
        return ResidentMemoryOf(process.Id());
    }

    long ProportionalMemory() const
    {
        return ProportionalMemoryOf(process.Id());
    }

    /// How many lines it wrote so far.
    std::size_t Lines() const
    {
        return lines;
    }

    /// Waits until the program has written nothing for a while.
    void AwaitSilence() const;

    pid_t Id() const
    {
        return process.Id();
    }

private:
    void ReadOutput();
    void End();

    System::Pipe output;
    std::atomic<std::size_t> lines{0};
    std::mutex tailMutex;
    std::string tail; // of what it wrote
    Application application;
    std::chrono::steady_clock::time_point begin;
    System::Process process;
    std::thread reader;
    std::chrono::nanoseconds startTime{0};
};
