#include "FuseSession.h"

#include "System/Descriptor.h"
#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace Simulator
{

namespace
{

constexpr const char* DevicePath = "/dev/fuse";

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what);
}

System::Descriptor OpenDevice()
{
    // Non-blocking, because a request can be withdrawn between poll and read.
    System::Descriptor device(open(DevicePath, O_RDWR | O_CLOEXEC | O_NONBLOCK));
    if (device.IsOpen())
    {
        return device;
    }
    const std::string path = DevicePath;
    switch (const int error = errno; error)
    {
    case ENOENT:
    case ENODEV:
    case ENXIO:
        Fail(path + " is absent: load the kernel's module \"fuse\" and let this system see the device");
    case EACCES:
    case EPERM:
        Fail(path + " is not readable and writable for you: ask for access to it, or run as root");
    default:
        System::ThrowErrno("cannot open " + path, error);
    }
}

} // namespace

FuseSession::FuseSession(const std::filesystem::path& mountPoint, const fuse_lowlevel_ops& operations, void* context)
    : mountedAt(std::filesystem::absolute(mountPoint).string())
{
    System::Descriptor device = OpenDevice();
    std::string programName = "orvel-board";
    char* arguments[] = {programName.data(), nullptr};
    fuse_args args{1, arguments, 0};
    session.reset(fuse_session_new(&args, &operations, sizeof(operations), context));
    fuse_opt_free_args(&args); // the session took a copy and may have added to this one
    // In this form, the session only takes over the descriptor. The mount is made here, without a helper program.
    const std::string descriptor = "/dev/fd/" + std::to_string(device.Number());
    if (session == nullptr || fuse_session_mount(session.get(), descriptor.c_str()) != 0)
    {
        Fail("cannot set up the file system's connection to the kernel");
    }
    Mount(mountedAt, device.Release());
}

void FuseSession::Mount(const std::string& mountPoint, int device)
{
    const std::string options = "fd=" + std::to_string(device) +
                                ",rootmode=40000,user_id=" + std::to_string(geteuid()) +
                                ",group_id=" + std::to_string(getegid()) + ",default_permissions,allow_other";
    if (mount("orvel-board", mountPoint.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) == -1)
    {
        const int error = errno;
        const char* const hint = error == EPERM ? " (needs root, or root of a user namespace of its own)" : "";
        Fail("cannot mount a file system at " + mountPoint + ": " + strerror(error) + hint);
    }
}

FuseSession::~FuseSession()
{
    // Unmounts by force, so that nobody keeps waiting for an answer. Older kernels allow this only to the system's
    // root; there the same happens when the last copy of the descriptor closes.
    if (umount2(mountedAt.c_str(), MNT_FORCE | MNT_DETACH) == -1)
    {
        umount2(mountedAt.c_str(), MNT_DETACH);
    }
    free(buffer.mem); // NOLINT(cppcoreguidelines-no-malloc): libfuse allocated it for its own loop to free
}

int FuseSession::Descriptor() const
{
    return fuse_session_fd(session.get());
}

bool FuseSession::HandleRequest()
{
    const int received = fuse_session_receive_buf(session.get(), &buffer);
    if (received > 0)
    {
        fuse_session_process_buf(session.get(), &buffer);
    }
    const bool nothingYet = received == -EINTR || received == -EAGAIN;
    return (received > 0 || nothingYet) && fuse_session_exited(session.get()) == 0;
}

} // namespace Simulator
