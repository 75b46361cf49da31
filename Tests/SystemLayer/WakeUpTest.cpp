#include "System/WakeUp.h"

#include <gtest/gtest.h>

#include <poll.h>
#include <sys/resource.h>

#include <stdexcept>
#include <string>
#include <thread>

using System::WakeUp;

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

// While it lives, this process may open nothing. The sanitizers need descriptors for their checks: nothing else happens then.
class NothingMayBeOpened
{
public:
    NothingMayBeOpened()
    {
        getrlimit(RLIMIT_NOFILE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
    }

    ~NothingMayBeOpened()
    {
        setrlimit(RLIMIT_NOFILE, &before);
    }

    NothingMayBeOpened(const NothingMayBeOpened&) = delete;
    NothingMayBeOpened& operator=(const NothingMayBeOpened&) = delete;

private:
    rlimit before{};
};

TEST(WakeUp, SaysThatTheSystemHasNoDescriptorToGive)
{
    std::string message;
    try
    {
        const NothingMayBeOpened limit;
        const WakeUp wakeUp;
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
    }
    EXPECT_EQ(message, "cannot make an event descriptor: Too many open files");
}

} // namespace
