#pragma once

#include "EventLog.h"

#include "System/Process.h"

#include <chrono>
#include <optional>
#include <set>
#include <string>

namespace Simulator
{

/// The gateway that runs on the board, and the programs that are connected to it. Events tell of both.
class GatewayRun
{
public:
    using Clock = std::chrono::steady_clock;

    /// Where the gateway is to write its figures, which tell who is connected.
    static constexpr const char* MetricsFile = "/run/orvel/gateway.metrics";

    /// Starts it. Throws std::runtime_error when that is not possible.
    GatewayRun(const System::Process::Start& start, EventLog& eventLog);

    /// For poll: readable when the gateway has ended, which OnEnd is to take; -1 afterwards.
    int Descriptor() const
    {
        return process ? process->Descriptor() : -1;
    }

    void OnEnd();

    /// When Look is to be called; NoDeadline once the gateway has ended.
    Clock::time_point LooksAt() const;

    /// Finds out which programs have come and gone.
    void Look();

    /// Ends it if it still runs: in its own way, or by force if it takes too long.
    void End();

private:
    EventLog& events;
    std::optional<System::Process> process;
    std::set<std::string> programs; // each with the number of its connection
    Clock::time_point looksAt;
};

} // namespace Simulator
