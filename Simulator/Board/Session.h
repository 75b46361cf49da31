#pragma once

#include "Board.h"
#include "CommandInput.h"
#include "Commands.h"
#include "EventLog.h"
#include "Process.h"
#include "Rendezvous.h"
#include "StopSignals.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace Simulator
{

/// Everything that goes on while the daemon runs.
class Session
{
public:
    /// How a person takes part.
    struct Person
    {
        int commands;                                   ///< descriptor that they come from, one a line
        std::function<void(const std::string&)> answer; ///< tells the answer to a command that has one
    };

    Session(const Process::Start& daemonStart, Board& theBoard, EventLog& eventLog, const Rendezvous& meeting,
            const StopSignals& stopSignals, const Person& thePerson);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The commands of a person are taken once it is over.
    void StartDemonstration();

    /// Until the daemon has ended; returns its exit status.
    int Run();

private:
    using Clock = std::chrono::steady_clock;

    bool Step();
    void Execute(const std::string& line);
    void Stop();
    int PollTimeout() const;

    Board& board;
    EventLog& events;
    const Rendezvous& rendezvous;
    const StopSignals& signals;
    const Person person;
    Commands commands;
    CommandInput input;
    bool reading = true;
    std::optional<Clock::time_point> stopBegan;
    int demonstrationDone;
    std::atomic<bool> demonstrationCancelled{false};
    std::thread demonstration;
    Process daemon;
};

} // namespace Simulator
