#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Simulator
{

/// The system calls that can be made to fail. "Direction" and "Value" are those of every pin.
enum class Operation
{
    UledsOpen,
    UledsWrite,
    UledsRead,
    UledsPoll,
    ExportOpen,
    ExportWrite,
    DirectionOpen,
    DirectionWrite,
    ValueOpen,
    ValueWrite
};

/// What happens to a call.
struct Fault
{
    static constexpr unsigned Always = 0;

    /// Number of the error that the call fails with, without any other effect; 0: none. A poll reports POLLERR for any.
    /// Not ENOSYS, which the kernel takes as a "never ask again".
    int error = 0;

    /// UledsWrite: the number of bytes said to be taken; the LED is registered all the same.
    /// UledsRead: the number of bytes given of the report, which has then been read; with 0 it stays.
    std::optional<std::size_t> count;

    /// UledsPoll: reported too, or instead of what is true. POLLNVAL does not arrive: poll has it for closed descriptors
    /// only, and takes it from no file.
    short events = 0;
    bool onlyTheseEvents = false;

    /// From the call until it has an effect.
    std::chrono::milliseconds delay{0};

    /// The calls it happens to: from the n-th one after it was set, so many of them.
    unsigned firstCall = 1;
    unsigned calls = Always;

    /// UledsWrite, UledsRead, UledsPoll: happens to the calls for the LED of this name only, and counts only these. Of a
    /// write it is the name in the record. Empty: any.
    std::string led;
};

/// The faults that a test has set, at most one for each operation. Any thread.
class FaultPlan
{
public:
    /// `changed` is called, on the thread that sets or clears a fault, when it holds.
    explicit FaultPlan(std::function<void()> changed = {});

    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Replaces the operation's fault. A call that is waiting already is not affected, but whoever waits in a poll asks
    /// again. The kernel asks for poll as often as it likes: better count anything else.
    void Set(Operation operation, const Fault& fault);
    void Fail(Operation operation, int error, unsigned firstCall = 1, unsigned callCount = Fault::Always);
    void Clear(Operation operation);
    void ClearAll();

    /// Number of calls of an operation so far, of any LED, those that failed included.
    unsigned Calls(Operation operation) const;

    /// Counts a call and tells what happens to it: a fault without any effect when nothing is set.
    Fault Next(Operation operation, const std::string& led);

private:
    struct Planned
    {
        Fault fault;
        unsigned seen = 0;
    };

    void Change(const std::function<void()>& change);

    const std::function<void()> listener;
    mutable std::mutex mutex;
    std::map<Operation, Planned> plan;
    std::map<Operation, unsigned> calls;
};

} // namespace Simulator
