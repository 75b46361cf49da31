// The whole gateway in this process, where its use of the heap can be counted.

#include "Server.h"

#include "Allocations.h"
#include "CapturedLog.h"

#include "BenchKit/GatewayUser.h"
#include "BenchKit/MadeQueue.h"
#include "BenchKit/Messages.h"
#include "BenchKit/Queue.h"
#include "BenchKit/TemporaryDirectory.h"
#include "System/Descriptor.h"
#include "System/Signals.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <mqueue.h>
#include <sys/epoll.h>
#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace OrvelGateway;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace
{

std::atomic<bool> isFull = false;

} // namespace

// The event library's way to wait for one more descriptor, for which the system can have no room.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's are reserved
extern "C" int epoll_ctl(int epoll, int operation, int descriptor, epoll_event* event) noexcept
{
    if (isFull && operation == EPOLL_CTL_ADD)
    {
        errno = ENOSPC;
        return -1;
    }
    return static_cast<int>(syscall(SYS_epoll_ctl, epoll, operation, descriptor, event));
}

// The gateway's way to read a queue. It can fail.
extern "C" ssize_t __wrap_mq_receive(mqd_t queue, char* message, std::size_t size, unsigned* priority);
extern "C" ssize_t __real_mq_receive(mqd_t queue, char* message, std::size_t size, unsigned* priority);

namespace
{

std::atomic<bool> nextFails = false;

} // namespace

ssize_t __wrap_mq_receive(mqd_t queue, char* message, std::size_t size, unsigned* priority)
{
    const ssize_t received = __real_mq_receive(queue, message, size, priority);
    if (received != -1 && nextFails.exchange(false))
    {
        errno = EBADMSG; // the message is lost
        return -1;
    }
    return received;
}

namespace
{

constexpr const char* Request = "11 00 bc e0 00 00 0a 03 01 00 81";
constexpr const char* Confirmation = "2e 00 bc e0 00 00 0a 03 01 00 81";
constexpr const char* SwitchOn = "29 00 bc e0 11 01 0a 03 01 00 81";
constexpr const char* Usable = "b9 00 01";
constexpr const char* Lost = "b9 ff ff";
constexpr const char* Pressed = "ba 00";

// The codes of the next messages, which may come in any order.
std::vector<std::string> Codes(const GatewayUser& user, int messages)
{
    std::vector<std::string> codes;
    for (int i = 0; i < messages; ++i)
    {
        codes.push_back(user.Receive().substr(3, 2));
    }
    return codes;
}

class ServerTest : public testing::Test
{
protected:
    ServerTest()
    {
        options.socket = directory.File("socket");
        listening.emplace(options.socket);
    }

    ~ServerTest() override
    {
        Stop();
    }

    void Start()
    {
        System::BlockSignals({SIGTERM}); // also in the thread, from its beginning
        thread = std::thread([this] { Run(); });
    }

    // A program that knows that the link is usable.
    GatewayUser StartWithUsableLink()
    {
        fromLink->PutFrame(Usable);
        Start();
        GatewayUser user(options.socket);
        EXPECT_EQ(user.Receive(), AsMessage(Usable));
        return user;
    }

    void Stop()
    {
        if (thread.joinable())
        {
            // NOLINTNEXTLINE(bugprone-bad-signal-to-kill-thread): it is blocked there, and ends the loop only
            pthread_kill(thread.native_handle(), SIGTERM);
            thread.join();
        }
    }

    // How often the gateway has asked for memory so far.
    std::size_t Allocations()
    {
        counted = false;
        EXPECT_EQ(write(question.writing.Number(), "?", 1), 1);
        while (!counted)
        {
            std::this_thread::yield();
        }
        return count;
    }

    std::optional<MadeQueue> fromLink{std::in_place, "/cemiFromLL"};
    const MadeQueue toLink{"/cemiToLL"};
    const MadeQueue button{"/progButton", 6, 1};
    Options options;

private:
    void Run()
    {
        Loop loop;
        Watch* asked = nullptr;
        Watch watch(loop, question.reading.Number(),
                    [this, &asked]
                    {
                        char ignored = 0;
                        count = UnitTests::allocations;
                        EXPECT_EQ(read(question.reading.Number(), &ignored, 1), 1);
                        counted = true;
                        asked->AwaitReadable();
                    });
        asked = &watch;
        watch.AwaitReadable();
        Server server(loop, options, *listening); // last: it serves programs while it is made
        EXPECT_EQ(loop.Run(), SIGTERM);
    }

    System::Pipe question;
    std::atomic<bool> counted = false;
    std::size_t count = 0;
    const TemporaryDirectory directory;
    std::optional<ListeningSocket> listening;
    std::thread thread;
};

TEST_F(ServerTest, UsesNoHeapOnAFramesWay)
{
    Start();
    std::vector<GatewayUser> users;
    for (int i = 0; i < 8; ++i)
    {
        users.emplace_back(options.socket);
        EXPECT_THAT(Codes(users.back(), 1), ElementsAre("b9"));
    }
    const auto talk = [&](int times)
    {
        for (int i = 0; i < times; ++i)
        {
            users[0].Send(Request);
            ASSERT_EQ(toLink.AwaitMessage(), AsMessage(Request));
            fromLink->PutFrame(Confirmation);
            EXPECT_THAT(Codes(users[0], 1), ElementsAre("2e"));
            fromLink->PutFrame(SwitchOn);
            button.Put({0x00});
            EXPECT_THAT(Codes(users[0], 2), UnorderedElementsAre("29", "ba"));
            for (std::size_t other = 1; other < users.size(); ++other)
            {
                EXPECT_THAT(Codes(users[other], 3), UnorderedElementsAre("29", "29", "ba"));
            }
        }
    };
    talk(20);
    const std::size_t before = Allocations();
    talk(200);
    EXPECT_EQ(Allocations(), before);
}

TEST_F(ServerTest, TellsAProgramFirstOfTheLinkAlsoWhereAPressWaits)
{
    button.Put({0x00}); // and the link is silent: its state is known after a second
    Start();
    const GatewayUser user(options.socket);
    EXPECT_EQ(user.Receive(), AsMessage(Usable));
    EXPECT_EQ(user.Receive(), AsMessage(Pressed));
}

TEST_F(ServerTest, KeepsAPressForAProgramThatStays)
{
    fromLink->PutFrame(Usable);
    button.Put({0x00});
    Start();
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(GatewayUser(options.socket).Receive(), AsMessage(Usable)); // and it has gone again
    }
    const GatewayUser user(options.socket);
    EXPECT_EQ(user.Receive(), AsMessage(Usable));
    EXPECT_EQ(user.Receive(), AsMessage(Pressed));
}

TEST_F(ServerTest, GoesOnWithoutTheButtonUntilTheSystemCanWaitForIt)
{
    const auto log = UnitTests::CapturedLog::Attach();
    options.buttonQueue = "/doorbell";
    const GatewayUser user = StartWithUsableLink();
    isFull = true;
    const MadeQueue doorbell("/doorbell", 6, 1);
    EXPECT_TRUE(log->Await("WARN Loop Cannot wait for an event, trying again: No space left on device"));
    fromLink->PutFrame(SwitchOn);
    EXPECT_EQ(user.Receive(), AsMessage(SwitchOn));
    isFull = false;
    doorbell.Put({0x00});
    EXPECT_EQ(user.Receive(), AsMessage(Pressed));
}

TEST_F(ServerTest, GivesProgramsThatWaitForItWhatWaitsInTheQueue)
{
    std::vector<GatewayUser> users; // the socket is there before the gateway, as that of the service manager
    for (int i = 0; i < 32; ++i)
    {
        users.emplace_back(options.socket);
    }
    fromLink->PutFrame(SwitchOn);
    fromLink->PutFrame(SwitchOn);
    Start();
    for (const GatewayUser& user : users)
    {
        EXPECT_EQ(user.Receive(), AsMessage(Usable));
        EXPECT_EQ(user.Receive(), AsMessage(SwitchOn));
        EXPECT_EQ(user.Receive(), AsMessage(SwitchOn));
    }
}

TEST_F(ServerTest, TellsThatTheDaemonWasKilledAndThatTheNextOneGoesOnWithItsQueues)
{
    const GatewayUser user = StartWithUsableLink();
    {
        const Queue daemon("/cemiFromLL", Queue::For::Writing); // which is closed, and stays
        EXPECT_TRUE(daemon.Send(WithSize(Knx::FromHex(SwitchOn))));
    }
    EXPECT_EQ(user.Receive(), AsMessage(SwitchOn));
    EXPECT_EQ(user.Receive(), AsMessage(Lost));
    user.Send(Request);
    EXPECT_THAT(Codes(user, 1), ElementsAre("2e")); // refused
    fromLink->PutFrame(Usable);
    EXPECT_EQ(user.Receive(), AsMessage(Usable));
    user.Send(Request);
    EXPECT_EQ(toLink.AwaitMessage(), AsMessage(Request));
    fromLink->PutFrame(Confirmation);
    EXPECT_EQ(user.Receive(), AsMessage(Confirmation));
}

TEST_F(ServerTest, FindsTheLinkUsableAgainAfterAQueueThatFailedOnce)
{
    const GatewayUser user = StartWithUsableLink();
    nextFails = true;
    fromLink->PutFrame(SwitchOn);
    EXPECT_EQ(user.Receive(), AsMessage(Lost));
    EXPECT_EQ(user.Receive(), AsMessage(Usable)); // nothing has come from the daemon, which is there and has no news
}

TEST_F(ServerTest, WaitsForTheNextDaemonsLinkWhereOneHasGoneAfterAQueueThatFailed)
{
    const auto log = UnitTests::CapturedLog::Attach();
    const GatewayUser user = StartWithUsableLink();
    nextFails = true;
    fromLink->PutFrame(SwitchOn);
    fromLink.reset();
    EXPECT_EQ(user.Receive(), AsMessage(Lost));
    EXPECT_TRUE(log->Await("WARN Daemon No daemon: waiting for its queues"));
    fromLink.emplace("/cemiFromLL");
    EXPECT_TRUE(log->Await("INFO Daemon Opened the queues of the daemon", 2));
    user.Send(Request);
    EXPECT_THAT(Codes(user, 1), ElementsAre("2e")); // refused, before anything is told of the link
    EXPECT_EQ(toLink.Take(), "nothing");
}

TEST_F(ServerTest, RefusesInTimeAlsoWhereTheLinkHasBecomeUsableEarly)
{
    options.hub.confirmTimeout = std::chrono::milliseconds(100);
    auto shortest = std::chrono::steady_clock::duration::max();
    for (int starts = 0; starts < 3; ++starts)
    {
        Start();
        Allocations(); // it waits for the link now, for a second
        fromLink->PutFrame(Usable);
        const GatewayUser user(options.socket);
        EXPECT_EQ(user.Receive(), AsMessage(Usable));
        const auto begin = std::chrono::steady_clock::now();
        user.Send(Request);
        EXPECT_THAT(Codes(user, 1), ElementsAre("2e"));
        shortest = std::min(shortest, std::chrono::steady_clock::now() - begin);
        Stop();
    }
    EXPECT_LT(shortest, std::chrono::milliseconds(700));
}

TEST_F(ServerTest, WaitsForADaemonWhoseQueueSomebodyElseHasLocked)
{
    const auto log = UnitTests::CapturedLog::Attach();
    const GatewayUser user = StartWithUsableLink();
    System::Descriptor locked;
    do // the gateway can be quicker
    {
        fromLink.reset();
        fromLink.emplace("/cemiFromLL");
        locked = System::Descriptor(mq_open("/cemiFromLL", O_RDONLY | O_CLOEXEC));
    } while (flock(locked.Number(), LOCK_EX | LOCK_NB) == -1);
    EXPECT_TRUE(log->Await("WARN Daemon No daemon: another program has locked /cemiFromLL"));
    locked.Close();
    EXPECT_EQ(user.Receive(), AsMessage(Lost));
    fromLink->PutFrame(Usable);
    EXPECT_EQ(user.Receive(), AsMessage(Usable));
}

TEST_F(ServerTest, ReadsTheNextDaemonsQueueBeforeABusyLineHasFilledIt)
{
    const GatewayUser user = StartWithUsableLink();
    auto shortest = std::chrono::steady_clock::duration::max();
    for (int restarts = 0; restarts < 10; ++restarts)
    {
        fromLink.reset();
        EXPECT_EQ(user.Receive(), AsMessage(Lost));
        const auto begin = std::chrono::steady_clock::now();
        fromLink.emplace("/cemiFromLL");
        fromLink->PutFrame(Usable);
        EXPECT_EQ(user.Receive(), AsMessage(Usable));
        shortest = std::min(shortest, std::chrono::steady_clock::now() - begin);
    }
    // It looks each 0.1 s. If it only looked each second, it would have to wait that long after it has found the old one gone.
    EXPECT_LT(shortest, std::chrono::milliseconds(700));
}

} // namespace
