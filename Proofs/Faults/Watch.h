#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

struct seccomp_notif; // of the kernel

/// What distinguishes the system calls of a program.
struct Point
{
    std::string call;   ///< "openat"
    std::string object; ///< what it is about: a path, a queue, a time, or the thread where there is no such thing

    bool operator<(const Point& other) const
    {
        return std::tie(call, object) < std::tie(other.call, other.object);
    }

    bool operator==(const Point& other) const
    {
        return call == other.call && object == other.object;
    }
};

/// What must happen to a call.
struct Fault
{
    /// Reads it as the file Errors writes it. Throws std::runtime_error for other text.
    explicit Fault(const std::string& text);

    int error = 0;       ///< the call fails with it
    bool always = false; ///< and so do all later ones of its kind
    bool delay = false;
    bool half = false;
    std::optional<std::size_t> says;
};

/// Sees every system call of a program before the kernel does, counts them, and lets one fail. The program runs at
/// nearly its own speed. Calls are counted for the whole program, whichever thread makes them. New threads begin their
/// work a little late, as on a busy machine, so that the daemon's LED worker does not come before its table.
class Watch
{
public:
    using Clock = std::chrono::steady_clock;

    struct Plan
    {
        Point point;
        unsigned occurrence = 1; ///< the first is 1
        Fault fault;
    };

    explicit Watch(std::optional<Plan> plan = {});
    ~Watch();

    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    /// The command that runs `command` under this watch. The calling process must run it.
    std::vector<std::string> Command(std::vector<std::string> command);

    /// Call this once the command has been started.
    void Begin();

    /// How often the program has made such a call.
    unsigned Calls(const Point& point) const;
    std::map<Point, unsigned> AllCalls() const;

    bool IsPlanned() const
    {
        return plan.has_value();
    }

    /// How many calls have failed; when the first one failed, and how often the program had made such a call by then.
    unsigned Struck() const;
    std::optional<Clock::time_point> StruckAt() const;
    unsigned CallsWhenStruck(const Point& point) const;

    /// The call that the same thread made after the first one that failed.
    Point CallBehind() const;

    /// The last call that the program's main thread has made.
    Point LastCall() const;

    /// How many threads, other than the main one and those that only started and waited, existed when the program ended
    /// itself.
    std::size_t ThreadsAtExit() const;

    /// The program `command` becomes this: it runs itself under the watch that made it. Returns only if that fails.
    static int Launch(char** arguments);

private:
    struct Delayed
    {
        uint64_t id;
        Clock::time_point due;
    };

    void ThreadFunction();
    void OnCall(const seccomp_notif& call);
    Point PointOf(const seccomp_notif& call) const;
    /// Counts the call; whether it is to fail. `point` becomes that of the call before, if this is the rest of it.
    bool Count(const seccomp_notif& call, Point& point);
    void CountThreads(const seccomp_notif& call, const Point& point);
    bool IsToFail(const seccomp_notif& call, const Point& point);
    void Strike(const seccomp_notif& call);
    bool Answer(uint64_t id, int error, int64_t value, unsigned flags) const;
    bool Continue(uint64_t id) const;
    void SendDelayed();
    int Timeout() const;

    const std::optional<Plan> plan;
    System::Descriptor launcherEnd;
    System::Descriptor ownEnd;
    System::Descriptor listener;
    std::atomic<bool> running{true};
    std::atomic<pid_t> process{0}; // the program
    bool launched = false;         // the program itself runs, no longer what launches it
    std::vector<Delayed> delayed;
    std::set<pid_t> known; // threads

    mutable std::mutex mutex; // for the following
    std::map<Point, unsigned> calls;
    unsigned struck = 0;
    std::optional<Clock::time_point> struckAt;
    std::map<Point, unsigned> callsWhenStruck;
    pid_t struckThread = 0;
    Point callBehind;
    std::map<pid_t, Point> last; // call of each thread
    std::set<pid_t> workers;     // threads that did more than start and wait
    std::size_t threadsAtExit = 0;

    std::thread thread;
};
