#include "System/WakeUp.h"

#include <gmock/gmock.h>

#include <poll.h>
#include <sys/resource.h>

#include <stdexcept>
#include <thread>

using System::WakeUp;
using testing::ThrowsMessage;

namespace
{

constexpr int Patience = 30'000; // ms; only a test that fails waits as long

bool IsReadable(const WakeUp& wakeUp, int timeout = 0)
{
    pollfd entry{wakeUp.Descriptor(), POLLIN, 0};
    return poll(&entry, 1, timeout) == 1;
}

TEST(WakeUp, EndsAPollOfAnotherThread)
{
    const WakeUp wakeUp;
    EXPECT_FALSE(IsReadable(wakeUp));
    std::thread other([&wakeUp] { wakeUp.Signal(); });
    EXPECT_TRUE(IsReadable(wakeUp, Patience));
    other.join();
}

TEST(WakeUp, TakesAllSignalsBackAtOnceAndSaysWhetherThereWereAny)
{
    const WakeUp wakeUp;
    wakeUp.Signal();
    wakeUp.Signal();
    EXPECT_TRUE(wakeUp.Clear());
    EXPECT_FALSE(IsReadable(wakeUp));
    EXPECT_FALSE(wakeUp.Clear());
    wakeUp.Signal();
    EXPECT_TRUE(IsReadable(wakeUp));
}

TEST(WakeUp, SaysThatTheSystemHasNoDescriptorToGive)
{
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_THAT([] { const WakeUp wakeUp; },
                ThrowsMessage<std::runtime_error>("cannot make an event descriptor: Too many open files"));
    setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
