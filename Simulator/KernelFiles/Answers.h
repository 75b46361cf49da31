#pragma once

#include "FaultPlan.h"

#include <fuse_lowlevel.h>

#include <chrono>
#include <functional>
#include <list>
#include <optional>
#include <string>

namespace Simulator
{

/// Answers requests now or, without holding up others, later: as the faults have it, and as long as an answer has to
/// wait. One thread, that of the session.
class Answers
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Answers a request; false when that has to wait for something to happen.
    using Answer = std::function<bool(const Fault&)>;

    explicit Answers(FaultPlan& faultPlan);

    /// Counts the call of `operation`, for the LED if it is for one, and gives the answer, at once if possible.
    void Give(fuse_req_t request, Operation operation, const std::string& led, const Answer& answer);

    /// Gives those answers that no longer have to wait. To be called after each request, after each change of a model,
    /// and when the time comes that NextDue tells.
    void GiveWaiting();

    /// When a delayed answer is due, at the earliest.
    std::optional<Time> NextDue() const;

    /// Answers all that wait with ENODEV.
    void Abort();

private:
    struct Waiting
    {
        fuse_req_t request;
        Time notBefore;
        std::function<bool()> answer;
    };

    FaultPlan& faults;
    std::list<Waiting> waiting;
};

} // namespace Simulator
