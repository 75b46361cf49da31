#pragma once

#include "Board.h"
#include "CommandInput.h"
#include "Commands.h"
#include "EventLog.h"
#include "GatewayRun.h"
#include "LedWatch.h"
#include "Rendezvous.h"

#include "System/Process.h"
#include "System/Signals.h"
#include "System/WakeUp.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <thread>

namespace Simulator
{

/// Everything that goes on while the daemon runs, also when it is started again. The gateway goes on beside it.
class Session
{
public:
    /// How a person takes part.
    struct Person
    {
        int commands;                                   ///< descriptor that they come from, one a line
        std::function<void(const std::string&)> answer; ///< tells the answer to a command that has one
    };

    /// What runs on the board.
    struct Programs
    {
        System::Process::Start daemon;
        std::optional<System::Process::Start> gateway;
    };

    Session(const Programs& programs, Board& theBoard, EventLog& eventLog, const Rendezvous& meeting,
            const System::StopSignals& stopSignals, const Person& thePerson, const Knx::KnownGroups& knownGroups);
    ~Session();

    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// The commands of a person are taken once it is over.
    void StartDemonstration();

    /// Until the daemon has ended and is not to be started again, and then the gateway; returns the daemon's exit status.
    int Run();

private:
    using Clock = std::chrono::steady_clock;

    bool Step();
    bool GoesOn() const;
    void Execute(const std::string& line);
    void StartDaemon();
    void StartDaemonAgain();
    void StartAfter(std::chrono::seconds pause);
    void OnDaemonEnd();
    std::string Restart(int signal, std::chrono::seconds pause);
    void Stop();
    void SignalDaemon(int signal);
    void LookForLeds();
    void OnTime(Clock::time_point now);
    int PollTimeout() const;

    const System::Process::Start start;
    Board& board;
    EventLog& events;
    const Rendezvous& rendezvous;
    const System::StopSignals& signals;
    const Person person;
    Commands commands;
    CommandInput input;
    bool reading = true;
    bool stopping = false;                            // the board is to end with the daemon
    std::optional<Clock::time_point> endBegan;        // when the daemon was last asked to end
    std::optional<std::chrono::seconds> restartAfter; // once it has ended
    bool killed = false;                              // because it did not end in time
    std::optional<Clock::time_point> startsAt;        // while it does not run
    bool startFailed = false;                         // and a person may try again
    int status = 0;                                   // with which it last ended
    System::WakeUp demonstrationDone;
    System::WakeUp restartWanted; // by the demonstration
    std::atomic<bool> demonstrationCancelled{false};
    std::thread demonstration;
    std::optional<System::Process> daemon;
    std::optional<GatewayRun> gateway; // if there is to be one
    std::optional<LedWatch> ledWatch;  // until there is a finding
    Clock::time_point looksAt;
};

} // namespace Simulator
