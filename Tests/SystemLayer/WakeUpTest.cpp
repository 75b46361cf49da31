#include "System/WakeUp.h"

#include "BenchKit/Await.h"
#include "BenchKit/ResourceLimit.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <stdexcept>
#include <string>
#include <thread>

using System::WakeUp;

namespace
{

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
    EXPECT_TRUE(IsReadable(wakeUp, PatienceMilliseconds));
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
    std::string message;
    try
    {
        // Nothing else happens meanwhile: the sanitizers need descriptors for their checks.
        const ResourceLimit noDescriptors(RLIMIT_NOFILE, 0);
        const WakeUp wakeUp;
    }
    catch (const std::runtime_error& error)
    {
        message = error.what();
    }
    EXPECT_EQ(message, "cannot make an event descriptor: Too many open files");
}

} // namespace
