#include "Leds.h"

#include "Allocations.h"
#include "Await.h"
#include "ComponentTest.h"
#include "ScriptedPoll.h"
#include "ScriptedUleds.h"
#include "Workers.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>

namespace
{

using namespace UnitTests;

using LedNames = std::map<int, std::string>;

const LedNames Configured{{0, "red"}, {1, "yellow"}, {2, "green"}, {3, "orange"}, {4, "termination"}};
constexpr bool WithRs485 = true;
constexpr bool WithoutRs485 = false;
constexpr short PollEvents = 0x83; // POLLIN, POLLPRI and POLLRDBAND

// The record that registers an LED: 64 bytes of name, then the greatest brightness.
Bytes Record(const std::string& name)
{
    Bytes record(name.begin(), name.end());
    record.resize(64);
    record.insert(record.end(), {100, 0, 0, 0});
    return record;
}

// Two loggers of one name are the same bytes, because each is only a reference.
template<std::size_t Size>
bool HasCopy(const std::array<std::byte, Size>& room, const log4cplus::Logger& logger)
{
    const auto* const bytes = reinterpret_cast<const std::byte*>(&logger);
    return std::search(room.begin(), room.end(), bytes, bytes + sizeof(logger)) != room.end();
}

class Leds : public ComponentTest
{
protected:
    ~Leds() override
    {
        leds.reset();
    }

    // The worker waits until the table is complete. Otherwise only chance would let it find the rows.
    void Start(const LedNames& names, bool enableRs485)
    {
        const HeldWorkers held;
        leds.emplace(ScriptedHub::Hub(), names, enableRs485);
    }

    // Waits until all LEDs are registered, and discards what was logged so far.
    void StartCompletely(const LedNames& names = Configured, bool enableRs485 = WithRs485)
    {
        Start(names, enableRs485);
        ASSERT_TRUE(polls.AwaitCalls(1));
        log->Clear();
    }

    bool AwaitFailure() const
    {
        return Await([this] { return leds->HasFailed(); });
    }

    // Waits until the worker has done everything that the polls so far required.
    bool AwaitNextPoll()
    {
        return polls.AwaitCalls(polls.Calls().size() + 1);
    }

    ScriptedUleds uleds;
    ScriptedPoll polls;
    std::optional<OrvelDriver::Leds> leds;
};

TEST_F(Leds, HasNoVirtualFunction)
{
    EXPECT_FALSE(std::is_polymorphic_v<OrvelDriver::Leds>);
}

// Registration

TEST_F(Leds, DoesNothingButStartItsWorkerInItsConstructor)
{
    const HeldWorkers held;
    leds.emplace(ScriptedHub::Hub(), Configured, WithRs485);
    EXPECT_EQ(uleds.Opened(), 0U);
    EXPECT_EQ(hub.Texts(), Texts{});
    EXPECT_EQ(log->Lines(), Texts{});
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, RegistersFourLedsInTheOrderOfTheTable)
{
    Start(Configured, WithoutRs485);
    ASSERT_TRUE(polls.AwaitCalls(1));
    EXPECT_EQ(uleds.Opened(), 4U);
    EXPECT_EQ(uleds.AwaitRecord(0), Record("red"));
    EXPECT_EQ(uleds.AwaitRecord(1), Record("yellow"));
    EXPECT_EQ(uleds.AwaitRecord(2), Record("green"));
    EXPECT_EQ(uleds.AwaitRecord(3), Record("orange"));
    EXPECT_EQ(log->Lines(),
              (Texts{"DEBUG Leds Created virtual led device red", "DEBUG Leds Created virtual led device yellow",
                     "DEBUG Leds Created virtual led device green", "DEBUG Leds Created virtual led device orange"}));
    EXPECT_FALSE(leds->HasFailed());
    EXPECT_EQ(hub.Texts(), Texts{}); // no state is sent at the start
}

TEST_F(Leds, RegistersTheRs485TerminationAsTheFifthWhenEnabled)
{
    Start(Configured, WithRs485);
    ASSERT_TRUE(polls.AwaitCalls(1));
    EXPECT_EQ(uleds.Opened(), 5U);
    EXPECT_EQ(uleds.AwaitRecord(0), Record("red"));
    EXPECT_EQ(uleds.AwaitRecord(4), Record("termination"));
    EXPECT_EQ(log->Lines().back(), "DEBUG Leds Created virtual led device termination");
}

TEST_F(Leds, UsesItsBuiltInNamesForAnEmptyMap)
{
    StartCompletely({}, WithRs485);
    EXPECT_EQ(uleds.AwaitRecord(0), Record("knx1"));
    EXPECT_EQ(uleds.AwaitRecord(1), Record("knx2"));
    EXPECT_EQ(uleds.AwaitRecord(2), Record("pow"));
    EXPECT_EQ(uleds.AwaitRecord(3), Record("tel"));
    EXPECT_EQ(uleds.AwaitRecord(4), Record("rs485termination"));
}

TEST_F(Leds, ReplacesOnlyTheNamesWhoseKeysTheMapHas)
{
    StartCompletely({{1, "yellow"}, {4, "unused"}}, WithoutRs485);
    EXPECT_EQ(uleds.Opened(), 4U);
    EXPECT_EQ(uleds.AwaitRecord(0), Record("knx1"));
    EXPECT_EQ(uleds.AwaitRecord(1), Record("yellow"));
    EXPECT_EQ(uleds.AwaitRecord(2), Record("pow"));
    EXPECT_EQ(uleds.AwaitRecord(3), Record("tel"));
}

TEST_F(Leds, IgnoresKeysThatNoLedHas)
{
    StartCompletely({{-1, "a"}, {5, "b"}, {3, "orange"}}, WithRs485);
    EXPECT_EQ(uleds.Opened(), 5U);
    EXPECT_EQ(uleds.AwaitRecord(0), Record("knx1"));
    EXPECT_EQ(uleds.AwaitRecord(3), Record("orange"));
    EXPECT_EQ(uleds.AwaitRecord(4), Record("rs485termination"));
}

TEST_F(Leds, CutsANameAfter63CharactersAndEndsItWithAZero)
{
    const std::string kept = "first" + std::string(57, 'x') + "l";
    ASSERT_EQ(kept.size(), 63U);
    StartCompletely({{0, kept.substr(0, 62)}, {1, kept}, {2, kept + "c"}, {3, kept + std::string(200, 'c')}});
    EXPECT_EQ(uleds.AwaitRecord(0), Record(kept.substr(0, 62)));
    EXPECT_EQ(uleds.AwaitRecord(1), Record(kept));
    EXPECT_EQ(uleds.AwaitRecord(2), Record(kept));
    EXPECT_EQ(uleds.AwaitRecord(3), Record(kept));
    EXPECT_EQ(Record(kept).at(63), 0);
}

TEST_F(Leds, LogsALongNameUncut)
{
    const std::string name(100, 'x');
    Start({{0, name}}, WithoutRs485);
    EXPECT_TRUE(log->Await("DEBUG Leds Created virtual led device " + name));
}

TEST_F(Leds, OpensAHandleForEachLedThatNoChildInherits)
{
    Kernel::Write.Replace(
        [](int fd, const void* data, std::size_t length)
        {
            EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC); // before there is an LED that could be inherited
            return Kernel::Write.Real(fd, data, length);
        });
    StartCompletely();
    for (std::size_t handle = 0; handle < 5; ++handle)
    {
        EXPECT_EQ(uleds.Flags(handle), O_RDWR | O_NONBLOCK);
        EXPECT_EQ(fcntl(uleds.Descriptor(handle), F_GETFD), FD_CLOEXEC);
    }
}

TEST_F(Leds, FailsWithoutTheKernelsSupport)
{
    Kernel::Open.FailAlways(ENOENT);
    Start(Configured, WithRs485);
    EXPECT_TRUE(AwaitFailure());
    leds.reset();
    EXPECT_EQ(log->Lines(), Texts{"ERROR Leds Failed to open /dev/uleds: No such file or directory"});
    EXPECT_EQ(Kernel::Open.Calls(), 1);
    EXPECT_EQ(Kernel::Write.Calls(), 0);
    EXPECT_EQ(polls.Calls().size(), 0U); // the worker has ended
}

TEST_F(Leds, KeepsTheLedsBeforeTheOneThatCannotBeOpenedAndTriesNoLaterOne)
{
    uleds.FailAt(2, EMFILE);
    Start(Configured, WithRs485);
    EXPECT_TRUE(AwaitFailure());
    leds.reset();
    EXPECT_EQ(log->Lines(),
              (Texts{"DEBUG Leds Created virtual led device red", "DEBUG Leds Created virtual led device yellow",
                     "ERROR Leds Failed to open /dev/uleds: Too many open files"}));
    EXPECT_EQ(Kernel::Open.Calls(), 3);
    EXPECT_EQ(Kernel::Close.Calls(), 0);
    EXPECT_NE(fcntl(uleds.Descriptor(1), F_GETFD), -1);
    EXPECT_EQ(polls.Calls().size(), 0U);
}

TEST_F(Leds, ClosesTheHandleAndFailsWhenARecordIsRefused)
{
    Kernel::Write.FailAt(2, EINVAL);
    std::vector<int> closed;
    Kernel::Close.Replace(
        [this, &closed](int fd)
        {
            EXPECT_EQ(log->Lines().size(), 2U); // the reason is logged before
            closed.push_back(fd);
            return 0;
        });
    Start(Configured, WithRs485);
    EXPECT_TRUE(AwaitFailure());
    leds.reset();
    EXPECT_EQ(log->Lines(),
              (Texts{"DEBUG Leds Created virtual led device red",
                     "ERROR Leds Failed to write to /dev/uleds for virtual led device yellow: Invalid argument"}));
    EXPECT_EQ(closed, std::vector<int>{uleds.Descriptor(1)}); // and the one before stays registered
    EXPECT_EQ(uleds.Opened(), 2U);
    EXPECT_EQ(polls.Calls().size(), 0U);
}

TEST_F(Leds, PassesAnEmptyNameToTheKernelAndFailsWhenThatRefusesIt)
{
    Kernel::Write.Replace(
        [](int fd, const void* data, std::size_t length) -> ssize_t
        {
            if (*static_cast<const char*>(data) == '\0')
            {
                errno = EINVAL;
                return -1;
            }
            return Kernel::Write.Real(fd, data, length);
        });
    Start({{2, ""}}, WithoutRs485);
    EXPECT_TRUE(AwaitFailure());
    EXPECT_EQ(log->Failures(),
              Texts{"ERROR Leds Failed to write to /dev/uleds for virtual led device : Invalid argument"});
    EXPECT_EQ(uleds.Opened(), 3U);
}

TEST_F(Leds, TakesAnyNumberOfWrittenBytesForSuccess)
{
    Kernel::Write.Replace(
        [](int, const void*, std::size_t length)
        {
            EXPECT_EQ(length, 68U);
            return ssize_t{0};
        });
    Start(Configured, WithoutRs485);
    EXPECT_TRUE(polls.AwaitCalls(1));
    EXPECT_EQ(log->Lines().back(), "DEBUG Leds Created virtual led device orange");
    EXPECT_FALSE(leds->HasFailed());
}

// Forwarding

TEST_F(Leds, PollsAllLedsInTheOrderOfTheTableFourTimesASecond)
{
    StartCompletely();
    const PollCall poll = polls.Calls().at(0);
    ASSERT_EQ(poll.set.size(), 5U);
    for (std::size_t index = 0; index < 5; ++index)
    {
        EXPECT_EQ(poll.set[index].fd, uleds.Descriptor(index));
        EXPECT_EQ(poll.set[index].events, PollEvents);
    }
    EXPECT_EQ(poll.timeout, 250);
}

TEST_F(Leds, PollsFourLedsWithoutRs485)
{
    StartCompletely(Configured, WithoutRs485);
    EXPECT_EQ(polls.Calls().at(0).set.size(), 4U);
}

TEST_F(Leds, SwitchesEachOutputOnWithItsOwnNumberAndType)
{
    StartCompletely();
    const Texts messages{"Transmit 257: 02 03 01", "Transmit 257: 02 04 01", "Transmit 257: 02 02 01",
                         "Transmit 257: 02 01 01", "Transmit 257: 0e 01 01"};
    for (std::size_t handle = 0; handle < messages.size(); ++handle)
    {
        uleds.Report(handle, 100);
        EXPECT_TRUE(hub.Await(messages[handle])); // before the next, so that each has a pass of its own
    }
    EXPECT_EQ(hub.Texts(), messages);
}

TEST_F(Leds, SwitchesEachOutputOff)
{
    StartCompletely();
    const Texts messages{"Transmit 257: 02 03 00", "Transmit 257: 02 04 00", "Transmit 257: 02 02 00",
                         "Transmit 257: 02 01 00", "Transmit 257: 0e 01 00"};
    for (std::size_t handle = 0; handle < messages.size(); ++handle)
    {
        uleds.Report(handle, 0);
        EXPECT_TRUE(hub.Await(messages[handle]));
    }
    EXPECT_EQ(hub.Texts(), messages);
}

TEST_F(Leds, TransmitsToTheHubThatItWasGiven)
{
    {
        const HeldWorkers held;
        leds.emplace(ScriptedHub::OtherHub(), Configured, WithRs485);
    }
    ASSERT_TRUE(polls.AwaitCalls(1));
    uleds.Report(0, 100);
    ASSERT_TRUE(hub.Await("Transmit 257: 02 03 01"));
    EXPECT_EQ(hub.CallsOf(ScriptedHub::OtherHub()), 1U);
}

TEST_F(Leds, TransmitsOnItsWorker)
{
    StartCompletely();
    uleds.Report(0, 100);
    ASSERT_TRUE(hub.Await("Transmit 257: 02 03 01"));
    EXPECT_NE(hub.Calls().at(0).thread, std::this_thread::get_id());
}

TEST_F(Leds, LogsTheBrightnessAsItWasReadAndNotTheStateThatItSends)
{
    StartCompletely();
    uleds.Report(2, 100);
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led green to 100"));
    uleds.Report(2, 1);
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led green to 1"));
    uleds.Report(4, 0);
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led termination to 0"));
    EXPECT_EQ(log->Lines().size(), 3U);
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 02 02 01", "Transmit 257: 02 02 01", "Transmit 257: 0e 01 00"}));
}

TEST_F(Leds, TakesANegativeBrightnessForOff)
{
    StartCompletely();
    uleds.Report(0, -5);
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led red to -5"));
    EXPECT_EQ(hub.Texts(), Texts{"Transmit 257: 02 03 00"});
}

TEST_F(Leds, SendsOneMessageForEachReport)
{
    StartCompletely();
    for (const int32_t brightness : {1, 2, 0, 100, 100})
    {
        uleds.Report(0, brightness);
    }
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led red to 100", 2));
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 02 03 01", "Transmit 257: 02 03 01", "Transmit 257: 02 03 00",
                                  "Transmit 257: 02 03 01", "Transmit 257: 02 03 01"}));
}

TEST_F(Leds, ServesSeveralLedsInOnePass)
{
    polls.OnlyAnswer();
    StartCompletely();
    uleds.Report(0, 7);
    uleds.Report(3, 8);
    uleds.Report(4, 9);
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {3, POLLIN}, {4, POLLIN}}));
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led termination to 9"));
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 02 03 01", "Transmit 257: 02 01 01", "Transmit 257: 0e 01 01"}));
}

TEST_F(Leds, ReadsOnEachOfTheEventsThatItPollsFor)
{
    polls.OnlyAnswer();
    StartCompletely();
    int brightness = 0;
    for (const short event : std::vector<short>{POLLIN, POLLPRI, POLLRDBAND})
    {
        uleds.Report(0, ++brightness);
        EXPECT_TRUE(polls.Answer({{0, event}}));
        EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led red to " + std::to_string(brightness)));
    }
}

TEST_F(Leds, ReadsInsteadOfFailingWhenErrorAndDataComeTogether)
{
    polls.OnlyAnswer();
    StartCompletely();
    uleds.Report(0, 50);
    EXPECT_TRUE(polls.Answer({{0, POLLIN | POLLERR | POLLNVAL | POLLHUP}}));
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led red to 50"));
    ASSERT_TRUE(AwaitNextPoll());
    EXPECT_EQ(log->Failures(), Texts{});
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, ReadsOneBrightnessOfFourBytes)
{
    StartCompletely();
    std::size_t size = 0;
    Kernel::Read.Replace(
        [&size](int fd, void* buffer, std::size_t wanted)
        {
            size = wanted;
            return Kernel::Read.Real(fd, buffer, wanted);
        });
    uleds.Report(0, 1);
    ASSERT_TRUE(log->Await("DEBUG Leds Set brightness of led red to 1"));
    EXPECT_EQ(size, 4U);
}

TEST_F(Leds, ForwardsAlsoAShortRead)
{
    StartCompletely();
    uleds.ReportBytes(1, {3});
    EXPECT_TRUE(hub.Await("Transmit 257: 02 04 01"));
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led yellow to 3"));
}

TEST_F(Leds, IgnoresAnEmptyReadAndServesTheNextLed)
{
    polls.OnlyAnswer();
    StartCompletely();
    uleds.ReportBytes(0, {});
    uleds.Report(1, 30);
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {1, POLLIN}}));
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led yellow to 30"));
    EXPECT_EQ(hub.Texts(), Texts{"Transmit 257: 02 04 01"});
    EXPECT_EQ(log->Lines().size(), 1U);
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, LosesAChangeThatTheLinkRefuses)
{
    StartCompletely();
    hub.AnswerTransmit(false);
    uleds.Report(3, 100);
    ASSERT_TRUE(log->Await("ERROR Leds Failed to transmit LED state for led orange"));
    hub.AnswerTransmit(true);
    uleds.Report(3, 0);
    ASSERT_TRUE(log->Await("DEBUG Leds Set brightness of led orange to 0"));
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 02 01 01", "Transmit 257: 02 01 00"}));
    EXPECT_EQ(log->Lines().size(), 2U);
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, ServesTheNextLedAfterTheLinkRefusedOne)
{
    polls.OnlyAnswer();
    StartCompletely();
    hub.AnswerTransmit(false);
    uleds.Report(0, 100);
    uleds.Report(1, 100);
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {1, POLLIN}}));
    EXPECT_TRUE(log->Await("ERROR Leds Failed to transmit LED state for led yellow"));
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 02 03 01", "Transmit 257: 02 04 01"}));
}

// Failures while polling

TEST_F(Leds, ReportsThatThereWasNothingToReadAndGoesOn)
{
    polls.OnlyAnswer();
    StartCompletely();
    log->LeaveErrno(EBADF); // the reason must be known before the line is logged
    uleds.Report(1, 30);
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {1, POLLIN}}));
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led yellow to 30"));
    EXPECT_EQ(log->Failures(),
              Texts{"ERROR Leds Failed to read from /dev/uleds for led red: Resource temporarily unavailable"});
    EXPECT_EQ(hub.Texts(), Texts{"Transmit 257: 02 04 01"});
    EXPECT_FALSE(leds->HasFailed());
}

// The flag is set for EBADF although the text of the line names EBADFD.
TEST_F(Leds, FailsOnABadDescriptorAndGoesOnPolling)
{
    StartCompletely();
    log->LeaveErrno(0); // the reason must be known before the line is logged
    Kernel::Read.FailAt(1, EBADF);
    uleds.Report(0, 60);
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led red to 60"));
    EXPECT_EQ(log->Failures(), (Texts{"ERROR Leds Failed to read from /dev/uleds for led red: Bad file descriptor",
                                      "FATAL Leds Read reported bad file descriptor (EBADFD)"}));
    EXPECT_EQ(hub.Texts(), Texts{"Transmit 257: 02 03 01"}); // what the next read gave
    EXPECT_TRUE(leds->HasFailed());
}

TEST_F(Leds, FailsOnABadDescriptorAlsoWhenNothingIsLogged)
{
    StartCompletely();
    log4cplus::Logger::getInstance("Leds").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Kernel::Read.FailAt(1, EBADF);
    uleds.Report(0, 60);
    EXPECT_TRUE(hub.Await("Transmit 257: 02 03 01"));
    EXPECT_TRUE(leds->HasFailed());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Leds, DoesNotFailOnADescriptorInABadState)
{
    StartCompletely();
    Kernel::Read.FailAt(1, EBADFD);
    uleds.Report(0, 60);
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led red to 60"));
    EXPECT_EQ(log->Failures(),
              Texts{"ERROR Leds Failed to read from /dev/uleds for led red: File descriptor in bad state"});
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, FailsOnEachErrorEventAndGoesOnPolling)
{
    polls.OnlyAnswer();
    StartCompletely();
    const std::string line = "ERROR Leds Return events in poll signalled virtual led error, aborting.";
    uleds.Report(3, 40);
    EXPECT_TRUE(polls.Answer({{1, POLLERR}, {2, POLLNVAL}, {3, POLLIN}}));
    EXPECT_TRUE(log->Await("DEBUG Leds Set brightness of led orange to 40"));
    EXPECT_EQ(log->Failures(), (Texts{line, line}));
    EXPECT_TRUE(leds->HasFailed());
    EXPECT_TRUE(polls.Answer({{0, POLLERR | POLLHUP}}));
    EXPECT_TRUE(log->Await(line, 3));
    EXPECT_EQ(Kernel::Read.Calls(), 1);
}

TEST_F(Leds, FailsOnAnErrorOfASingleLed)
{
    for (const short event : std::vector<short>{POLLERR, POLLNVAL})
    {
        leds.reset();
        polls.OnlyAnswer();
        const std::size_t before = polls.Calls().size();
        Start(Configured, WithoutRs485);
        ASSERT_TRUE(polls.AwaitCalls(before + 1));
        EXPECT_FALSE(leds->HasFailed());
        EXPECT_TRUE(polls.Answer({{0, event}}));
        EXPECT_TRUE(AwaitFailure());
    }
}

TEST_F(Leds, IgnoresAHangUp)
{
    polls.OnlyAnswer();
    StartCompletely();
    EXPECT_TRUE(polls.Answer({{0, POLLHUP}}));
    ASSERT_TRUE(AwaitNextPoll());
    EXPECT_EQ(log->Lines(), Texts{});
    EXPECT_EQ(Kernel::Read.Calls(), 0);
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, LooksAtNoEventsWhenPollFailsOrTimesOut)
{
    polls.OnlyAnswer();
    StartCompletely();
    for (const int error : {EINTR, EBADF, EFAULT})
    {
        EXPECT_TRUE(polls.Fail(error));
    }
    EXPECT_TRUE(polls.Answer({}));
    ASSERT_TRUE(AwaitNextPoll());
    EXPECT_EQ(log->Lines(), Texts{});
    EXPECT_EQ(Kernel::Read.Calls(), 0);
    EXPECT_FALSE(leds->HasFailed());
}

TEST_F(Leds, WorksTheSameBelowItsLoggersLevel)
{
    log4cplus::Logger::getInstance("Leds").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    polls.OnlyAnswer();
    StartCompletely();
    hub.AnswerTransmit(false);
    uleds.Report(0, 100);
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {1, POLLERR}}));
    EXPECT_TRUE(hub.Await("Transmit 257: 02 03 01"));
    EXPECT_TRUE(AwaitFailure());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Leds, FailsTheSameBelowItsLoggersLevel)
{
    log4cplus::Logger::getInstance("Leds").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    uleds.FailAt(1, ENOENT);
    Start(Configured, WithoutRs485);
    EXPECT_TRUE(AwaitFailure());
    Kernel::Write.FailAlways(EINVAL);
    uleds.FailAt(100, ENOENT);
    Start(Configured, WithoutRs485);
    EXPECT_TRUE(AwaitFailure());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Leds, AsksForNoMemoryOnItsWorker)
{
    log4cplus::Logger::getInstance("Leds").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    polls.OnlyAnswer();
    StartCompletely();
    for (std::size_t handle = 0; handle < 5; ++handle)
    {
        uleds.Report(handle, 100);
    }
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {1, POLLIN}, {2, POLLIN}, {3, POLLIN}, {4, POLLIN}}));
    ASSERT_TRUE(hub.Await("Transmit 257: 0e 01 01"));
    EXPECT_TRUE(polls.Answer({{0, POLLIN}, {1, POLLERR}})); // nothing to read, and an error
    ASSERT_TRUE(AwaitNextPoll());
    EXPECT_EQ(polls.Calls().front().allocations, 0U);
    EXPECT_EQ(polls.Calls().back().allocations, 0U);
}

// The worker before the table

TEST_F(Leds, RegistersNothingWhenItsWorkerIsFasterThanTheTable)
{
    for (const bool enableRs485 : {WithoutRs485, WithRs485})
    {
        const std::size_t before = polls.Calls().size();
        {
            const PauseAfterThreadStart pause([this, before] { EXPECT_TRUE(polls.AwaitCalls(before + 1)); });
            leds.emplace(ScriptedHub::Hub(), Configured, enableRs485);
        }
        const auto isWhole = [](const PollCall& call) { return call.set.size() >= 4; };
        ASSERT_TRUE(Await(
            [&]
            {
                const auto calls = polls.Calls();
                return std::any_of(calls.begin() + static_cast<std::ptrdiff_t>(before), calls.end(), isWhole);
            }));
        leds.reset();

        EXPECT_TRUE(polls.Calls().at(before).set.empty());
        EXPECT_EQ(polls.Calls().back().set.size(), enableRs485 ? 5U : 4U);
        for (const PollCall& call : polls.Calls())
        {
            for (const pollfd& entry : call.set)
            {
                EXPECT_EQ(entry.fd, -1); // poll skips it
            }
        }
        EXPECT_EQ(uleds.Opened(), 0U);
    }
    EXPECT_EQ(log->Lines(), Texts{});
}

// Any work that is left after the start of the worker makes it likelier that the worker comes first. A table that moved
// would take the rows away from under it.
TEST_F(Leds, HasNothingLeftToPrepareButToFillTheTableWhenItsWorkerStarts)
{
    // The memory is zeroed: used memory could still contain what the test looks for.
    alignas(OrvelDriver::Leds) static std::array<std::byte, sizeof(OrvelDriver::Leds)> room;
    room.fill(std::byte{0});
    const log4cplus::Logger logger = log4cplus::Logger::getInstance("Leds");
    bool hasLogger = false;
    std::size_t atStart = 0;
    OrvelDriver::Leds* early = nullptr;
    {
        const PauseAfterThreadStart pause(
            [&]
            {
                hasLogger = HasCopy(room, logger);
                atStart = allocations;
            });
        early = new (room.data()) OrvelDriver::Leds(ScriptedHub::Hub(), Configured, WithRs485);
    }
    const std::size_t atEnd = allocations;
    std::destroy_at(early);
    EXPECT_TRUE(hasLogger);
    EXPECT_EQ(atEnd, atStart);
    EXPECT_GT(atStart, 0U);
}

TEST_F(Leds, DoesNotFailWhenItsWorkerIsFasterThanTheTable)
{
    const PauseAfterThreadStart pause([this] { EXPECT_TRUE(polls.AwaitCalls(1)); });
    leds.emplace(ScriptedHub::Hub(), Configured, WithRs485);
    EXPECT_TRUE(polls.AwaitCalls(4));
    EXPECT_FALSE(leds->HasFailed());
}

// End

TEST_F(Leds, LeavesItsLedsRegistered)
{
    StartCompletely();
    leds.reset();
    EXPECT_EQ(Kernel::Close.Calls(), 0);
    for (std::size_t handle = 0; handle < 5; ++handle)
    {
        EXPECT_NE(fcntl(uleds.Descriptor(handle), F_GETFD), -1);
    }
}

TEST_F(Leds, ForwardsNothingWhenItHasEnded)
{
    StartCompletely();
    leds.reset();
    const std::size_t passes = polls.Calls().size();
    uleds.Report(0, 100);
    EXPECT_EQ(Kernel::Poll.Real(nullptr, 0, 50), 0); // several of the test's short periods
    EXPECT_EQ(polls.Calls().size(), passes);
    EXPECT_EQ(hub.Texts(), Texts{});
}

TEST_F(Leds, LogsNothingWhenItEnds)
{
    StartCompletely();
    leds.reset();
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Leds, CallsTheHubForNothingButItsMessages)
{
    StartCompletely();
    leds.reset();
    EXPECT_EQ(hub.Texts(), Texts{});
}

TEST_F(Leds, GivesItsLinesTheirFileAndFunction)
{
    Start(Configured, WithoutRs485);
    ASSERT_TRUE(polls.AwaitCalls(1));
    EXPECT_EQ(log->Details().at(0).file, "Driver/OrvelDriver/Src/Leds.cpp");
    EXPECT_NE(log->Details().at(0).function.find("OrvelDriver::Leds::OpenVirtualLedDevice("), std::string::npos);
}

} // namespace
