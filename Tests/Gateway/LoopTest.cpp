#include "Loop.h"

#include "CapturedLog.h"

#include "BenchKit/ProcessFiles.h"
#include "System/Descriptor.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <optional>
#include <vector>

using namespace OrvelGateway;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace
{

auto Soon()
{
    return std::chrono::steady_clock::now();
}

// Until nothing more can be sent.
void Fill(const System::Descriptor& socket)
{
    while (send(socket.Number(), "a", 1, MSG_DONTWAIT) == 1)
    {
    }
}

// Ends the loop after everything that was due before.
class End
{
public:
    explicit End(Loop& loop)
        : timer(loop, [] { std::raise(SIGTERM); })
    {
        timer.Set(Soon() + 50ms);
    }

private:
    Timer timer;
};

// A loop leaves its signals blocked, and one that is blocked cannot be ignored.
class LoopTest : public testing::Test
{
protected:
    LoopTest()
    {
        pthread_sigmask(SIG_BLOCK, nullptr, &before);
    }

    ~LoopTest() override
    {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

private:
    sigset_t before{};
};

TEST_F(LoopTest, RunsUntilASignalThatAsksForIt)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        Loop loop;
        Timer timer(loop, [signal] { std::raise(signal); });
        timer.Set(Soon());
        EXPECT_EQ(loop.Run(), signal);
    }
}

TEST_F(LoopTest, GoesOnAfterAHangupThatWasIgnoredBefore)
{
    std::signal(SIGHUP, SIG_IGN);
    {
        Loop loop;
        const End end(loop);
        std::raise(SIGHUP);
        EXPECT_EQ(loop.Run(), SIGTERM);
    }
    std::signal(SIGHUP, SIG_DFL);
}

TEST_F(LoopTest, DoesNotRunAfterASignalThatCameBefore)
{
    Loop loop;
    std::raise(SIGTERM);
    EXPECT_EQ(loop.Run(), SIGTERM);
}

TEST_F(LoopTest, CallsOnceForEachWait)
{
    Loop loop;
    const System::Pipe pipe;
    std::vector<char> read;
    std::optional<Watch> watch;
    watch.emplace(loop, pipe.reading.Number(),
                  [&]
                  {
                      char byte = 0;
                      EXPECT_EQ(::read(pipe.reading.Number(), &byte, 1), 1);
                      read.push_back(byte);
                      if (byte != 'c')
                      {
                          watch->AwaitReadable();
                          watch->AwaitReadable(); // the same wait
                      }
                  });
    EXPECT_EQ(write(pipe.writing.Number(), "abcd", 4), 4);
    watch->AwaitReadable();
    const End end(loop);
    loop.Run();
    EXPECT_THAT(read, ElementsAre('a', 'b', 'c'));
}

TEST_F(LoopTest, TellsReadingFromWriting)
{
    Loop loop;
    const System::SocketPair pair;
    std::vector<std::string> calls;
    Watch watch(
        loop, pair.one.Number(), [&] { calls.emplace_back("readable"); }, [&] { calls.emplace_back("writable"); });
    watch.AwaitReadable();
    watch.AwaitWritable();
    const End end(loop);
    loop.Run();
    EXPECT_THAT(calls, ElementsAre("writable"));
}

TEST_F(LoopTest, DoesNotCallForAWatchThatHasGone)
{
    Loop loop;
    const System::Pipe pipe;
    EXPECT_EQ(write(pipe.writing.Number(), "a", 1), 1);
    std::optional<Watch> watch;
    int calls = 0;
    watch.emplace(loop, pipe.reading.Number(),
                  [&]
                  {
                      ++calls;
                      watch->AwaitReadable();
                      watch.reset(); // from inside, with a wait under way
                  });
    watch->AwaitReadable();
    const End end(loop);
    loop.Run();
    EXPECT_EQ(calls, 1);
    char byte = 0;
    EXPECT_EQ(read(pipe.reading.Number(), &byte, 1), 1); // and the descriptor is still its owner's
}

TEST_F(LoopTest, DoesNotCallForAWatchThatHasGoneInAnothersCall)
{
    Loop loop;
    const System::Pipe first;
    const System::Pipe second;
    std::optional<Watch> one;
    std::optional<Watch> other;
    int calls = 0;
    const auto endBoth = [&]
    {
        ++calls;
        one.reset();
        other.reset();
    };
    one.emplace(loop, first.reading.Number(), endBoth);
    other.emplace(loop, second.reading.Number(), endBoth);
    one->AwaitReadable();
    other->AwaitReadable();
    EXPECT_EQ(write(first.writing.Number(), "a", 1), 1);
    EXPECT_EQ(write(second.writing.Number(), "a", 1), 1);
    const End end(loop);
    loop.Run();
    EXPECT_EQ(calls, 1);
}

TEST_F(LoopTest, GivesWhatWasSentBeforeTheOtherEndWasClosed)
{
    Loop loop;
    System::SocketPair pair(SOCK_SEQPACKET | SOCK_CLOEXEC);
    std::string read;
    std::optional<Watch> watch;
    watch.emplace(loop, pair.one.Number(),
                  [&]
                  {
                      char byte = '.';
                      read += recv(pair.one.Number(), &byte, 1, MSG_DONTWAIT) == 0 ? '.' : byte;
                      if (byte != '.')
                      {
                          watch->AwaitReadable();
                      }
                  });
    EXPECT_EQ(write(pair.other.Number(), "a", 1), 1);
    EXPECT_EQ(write(pair.other.Number(), "b", 1), 1);
    pair.other.Close();
    watch->AwaitReadable();
    const End end(loop);
    loop.Run();
    EXPECT_EQ(read, "ab.");
}

TEST_F(LoopTest, CallsWhereOnlyAFailureIsLeft)
{
    Loop loop;
    System::Pipe empty;
    System::Pipe full(O_CLOEXEC | O_NONBLOCK);
    while (write(full.writing.Number(), "a", 1) == 1)
    {
    }
    std::vector<std::string> calls;
    Watch reading(loop, empty.reading.Number(), [&] { calls.emplace_back("readable"); });
    Watch writing(
        loop, full.writing.Number(), [] {}, [&] { calls.emplace_back("writable"); });
    reading.AwaitReadable();
    writing.AwaitWritable();
    empty.writing.Close();
    full.reading.Close();
    const End end(loop);
    loop.Run();
    EXPECT_THAT(calls, UnorderedElementsAre("readable", "writable"));
}

TEST_F(LoopTest, RestsWhileTheOtherEndOnlyCannotSendAnyMore)
{
    Loop loop;
    const System::SocketPair pair(SOCK_SEQPACKET | SOCK_CLOEXEC);
    Fill(pair.one);
    int calls = 0;
    Watch watch(
        loop, pair.one.Number(), [] {}, [&] { ++calls; });
    watch.AwaitWritable();
    EXPECT_EQ(shutdown(pair.other.Number(), SHUT_WR), 0);
    const auto sleeps = [] { return std::stol(StatusOf(getpid(), "voluntary_ctxt_switches")); };
    const long sleepsBefore = sleeps();
    const End end(loop);
    loop.Run();
    EXPECT_EQ(calls, 0);
    EXPECT_GT(sleeps(), sleepsBefore); // instead of being told again and again
}

TEST_F(LoopTest, TriesAgainToWaitForWhatTheSystemRefuses)
{
    const auto log = UnitTests::CapturedLog::Attach();
    Loop loop;
    const System::Pipe pipe;
    EXPECT_EQ(write(pipe.writing.Number(), "a", 1), 1);
    const System::Descriptor later(open("/dev/null", O_RDONLY | O_CLOEXEC)); // which no system can wait for
    Watch refused(loop, later.Number(), [] { std::raise(SIGTERM); });
    refused.AwaitReadable();
    EXPECT_TRUE(log->Await("WARN Loop Cannot wait for an event, trying again: Operation not permitted"));
    std::optional<Watch> gone;
    gone.emplace(loop, later.Number(), [] { ADD_FAILURE() << "called for a watch that has gone"; });
    gone->AwaitReadable();
    gone.reset();
    int times = 0;
    std::optional<Timer> timer;
    timer.emplace(loop,
                  [&]
                  {
                      if (++times == 2) // once it was refused again
                      {
                          EXPECT_NE(dup2(pipe.reading.Number(), later.Number()), -1);
                      }
                      timer->Set(Soon());
                  });
    timer->Set(Soon());
    EXPECT_EQ(loop.Run(), SIGTERM);
}

TEST_F(LoopTest, CallsForTheLastTimeThatWasSet)
{
    Loop loop;
    std::vector<std::string> calls;
    Timer timer(loop, [&] { calls.emplace_back("set again"); });
    timer.Set(Soon() + 1h);
    timer.Set(Soon());
    std::optional<Timer> gone;
    gone.emplace(loop, [&] { calls.emplace_back("gone"); });
    gone->Set(Soon());
    gone.reset();
    const End end(loop);
    loop.Run();
    EXPECT_THAT(calls, ElementsAre("set again"));
}

} // namespace
