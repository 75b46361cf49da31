#pragma once

namespace Simulator
{

/// Wakes a thread that waits in poll.
class WakeUp
{
public:
    WakeUp();
    ~WakeUp();

    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    /// For poll: readable once signalled. -1 when the system had no descriptor to give.
    int Descriptor() const
    {
        return descriptor;
    }

    /// Any thread; does not block.
    void Signal();

    /// Takes back all signals given so far. The waiting thread.
    void Clear();

private:
    int descriptor;
};

} // namespace Simulator
