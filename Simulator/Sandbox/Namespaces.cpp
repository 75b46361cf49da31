#include "Namespaces.h"

#include "System/Descriptor.h"
#include "System/ThrowErrno.h"

#include "Overlay.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

namespace Simulator
{

namespace
{

using System::Descriptor;
using System::ThrowErrno;

// Writes the file in one piece, as the kernel demands. Returns errno, or 0.
int WriteFile(const std::string& path, const std::string& text)
{
    const Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    return file.IsOpen() && write(file.Number(), text.data(), text.size()) != -1 ? 0 : errno;
}

// Maps the numbers that this process knows, each to itself.
std::string IdentityMap(const std::string& path)
{
    std::ifstream known(path);
    std::ostringstream map;
    unsigned long inside = 0;
    unsigned long outside = 0;
    unsigned long count = 0;
    while (known >> inside >> outside >> count)
    {
        map << inside << ' ' << inside << ' ' << count << '\n';
    }
    return map.str();
}

// Runs outside the new namespace, where root may map more than itself.
int MapUsers(pid_t pid)
{
    const std::string process = "/proc/" + std::to_string(pid);
    const bool root = geteuid() == 0;
    if (!root)
    {
        WriteFile(process + "/setgroups", "deny"); // without this an ordinary user may map no group
    }
    const int error = WriteFile(process + "/uid_map",
                                root ? IdentityMap("/proc/self/uid_map") : "0 " + std::to_string(geteuid()) + " 1");
    if (error != 0)
    {
        return error;
    }
    return WriteFile(process + "/gid_map",
                     root ? IdentityMap("/proc/self/gid_map") : "0 " + std::to_string(getegid()) + " 1");
}

// Unshares with a user namespace. A child that stays outside writes the maps. Returns errno, or 0. Throws
// std::system_error if the system has no pipe to give.
int UnshareWithUser()
{
    System::Pipe unshared;
    const pid_t self = getpid();
    const pid_t helper = fork();
    if (helper == -1)
    {
        return errno;
    }
    if (helper == 0)
    {
        unshared.writing.Close();
        char go = 0;
        _exit(read(unshared.reading.Number(), &go, 1) == 1 ? MapUsers(self) : 0);
    }
    unshared.reading.Close();
    int error = unshare(CLONE_NEWUSER | CLONE_NEWNS | CLONE_NEWIPC) == -1 ? errno : 0;
    if (error == 0 && write(unshared.writing.Number(), "u", 1) == -1)
    {
        error = errno;
    }
    unshared.writing.Close();
    int status = 0;
    waitpid(helper, &status, 0);
    return error != 0 ? error : WEXITSTATUS(status);
}

// Identifies a directory.
std::pair<ino_t, dev_t> WorkingDirectory()
{
    struct stat status = {};
    return stat(".", &status) == 0 ? std::pair(status.st_ino, status.st_dev) : std::pair<ino_t, dev_t>();
}

// Makes the mount private that contains a chroot's directory. That mount has no path inside the chroot: with the root
// directory elsewhere, ".." leads up to it.
bool MakePrivateAroundRoot(unsigned long flags)
{
    const Descriptor root(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
    bool done = root.IsOpen() && chdir("/") == 0 && chroot("/proc") == 0;
    for (auto last = std::pair<ino_t, dev_t>(); done && WorkingDirectory() != last;)
    {
        last = WorkingDirectory();
        done = chdir("..") == 0;
    }
    done = done && mount(nullptr, ".", nullptr, flags, nullptr) == 0;
    return root.IsOpen() && fchdir(root.Number()) == 0 && chroot(".") == 0 && done;
}

// Hides what is mounted from now on from every other namespace.
void MakeMountsPrivate()
{
    constexpr unsigned long Private = MS_REC | MS_PRIVATE;
    if (mount(nullptr, "/", nullptr, Private, nullptr) == 0)
    {
        return;
    }
    const int error = errno;
    std::error_code ignored;
    const auto workingDirectory = std::filesystem::current_path(ignored);
    if (error != EINVAL || !MakePrivateAroundRoot(Private))
    {
        ThrowErrno("cannot make the mounts private", error);
    }
    std::filesystem::current_path(workingDirectory, ignored);
}

void Mount(const char* type, const std::filesystem::path& target, unsigned long flags, const char* options)
{
    std::error_code ignored;
    std::filesystem::create_directory(target, ignored);
    if (mount(type, target.c_str(), type, flags, options) == -1)
    {
        ThrowErrno("cannot mount " + target.string());
    }
}

// A "/dev" for everything that runs in the namespaces, even after the board has been taken down. It has the queues of
// this IPC namespace, and pseudo-terminals. From a covered directory, the system's "ptmx" would not find its terminals.
void MakeDeviceDirectory()
{
    CoverDirectory("/dev");
    Mount("mqueue", "/dev/mqueue", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
    Mount("devpts", "/dev/pts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=666");
    BindMount("/dev/pts/ptmx", "/dev/ptmx");
}

// A gateway of the system serves programs in "/run/orvel". In the namespaces nobody is to find it, and another one has room.
void MakeGatewayDirectory()
{
    std::error_code ignored;
    if (std::filesystem::exists("/run", ignored)) // or there is no gateway
    {
        CoverDirectory("/run");
        Mount("tmpfs", "/run/orvel", MS_NOSUID | MS_NODEV | MS_NOEXEC, "mode=755");
    }
}

} // namespace

void EnterNamespaces()
{
    if (const int error = UnshareWithUser(); error != 0)
    {
        if (geteuid() != 0)
        {
            // The error's own text is left out: for a limit of 0 it would speak of a full device.
            throw std::runtime_error(
                "this system gives an ordinary user no user namespace (see the sysctl user.max_user_namespaces and the "
                "rules of its security module); run as root instead");
        }
        if (unshare(CLONE_NEWNS | CLONE_NEWIPC) == -1)
        {
            ThrowErrno("cannot create mount and IPC namespaces (root needs CAP_SYS_ADMIN)");
        }
    }
    MakeMountsPrivate();
    MakeDeviceDirectory();
    MakeGatewayDirectory();
    SetMessageLimit(ORVEL_MESSAGE_LIMIT);
}

void JoinNamespaces(pid_t pid)
{
    const std::string directory = "/proc/" + std::to_string(pid) + "/ns/";
    constexpr std::array<const char*, 3> Kinds{"user", "ipc", "mnt"};
    std::array<Descriptor, Kinds.size()> namespaces;
    for (std::size_t index = 0; index < Kinds.size(); ++index)
    {
        namespaces[index] = Descriptor(open((directory + Kinds[index]).c_str(), O_RDONLY | O_CLOEXEC));
        if (!namespaces[index].IsOpen())
        {
            ThrowErrno("cannot open the namespaces of process " + std::to_string(pid));
        }
    }
    const Descriptor root(open(("/proc/" + std::to_string(pid) + "/root").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    std::error_code ignored;
    const auto workingDirectory = std::filesystem::current_path(ignored);
    for (std::size_t index = 0; index < Kinds.size(); ++index)
    {
        // Joining one's own user namespace is an error that does not matter.
        if (setns(namespaces[index].Number(), 0) == -1 && !(index == 0 && errno == EINVAL))
        {
            ThrowErrno("cannot join the namespaces of process " + std::to_string(pid));
        }
    }
    // Joining a mount namespace leads to its top, which is not the root directory of a process in a chroot.
    if (!root.IsOpen() || fchdir(root.Number()) == -1 || chroot(".") == -1)
    {
        ThrowErrno("cannot enter the root directory of process " + std::to_string(pid));
    }
    std::filesystem::current_path(workingDirectory, ignored);
}

void SetMessageLimit(int messages)
{
    if (const int error = WriteFile("/proc/sys/fs/mqueue/msg_max", std::to_string(messages)); error != 0)
    {
        ThrowErrno("cannot set fs.mqueue.msg_max (needs /proc, and as an ordinary user a kernel of 5.19 or later)",
                   error);
    }
}

} // namespace Simulator
