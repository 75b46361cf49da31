#include "Loop.h"

#include "HandlerMemory.h"

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/signal_set.hpp>
#include <asio/steady_timer.hpp>

#include <csignal>
#include <optional>
#include <utility>

namespace OrvelGateway
{

namespace
{

bool IsIgnored(int signal)
{
    struct sigaction action
    {
    };
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

struct Loop::Implementation
{
    Implementation()
    {
        if (!IsIgnored(SIGHUP))
        {
            signals.add(SIGHUP);
        }
        signals.async_wait(
            [this](const asio::error_code& error, int signal)
            {
                if (!error)
                {
                    stop = signal;
                    context.stop();
                }
            });
    }

    asio::io_context context{ASIO_CONCURRENCY_HINT_UNSAFE}; // one thread uses the loop: no locks
    asio::signal_set signals{context, SIGINT, SIGTERM};
    int stop = 0;
};

Loop::Loop()
    : implementation(std::make_unique<Implementation>())
{
}

Loop::~Loop() = default;

int Loop::Run()
{
    implementation->context.run();
    return implementation->stop;
}

// The library calls a handler also when its descriptor is no longer waited for, after the Watch has gone. So the handler keeps
// what it needs.
struct Watch::State
{
    struct Direction
    {
        Callback callback;
        bool isAwaited = false;
        HandlerMemory memory;
    };

    class Handler
    {
    public:
        using allocator_type = HandlerAllocator<Handler>; // NOLINT(readability-identifier-naming): the library's

        Handler(std::shared_ptr<State> watched, Direction State::*itsDirection)
            : state(std::move(watched))
            , direction(itsDirection)
        {
        }

        void operator()(const asio::error_code& error) const
        {
            if (error != asio::error::operation_aborted && !state->isOver)
            {
                Direction& ours = (*state).*direction;
                ours.isAwaited = false;
                ours.callback();
            }
        }

        // NOLINTNEXTLINE(readability-identifier-naming): the library's
        allocator_type get_allocator() const
        {
            return allocator_type(((*state).*direction).memory);
        }

    private:
        std::shared_ptr<State> state;
        Direction State::*direction;
    };

    State(asio::io_context& context, int number, Callback onReadable, Callback onWritable)
        : descriptor(context, number)
    {
        readable.callback = std::move(onReadable);
        writable.callback = std::move(onWritable);
    }

    static void Await(const std::shared_ptr<State>& state, Direction State::*direction,
                      asio::posix::stream_descriptor::wait_type what)
    {
        Direction& ours = (*state).*direction;
        if (!std::exchange(ours.isAwaited, true))
        {
            state->descriptor.async_wait(what, Handler(state, direction));
        }
    }

    asio::posix::stream_descriptor descriptor;
    Direction readable;
    Direction writable;
    bool isOver = false;
};

Watch::Watch(Loop& loop, int descriptor, Callback onReadable, Callback onWritable)
    : state(std::make_shared<State>(loop.implementation->context, descriptor, std::move(onReadable),
                                    std::move(onWritable)))
{
}

Watch::~Watch()
{
    state->isOver = true;
    state->descriptor.release(); // not closed: its owner does that
}

void Watch::AwaitReadable()
{
    State::Await(state, &State::readable, asio::posix::stream_descriptor::wait_read);
}

void Watch::AwaitWritable()
{
    State::Await(state, &State::writable, asio::posix::stream_descriptor::wait_write);
}

struct Timer::State
{
    State(asio::io_context& context, std::function<void()> onTime)
        : timer(std::in_place, context)
        , callback(std::move(onTime))
    {
    }

    std::optional<asio::steady_timer> timer; // none any more once this is over
    std::function<void()> callback;
};

Timer::Timer(Loop& loop, std::function<void()> onTime)
    : state(std::make_shared<State>(loop.implementation->context, std::move(onTime)))
{
}

Timer::~Timer()
{
    state->timer.reset();
}

void Timer::Set(Time time)
{
    state->timer->expires_at(time); // whoever waited for another time is told that this is over
    state->timer->async_wait(
        [kept = state](const asio::error_code& error)
        {
            if (!error && kept->timer)
            {
                kept->callback();
            }
        });
}

} // namespace OrvelGateway
