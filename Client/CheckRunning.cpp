#include "CheckRunning.h"

#include "RunningDaemons.h"

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;

constexpr const char* Subject = "running daemon";

} // namespace

Findings CheckRunning()
{
    static const std::string harm = ": start no second one, which would reset the co-processor under the first, and "
                                    "remove its queues when it ends";
    const RunningDaemons daemons = FindDaemons();
    Findings findings;
    for (const auto& process : daemons.certain)
    {
        findings.push_back({Level::Warning, Subject,
                            "is process " + process.id + " (" + process.name + "), which has " +
                                (process.hasQueues ? "the queues and " : "") + SerialLine + " open" + harm});
    }
    if (!findings.empty())
    {
        return findings; // beside a certain one, the others are those of other boards
    }
    for (const auto& process : daemons.possible)
    {
        findings.push_back(
            {Level::Warning, Subject,
             "may be process " + process.id + " (" + process.name + "), which this user may not look into" + harm});
    }
    if (!findings.empty())
    {
        return findings;
    }
    if (daemons.othersAreHidden)
    {
        return {{Level::Ok, Subject, "none is seen, but not every process is: run this as root"}};
    }
    if (daemons.unseen > 0)
    {
        return {{Level::Ok, Subject,
                 "none is seen, but " + std::to_string(daemons.unseen) +
                     " processes may not be looked into by this user: run this as root"}};
    }
    return {{Level::Ok, Subject, "there is none"}};
}

} // namespace OrvelClient
