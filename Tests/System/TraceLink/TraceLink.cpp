// A link library that writes each call of the daemon into the daemon's own log, so that the log shows its order
// among the other lines. It is built apart from the daemon, against nothing but the library's interface.
//
// The environment sets its answers: TRACE_OPEN, TRACE_CONNECTED, TRACE_TRANSMIT (0 or 1), TRACE_RECONNECT (a
// sequence of 0 and 1, the last of which stays; or "throw"). It also sets how long they take: TRACE_OPEN_DELAY,
// TRACE_RECONNECT_DELAY, TRACE_CLOSE_DELAY (ms). Once closed, the library transmits nothing. TRACE_EXIT_DELAY (ms)
// keeps the process for so long after its main function has ended. With TRACE_SLEEP=1 each sleep of the process is a
// line too. While the library reconnects, a frame comes in that the daemon cannot write into the queue
// TRACE_BROKEN_QUEUE, whose descriptor is bad for that moment.

#include "Nemt/CommHub.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <map>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

extern "C"
{
    void NemtLog_Debug(char* text);
    void NemtLog_DebugFmt(char* format, ...);
    void NemtLog_Warn(char* text);
    void NemtLog_WarnFmt(char* format, ...);
    void NemtLog_Error(char* text);
    void NemtLog_ErrorFmt(char* format, ...);
    void NemtLog_DebugHex(char* text, unsigned char* data, unsigned int length);
}

namespace
{

// Their order of registration tells listeners apart.
using Numbers = std::map<const void*, int>;

std::mutex mutex;
std::atomic<bool> closed{false};
Numbers topicListeners;
Numbers connectionListeners;
std::vector<Nemt::ITopicListener*> registered; // for topics

// cppcheck-suppress passedByValue ; the library's interface takes a text that it could write to
void Trace(std::string line)
{
    NemtLog_Debug(line.data());
}

std::string Setting(const char* name, const char* otherwise)
{
    const char* const value = std::getenv(name);
    return value != nullptr ? value : otherwise;
}

bool Answer(const char* name)
{
    return Setting(name, "1") != "0";
}

void Delay(const char* name)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stol(Setting(name, "0"))));
}

class LateExit
{
public:
    LateExit() = default;

    ~LateExit()
    {
        Delay("TRACE_EXIT_DELAY");
    }

    LateExit(const LateExit&) = delete;
    LateExit& operator=(const LateExit&) = delete;
};

const LateExit AtExit;

void TraceListener(const std::string& call, Numbers& numbers, const void* listener)
{
    const std::lock_guard lock(mutex);
    const auto number = numbers.emplace(listener, static_cast<int>(numbers.size()) + 1).first->second;
    Trace(call + "(" + std::to_string(number) + ")");
}

// The process's descriptor of a queue; -1 if it has none.
int DescriptorOf(const std::string& queue)
{
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone) == queue)
        {
            return std::stoi(entry.path().filename());
        }
    }
    return -1;
}

void ReceiveWhileBroken(const std::string& queue)
{
    const int descriptor = DescriptorOf(queue);
    if (descriptor == -1)
    {
        return;
    }
    const int kept = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    const int noQueue = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(noQueue, descriptor);
    {
        const std::lock_guard lock(mutex);
        for (Nemt::ITopicListener* const listener : registered)
        {
            const uint8_t frame = 0x29;
            listener->OnTopicData(0x100, &frame, 1);
        }
    }
    dup3(kept, descriptor, O_CLOEXEC);
    close(noQueue);
    close(kept);
}

} // namespace

// The linker takes this function before the C library's own.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): that one's names are reserved
extern "C" int nanosleep(const timespec* duration, timespec* remaining)
{
    if (Setting("TRACE_SLEEP", "0") == "1")
    {
        Trace("nanosleep(" + std::to_string(duration->tv_sec) + ", " + std::to_string(duration->tv_nsec) + ")");
    }
    const int error = clock_nanosleep(CLOCK_REALTIME, 0, duration, remaining);
    errno = error;
    return error == 0 ? 0 : -1;
}

namespace Nemt
{

CommHub* CommHub::Instance()
{
    static CommHub hub;
    Trace("Instance()");
    return &hub;
}

bool CommHub::Open(const char* port, unsigned int flags)
{
    std::string format = "Open(%s, %u)";
    NemtLog_DebugFmt(format.data(), port, flags);
    std::string warning = "a warning";
    std::string error = "an error";
    NemtLog_Warn(warning.data());
    NemtLog_WarnFmt(warning.data());
    NemtLog_Error(error.data());
    NemtLog_ErrorFmt(error.data());
    Delay("TRACE_OPEN_DELAY");
    return Answer("TRACE_OPEN");
}

void CommHub::Close()
{
    closed = true;
    Trace("Close()");
    Delay("TRACE_CLOSE_DELAY");
}

bool CommHub::IsConnected() const
{
    Trace("IsConnected()");
    return Answer("TRACE_CONNECTED");
}

bool CommHub::Reconnect()
{
    static std::size_t calls = 0;
    Trace("Reconnect()");
    Delay("TRACE_RECONNECT_DELAY");
    ReceiveWhileBroken(Setting("TRACE_BROKEN_QUEUE", "none"));
    const std::string answers = Setting("TRACE_RECONNECT", "1");
    if (answers == "throw")
    {
        throw std::runtime_error("thrown by the link library");
    }
    return answers[std::min(calls++, answers.size() - 1)] == '1';
}

bool CommHub::Transmit(uint16_t topic, const uint8_t* data, uint16_t length)
{
    std::string text = "Transmit(" + std::to_string(topic) + "):";
    auto* const bytes = const_cast<uint8_t*>(data); // the log function does not write to them
    NemtLog_DebugHex(text.data(), bytes, length);
    return !closed && Answer("TRACE_TRANSMIT");
}

void CommHub::RegisterTopicListener(ITopicListener* listener)
{
    TraceListener("RegisterTopicListener", topicListeners, listener);
    const std::lock_guard lock(mutex);
    registered.push_back(listener);
}

void CommHub::UnregisterTopicListener(const ITopicListener* listener)
{
    TraceListener("UnregisterTopicListener", topicListeners, listener);
}

void CommHub::RegisterConnectionListener(IConnectionListener* listener)
{
    TraceListener("RegisterConnectionListener", connectionListeners, listener);
}

void CommHub::UnregisterConnectionListener(const IConnectionListener* listener)
{
    TraceListener("UnregisterConnectionListener", connectionListeners, listener);
}

} // namespace Nemt
