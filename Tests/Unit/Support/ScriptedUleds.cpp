#include "ScriptedUleds.h"

#include "Allocations.h"
#include "Await.h"
#include "Kernel.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <string>

namespace UnitTests
{

ScriptedUleds::ScriptedUleds()
{
    Kernel::Open.Replace(
        [this](const char* path, int flags, mode_t mode)
        { return path == std::string("/dev/uleds") ? Open(flags) : Kernel::Open.Real(path, flags, mode); });
}

ScriptedUleds::~ScriptedUleds()
{
    Kernel::Open.Restore();
    for (const Handle& handle : handles)
    {
        Kernel::Close.Real(handle.testEnd);
        Kernel::Close.Real(handle.componentEnd); // the component leaves them open; where it did not, this fails
    }
}

void ScriptedUleds::FailAt(std::size_t handle, int error)
{
    const std::lock_guard<std::mutex> lock(mutex);
    failingHandle = handle;
    openError = error;
}

std::size_t ScriptedUleds::Opened() const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return handles.size();
}

int ScriptedUleds::Descriptor(std::size_t handle) const
{
    return At(handle).componentEnd;
}

int ScriptedUleds::Flags(std::size_t handle) const
{
    return At(handle).flags;
}

Bytes ScriptedUleds::AwaitRecord(std::size_t handle)
{
    {
        std::unique_lock<std::mutex> lock(mutex);
        if (!opened.wait_for(lock, AwaitLimit, [&] { return handles.size() > handle; }))
        {
            return {};
        }
    }
    constexpr auto Limit = std::chrono::duration_cast<std::chrono::milliseconds>(AwaitLimit);
    pollfd entry{At(handle).testEnd, POLLIN, 0};
    if (Kernel::Poll.Real(&entry, 1, static_cast<int>(Limit.count())) != 1)
    {
        return {};
    }
    std::array<uint8_t, 128> buffer{};
    const ssize_t length = Kernel::Read.Real(entry.fd, buffer.data(), buffer.size());
    return length > 0 ? Bytes(buffer.begin(), buffer.begin() + length) : Bytes{};
}

void ScriptedUleds::Report(std::size_t handle, int32_t brightness)
{
    Bytes bytes(sizeof(brightness));
    std::memcpy(bytes.data(), &brightness, sizeof(brightness));
    ReportBytes(handle, bytes);
}

void ScriptedUleds::ReportBytes(std::size_t handle, const Bytes& bytes)
{
    static_cast<void>(send(At(handle).testEnd, bytes.data(), bytes.size(), 0));
}

int ScriptedUleds::Open(int flags)
{
    const Uncounted own;
    const std::lock_guard<std::mutex> lock(mutex);
    if (handles.size() == failingHandle)
    {
        errno = openError;
        return -1;
    }
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends.data()) == -1)
    {
        return -1;
    }
    fcntl(ends[0], F_SETFL, flags & O_NONBLOCK);
    handles.push_back({ends[0], ends[1], flags});
    opened.notify_all();
    return ends[0];
}

ScriptedUleds::Handle ScriptedUleds::At(std::size_t handle) const
{
    const std::lock_guard<std::mutex> lock(mutex);
    return handles.at(handle);
}

} // namespace UnitTests
