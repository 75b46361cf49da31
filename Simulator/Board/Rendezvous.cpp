#include "Rendezvous.h"

#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <stdexcept>

namespace Simulator
{

namespace
{

bool IsOwnDirectory(const std::filesystem::path& path, mode_t forbidden)
{
    struct stat status = {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & forbidden) == 0;
}

// As the system knows this user, who has another number on a board.
unsigned long OuterUser()
{
    const unsigned long user = geteuid();
    std::ifstream map("/proc/self/uid_map");
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    while (map >> inside >> outside >> count)
    {
        if (user >= inside && user - inside < count)
        {
            return outside + (user - inside);
        }
    }
    return user;
}

std::filesystem::path DirectoryPath()
{
    const std::string user = std::to_string(OuterUser());
    const char* const given = std::getenv("XDG_RUNTIME_DIR");
    for (const std::filesystem::path& parent :
         {std::filesystem::path(given != nullptr ? given : ""), std::filesystem::path("/run/user") / user})
    {
        if (parent.is_absolute() && IsOwnDirectory(parent, S_IWGRP | S_IWOTH))
        {
            return parent / "orvel-board";
        }
    }
    return "/tmp/orvel-board-" + user;
}

// Nothing where it is missing. Throws when another user was there first.
std::optional<std::filesystem::path> Directory()
{
    std::filesystem::path directory = DirectoryPath();
    if (!IsOwnDirectory(directory, S_IRWXG | S_IRWXO))
    {
        struct stat status = {};
        if (lstat(directory.c_str(), &status) == -1 && errno == ENOENT)
        {
            return std::nullopt;
        }
        throw std::runtime_error(directory.string() +
                                 " is not a directory of this user alone; set XDG_RUNTIME_DIR to one that is");
    }
    return directory;
}

// The same, made where it is missing.
std::filesystem::path MakeDirectory()
{
    const std::filesystem::path directory = DirectoryPath();
    if (mkdir(directory.c_str(), S_IRWXU) == -1 && errno != EEXIST)
    {
        System::ThrowErrno("cannot make " + directory.string());
    }
    return Directory().value_or(directory);
}

// Whether the directory still has the file that is open.
bool IsThere(int descriptor, const std::filesystem::path& file)
{
    struct stat opened = {};
    struct stat there = {};
    return fstat(descriptor, &opened) == 0 && lstat(file.c_str(), &there) == 0 && opened.st_ino == there.st_ino;
}

// A record lock: the kernel tells which process holds it, and frees it with that process. Closing any descriptor of the file
// would free it too, so the process that holds it opens the file once.
struct flock WholeFile()
{
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

// Nothing when no board runs that has told its daemon.
std::optional<Rendezvous::Running> Read(const std::filesystem::path& file)
{
    const System::Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    if (!descriptor.IsOpen())
    {
        return std::nullopt;
    }
    struct flock holder = WholeFile();
    const bool locked = fcntl(descriptor.Number(), F_GETLK, &holder) == 0 && holder.l_type != F_UNLCK;
    std::array<char, 32> text{};
    const bool announced = read(descriptor.Number(), text.data(), text.size() - 1) > 0;
    if (!locked || !announced)
    {
        return std::nullopt;
    }
    return Rendezvous::Running{file.filename(), holder.l_pid,
                               static_cast<pid_t>(std::strtol(text.data(), nullptr, 10))};
}

} // namespace

Rendezvous::Rendezvous(const std::string& boardName)
{
    // A board that ends removes its file, and the directory after the last: then they are made anew.
    while (!descriptor.IsOpen())
    {
        file = MakeDirectory() / boardName;
        descriptor =
            System::Descriptor(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
        if (!descriptor.IsOpen() && errno != ENOENT)
        {
            System::ThrowErrno("cannot make " + file.string());
        }
        struct flock lock = WholeFile();
        if (descriptor.IsOpen() && fcntl(descriptor.Number(), F_SETLK, &lock) == -1)
        {
            if (errno != EAGAIN && errno != EACCES)
            {
                System::ThrowErrno("cannot lock " + file.string());
            }
            throw std::runtime_error("a board named '" + boardName +
                                     "' is running already; give this one another --name");
        }
        if (descriptor.IsOpen() && !IsThere(descriptor.Number(), file))
        {
            descriptor.Close();
        }
    }
    static_cast<void>(ftruncate(descriptor.Number(), 0) == -1); // a killed board has left its daemon there
}

Rendezvous::~Rendezvous()
{
    unlink(file.c_str());
    rmdir(file.parent_path().c_str()); // fails while there are others
}

void Rendezvous::Announce(pid_t daemon) const
{
    std::array<char, 32> text{};
    // As long for every number: it replaces the last one in one write.
    const int size = std::snprintf(text.data(), text.size(), "%-10d\n", daemon);
    static_cast<void>(pwrite(descriptor.Number(), text.data(), static_cast<std::size_t>(size), 0) == -1);
}

pid_t Rendezvous::Find(const std::string& boardName)
{
    const auto directory = Directory();
    const auto found = directory ? Read(*directory / boardName) : std::nullopt;
    if (!found)
    {
        throw std::runtime_error("no board named '" + boardName + "' is running");
    }
    return found->board;
}

std::vector<Rendezvous::Running> Rendezvous::List()
{
    std::vector<Running> boards;
    const auto directory = Directory();
    if (!directory)
    {
        return boards;
    }
    std::error_code gone;
    for (std::filesystem::directory_iterator entry(*directory, gone), end; !gone && entry != end; entry.increment(gone))
    {
        if (auto found = Read(entry->path()))
        {
            boards.push_back(std::move(*found));
        }
    }
    std::sort(boards.begin(), boards.end(),
              [](const Running& left, const Running& right) { return left.name < right.name; });
    return boards;
}

} // namespace Simulator
