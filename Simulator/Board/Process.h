#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Simulator
{

/// A program that runs in the board's namespaces, and not longer than the board.
class Process
{
public:
    struct Start
    {
        std::vector<std::string> command; ///< program (a path, or a name in PATH) and arguments
        std::vector<std::pair<std::string, std::string>> environment; ///< in addition to the board's own
        int standardInput = -1;  ///< descriptor that becomes its standard input; -1: the board's own
        int standardOutput = -1; ///< descriptor that becomes its standard output and error; -1: the board's own
        std::function<void(pid_t)> beforeExec; ///< called with the new process, which waits meanwhile
    };

    /// Throws std::runtime_error when the program cannot be started.
    explicit Process(const Start& start);

    /// Kills it if it still runs.
    ~Process();

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    pid_t Id() const
    {
        return id;
    }

    /// For poll: readable when the program has ended.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Without effect when it has ended.
    void Signal(int signal) const;

    /// Blocks until it has ended. The exit status, or 128 and the number of the signal that killed it.
    int Wait();

private:
    pid_t id = -1;
    System::Descriptor descriptor;
    std::optional<int> status;
};

} // namespace Simulator
