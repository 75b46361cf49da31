#include "FaultPlan.h"

#include <utility>

namespace Simulator
{

FaultPlan::FaultPlan(std::function<void()> changed)
    : listener(std::move(changed))
{
}

void FaultPlan::Set(Operation operation, const Fault& fault)
{
    Change([&] { plan[operation] = Planned{fault}; });
}

void FaultPlan::Fail(Operation operation, int error, unsigned firstCall, unsigned callCount)
{
    Fault fault;
    fault.error = error;
    fault.firstCall = firstCall;
    fault.calls = callCount;
    Set(operation, fault);
}

void FaultPlan::Clear(Operation operation)
{
    Change([&] { plan.erase(operation); });
}

void FaultPlan::ClearAll()
{
    Change([&] { plan.clear(); });
}

void FaultPlan::Change(const std::function<void()>& change)
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        change();
    }
    if (listener)
    {
        listener();
    }
}

unsigned FaultPlan::Calls(Operation operation) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    const auto found = calls.find(operation);
    return found == calls.end() ? 0 : found->second;
}

Fault FaultPlan::Next(Operation operation, const std::string& led)
{
    const std::lock_guard<std::mutex> lock(mutex);
    ++calls[operation];
    const auto found = plan.find(operation);
    if (found == plan.end() || (!found->second.fault.led.empty() && found->second.fault.led != led))
    {
        return {};
    }
    auto& [fault, seen] = found->second;
    ++seen;
    const bool begun = seen >= fault.firstCall;
    const bool over = fault.calls != Fault::Always && seen >= fault.firstCall + fault.calls;
    return begun && !over ? fault : Fault{};
}

} // namespace Simulator
