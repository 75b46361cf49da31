// When preloaded, it delays the work of each new thread of a program a little.
//
// Under the thread sanitizer a new thread runs before the call that starts it returns. The daemon's LED worker then
// always comes before its table is filled, and serves no LED. Otherwise this takes a busy machine and bad luck.

#include "ThreadStart.h"

#include <chrono>
#include <utility>

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

} // namespace

void StartThread(std::thread* self, ThreadStatePointer state, void (*depend)())
{
    StartRealThread(self, std::make_unique<LateState>(std::move(state)), depend);
}
