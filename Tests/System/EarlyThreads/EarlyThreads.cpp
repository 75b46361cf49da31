// When preloaded, it runs each new thread of a program before the program goes on.
//
// The daemon's LED worker then comes before its table is filled, and serves no LED. Otherwise this takes a busy
// machine and bad luck.

#include "ThreadStart.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <string>
#include <utility>

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

// Whether the thread waits for something, or has ended.
bool Sleeps(pid_t thread)
{
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string word;
    char state = 'X';
    file >> word >> word >> state;
    return state != 'R' && state != 'D';
}

} // namespace

void StartThread(std::thread* self, ThreadStatePointer state, void (*depend)())
{
    const auto runs = std::make_shared<std::atomic<pid_t>>(0);
    StartRealThread(self, std::make_unique<EarlyState>(std::move(state), runs), depend);
    while (*runs == 0 || !Sleeps(*runs))
    {
        std::this_thread::sleep_for(1ms);
    }
}
