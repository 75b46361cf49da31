#include "Sleep.h"

#include "ComponentTest.h"

#include <sys/time.h>

#include <algorithm>
#include <csignal>
#include <initializer_list>

namespace
{

using namespace UnitTests;
using namespace std::chrono_literals;

class Sleep : public ComponentTest
{
protected:
    struct Request
    {
        time_t seconds;
        long nanoseconds;
    };

    // Records each request. Answers the first ones with `error`, and with 2 s and 5 ns that remain.
    void FailFirst(int count, int error)
    {
        Kernel::Nanosleep.Replace(
            [this, count, error](const timespec* request, timespec* remaining)
            {
                requests.push_back({request->tv_sec, request->tv_nsec});
                if (static_cast<int>(requests.size()) > count)
                {
                    return 0;
                }
                *remaining = {2, 5};
                errno = error;
                return -1;
            });
    }

    void ExpectRequests(std::initializer_list<Request> expected) const
    {
        ASSERT_EQ(requests.size(), expected.size());
        auto made = requests.begin();
        for (const Request& request : expected)
        {
            EXPECT_EQ(made->seconds, request.seconds);
            EXPECT_EQ(made->nanoseconds, request.nanoseconds);
            ++made;
        }
    }

    std::vector<Request> requests;
};

TEST_F(Sleep, AsksForTheWholeDurationAtOnce)
{
    FailFirst(0, 0);
    OrvelDriver::Sleep(250ms);
    ExpectRequests({{0, 250000000}});
}

TEST_F(Sleep, SplitsADurationIntoSecondsAndNanoseconds)
{
    FailFirst(0, 0);
    OrvelDriver::Sleep(3s + 7ns);
    ExpectRequests({{3, 7}});
}

TEST_F(Sleep, ResumesWithTheRemainingTimeAfterEachSignal)
{
    FailFirst(2, EINTR);
    OrvelDriver::Sleep(9s);
    ExpectRequests({{9, 0}, {2, 5}, {2, 5}});
}

TEST_F(Sleep, EndsAfterAnyOtherFailure)
{
    FailFirst(1, EINVAL);
    OrvelDriver::Sleep(9s);
    ExpectRequests({{9, 0}});
}

TEST_F(Sleep, IsNotShortenedByRealSignals)
{
    struct sigaction ignoring = {};
    struct sigaction previous = {};
    ignoring.sa_handler = [](int) {};
    sigaction(SIGALRM, &ignoring, &previous);
    const itimerval everyMillisecond{{0, 1000}, {0, 1000}};
    const itimerval never{};
    setitimer(ITIMER_REAL, &everyMillisecond, nullptr);

    // A starved machine may deliver all signals only when the time is over.
    int sleeps = 0;
    auto shortest = std::chrono::steady_clock::duration::max();
    do
    {
        const auto begin = std::chrono::steady_clock::now();
        OrvelDriver::Sleep(40ms);
        shortest = std::min(shortest, std::chrono::steady_clock::now() - begin);
        ++sleeps;
    } while (Kernel::Nanosleep.Calls() == sleeps && sleeps < 100);

    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &previous, nullptr);
    EXPECT_GE(shortest, 40ms);
    EXPECT_GT(Kernel::Nanosleep.Calls(), sleeps); // it was interrupted indeed
}

} // namespace
