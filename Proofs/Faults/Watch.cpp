#include "Watch.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <linux/futex.h>
#include <linux/seccomp.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

namespace
{

using namespace std::chrono_literals;

constexpr unsigned Endless = 5000; // calls; more of them come from a loop that goes on until the program ends
constexpr auto Rest = 1ms;         // for the machine, in each pass of such a loop
constexpr auto ThreadDelay = 50ms;
constexpr auto Delay = 400ms; // longer than each of the daemon's periods, shorter than what loses the link

// The object of a call, such as a queue or a device.
enum class About
{
    Thread,
    Futex,
    Descriptor,  // its first argument
    Path,        // its first argument
    PathAt,      // its second one, or the first where that is empty
    Queue,       // a name without its slash
    Descriptors, // the first of those that poll waits for
    Time,        // of a sleep
    Socket,      // what its arguments say of the new one
    Watched,     // the descriptor that an epoll instance is told about
    Mapping      // a file, or memory
};

struct Kind
{
    const char* name;
    About about;
};

// The calls that the programs make on this architecture; others are known by their numbers.
const std::map<int, Kind>& Kinds()
{
    static const std::map<int, Kind> Known{
#define CALL(name, about) {SYS_##name, {#name, About::about}},
        // clang-format off
        CALL(brk, Thread) CALL(clock_nanosleep, Time) CALL(clone, Thread) CALL(clone3, Thread) CALL(close, Descriptor)
        CALL(eventfd2, Thread) CALL(execve, Path) CALL(exit, Thread) CALL(exit_group, Thread) CALL(fcntl, Descriptor)
        CALL(fstat, Descriptor) CALL(futex, Futex) CALL(getpid, Thread) CALL(getrandom, Thread) CALL(gettid, Thread)
        CALL(ioctl, Descriptor) CALL(lseek, Descriptor) CALL(madvise, Thread) CALL(mmap, Mapping)
        CALL(mprotect, Thread) CALL(mq_getsetattr, Descriptor) CALL(mq_open, Queue)
        CALL(mq_timedreceive, Descriptor) CALL(mq_timedsend, Descriptor) CALL(mq_unlink, Queue) CALL(munmap, Thread)
        CALL(newfstatat, PathAt) CALL(openat, PathAt) CALL(pread64, Descriptor) CALL(prlimit64, Thread)
        CALL(read, Descriptor) CALL(rseq, Thread) CALL(rt_sigaction, Thread) CALL(rt_sigprocmask, Thread) CALL(rt_sigreturn, Thread)
        CALL(sched_yield, Thread) CALL(set_robust_list, Thread) CALL(set_tid_address, Thread) CALL(tgkill, Thread)
        CALL(write, Descriptor)
        CALL(accept4, Descriptor) CALL(bind, Descriptor) CALL(connect, Descriptor) CALL(epoll_create1, Thread)
        CALL(epoll_ctl, Watched) CALL(fchmod, Descriptor) CALL(flock, Descriptor) CALL(getsockname, Descriptor)
        CALL(getsockopt, Descriptor) CALL(inotify_add_watch, Descriptor) CALL(inotify_init1, Thread)
        CALL(listen, Descriptor) CALL(recvfrom, Descriptor) CALL(recvmsg, Descriptor)
        CALL(sendto, Descriptor) CALL(setsockopt, Descriptor) CALL(signalfd4, Thread) CALL(socket, Socket)
        CALL(timerfd_create, Thread) CALL(timerfd_settime, Thread) CALL(umask, Thread) {SYS_epoll_pwait, {"epoll_wait", About::Descriptor}},
        // Not every architecture has the older form of these.
        {SYS_ppoll, {"poll", About::Descriptors}},
        {SYS_faccessat, {"access", About::PathAt}},
#ifdef SYS_poll
        CALL(access, Path) CALL(arch_prctl, Thread) CALL(chown, Path) CALL(epoll_wait, Descriptor) CALL(poll, Descriptors)
        CALL(rename, Path) CALL(unlink, Path)
#endif
    // clang-format on
#undef CALL
    };
    return Known;
}

// This runs in the other program.
iovec Memory(uint64_t address, std::size_t size)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel tells it as a number
    return {reinterpret_cast<void*>(address), size};
}

bool ReadMemory(pid_t process, uint64_t address, void* data, std::size_t size)
{
    const iovec here{data, size};
    const iovec there = Memory(address, size);
    return process_vm_readv(process, &here, 1, &there, 1, 0) == static_cast<ssize_t>(size);
}

std::string ReadText(pid_t process, uint64_t address)
{
    std::string text;
    for (char character = 0; ReadMemory(process, address + text.size(), &character, 1) && character != '\0';)
    {
        text += character;
    }
    return text;
}

// All files of the system count as the same.
std::string Object(std::string path)
{
    constexpr std::string_view Removed = " (deleted)";
    if (const std::size_t mark = path.rfind(Removed); mark != std::string::npos)
    {
        path.erase(mark);
    }
    const auto isBelow = [&path](const char* directory) { return path.rfind(directory, 0) == 0; };
    for (const char* const nameless : {"eventfd", "eventpoll", "signalfd", "timerfd"})
    {
        if (path == std::string("anon_inode:[") + nameless + "]")
        {
            return nameless;
        }
    }
    if (path == "anon_inode:inotify")
    {
        return "inotify";
    }
    if (isBelow("/proc/") && std::filesystem::path(path).filename() == "comm")
    {
        return "/proc/comm"; // of whatever process
    }
    if (isBelow("/run/orvel"))
    {
        return path;
    }
    const bool isQueue = path.rfind('/') == 0; // the directory of the queues is the root of its own file system
    return isQueue || isBelow("/dev/") || isBelow("/sys/class/") ? path : "/files";
}

int Option(const System::Descriptor& socket, int option)
{
    int value = -1;
    socklen_t size = sizeof(value);
    getsockopt(socket.Number(), SOL_SOCKET, option, &value, &size);
    return value;
}

std::string NewSocketObject(int domain, int type)
{
    constexpr int Kind = 0xF; // without its flags
    return domain == AF_INET                 ? "network"
           : (type & Kind) == SOCK_SEQPACKET ? "socket"
           : (type & Kind) == SOCK_DGRAM     ? "interfaces" // any socket will do to ask about them
                                             : "/files";        // of the system's services
}

// What a socket is for.
std::string SocketObject(pid_t process, int descriptor)
{
    const System::Descriptor program(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    const System::Descriptor socket(static_cast<int>(syscall(SYS_pidfd_getfd, program.Number(), descriptor, 0)));
    std::string object = NewSocketObject(Option(socket, SO_DOMAIN), Option(socket, SO_TYPE));
    if (object == "network")
    {
        sockaddr_in own{};
        socklen_t size = sizeof(own);
        getsockname(socket.Number(), reinterpret_cast<sockaddr*>(&own), &size);
        return IN_MULTICAST(ntohl(own.sin_addr.s_addr)) ? "group" : object;
    }
    if (object == "socket")
    {
        sockaddr_un peer{};
        socklen_t size = sizeof(peer);
        const bool isConnected = getpeername(socket.Number(), reinterpret_cast<sockaddr*>(&peer), &size) == 0;
        return Option(socket, SO_ACCEPTCONN) == 1 ? "listening" : isConnected ? "program" : object;
    }
    return object;
}

std::string DescriptorObject(pid_t process, uint64_t descriptor)
{
    if (descriptor == STDOUT_FILENO || descriptor == STDERR_FILENO)
    {
        return "stdout";
    }
    std::error_code ignored;
    const auto number = static_cast<int>(descriptor);
    const std::string link = "/proc/" + std::to_string(process) + "/fd/" + std::to_string(number);
    const std::string target = std::filesystem::read_symlink(link, ignored);
    return target.rfind("socket:", 0) == 0 ? SocketObject(process, number) : Object(target);
}

std::string ObjectOf(About about, pid_t process, const __u64* arguments, bool mainThread)
{
    switch (about)
    {
    case About::Thread:
        return mainThread ? "main" : "worker";
    case About::Futex:
    {
        const auto operation = arguments[1] & static_cast<unsigned>(FUTEX_CMD_MASK);
        return operation == FUTEX_WAIT || operation == FUTEX_WAIT_BITSET ? "wait" : "wake";
    }
    case About::Descriptor:
        return DescriptorObject(process, arguments[0]);
    case About::Path:
        return Object(ReadText(process, arguments[0]));
    case About::PathAt:
    {
        const std::string path = ReadText(process, arguments[1]);
        return path.empty() ? DescriptorObject(process, arguments[0]) : Object(path);
    }
    case About::Queue:
        return "/" + ReadText(process, arguments[0]);
    case About::Descriptors:
    {
        pollfd entry{};
        ReadMemory(process, arguments[0], &entry, sizeof(entry));
        return DescriptorObject(process, static_cast<uint64_t>(entry.fd));
    }
    case About::Time:
    {
        timespec time{};
        ReadMemory(process, arguments[2], &time, sizeof(time));
        return std::to_string(time.tv_sec * 1000 + time.tv_nsec / 1'000'000) + "ms";
    }
    case About::Socket:
        return NewSocketObject(static_cast<int>(arguments[0]), static_cast<int>(arguments[1]));
    case About::Watched:
        return (arguments[1] == EPOLL_CTL_ADD ? "new:" : "") + DescriptorObject(process, arguments[2]);
    case About::Mapping:
        return static_cast<int>(arguments[4]) == -1 ? "memory" : DescriptorObject(process, arguments[4]);
    }
    return {};
}

int ErrorNumber(const std::string& name)
{
    for (int error = 1; error < 200; ++error)
    {
        const char* const known = strerrorname_np(error);
        if (known != nullptr && name == known)
        {
            return error;
        }
    }
    return name == "EWOULDBLOCK" ? EWOULDBLOCK : 0; // the other name of EAGAIN
}

// Does what the call would have done, for `size` bytes. Returns its result, or the negated error.
int64_t Perform(const Point& point, pid_t program, const seccomp_notif& call, std::size_t size)
{
    const System::Descriptor process(static_cast<int>(syscall(SYS_pidfd_open, program, 0)));
    const auto number = static_cast<int>(call.data.args[0]); // as the program knows it
    const System::Descriptor descriptor(static_cast<int>(syscall(SYS_pidfd_getfd, process.Number(), number, 0)));
    std::vector<char> bytes(size);
    iovec here{bytes.data(), size};
    const iovec there = Memory(call.data.args[1], size);
    int64_t result = -1;
    if (point.call == "write")
    {
        process_vm_readv(static_cast<pid_t>(call.pid), &here, 1, &there, 1, 0);
        result = write(descriptor.Number(), bytes.data(), size);
    }
    else
    {
        result = point.call == "read"
                     ? read(descriptor.Number(), bytes.data(), size)
                     : pread(descriptor.Number(), bytes.data(), size, static_cast<off_t>(call.data.args[3]));
        here.iov_len = static_cast<std::size_t>(std::max<int64_t>(result, 0));
        process_vm_writev(static_cast<pid_t>(call.pid), &here, 1, &there, 1, 0);
    }
    return result == -1 ? -errno : result;
}

// Reports every call of this process, and of all processes that come from it, to the owner of the descriptor `result`;
// only the call that sends the report is left out.
int StartListening()
{
    std::array<sock_filter, 4> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_sendmsg, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
    }};
    const sock_fprog filter{program.size(), program.data()};
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    return static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_NEW_LISTENER, &filter));
}

union ControlMessage
{
    cmsghdr header;
    std::array<char, CMSG_SPACE(sizeof(int))> space;
};

msghdr MessageWith(ControlMessage& control, iovec& payload)
{
    msghdr message{};
    message.msg_iov = &payload;
    message.msg_iovlen = 1;
    message.msg_control = &control;
    message.msg_controllen = sizeof(control);
    return message;
}

void SendDescriptor(int socket, int descriptor)
{
    ControlMessage control{};
    char byte = 0;
    iovec payload{&byte, 1};
    const msghdr message = MessageWith(control, payload);
    control.header.cmsg_level = SOL_SOCKET;
    control.header.cmsg_type = SCM_RIGHTS;
    control.header.cmsg_len = CMSG_LEN(sizeof(int));
    memcpy(CMSG_DATA(&control.header), &descriptor, sizeof(int));
    sendmsg(socket, &message, 0);
}

System::Descriptor ReceiveDescriptor(const System::Descriptor& socket)
{
    ControlMessage control{};
    char byte = 0;
    iovec payload{&byte, 1};
    msghdr message = MessageWith(control, payload);
    int descriptor = -1;
    if (recvmsg(socket.Number(), &message, MSG_CMSG_CLOEXEC) == 1 && message.msg_controllen >= CMSG_LEN(sizeof(int)))
    {
        memcpy(&descriptor, CMSG_DATA(&control.header), sizeof(int));
    }
    return System::Descriptor(descriptor);
}

} // namespace

Fault::Fault(const std::string& text)
{
    delay = text == "delay";
    half = text == "half";
    if (text.rfind("says:", 0) == 0)
    {
        says = std::stoul(text.substr(5));
    }
    if (delay || half || says)
    {
        return;
    }
    always = text.back() == '+';
    error = ErrorNumber(always ? text.substr(0, text.size() - 1) : text);
    if (error == 0)
    {
        throw std::runtime_error("no such fault: " + text);
    }
}

Watch::Watch(std::optional<Plan> thePlan)
    : plan(std::move(thePlan))
{
    System::SocketPair sockets(SOCK_SEQPACKET | SOCK_CLOEXEC);
    ownEnd = std::move(sockets.one);
    launcherEnd = System::Descriptor(dup(sockets.other.Number())); // is inherited
}

Watch::~Watch()
{
    running = false;
    if (thread.joinable())
    {
        thread.join();
    }
}

std::vector<std::string> Watch::Command(std::vector<std::string> command)
{
    command.insert(command.begin(), {"/proc/self/exe", "launch", std::to_string(launcherEnd.Number())});
    return command;
}

void Watch::Begin()
{
    launcherEnd.Close(); // so that the end of what launches the program is noticed
    listener = ReceiveDescriptor(ownEnd);
    if (!listener.IsOpen())
    {
        throw std::runtime_error("this system does not let system calls be watched (seccomp, user notification)");
    }
    thread = std::thread(&Watch::ThreadFunction, this);
}

int Watch::Launch(char** arguments)
{
    const int socket = std::stoi(arguments[0]);
    const int descriptor = StartListening();
    if (descriptor != -1)
    {
        SendDescriptor(socket, descriptor);
        close(descriptor);
        close(socket);
        execv(arguments[1], &arguments[1]);
    }
    return 126;
}

unsigned Watch::Calls(const Point& point) const
{
    const std::lock_guard lock(mutex);
    const auto found = calls.find(point);
    return found == calls.end() ? 0 : found->second;
}

std::map<Point, unsigned> Watch::AllCalls() const
{
    const std::lock_guard lock(mutex);
    return calls;
}

unsigned Watch::Struck() const
{
    const std::lock_guard lock(mutex);
    return struck;
}

std::optional<Watch::Clock::time_point> Watch::StruckAt() const
{
    const std::lock_guard lock(mutex);
    return struckAt;
}

unsigned Watch::CallsWhenStruck(const Point& point) const
{
    const std::lock_guard lock(mutex);
    const auto found = callsWhenStruck.find(point);
    return found == callsWhenStruck.end() ? 0 : found->second;
}

Point Watch::CallBehind() const
{
    const std::lock_guard lock(mutex);
    return callBehind;
}

Point Watch::LastCall() const
{
    const std::lock_guard lock(mutex);
    const auto found = last.find(process);
    return found == last.end() ? Point() : found->second;
}

std::size_t Watch::ThreadsAtExit() const
{
    const std::lock_guard lock(mutex);
    return threadsAtExit;
}

void Watch::ThreadFunction()
{
    while (running)
    {
        pollfd entry{listener.Number(), POLLIN, 0};
        if (poll(&entry, 1, Timeout()) > 0)
        {
            if ((entry.revents & POLLIN) == 0)
            {
                return; // nobody is left to be watched
            }
            seccomp_notif call{};
            if (ioctl(listener.Number(), SECCOMP_IOCTL_NOTIF_RECV, &call) == 0)
            {
                OnCall(call);
            }
        }
        SendDelayed();
    }
}

void Watch::OnCall(const seccomp_notif& call)
{
    const auto thisThread = static_cast<pid_t>(call.pid);
    if (!launched)
    {
        process = thisThread;
        launched = call.data.nr == SYS_execve;
        Continue(call.id);
        return;
    }
    const bool mainThread = process == thisThread;
    Point point = PointOf(call);
    if (Count(call, point))
    {
        Strike(call);
    }
    else if (!mainThread && known.insert(thisThread).second)
    {
        delayed.push_back({call.id, Clock::now() + ThreadDelay});
    }
    else if (!Continue(call.id))
    {
        const std::lock_guard lock(mutex);
        --calls[point]; // interrupted by a signal: it comes again
    }
}

Point Watch::PointOf(const seccomp_notif& call) const
{
    const auto thisThread = static_cast<pid_t>(call.pid);
    const bool mainThread = process == thisThread;
    const auto kind = Kinds().find(call.data.nr);
    return kind == Kinds().end()
               ? Point{"call-" + std::to_string(call.data.nr), mainThread ? "main" : "worker"}
               : Point{kind->second.name, ObjectOf(kind->second.about, thisThread, call.data.args, mainThread)};
}

bool Watch::Count(const seccomp_notif& call, Point& point)
{
    const auto thisThread = static_cast<pid_t>(call.pid);
    const std::lock_guard lock(mutex);
    if (Point& before = last[thisThread]; before.call == "clock_nanosleep" && point.call == before.call)
    {
        point = before; // what is left of it
    }
    else if (point.call != "rt_sigreturn") // the end of a signal's handler
    {
        before = point;
    }
    CountThreads(call, point);
    if (struck > 0 && thisThread == struckThread && callBehind.call.empty())
    {
        callBehind = point;
    }
    ++calls[point];
    return IsToFail(call, point);
}

void Watch::CountThreads(const seccomp_notif& call, const Point& point)
{
    const auto thisThread = static_cast<pid_t>(call.pid);
    if (process != thisThread && (point.object[0] == '/' || point.object == "eventfd"))
    {
        workers.insert(thisThread);
    }
    if (call.data.nr == SYS_exit)
    {
        workers.erase(thisThread); // it stays in /proc for a while, even when it has been joined
    }
    if (call.data.nr == SYS_exit_group)
    {
        threadsAtExit = workers.size();
    }
}

bool Watch::IsToFail(const seccomp_notif& call, const Point& point)
{
    if (!plan || !(plan->point == point))
    {
        return false;
    }
    const unsigned number = calls[point];
    if (number != plan->occurrence && (!plan->fault.always || number < plan->occurrence))
    {
        return false;
    }
    if (struck++ == 0)
    {
        struckAt = Clock::now();
        callsWhenStruck = calls;
        struckThread = static_cast<pid_t>(call.pid);
    }
    return true;
}

void Watch::Strike(const seccomp_notif& call)
{
    const Fault& fault = plan->fault;
    if (fault.delay)
    {
        delayed.push_back({call.id, Clock::now() + Delay});
        return;
    }
    if (fault.error != 0 || fault.says == 0U)
    {
        if (struck > Endless)
        {
            std::this_thread::sleep_for(Rest);
        }
        Answer(call.id, -fault.error, 0, 0);
        return;
    }
    const std::size_t size = call.data.args[2];
    int64_t result = Perform(plan->point, process, call, fault.half ? (size + 1) / 2 : size);
    if (fault.says && result > 0)
    {
        result = static_cast<int64_t>(*fault.says);
    }
    Answer(call.id, static_cast<int>(std::min<int64_t>(result, 0)), std::max<int64_t>(result, 0), 0);
}

// False if the thread is gone or a signal interrupted it.
bool Watch::Answer(uint64_t id, int error, int64_t value, unsigned flags) const
{
    seccomp_notif_resp answer{};
    answer.id = id;
    answer.error = error;
    answer.val = value;
    answer.flags = flags;
    return ioctl(listener.Number(), SECCOMP_IOCTL_NOTIF_SEND, &answer) == 0;
}

bool Watch::Continue(uint64_t id) const
{
    return Answer(id, 0, 0, SECCOMP_USER_NOTIF_FLAG_CONTINUE);
}

void Watch::SendDelayed()
{
    const auto now = Clock::now();
    const auto isDue = [now](const Delayed& call) { return call.due <= now; };
    std::for_each(delayed.begin(), delayed.end(),
                  [&](const Delayed& call)
                  {
                      if (isDue(call))
                      {
                          Continue(call.id);
                      }
                  });
    delayed.erase(std::remove_if(delayed.begin(), delayed.end(), isDue), delayed.end());
}

// ms; how long it may take the thread to notice that it must end, or that a delay is over
int Watch::Timeout() const
{
    constexpr int Idle = 50;
    constexpr int Delaying = 5;
    return delayed.empty() ? Idle : Delaying;
}
