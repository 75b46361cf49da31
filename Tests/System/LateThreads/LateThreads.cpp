// Preloaded, it makes each thread of a program begin its work a little later than it was started.
//
// Under the thread sanitizer a new thread runs before the call that starts it returns. The daemon's LED worker then always
// comes before its table is filled, which otherwise takes a busy machine and bad luck, and serves no LED.

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
