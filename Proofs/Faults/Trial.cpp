#include "Trial.h"

#include "BenchKit/Await.h"

#include <algorithm>
#include <csignal>

Trial::Trial(const std::optional<Watch::Plan>& plan, const Expectation& theExpectation)
    : expectation(theExpectation)
    , watch(plan)
{
}

void Trial::Begin(const Daemon& program)
{
    watch.Begin();
    process = &program;
}

bool Trial::Step(const std::function<bool()>& done) const
{
    const auto begun = Clock::now();
    bool arrived = false;
    const auto decided = [&]
    {
        arrived = done();
        const bool givenUp =
            MayLose() && watch.Struck() > 0 && Clock::now() > std::max(begun, *watch.StruckAt()) + GivingUp;
        return arrived || givenUp || HasEnded() || WillEnd();
    };
    Await(decided, HangLimit);
    return !HasEnded() && !WillEnd() && (arrived || !expectation.Of("drops").empty());
}

bool Trial::MayLose() const
{
    return expectation.Has("any") || expectation.Has("lasts") || expectation.Has("recovers") ||
           !expectation.Of("drops").empty() || !expectation.Of("loses").empty();
}

bool Trial::HasEnded() const
{
    return process != nullptr && process->HasEnded();
}

bool Trial::WillEnd() const
{
    return watch.Struck() > 0 && expectation.Ends();
}

bool Trial::IsAwaited() const
{
    return watch.IsPlanned() && watch.Struck() == 0 && !expectation.Has("any");
}

void Trial::End(Daemon& program, const std::function<void()>& beforeInterrupt)
{
    auto begun = watch.StruckAt();
    if (!WillEnd())
    {
        beforeInterrupt();
        begun = Clock::now();
        program.Interrupt();
    }
    report.hung = !Await([&] { return HasEnded(); }, HangLimit);
    report.timeToEnd = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - *begun);
    if (report.hung)
    {
        program.Signal(SIGKILL);
    }
    report.status = program.Wait();
    process = nullptr;
}

void Trial::CollectCalls()
{
    report.struck = watch.Struck();
    report.callBehind = watch.CallBehind();
    report.threadsAtExit = watch.ThreadsAtExit();
    report.calls = watch.AllCalls();
}
