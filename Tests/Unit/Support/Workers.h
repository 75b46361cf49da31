#pragma once

#include <functional>

namespace UnitTests
{

/// While it exists, threads that are started do not begin their work. A component can so be looked at before its worker
/// has done anything. Its end lets them all go.
class HeldWorkers
{
public:
    HeldWorkers();
    ~HeldWorkers();

    HeldWorkers(const HeldWorkers&) = delete;
    HeldWorkers& operator=(const HeldWorkers&) = delete;
};

/// While it exists, `pause` runs in the starting thread right after it has started another one. A worker can so be
/// given time before its component's constructor goes on.
class PauseAfterThreadStart
{
public:
    explicit PauseAfterThreadStart(std::function<void()> pause);
    ~PauseAfterThreadStart();

    PauseAfterThreadStart(const PauseAfterThreadStart&) = delete;
    PauseAfterThreadStart& operator=(const PauseAfterThreadStart&) = delete;
};

} // namespace UnitTests
