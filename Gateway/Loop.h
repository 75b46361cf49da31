#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace OrvelGateway
{

/// Waits for everything at once, in one thread, and calls what was asked for. From its making on, SIGINT, SIGTERM and SIGHUP
/// only end Run, also if they come before it; SIGHUP stays ignored if it was, as by nohup. To be made before any thread:
/// these signals would end the program in one that does not block them. The event library is hidden in here.
class Loop
{
public:
    /// Throws std::system_error if the system cannot wait for anything.
    Loop();
    ~Loop();

    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    /// Until such a signal comes; gives its number. Throws as the constructor.
    int Run();

    struct Implementation;

private:
    friend class Watch;
    friend class Timer;

    std::unique_ptr<Implementation> implementation;
};

/// Waits until a descriptor can be read, or written, or has failed. Somebody else owns and closes it, after this object has
/// gone. Once made, waiting uses no memory of the heap. If the system refuses to wait, the loop logs it, and tries again when a
/// timer calls, with memory.
class Watch
{
public:
    using Callback = std::function<void()>;

    Watch(Loop& loop, int descriptor, Callback onReadable, Callback onWritable = {});
    ~Watch();

    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    // Each leads to one call, never from inside, and not after this object has gone. Again meanwhile changes nothing.

    void AwaitReadable();
    void AwaitWritable();

    struct State;

private:
    std::shared_ptr<State> state;
};

/// Calls once when a time comes. It must not end while it calls.
class Timer
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Throws std::system_error if the system has no timer to give.
    Timer(Loop& loop, std::function<void()> onTime);
    ~Timer();

    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;

    /// In place of any other time.
    void Set(Time time);

    struct State;

private:
    std::unique_ptr<State> state;
};

} // namespace OrvelGateway
