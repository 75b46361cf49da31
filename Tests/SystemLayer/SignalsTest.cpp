#include "System/Signals.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <csignal>

using System::Signals;

namespace
{

bool IsReadable(const Signals& signals)
{
    pollfd entry{signals.Descriptor(), POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

TEST(Signals, AreTakenOneAfterTheOtherAndDoNothingElse)
{
    const Signals signals({SIGUSR1, SIGUSR2});
    EXPECT_FALSE(IsReadable(signals));
    EXPECT_EQ(signals.Take(), 0);
    raise(SIGUSR2);
    raise(SIGUSR1);
    EXPECT_TRUE(IsReadable(signals));
    EXPECT_EQ(signals.Take() + signals.Take(), SIGUSR1 + SIGUSR2);
    EXPECT_EQ(signals.Take(), 0);
    EXPECT_FALSE(IsReadable(signals));
}

TEST(Signals, ThatAskToStopAreThree)
{
    const System::StopSignals signals;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        raise(signal);
        EXPECT_EQ(signals.Take(), signal);
    }
}

} // namespace
