// Preloaded, it lets each thread of a program come before whatever the program does after it has started it.
//
// The daemon's LED worker then comes before its table is filled, which otherwise takes a busy machine and bad luck, and
// serves no LED.

#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <string>
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

using namespace std::chrono_literals;

class EarlyState : public ThreadState
{
public:
    EarlyState(ThreadStatePointer threadState, std::shared_ptr<std::atomic<pid_t>> whoRuns)
        : state(std::move(threadState))
        , runs(std::move(whoRuns))
    {
    }

    void Run() override
    {
        *runs = gettid();
        state->Run();
    }

private:
    ThreadStatePointer state;
    std::shared_ptr<std::atomic<pid_t>> runs;
};

// Whether the thread waits for something, or is gone.
bool Sleeps(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string word;
    char state = 'X';
    file >> word >> word >> state;
    return state != 'R' && state != 'D';
}

using StartThread = void (*)(std::thread* self, ThreadStatePointer state, void (*depend)());
constexpr const char* StartThreadName =
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE";

} // namespace

// The standard library's own function that every std::thread is started by.
void StartThreadEarly(std::thread* self, ThreadStatePointer state, void (*depend)()) __asm__(
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE");

void StartThreadEarly(std::thread* self, ThreadStatePointer state, void (*depend)())
{
    const auto start = reinterpret_cast<StartThread>(dlsym(RTLD_NEXT, StartThreadName));
    const auto runs = std::make_shared<std::atomic<pid_t>>(0);
    start(self, std::make_unique<EarlyState>(std::move(state), runs), depend);
    while (*runs == 0 || !Sleeps(*runs))
    {
        std::this_thread::sleep_for(1ms);
    }
}
