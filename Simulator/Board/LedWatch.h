#pragma once

#include <sys/types.h>

namespace Simulator
{

/// Looks whether a daemon that has just started will have LEDs. On a busy machine its LED worker can come before the table of
/// LEDs is filled, serves none then, and says nothing.
class LedWatch
{
public:
    enum class Finding
    {
        NotYet,
        TheyCome,
        TheyDoNot
    };

    explicit LedWatch(pid_t daemonProcess)
        : daemon(daemonProcess)
    {
    }

    /// One look, to be taken every period of the daemon's workers until there is a finding.
    Finding Look();

private:
    pid_t daemon;
    int looksWithout = 0;
};

} // namespace Simulator
