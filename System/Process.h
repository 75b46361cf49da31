#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace System
{

/// Runs a program in place of this one: a path, or a name in PATH. Returns only if that fails; errno says why.
void Execute(const std::string& program, const std::vector<std::string>& arguments);

/// Another program, which runs no longer than this one.
class Process
{
public:
    struct Start
    {
        std::vector<std::string> command; ///< program (a path, or a name in PATH) and arguments
        std::vector<std::pair<std::string, std::string>> environment; ///< in addition to this program's own
        int standardInput = -1;  ///< descriptor that becomes its standard input; -1: this program's own
        int standardOutput = -1; ///< descriptor that becomes its standard output and error; -1: this program's own
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

} // namespace System
