#pragma once

#include <functional>

namespace UnitTests
{

/// While it exists, new threads do not begin their work, so that a test can look at a component before its worker has
/// done anything. Its end lets them all go.
class HeldWorkers
{
public:
    HeldWorkers();
    ~HeldWorkers();

    HeldWorkers(const HeldWorkers&) = delete;
    HeldWorkers& operator=(const HeldWorkers&) = delete;
};

/// While it exists, `pause` runs in the starting thread right after that has started another one. This gives a worker
/// time before its component's constructor goes on.
class PauseAfterThreadStart
{
public:
    explicit PauseAfterThreadStart(std::function<void()> pause);
    ~PauseAfterThreadStart();

    PauseAfterThreadStart(const PauseAfterThreadStart&) = delete;
    PauseAfterThreadStart& operator=(const PauseAfterThreadStart&) = delete;
};

} // namespace UnitTests
