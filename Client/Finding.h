#pragma once

#include <string>
#include <vector>

namespace OrvelClient
{

/// Something that the daemon needs, as found on this machine.
struct Finding
{
    enum class Level
    {
        Ok,
        Warning, ///< the daemon starts, but not all will work
        Failure  ///< the daemon does not start
    };

    Level level;
    std::string subject;
    std::string text;
};

using Findings = std::vector<Finding>;

} // namespace OrvelClient
