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

/// Applies the planned fault, then answers the request, now or later. An answer that has to wait holds up no other.
/// Only the session's thread may call.
class Answers
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Answers a request; false if that must wait for something to happen.
    using Answer = std::function<bool(const Fault&)>;

    explicit Answers(FaultPlan& faultPlan);

    /// Counts the call of `operation`, for the LED if it is for one, and answers, at once if possible.
    void Give(fuse_req_t request, Operation operation, const std::string& led, const Answer& answer);

    /// Gives the answers that no longer have to wait. Call it after each request, after each change of a model, and at
    /// the time that NextDue returns.
    void GiveWaiting();

    /// The earliest time at which a delayed answer is due.
    std::optional<Time> NextDue() const;

    /// Answers all waiting requests with ENODEV.
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
