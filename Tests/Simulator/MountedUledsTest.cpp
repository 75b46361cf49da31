#include "MountedFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace MountedFiles;
using Simulator::Operation;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace
{

class MountedUleds : public Mounted
{
};

TEST_F(MountedUleds, ARecordIsTakenWholeAndItsLedIsThereAtOnce)
{
    const Handle handle(At("uleds"));
    EXPECT_EQ(handle.Register("system", 77), RecordSize);
    EXPECT_EQ(ReadFrom(At("class/leds/system/brightness")), "0\n");
    EXPECT_EQ(ReadFrom(At("class/leds/system/max_brightness")), "77\n");
    EXPECT_THAT(LedChanges(), ElementsAre(Pair("system", true)));
}

TEST_F(MountedUleds, ARecordOfAnyOtherLengthIsRefusedAndTheHandleStaysUsable)
{
    const Handle handle(At("uleds"));
    EXPECT_EQ(handle.Write(Record("system").substr(0, 67)), -EINVAL);
    EXPECT_EQ(handle.Write(Record("system") + "x"), -EINVAL);
    EXPECT_EQ(handle.Write(std::string(10000, 'x')), -EINVAL);
    EXPECT_EQ(handle.Write(""), 0);
    EXPECT_EQ(handle.Register("system"), RecordSize);
}

TEST_F(MountedUleds, RefusesBrightnessesAndNamesThatCannotBe)
{
    const Handle handle(At("uleds"));
    EXPECT_EQ(handle.Register("system", 0), -EINVAL);
    EXPECT_EQ(handle.Register("system", -1), -EINVAL);
    for (const std::string name : {"", ".", "..", "a/b"})
    {
        EXPECT_EQ(handle.Register(name), -EINVAL) << '"' << name << '"';
    }
    EXPECT_THAT(Names(At("class/leds")), IsEmpty());
}

TEST_F(MountedUleds, TakesANameOf63CharactersAndRefuses64)
{
    const Handle handle(At("uleds"));
    EXPECT_EQ(handle.Register(std::string(64, 'a')), -EINVAL);
    EXPECT_EQ(handle.Register(std::string(63, 'a')), RecordSize);
    EXPECT_TRUE(HasLed(std::string(63, 'a')));
}

TEST_F(MountedUleds, RenamesAnLedWhoseNameExists)
{
    const Handle first(At("uleds"));
    const Handle second(At("uleds"));
    const Handle third(At("uleds"));
    EXPECT_EQ(first.Register("led"), RecordSize);
    EXPECT_EQ(second.Register("led"), RecordSize);
    EXPECT_EQ(third.Register("led"), RecordSize);
    EXPECT_THAT(Names(At("class/leds")), UnorderedElementsAre("led", "led_1", "led_2"));
}

TEST_F(MountedUleds, HasNoMemoryForANameWithoutRoomForItsNumber)
{
    const Handle first(At("uleds"));
    const Handle second(At("uleds"));
    EXPECT_EQ(first.Register(std::string(63, 'a')), RecordSize);
    EXPECT_EQ(second.Register(std::string(63, 'a')), -ENOMEM);
}

TEST_F(MountedUleds, AHandleThatHasAnLedIsBusy)
{
    const Handle handle(At("uleds"));
    EXPECT_EQ(handle.Register("led"), RecordSize);
    EXPECT_EQ(handle.Register("other"), -EBUSY);
}

TEST_F(MountedUleds, AHandleWithoutAnLedHasNothingToPollOrRead)
{
    const Handle handle(At("uleds"));
    EXPECT_EQ(handle.Poll(0, AllEvents), 0);
    EXPECT_EQ(handle.Read(), -ENODEV);
    EXPECT_EQ(Handle(At("uleds"), 0).Read(), -ENODEV); // also when it could wait
}

TEST_F(MountedUleds, ANewLedReportsZeroThoughNobodyHasSetIt)
{
    const Handle handle(At("uleds"));
    ASSERT_EQ(handle.Register("led"), RecordSize);
    EXPECT_EQ(handle.Poll(0, AllEvents), POLLIN);
    EXPECT_EQ(handle.Read(), 0);
    EXPECT_EQ(handle.Poll(0, AllEvents), 0);
    EXPECT_EQ(handle.Read(), -EAGAIN);
}

/// A handle whose LED "led" has been registered and whose first report has been read.
class ReadLed : public Mounted
{
protected:
    ReadLed()
        : handle(At("uleds"))
    {
        EXPECT_EQ(handle.Register("led"), RecordSize);
        EXPECT_EQ(handle.Read(), 0);
    }

    Handle handle;
};

TEST_F(ReadLed, AReportIsPollinAloneUntilItIsRead)
{
    EXPECT_EQ(SetBrightness("led", "50\n"), 0);
    EXPECT_EQ(handle.Poll(0, AllEvents), POLLIN);
    EXPECT_EQ(handle.Poll(0, AllEvents), POLLIN);
    EXPECT_EQ(handle.Poll(0, POLLRDNORM), POLLRDNORM);
    EXPECT_EQ(handle.Poll(0, POLLPRI | POLLRDBAND), 0);
    EXPECT_EQ(handle.Read(), 50);
    EXPECT_EQ(handle.Poll(0, AllEvents), 0);
    EXPECT_EQ(ReadFrom(At("class/leds/led/brightness")), "50\n");
}

TEST_F(ReadLed, AReadThatIsTooSmallGivesNothingAndLeavesTheReport)
{
    SetBrightness("led", "50");
    EXPECT_EQ(handle.ReadBytes(3), 0);
    EXPECT_EQ(handle.ReadBytes(0), 0);
    EXPECT_EQ(handle.Poll(), POLLIN);
    EXPECT_EQ(handle.ReadBytes(100), 4);
    EXPECT_EQ(handle.Poll(), 0);
}

TEST_F(ReadLed, TwoQuickWritesAreOneReportOfTheLast)
{
    SetBrightness("led", "10");
    SetBrightness("led", "20");
    EXPECT_EQ(handle.Read(), 20);
    EXPECT_EQ(handle.Read(), -EAGAIN);
}

TEST_F(ReadLed, AReportNeedNotBeAChange)
{
    SetBrightness("led", "0");
    SetBrightness("led", "100");
    SetBrightness("led", "0");
    EXPECT_EQ(handle.Read(), 0);
    EXPECT_EQ(handle.Read(), -EAGAIN);
}

TEST_F(ReadLed, TheBrightnessThatIsSetAlreadyIsNoReport)
{
    SetBrightness("led", "10");
    EXPECT_EQ(handle.Read(), 10);
    EXPECT_EQ(SetBrightness("led", "10"), 0);
    EXPECT_EQ(handle.Poll(), 0);
}

TEST_F(ReadLed, ABrightnessAboveTheMaximumIsTheMaximum)
{
    EXPECT_EQ(SetBrightness("led", "255"), 0);
    EXPECT_EQ(handle.Read(), 100);
    EXPECT_EQ(ReadFrom(At("class/leds/led/brightness")), "100\n");
}

TEST_F(ReadLed, ABrightnessThatIsNoDecimalNumberIsRefusedAndNotReported)
{
    for (const std::string text : {"-1", "abc", "0x20", "12.5"})
    {
        EXPECT_EQ(SetBrightness("led", text), EINVAL) << text;
    }
    EXPECT_EQ(handle.Poll(), 0);
}

TEST_F(ReadLed, AStreamSetsTheBrightness)
{
    std::ofstream(At("class/leds/led/brightness")) << 42 << std::endl;
    EXPECT_EQ(handle.Read(), 42);
}

TEST_F(ReadLed, EachHandleHasItsOwnReports)
{
    const Handle other(At("uleds"));
    ASSERT_EQ(other.Register("other"), RecordSize);
    ASSERT_EQ(other.Read(), 0);
    SetBrightness("other", "5");
    EXPECT_EQ(handle.Poll(), 0);
    EXPECT_EQ(other.Read(), 5);
}

TEST_F(ReadLed, TheLedIsGoneAtOnceWhenItsHandleCloses)
{
    handle.Close();
    EXPECT_FALSE(HasLed("led"));
    EXPECT_EQ(SetBrightness("led", "1"), ENOENT);
    EXPECT_TRUE(Await([this] { return LedChanges().back() == std::pair(std::string("led"), false); }));
}

TEST_F(ReadLed, AFileThatIsStillOpenDoesNotReachTheNextLedOfTheSameName)
{
    const File old(At("class/leds/led/brightness"), O_RDWR);
    handle.Close();
    const Handle next(At("uleds"));
    ASSERT_EQ(next.Register("led"), RecordSize);
    char text = 0;
    EXPECT_EQ(old.Write("50"), -ENODEV);
    EXPECT_EQ(pread(old.descriptor.Number(), &text, 1, 0) == -1 ? errno : 0, ENODEV);
    EXPECT_EQ(ReadFrom(At("class/leds/led/brightness")), "0\n");
}

TEST_F(MountedUleds, AnLedIsGoneWhenItsOwnerHasExited)
{
    Child owner(
        [this]
        {
            static const Handle handle(At("uleds")); // static: nobody closes it but the exit
            return handle.Register("led") == RecordSize && HasLed("led") ? 0 : 1;
        });
    EXPECT_EQ(owner.Wait(), 0);
    EXPECT_FALSE(HasLed("led"));
}

TEST_F(MountedUleds, ManyLedsAreGoneWhenTheirOwnerHasExited)
{
    constexpr int Count = 100; // many more than the kernel closes at a time, unless it is told to
    Child owner(
        [this]
        {
            static std::vector<std::unique_ptr<Handle>> handles;
            for (int led = 0; led < Count; ++led)
            {
                handles.push_back(std::make_unique<Handle>(At("uleds")));
                handles.back()->Register("led");
            }
            return static_cast<int>(Names(At("class/leds")).size());
        });
    EXPECT_EQ(owner.Wait(), Count);
    EXPECT_THAT(Names(At("class/leds")), IsEmpty());
}

TEST_F(MountedUleds, AnLedIsGoneWhenItsOwnerWasKilled)
{
    Child owner(
        [this]
        {
            const Handle handle(At("uleds"));
            handle.Register("led");
            pause();
            return 0;
        });
    ASSERT_TRUE(Await([this] { return HasLed("led"); }));
    kill(owner.pid, SIGKILL);
    EXPECT_EQ(owner.Wait(), 128 + SIGKILL);
    EXPECT_FALSE(HasLed("led"));
}

TEST_F(ReadLed, AChildThatInheritedTheHandleKeepsTheLedAlive)
{
    Child heir([] { return pause(); }, Child::Inherits::Everything);
    handle.Close();
    EXPECT_TRUE(HasLed("led"));
    EXPECT_EQ(SetBrightness("led", "1"), 0);
    kill(heir.pid, SIGKILL);
    heir.Wait();
    EXPECT_FALSE(HasLed("led"));
}

TEST_F(ReadLed, APollThatWaitsIsWokenByABrightness)
{
    const unsigned before = Calls(Operation::UledsPoll);
    auto polled = std::async(std::launch::async, [this] { return handle.Poll(PatienceMilliseconds); });
    ASSERT_TRUE(AwaitCalls(Operation::UledsPoll, before + 1));
    EXPECT_EQ(SetBrightness("led", "1"), 0);
    EXPECT_EQ(polled.get(), POLLIN);
}

TEST_F(ReadLed, APollThatWaitsIsWokenByABrightnessSetInTheModel)
{
    const unsigned before = Calls(Operation::UledsPoll);
    auto polled = std::async(std::launch::async, [this] { return handle.Poll(PatienceMilliseconds); });
    ASSERT_TRUE(AwaitCalls(Operation::UledsPoll, before + 1));
    EXPECT_EQ(files->TheUleds().WriteBrightness(files->TheUleds().Leds().at(0).handle, "1"), 0);
    EXPECT_EQ(polled.get(), POLLIN);
}

TEST_F(ReadLed, APollThatWaitsForSeveralIsWokenByEach)
{
    const Handle other(At("uleds"));
    ASSERT_EQ(other.Register("other"), RecordSize);
    ASSERT_EQ(other.Read(), 0);
    for (const auto& [led, brightness] :
         {std::pair<std::string, std::string>("other", "1"), {"led", "1"}, {"other", "2"}})
    {
        const unsigned before = Calls(Operation::UledsPoll);
        auto polled = std::async(std::launch::async,
                                 [&]
                                 {
                                     pollfd set[] = {{handle.descriptor.Number(), DriverEvents, 0},
                                                     {other.descriptor.Number(), DriverEvents, 0}};
                                     poll(set, 2, PatienceMilliseconds);
                                     return std::pair(set[0].revents != 0, set[1].revents != 0);
                                 });
        ASSERT_TRUE(AwaitCalls(Operation::UledsPoll, before + 2));
        EXPECT_EQ(SetBrightness(led, brightness), 0);
        EXPECT_THAT(polled.get(), Pair(led == "led", led == "other"));
        handle.Read();
        other.Read();
    }
}

TEST_F(ReadLed, APollWithATimeoutEndsWithNothing)
{
    EXPECT_EQ(handle.Poll(20, AllEvents), 0);
}

/// Another process waits in a read of the LED "led" and ends with what it has read, or with the error.
class WaitingRead : public Mounted
{
protected:
    WaitingRead()
        : reader(
              [this]
              {
                  // Without SA_RESTART, so that the call ends.
                  struct sigaction action
                  {
                  };
                  action.sa_handler = [](int) {};
                  sigaction(SIGUSR1, &action, nullptr);
                  const Handle handle(At("uleds"), 0);
                  handle.Register("led");
                  handle.Read();
                  const long result = handle.Read();
                  return static_cast<int>(result < 0 ? -result : result);
              })
    {
        EXPECT_TRUE(AwaitCalls(Operation::UledsRead, 2));
    }

    Child reader;
};

TEST_F(WaitingRead, IsWokenByABrightness)
{
    EXPECT_EQ(SetBrightness("led", "99"), 0);
    EXPECT_EQ(reader.Wait(), 99);
}

TEST_F(WaitingRead, DoesNotHoldUpOthers)
{
    const Handle other(At("uleds"));
    EXPECT_EQ(other.Register("other"), RecordSize);
    EXPECT_EQ(other.Read(), 0);
    EXPECT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
    SetBrightness("led", "98");
    EXPECT_EQ(reader.Wait(), 98);
}

TEST_F(WaitingRead, IsNotWokenByAnotherLed)
{
    const Handle other(At("uleds"));
    EXPECT_EQ(other.Register("other"), RecordSize);
    SetBrightness("other", "97");
    SetBrightness("led", "96");
    EXPECT_EQ(reader.Wait(), 96);
}

TEST_F(WaitingRead, IsInterruptedByASignal)
{
    kill(reader.pid, SIGUSR1);
    EXPECT_EQ(reader.Wait(), EINTR);
}

TEST_F(WaitingRead, DiesWithItsProcess)
{
    kill(reader.pid, SIGKILL);
    EXPECT_EQ(reader.Wait(), 128 + SIGKILL);
    EXPECT_FALSE(HasLed("led"));
}

TEST_F(WaitingRead, FailsWhenTheFilesEnd)
{
    files.reset();
    EXPECT_EQ(reader.Wait(), ENODEV);
}

TEST_F(MountedUleds, APollThatWaitsDiesWithItsProcess)
{
    Child poller(
        [this]
        {
            const Handle handle(At("uleds"));
            handle.Register("led");
            handle.Read();
            return static_cast<int>(handle.Poll(-1));
        });
    ASSERT_TRUE(AwaitCalls(Operation::UledsPoll, 1));
    kill(poller.pid, SIGKILL);
    EXPECT_EQ(poller.Wait(), 128 + SIGKILL);
    EXPECT_FALSE(HasLed("led"));
}

} // namespace
