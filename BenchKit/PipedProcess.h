#pragma once

#include "System/Descriptor.h"
#include "System/Process.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

/// Another program whose output a thread of its own hands on, line by line. Standard output and error are one.
class PipedProcess
{
public:
    using OnLine = std::function<void(const std::string& line)>;

    /// Starts the program; its standard output is this object's. Throws std::runtime_error when it cannot be started.
    PipedProcess(System::Process::Start start, OnLine onLine);

    /// Kills the program if it still runs.
    ~PipedProcess();

    PipedProcess(const PipedProcess&) = delete;
    PipedProcess& operator=(const PipedProcess&) = delete;

    pid_t Id() const
    {
        return process->Id();
    }

    void Signal(int signal) const
    {
        process->Signal(signal);
    }

    bool HasEnded() const
    {
        return EndsWithin({});
    }

    /// Waits for the end; false if the program still runs.
    bool EndsWithin(std::chrono::milliseconds patience) const;

    /// Waits until the program has ended and all of its lines were handed on. Returns the exit status, or 128 and the
    /// number of the signal that killed it.
    int Wait();

private:
    void ReadOutput(const OnLine& onLine) const;

    System::Descriptor output; // the reading end of the pipe
    std::optional<System::Process> process;
    std::thread reader;
};
