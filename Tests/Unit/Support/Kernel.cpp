#include "Kernel.h"

#include <fcntl.h>

#include <cstdarg>

extern "C"
{
    // The linker knows the real functions by these names.
    int __real_nanosleep(const timespec* request, timespec* remaining);
    mqd_t __real_mq_open(const char* name, int flags, ...);
    int __real_mq_send(mqd_t queue, const char* data, std::size_t length, unsigned int priority);
    ssize_t __real_mq_receive(mqd_t queue, char* buffer, std::size_t size, unsigned int* priority);
    int __real_mq_getattr(mqd_t queue, mq_attr* attributes);
    int __real_mq_close(mqd_t queue);
    int __real_mq_unlink(const char* name);
    int __real_poll(pollfd* set, nfds_t count, int timeout);
    int __real_open(const char* path, int flags, ...);
    ssize_t __real_read(int fd, void* buffer, std::size_t size);
    ssize_t __real_write(int fd, const void* data, std::size_t length);
    int __real_close(int fd);
}

namespace UnitTests::Kernel
{

namespace
{

mqd_t RealMqOpen(const char* name, int flags, mode_t mode, mq_attr* attributes)
{
    return __real_mq_open(name, flags, mode, attributes);
}

int RealOpen(const char* path, int flags, mode_t mode)
{
    return __real_open(path, flags, mode);
}

} // namespace

Interception<int(const timespec*, timespec*)> Nanosleep(&__real_nanosleep);
Interception<mqd_t(const char*, int, mode_t, mq_attr*)> MqOpen(&RealMqOpen);
Interception<int(mqd_t, const char*, std::size_t, unsigned int)> MqSend(&__real_mq_send);
Interception<ssize_t(mqd_t, char*, std::size_t, unsigned int*)> MqReceive(&__real_mq_receive);
Interception<int(mqd_t, mq_attr*)> MqGetattr(&__real_mq_getattr);
Interception<int(mqd_t)> MqClose(&__real_mq_close);
Interception<int(const char*)> MqUnlink(&__real_mq_unlink);
Interception<int(pollfd*, nfds_t, int)> Poll(&__real_poll);
Interception<int(const char*, int, mode_t)> Open(&RealOpen);
Interception<ssize_t(int, void*, std::size_t)> Read(&__real_read);
Interception<ssize_t(int, const void*, std::size_t)> Write(&__real_write);
Interception<int(int)> Close(&__real_close);

void Restore()
{
    Nanosleep.Restore();
    MqOpen.Restore();
    MqSend.Restore();
    MqReceive.Restore();
    MqGetattr.Restore();
    MqClose.Restore();
    MqUnlink.Restore();
    Poll.Restore();
    Open.Restore();
    Read.Restore();
    Write.Restore();
    Close.Restore();
}

} // namespace UnitTests::Kernel

using namespace UnitTests;

extern "C"
{
    int __wrap_nanosleep(const timespec* request, timespec* remaining)
    {
        return Kernel::Nanosleep.Call(request, remaining);
    }

    mqd_t __wrap_mq_open(const char* name, int flags, ...)
    {
        mode_t mode = 0;
        mq_attr* attributes = nullptr;
        if ((flags & O_CREAT) != 0)
        {
            va_list arguments;
            va_start(arguments, flags);
            mode = va_arg(arguments, mode_t);
            attributes = va_arg(arguments, mq_attr*);
            va_end(arguments);
        }
        return Kernel::MqOpen.Call(name, flags, mode, attributes);
    }

    int __wrap_mq_send(mqd_t queue, const char* data, std::size_t length, unsigned int priority)
    {
        return Kernel::MqSend.Call(queue, data, length, priority);
    }

    ssize_t __wrap_mq_receive(mqd_t queue, char* buffer, std::size_t size, unsigned int* priority)
    {
        return Kernel::MqReceive.Call(queue, buffer, size, priority);
    }

    int __wrap_mq_getattr(mqd_t queue, mq_attr* attributes)
    {
        return Kernel::MqGetattr.Call(queue, attributes);
    }

    int __wrap_mq_close(mqd_t queue)
    {
        return Kernel::MqClose.Call(queue);
    }

    int __wrap_mq_unlink(const char* name)
    {
        return Kernel::MqUnlink.Call(name);
    }

    int __wrap_poll(pollfd* set, nfds_t count, int timeout)
    {
        return Kernel::Poll.Call(set, count, timeout);
    }

    // What a hardened build calls instead of poll; the last argument is the size of the set in bytes.
    int __wrap___poll_chk(pollfd* set, nfds_t count, int timeout, std::size_t /*size*/)
    {
        return Kernel::Poll.Call(set, count, timeout);
    }

    int __wrap_open(const char* path, int flags, ...)
    {
        mode_t mode = 0;
        if ((flags & O_CREAT) != 0)
        {
            va_list arguments;
            va_start(arguments, flags);
            mode = va_arg(arguments, mode_t);
            va_end(arguments);
        }
        return Kernel::Open.Call(path, flags, mode);
    }

    ssize_t __wrap_read(int fd, void* buffer, std::size_t size)
    {
        return Kernel::Read.Call(fd, buffer, size);
    }

    ssize_t __wrap_write(int fd, const void* data, std::size_t length)
    {
        return Kernel::Write.Call(fd, data, length);
    }

    int __wrap_close(int fd)
    {
        return Kernel::Close.Call(fd);
    }
}
