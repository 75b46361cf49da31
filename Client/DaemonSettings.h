#pragma once

#include <string>
#include <vector>

namespace OrvelClient
{

/// What a daemon makes for applications under names that its command line can change.
struct DaemonSettings
{
    std::vector<std::string> leds;
    std::vector<std::string> buttonQueues;
};

/// The settings that a command line of the daemon leads to; its own name comes first, or nothing does. What the daemon would
/// refuse counts as not given.
DaemonSettings SettingsOf(const std::vector<std::string>& commandLine);

/// The command line of a process; empty if this user may not see it.
std::vector<std::string> CommandLineOf(const std::string& processId);

} // namespace OrvelClient
