#pragma once

namespace Simulator
{

/// SIGINT, SIGTERM and SIGHUP as a descriptor. To be made before any thread, because a thread that does not block them would
/// die of them, and all others with it.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();

    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// For poll: readable when there is one, which Take takes.
    int Descriptor() const
    {
        return descriptor;
    }

    void Take() const;

private:
    int descriptor;
};

} // namespace Simulator
