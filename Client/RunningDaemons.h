#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace OrvelClient
{

/// Where the co-processor is.
constexpr const char* SerialLine = "/dev/ttymxc2";

/// The daemons that run on this machine, as far as this user may look into its processes.
struct RunningDaemons
{
    struct Process
    {
        std::string id;
        std::string name;
        bool hasQueues; ///< open
    };

    std::vector<Process> certain;  ///< have the serial line open
    std::vector<Process> possible; ///< have the daemon's name, and may not be looked into
    std::size_t unseen = 0;        ///< processes that may not be looked into
    bool othersAreHidden = false;  ///< the processes of other users are not even listed
};

RunningDaemons FindDaemons();

} // namespace OrvelClient
