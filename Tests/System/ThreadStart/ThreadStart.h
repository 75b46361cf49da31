#pragma once

// For preloaded modules: how the standard library starts each std::thread. A module defines StartThread, and calls
// StartRealThread in it.

#include <dlfcn.h>

#include <memory>
#include <thread>

// What the standard library calls to run a thread. The layout is that of its own std::thread::_State, which newer
// versions keep private.
class ThreadState
{
public:
    ThreadState() = default;
    virtual ~ThreadState() = default;
    ThreadState(const ThreadState&) = delete;
    ThreadState& operator=(const ThreadState&) = delete;
    virtual void Run() = 0;
};

using ThreadStatePointer = std::unique_ptr<ThreadState>;

#define START_THREAD_SYMBOL "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE"

/// The module's function, in the place of the standard library's.
void StartThread(std::thread* self, ThreadStatePointer state, void (*depend)()) __asm__(START_THREAD_SYMBOL);

/// The standard library's function.
inline void StartRealThread(std::thread* self, ThreadStatePointer state, void (*depend)())
{
    using Function = void (*)(std::thread*, ThreadStatePointer, void (*)());
    reinterpret_cast<Function>(dlsym(RTLD_NEXT, START_THREAD_SYMBOL))(self, std::move(state), depend);
}
