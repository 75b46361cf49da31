#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace Simulator
{

/// The system calls that can fail on demand. "Direction" and "Value" are those of every pin.
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

    /// The error with which the call fails, without any other effect; 0 for none. A poll reports POLLERR for any error.
    /// It must not be ENOSYS, which the kernel takes as "never ask again".
    int error = 0;

    /// UledsWrite: the number of bytes that the call reports as taken; the LED is registered all the same. UledsRead:
    /// the number of bytes that the call gives of the report, which has then been read; with 0 the report stays.
    std::optional<std::size_t> count;

    /// UledsPoll: reported too, or instead of what is true. POLLNVAL does not arrive, because poll has it only for
    /// closed descriptors and accepts it from no file.
    short events = 0;
    bool onlyTheseEvents = false;

    /// The time from the call until it has an effect.
    std::chrono::milliseconds delay{0};

    /// The calls to which it happens: so many, from the n-th one after it was set.
    unsigned firstCall = 1;
    unsigned calls = Always;

    /// UledsWrite, UledsRead, UledsPoll: happens only to calls for the LED of this name, and counts only these. For a
    /// write it is the name in the record. Empty: any LED.
    std::string led;
};

/// The faults that a test has set, at most one for each operation. Any thread may call.
class FaultPlan
{
public:
    /// `changed` is called on the thread that sets or clears a fault, once that holds.
    explicit FaultPlan(std::function<void()> changed = {});

    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Replaces the operation's fault. It does not affect a call that waits already, but a process that waits in a poll
    /// asks again. The kernel asks for poll as often as it likes: better count something else.
    void Set(Operation operation, const Fault& fault);
    void Fail(Operation operation, int error, unsigned firstCall = 1, unsigned callCount = Fault::Always);
    void Clear(Operation operation);
    void ClearAll();

    /// The number of calls of an operation so far, for any LED, including those that failed.
    unsigned Calls(Operation operation) const;

    /// Counts a call and returns what happens to it: a fault without any effect if none is set.
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
