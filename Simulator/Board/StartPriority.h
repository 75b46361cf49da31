#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

namespace Simulator
{

/// Lets daemons start at real-time priority: the main thread is then not taken off its processor while it starts its workers,
/// which are ordinary threads, and its LEDs come also on a busy machine.
///
/// In a user namespace nobody may set it, not even root. A process that stays outside therefore does it.
class StartPriority
{
public:
    /// To be made before the calling process enters its namespaces, while it has one thread. Throws std::runtime_error.
    StartPriority();
    ~StartPriority();

    StartPriority(const StartPriority&) = delete;
    StartPriority& operator=(const StartPriority&) = delete;

    /// SCHED_FIFO, priority 1, which is not inherited, for `process`. Returns an error number, 0 for success: EPERM where
    /// this user may not (neither CAP_SYS_NICE nor RLIMIT_RTPRIO).
    int Raise(pid_t process) const;

private:
    System::Descriptor socket;
    pid_t outside = -1;
};

} // namespace Simulator
