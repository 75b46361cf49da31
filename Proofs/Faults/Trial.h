#pragma once

#include "BenchKit/Daemon.h"
#include "Scenario.h"

#include <chrono>
#include <functional>
#include <optional>

/// What every run has: a program under the watch, and the steps that wait for what it does.
class Trial
{
protected:
    using Clock = Watch::Clock;

    /// Nothing waits longer, whatever the program does.
    static constexpr std::chrono::seconds HangLimit{120};

    /// A message counts as lost if it has not arrived for so long after a failure. The simulated link may take 5 s to notice
    /// a lost co-processor, and reconnects then.
    static constexpr std::chrono::seconds GivingUp{8};

    Trial(const std::optional<Watch::Plan>& plan, const Expectation& theExpectation);

    /// Call this once the command has been started.
    void Begin(const Daemon& program);

    /// Waits for what the program has to do. False if it is pointless to go on: the program has ended or will end, or
    /// something does not come after a failure that may cost more than this.
    bool Step(const std::function<bool()>& done) const;

    bool HasEnded() const;
    bool WillEnd() const;

    /// Whether the call that must fail has not come yet, and comes while the program runs.
    bool IsAwaited() const;

    /// Waits for the end, from the failure on or, if that does not end it, from SIGINT on. `beforeInterrupt` comes before
    /// that.
    void End(Daemon& program, const std::function<void()>& beforeInterrupt);

    /// What the watch has seen.
    void CollectCalls();

    const Expectation& expectation;
    Watch watch;
    Report report;

private:
    bool MayLose() const;

    const Daemon* process = nullptr; // while it is under the watch
};
