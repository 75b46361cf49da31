#pragma once

#include "Application.h"
#include "Process.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// What is measured, and how it is to be started.
struct Program
{
    std::vector<std::string> command;
    std::string fromLlName;
    std::string toLlName;
    std::vector<std::pair<std::string, std::string>> environment;
};

/// On which processors the applications and what is measured are kept.
struct Processors
{
    int application;
    int subject;
};

/// Keeps the calling thread, and the processes that it starts, on one processor. Throws std::runtime_error.
void KeepOn(int processor);

/// A program that runs and is measured: the daemon or the relay. What it writes is read and counted.
class Subject
{
public:
    /// Starts it and waits for its first link state message.
    Subject(const Program& program, const Processors& processors);

    /// Kills it if it still runs.
    ~Subject();

    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    Application& TheApplication()
    {
        return application;
    }

    /// As the application's, but throws std::runtime_error with the last that the program wrote when a frame was lost.
    Exchange Run(std::size_t count, std::size_t size, std::size_t underWay);

    /// From before its process was made until its first link state message came.
    std::chrono::nanoseconds StartTime() const
    {
        return startTime;
    }

    /// SIGINT, and how long it took to end. Throws std::runtime_error unless it ended with 0.
    std::chrono::nanoseconds Stop();

    /// That its threads have used so far, in user and in system mode.
    std::chrono::nanoseconds ProcessorTime() const;

    /// How often its threads went to sleep so far.
    long Sleeps() const;

    std::size_t Threads() const;

    /// KiB that are in memory, and its share of them where several processes use the same.
    long ResidentMemory() const;
    long ProportionalMemory() const;

    /// How many lines it wrote so far.
    std::size_t Lines() const
    {
        return lines;
    }

    /// Waits until it has written nothing for a while.
    void AwaitSilence() const;

    pid_t Id() const
    {
        return process.Id();
    }

private:
    struct Output
    {
        Output();
        int reading;
        int writing;
    };

    void ReadOutput();
    void End();

    Output output;
    std::atomic<std::size_t> lines{0};
    std::mutex tailMutex;
    std::string tail; // of what it wrote
    Application application;
    std::chrono::steady_clock::time_point begin;
    Simulator::Process process;
    std::thread reader;
    std::chrono::nanoseconds startTime{0};
};
