#include "Answers.h"

#include <cerrno>

namespace Simulator
{

Answers::Answers(FaultPlan& faultPlan)
    : faults(faultPlan)
{
}

void Answers::Give(fuse_req_t request, Operation operation, const std::string& led, const Answer& answer)
{
    const Fault fault = faults.Next(operation, led);
    const auto answerWithFault = [request, fault, answer]
    {
        if (fault.error != 0)
        {
            fuse_reply_err(request, fault.error);
            return true;
        }
        return answer(fault);
    };
    if (fault.delay.count() > 0 || !answerWithFault())
    {
        waiting.push_back({request, std::chrono::steady_clock::now() + fault.delay, answerWithFault});
    }
}

void Answers::GiveWaiting()
{
    const auto now = std::chrono::steady_clock::now();
    const auto answer = [now](Waiting& one)
    {
        // This comes before anything else: a killed process is gone only when its call has been answered.
        if (fuse_req_interrupted(one.request) != 0)
        {
            fuse_reply_err(one.request, EINTR);
            return true;
        }
        return one.notBefore <= now && one.answer();
    };
    waiting.remove_if(answer);
}

std::optional<Answers::Time> Answers::NextDue() const
{
    const auto now = std::chrono::steady_clock::now();
    std::optional<Time> next;
    for (const Waiting& one : waiting)
    {
        // Requests that are due already wait for something other than time.
        if (one.notBefore > now && (!next || one.notBefore < *next))
        {
            next = one.notBefore;
        }
    }
    return next;
}

void Answers::Abort()
{
    for (const Waiting& one : waiting)
    {
        fuse_reply_err(one.request, ENODEV);
    }
    waiting.clear();
}

} // namespace Simulator
