// Preloaded, it makes each thread of a program begin its work a little later than it was started.
//
// Under the thread sanitizer a new thread runs before the call that starts it returns. The daemon's LED worker then always
// comes before its table is filled, which otherwise takes a busy machine and bad luck, and serves no LED.

#include <dlfcn.h>

#include <chrono>
#include <memory>
#include <thread>

namespace
{

class LateState : public std::thread::_State
{
public:
    explicit LateState(std::thread::_State_ptr threadState)
        : state(std::move(threadState))
    {
    }

    void _M_run() override
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        state->_M_run();
    }

private:
    std::thread::_State_ptr state;
};

using StartThread = void (*)(std::thread* self, std::thread::_State_ptr state, void (*depend)());
constexpr const char* StartThreadName =
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE";

} // namespace

// The standard library's own function that every std::thread is started by.
void StartThreadLate(std::thread* self, std::thread::_State_ptr state, void (*depend)()) __asm__(
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE");

void StartThreadLate(std::thread* self, std::thread::_State_ptr state, void (*depend)())
{
    const auto start = reinterpret_cast<StartThread>(dlsym(RTLD_NEXT, StartThreadName));
    start(self, std::make_unique<LateState>(std::move(state)), depend);
}
