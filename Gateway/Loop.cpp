#include "Loop.h"

#include "System/Signals.h"
#include "System/ThrowErrno.h"

#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <utility>
#include <vector>

extern "C" // which the library's header does not say
{
#include <uev/uev.h>
}

namespace OrvelGateway
{

namespace
{

// The library reads its events in batches, and would call for a Watch that has gone since. So it reads them one by one.
constexpr int EventsAtOnce = 1;

bool IsIgnored(int signal)
{
    struct sigaction action
    {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

System::Signals StopSignals()
{
    // Once blocked, a signal that is ignored would come, too.
    return IsIgnored(SIGHUP) ? System::Signals({SIGINT, SIGTERM}) : System::Signals({SIGINT, SIGTERM, SIGHUP});
}

} // namespace

struct Loop::Implementation
{
    Implementation()
    {
        if (uev_init1(&context, EventsAtOnce) == -1)
        {
            System::ThrowErrno("cannot wait for events");
        }
        Begin(signalled, OnSignal, this, signals.Descriptor());
    }

    ~Implementation()
    {
        uev_exit(&context);
    }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

    // For as long as the loop is there. Throws std::system_error if the system refuses.
    void Begin(uev_t& watcher, uev_cb_t* callback, void* argument, int descriptor)
    {
        if (uev_io_init(&context, &watcher, callback, argument, descriptor, UEV_READ) == -1)
        {
            System::ThrowErrno("cannot wait for events");
        }
    }

    static void OnSignal(uev_t* /*watcher*/, void* loop, int /*events*/)
    {
        auto& ours = *static_cast<Implementation*>(loop);
        ours.stop = ours.signals.Take();
        if (ours.stop != 0)
        {
            uev_exit(&ours.context); // ends Run
        }
    }

    // It is tried again with the next timer.
    void OnRefused(Watch::State& watch)
    {
        if (!std::exchange(isRefused, true))
        {
            LOG4CPLUS_WARN(log4cplus::Logger::getInstance("Loop"),
                           "Cannot wait for an event, trying again: " << strerror(errno));
        }
        if (std::find(refused.begin(), refused.end(), &watch) == refused.end())
        {
            refused.push_back(&watch);
        }
    }

    void TryRefusedAgain();

    const System::Signals signals = StopSignals();
    uev_ctx_t context{};
    uev_t signalled{};
    std::vector<Watch::State*> refused;
    bool isRefused = false;
    int stop = 0;
};

Loop::Loop()
    : implementation(std::make_unique<Implementation>())
{
}

Loop::~Loop() = default;

int Loop::Run()
{
    if (uev_run(&implementation->context, 0) < 0)
    {
        System::ThrowErrno("cannot wait for events");
    }
    return implementation->stop;
}

struct Watch::State : std::enable_shared_from_this<State>
{
    State(Loop::Implementation& itsLoop, int itsDescriptor, Callback onReadable, Callback onWritable)
        : loop(itsLoop)
        , descriptor(itsDescriptor)
        , readable(std::move(onReadable))
        , writable(std::move(onWritable))
    {
    }

    void Await(int event)
    {
        awaited |= event;
        if (!isCalling)
        {
            Tell();
        }
    }

    void End()
    {
        isOver = true;
        awaited = 0;
        Tell();
        loop.refused.erase(std::remove(loop.refused.begin(), loop.refused.end(), this), loop.refused.end());
    }

    // Tells the kernel, if it does not know. Of a wait that ends and begins again by its callback, as nearly each does, it need
    // not be told.
    void Tell()
    {
        const bool isActive = uev_io_active(&watcher) != 0;
        if (awaited == (isActive ? told : 0))
        {
            return;
        }
        if (isActive)
        {
            uev_io_stop(&watcher);
        }
        told = awaited;
        // The library always waits for the other end to close one direction, too. That lasts, so it is told only once to whoever
        // does not read.
        const int how = awaited == UEV_WRITE ? static_cast<int>(UEV_WRITE | UEV_EDGE) : awaited;
        if (awaited != 0 && uev_io_init(&loop.context, &watcher, OnEvent, this, descriptor, how) == -1)
        {
            loop.OnRefused(*this);
        }
    }

    static void OnEvent(uev_t* /*watcher*/, void* state, int events)
    {
        const auto kept = static_cast<State*>(state)->shared_from_this(); // a callback may end the Watch
        kept->Call(events);
    }

    void Call(int events)
    {
        // The library stops to watch what has failed. Whoever waits for it finds the failure.
        const int ready = (events & (UEV_HUP | UEV_ERROR)) != 0 ? awaited : events & awaited;
        awaited &= ~ready;
        isCalling = true;
        if ((ready & UEV_READ) != 0)
        {
            readable();
        }
        if ((ready & UEV_WRITE) != 0 && !isOver)
        {
            writable();
        }
        isCalling = false;
        if (!isOver)
        {
            Tell();
        }
    }

    Loop::Implementation& loop;
    const int descriptor;
    const Callback readable;
    const Callback writable;
    uev_t watcher{};
    int awaited = 0; // events
    int told = 0;    // to the kernel
    bool isCalling = false;
    bool isOver = false;
};

void Loop::Implementation::TryRefusedAgain()
{
    const auto again = std::exchange(refused, {});
    for (Watch::State* const watch : again)
    {
        watch->Tell();
    }
    isRefused = !refused.empty();
}

Watch::Watch(Loop& loop, int descriptor, Callback onReadable, Callback onWritable)
    : state(std::make_shared<State>(*loop.implementation, descriptor, std::move(onReadable), std::move(onWritable)))
{
}

Watch::~Watch()
{
    state->End();
}

void Watch::AwaitReadable()
{
    state->Await(UEV_READ);
}

void Watch::AwaitWritable()
{
    state->Await(UEV_WRITE);
}

// The library's own timers know no time but the one from now on.
struct Timer::State
{
    State(Loop::Implementation& itsLoop, std::function<void()> onTime)
        : loop(itsLoop)
        , clock(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))
        , callback(std::move(onTime))
    {
        if (!clock.IsOpen())
        {
            System::ThrowErrno("cannot make a timer");
        }
        loop.Begin(watcher, OnEvent, this, clock.Number());
    }

    ~State()
    {
        uev_io_stop(&watcher);
    }

    State(const State&) = delete;
    State& operator=(const State&) = delete;

    static void OnEvent(uev_t* /*watcher*/, void* timer, int /*events*/)
    {
        auto& ours = *static_cast<State*>(timer);
        uint64_t times = 0;
        if (read(ours.clock.Number(), &times, sizeof(times)) == sizeof(times)) // or it was set anew meanwhile
        {
            ours.loop.TryRefusedAgain();
            ours.callback();
        }
    }

    Loop::Implementation& loop;
    const System::Descriptor clock;
    const std::function<void()> callback;
    uev_t watcher{};
};

Timer::Timer(Loop& loop, std::function<void()> onTime)
    : state(std::make_unique<State>(*loop.implementation, std::move(onTime)))
{
}

Timer::~Timer() = default;

void Timer::Set(Time time)
{
    using namespace std::chrono;
    const nanoseconds since = std::max<nanoseconds>(time.time_since_epoch(), 1ns); // 0 would be never
    const auto whole = duration_cast<seconds>(since);
    const itimerspec when{{}, {static_cast<time_t>(whole.count()), static_cast<long>((since - whole).count())}};
    timerfd_settime(state->clock.Number(), TFD_TIMER_ABSTIME, &when, nullptr);
}

} // namespace OrvelGateway
