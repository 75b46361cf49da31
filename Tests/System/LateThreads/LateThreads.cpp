// Preloaded, it makes each thread of a program begin its work a little later than it was started.
//
// Under the thread sanitizer a new thread runs before the call that starts it returns. The daemon's LED worker then always
// comes before its table is filled, which otherwise takes a busy machine and bad luck, and serves no LED.

#include <dlfcn.h>

#include <chrono>
#include <memory>
#include <thread>

// What the standard library calls to run a thread, laid out as its own std::thread::_State, to which newer versions deny
// access.
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

namespace
{

class LateState : public ThreadState
{
public:
    explicit LateState(ThreadStatePointer threadState)
        : state(std::move(threadState))
    {
    }

    void Run() override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        state->Run();
    }

private:
    ThreadStatePointer state;
};

using StartThread = void (*)(std::thread* self, ThreadStatePointer state, void (*depend)());
constexpr const char* StartThreadName =
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE";

} // namespace

// The standard library's own function that every std::thread is started by.
void StartThreadLate(std::thread* self, ThreadStatePointer state, void (*depend)()) __asm__(
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE");

void StartThreadLate(std::thread* self, ThreadStatePointer state, void (*depend)())
{
    const auto start = reinterpret_cast<StartThread>(dlsym(RTLD_NEXT, StartThreadName));
    start(self, std::make_unique<LateState>(std::move(state)), depend);
}
