#include "CheckRunning.h"

#include "Orvel/Protocol.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <optional>
#include <utility>
#include <vector>

namespace OrvelClient
{

namespace
{

using Level = Finding::Level;

constexpr const char* Subject = "running daemon";
constexpr const char* SerialLine = "/dev/ttymxc2";
constexpr const char* DaemonName = "orvel";  // of its process
const dev_t PseudoTerminals = makedev(5, 2); // /dev/ptmx

using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<struct stat> Status(const std::string& path)
{
    struct stat status
    {
    };
    return stat(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

// The files that a running daemon has open.
struct Traces
{
    std::optional<FileIdentity> serialLine; // not its number, which a pseudo-terminal of another mount can have too
    std::vector<FileIdentity> queues;
};

Traces FindTraces()
{
    Traces traces;
    if (const auto line = Status(SerialLine); line && S_ISCHR(line->st_mode))
    {
        traces.serialLine.emplace(line->st_dev, line->st_ino);
    }
    for (const char* const name : {ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_TO_LL_QUEUE})
    {
        if (const auto queue = Status(std::string("/dev/mqueue") + name)) // asks for no right to the queue itself
        {
            traces.queues.emplace_back(queue->st_dev, queue->st_ino);
        }
    }
    return traces;
}

struct Process
{
    std::string id;
    std::string name;
    bool seen = false; // what it has open
    bool hasSerialLine = false;
    bool hasQueues = false;
    bool isBoard = false; // a simulated one: it has both ends of the line

    bool IsDaemon() const // applications have queues, other programs may have the line
    {
        return hasSerialLine && !isBoard && (hasQueues || name == DaemonName);
    }
};

// Looks at devices and queues only: any other file may be on a network that does not answer. A queue's link has its
// name in place of a path.
bool MayBeTrace(const std::string& target)
{
    return target.compare(0, 5, "/dev/") == 0 || target.rfind('/') == 0;
}

Process LookInto(const std::filesystem::path& directory, const Traces& traces)
{
    Process process;
    process.id = directory.filename();
    std::ifstream(directory / "comm") >> process.name;
    bool isBlocked = false;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(directory / "fd", error), end; !error && entry != end;
         entry.increment(error))
    {
        std::error_code unread;
        const auto target = std::filesystem::read_symlink(entry->path(), unread);
        isBlocked =
            isBlocked || unread == std::errc::permission_denied; // the list of a process of the same user is not
        const auto open = !unread && MayBeTrace(target) ? Status(entry->path()) : std::nullopt;
        if (!open)
        {
            continue;
        }
        const FileIdentity identity(open->st_dev, open->st_ino);
        const bool isDevice = S_ISCHR(open->st_mode);
        process.hasSerialLine = process.hasSerialLine || identity == traces.serialLine;
        process.isBoard = process.isBoard || (isDevice && open->st_rdev == PseudoTerminals);
        process.hasQueues =
            process.hasQueues || std::find(traces.queues.begin(), traces.queues.end(), identity) != traces.queues.end();
    }
    const bool hasEnded = error == std::errc::no_such_file_or_directory; // and has nothing open
    process.seen = (!error || hasEnded) && !isBlocked;
    return process;
}

bool IsNumber(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char character) { return std::isdigit(character) != 0; });
}

std::vector<Process> LookAround(const Traces& traces)
{
    std::vector<Process> processes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error))
    {
        if (IsNumber(entry->path().filename()))
        {
            processes.push_back(LookInto(entry->path(), traces));
        }
    }
    return processes;
}

} // namespace

Findings CheckRunning()
{
    static const std::string harm = ": start no second one, which would reset the co-processor under the first, and "
                                    "remove its queues when it ends";
    const Traces traces = FindTraces();
    const std::vector<Process> processes = LookAround(traces);
    Findings certain;
    Findings possible;
    for (const Process& process : processes)
    {
        if (process.IsDaemon())
        {
            certain.push_back({Level::Warning, Subject,
                               "is process " + process.id + " (" + process.name + "), which has " +
                                   (process.hasQueues ? "the queues and " : "") + SerialLine + " open" + harm});
        }
        else if (!process.seen && process.name == DaemonName && !traces.queues.empty()) // not one of another board
        {
            possible.push_back(
                {Level::Warning, Subject,
                 "may be process " + process.id + " (" + process.name + "), which this user may not look into" + harm});
        }
    }
    if (!certain.empty() || !possible.empty())
    {
        return certain.empty() ? possible : certain; // beside a certain one, the others are those of other boards
    }
    const auto unseen =
        std::count_if(processes.begin(), processes.end(), [](const Process& process) { return !process.seen; });
    if (processes.empty() || !Status("/proc/1")) // no "/proc", or one that shows a user his own processes only
    {
        return {{Level::Ok, Subject, "none is seen, but not every process is: run this as root"}};
    }
    if (unseen > 0)
    {
        return {{Level::Ok, Subject,
                 "none is seen, but " + std::to_string(unseen) +
                     " processes may not be looked into by this user: run this as root"}};
    }
    return {{Level::Ok, Subject, "there is none"}};
}

} // namespace OrvelClient
