#include "RunningDaemons.h"

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

constexpr const char* DaemonName = "orvel";  // of its process
const dev_t PseudoTerminals = makedev(5, 2); // /dev/ptmx

using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<struct stat> FileStatus(const std::string& path)
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
    if (const auto line = FileStatus(SerialLine); line && S_ISCHR(line->st_mode))
    {
        traces.serialLine.emplace(line->st_dev, line->st_ino);
    }
    for (const char* const name : {ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_TO_LL_QUEUE})
    {
        if (const auto queue = FileStatus(std::string("/dev/mqueue") + name)) // asks for no right to the queue itself
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
        const auto open = !unread && MayBeTrace(target) ? FileStatus(entry->path()) : std::nullopt;
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

RunningDaemons FindDaemons()
{
    const Traces traces = FindTraces();
    const std::vector<Process> processes = LookAround(traces);
    RunningDaemons daemons;
    for (const Process& process : processes)
    {
        if (process.IsDaemon())
        {
            daemons.certain.push_back({process.id, process.name, process.hasQueues});
        }
        else if (!process.seen && process.name == DaemonName && !traces.queues.empty()) // not one of another board
        {
            daemons.possible.push_back({process.id, process.name, false});
        }
        daemons.unseen += process.seen ? 0 : 1;
    }
    // Without "/proc", or with one that shows a user his own processes only.
    daemons.othersAreHidden = processes.empty() || !FileStatus("/proc/1");
    return daemons;
}

} // namespace OrvelClient
