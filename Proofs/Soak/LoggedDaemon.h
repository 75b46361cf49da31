#pragma once

#include "System/Descriptor.h"
#include "System/Process.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

/// The daemon as a process whose output is too long to keep: a thread of its own hands each line on.
class LoggedDaemon
{
public:
    LoggedDaemon(const std::vector<std::string>& options, std::function<void(const std::string&)> onLine);

    /// Kills it if it still runs.
    ~LoggedDaemon();

    LoggedDaemon(const LoggedDaemon&) = delete;
    LoggedDaemon& operator=(const LoggedDaemon&) = delete;

    pid_t Id() const
    {
        return process->Id();
    }

    void Signal(int signal) const
    {
        process->Signal(signal);
    }

    bool HasEnded() const;

    /// Waits until the daemon has ended and all of its lines were handed on. Returns the exit status, or 128 and the
    /// number of the signal that killed it.
    int Wait();

private:
    void ReadOutput();

    const std::function<void(const std::string&)> handler;
    System::Descriptor output;
    std::unique_ptr<System::Process> process;
    std::thread reader;
};
