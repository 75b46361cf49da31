#pragma once

#include "Bytes.h"

#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

namespace UnitTests
{

/// Stands for "/dev/uleds" while it exists. Each handle is one end of a socket pair, which can be polled, read and
/// written like the device; the test has the other end. Handles are counted from 0 in the order of their opening.
class ScriptedUleds
{
public:
    ScriptedUleds();
    ~ScriptedUleds();

    ScriptedUleds(const ScriptedUleds&) = delete;
    ScriptedUleds& operator=(const ScriptedUleds&) = delete;

    /// Opening this handle fails with `error`.
    void FailAt(std::size_t handle, int error);

    std::size_t Opened() const;

    /// The component's descriptor and the flags with which it opened it.
    int Descriptor(std::size_t handle) const;
    int Flags(std::size_t handle) const;

    /// The next thing that the component writes into this handle; empty if it writes nothing.
    Bytes AwaitRecord(std::size_t handle);

    /// Makes a read of this handle return `brightness`, or `bytes` as they are.
    void Report(std::size_t handle, int32_t brightness);
    void ReportBytes(std::size_t handle, const Bytes& bytes);

private:
    struct Handle
    {
        int componentEnd;
        int testEnd;
        int flags;
    };

    int Open(int flags);
    Handle At(std::size_t handle) const;

    mutable std::mutex mutex;
    std::condition_variable opened;
    std::vector<Handle> handles;
    std::optional<std::size_t> failingHandle;
    int openError = 0;
};

} // namespace UnitTests
