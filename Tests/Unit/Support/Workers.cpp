#include "Workers.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace UnitTests
{

namespace
{

struct Start
{
    void* (*routine)(void*);
    void* argument;
};

std::atomic<bool> intervening; // keeps everything below out of threads that libraries start before main

std::mutex mutex;
std::condition_variable released;
bool held = false;
std::function<void()> afterStart;

void* RunWhenReleased(void* argument)
{
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    {
        std::unique_lock<std::mutex> lock(mutex);
        released.wait(lock, [] { return !held; });
    }
    return start->routine(start->argument);
}

} // namespace

HeldWorkers::HeldWorkers()
{
    const std::lock_guard<std::mutex> lock(mutex);
    held = true;
    intervening = true;
}

HeldWorkers::~HeldWorkers()
{
    const std::lock_guard<std::mutex> lock(mutex);
    held = false;
    intervening = false;
    released.notify_all();
}

PauseAfterThreadStart::PauseAfterThreadStart(std::function<void()> pause)
{
    afterStart = std::move(pause);
    intervening = true;
}

PauseAfterThreadStart::~PauseAfterThreadStart()
{
    intervening = false;
    afterStart = nullptr;
}

} // namespace UnitTests

using namespace UnitTests;

// Replaces the C library's function for the whole process, because the C++ library calls it.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's names are reserved ones
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                              void* argument) noexcept
{
    using Function = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static auto* const real = reinterpret_cast<Function*>(dlsym(RTLD_NEXT, "pthread_create"));
    if (!intervening)
    {
        return real(thread, attributes, routine, argument);
    }

    auto start = std::make_unique<Start>(Start{routine, argument});
    const int result = real(thread, attributes, &RunWhenReleased, start.get());
    if (result == 0)
    {
        static_cast<void>(start.release()); // the new thread's now
        if (afterStart)
        {
            afterStart();
        }
    }
    return result;
}
