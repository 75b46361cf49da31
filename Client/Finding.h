#pragma once

#include <string>
#include <vector>

namespace OrvelClient
{

/// Something that the daemon or its applications need, as found on this machine.
struct Finding
{
    enum class Level
    {
        Ok,
        Warning, ///< not all works, or not for long; `check`: the daemon starts nevertheless
        Failure  ///< `check`: the daemon does not start; `status`: it does not do its work
    };

    Level level;
    std::string subject;
    std::string text;
};

using Findings = std::vector<Finding>;

/// "ok    /dev/uleds             can be opened", with a newline.
std::string LineOf(const Finding& finding);

} // namespace OrvelClient
