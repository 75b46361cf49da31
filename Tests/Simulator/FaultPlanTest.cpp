#include "FaultPlan.h"

#include "MountedFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <ostream>
#include <string>
#include <vector>

using namespace MountedFiles;
using namespace std::chrono_literals;
using Simulator::Fault;
using Simulator::Operation;
using testing::ElementsAre;

namespace Simulator
{

static void PrintTo(Operation operation, std::ostream* stream)
{
    constexpr std::array<const char*, 10> Names{"UledsOpen",  "UledsWrite",  "UledsRead",     "UledsPoll",
                                                "ExportOpen", "ExportWrite", "DirectionOpen", "DirectionWrite",
                                                "ValueOpen",  "ValueWrite"};
    *stream << Names.at(static_cast<std::size_t>(operation));
}

} // namespace Simulator

namespace
{

TEST(FaultPlan, LetsEverythingHappenAsItDoesWhenNothingIsSet)
{
    Simulator::FaultPlan plan;
    const Fault none = plan.Next(Operation::UledsRead, "led");
    EXPECT_EQ(none.error, 0);
    EXPECT_FALSE(none.count);
    EXPECT_EQ(none.events, 0);
    EXPECT_EQ(none.delay, 0ms);
}

TEST(FaultPlan, FailsFromTheNthCallAndSoManyCalls)
{
    Simulator::FaultPlan plan;
    plan.Fail(Operation::UledsOpen, EMFILE, 3, 2);
    std::vector<int> errors;
    for (int call = 0; call < 6; ++call)
    {
        errors.push_back(plan.Next(Operation::UledsOpen, {}).error);
    }
    EXPECT_THAT(errors, ElementsAre(0, 0, EMFILE, EMFILE, 0, 0));
}

TEST(FaultPlan, FailsUntilItIsCleared)
{
    Simulator::FaultPlan plan;
    plan.Fail(Operation::UledsOpen, EMFILE);
    plan.Fail(Operation::ValueOpen, EIO);
    EXPECT_EQ(plan.Next(Operation::UledsOpen, {}).error, EMFILE);
    EXPECT_EQ(plan.Next(Operation::UledsOpen, {}).error, EMFILE);
    EXPECT_EQ(plan.Next(Operation::UledsRead, {}).error, 0);
    plan.Clear(Operation::UledsOpen);
    EXPECT_EQ(plan.Next(Operation::UledsOpen, {}).error, 0);
    EXPECT_EQ(plan.Next(Operation::ValueOpen, {}).error, EIO);
    plan.ClearAll();
    EXPECT_EQ(plan.Next(Operation::ValueOpen, {}).error, 0);
}

TEST(FaultPlan, CountsAnewWhenAFaultIsSetAgain)
{
    Simulator::FaultPlan plan;
    plan.Fail(Operation::UledsOpen, EMFILE, 1, 1);
    plan.Next(Operation::UledsOpen, {});
    plan.Fail(Operation::UledsOpen, ENFILE, 1, 1);
    EXPECT_EQ(plan.Next(Operation::UledsOpen, {}).error, ENFILE);
}

TEST(FaultPlan, CountsOnlyTheCallsForTheLedOfTheFault)
{
    Simulator::FaultPlan plan;
    Fault fault;
    fault.error = EIO;
    fault.led = "one";
    fault.firstCall = 2;
    fault.calls = 1;
    plan.Set(Operation::UledsRead, fault);
    EXPECT_EQ(plan.Next(Operation::UledsRead, "two").error, 0);
    EXPECT_EQ(plan.Next(Operation::UledsRead, "one").error, 0);
    EXPECT_EQ(plan.Next(Operation::UledsRead, "two").error, 0);
    EXPECT_EQ(plan.Next(Operation::UledsRead, "one").error, EIO);
    EXPECT_EQ(plan.Calls(Operation::UledsRead), 4U);
}

TEST(FaultPlan, TellsOfEachChange)
{
    int changes = 0;
    Simulator::FaultPlan plan([&] { ++changes; });
    plan.Fail(Operation::UledsOpen, EMFILE);
    plan.Clear(Operation::UledsOpen);
    plan.ClearAll();
    EXPECT_EQ(changes, 3);
}

/// A handle with the LED "led" that has a report, and the pin 3, exported as an output.
class Faults : public Mounted
{
protected:
    Faults()
        : handle(At("uleds"))
    {
        EXPECT_EQ(handle.Register("led"), RecordSize);
        EXPECT_EQ(WriteTo(At("class/gpio/export"), "3"), 0);
        EXPECT_EQ(WriteTo(At("class/gpio/gpio3/direction"), "out"), 0);
    }

    /// The error that the operation ends with.
    int Do(Operation operation)
    {
        switch (operation)
        {
        case Operation::UledsOpen:
            return File(At("uleds"), O_RDWR | O_NONBLOCK).error;
        case Operation::UledsWrite:
            return static_cast<int>(std::max(0L, -Handle(At("uleds")).Register("new")));
        case Operation::UledsRead:
            return ReadOfItsOwn();
        case Operation::ExportOpen:
            return File(At("class/gpio/export"), O_WRONLY | O_CREAT | O_TRUNC).error;
        case Operation::ExportWrite:
            WriteTo(At("class/gpio/unexport"), "3");
            return WriteTo(At("class/gpio/export"), "3");
        case Operation::DirectionOpen:
            return File(At("class/gpio/gpio3/direction"), O_WRONLY | O_CREAT | O_TRUNC).error;
        case Operation::DirectionWrite:
            return WriteTo(At("class/gpio/gpio3/direction"), "out");
        case Operation::ValueOpen:
            return File(At("class/gpio/gpio3/value"), O_WRONLY | O_CREAT | O_TRUNC).error;
        case Operation::ValueWrite:
            return WriteTo(At("class/gpio/gpio3/value"), "1");
        default:
            return -1;
        }
    }

    int ReadOfItsOwn() const
    {
        const Handle own(At("uleds"));
        own.Register("own");
        return static_cast<int>(std::max(0L, -own.Read()));
    }

    void SetEvents(int events, bool only, const std::string& led = {})
    {
        Fault fault;
        fault.events = static_cast<short>(events);
        fault.onlyTheseEvents = only;
        fault.led = led;
        files->TheFaults().Set(Operation::UledsPoll, fault);
    }

    void SetCount(Operation operation, std::size_t count)
    {
        Fault fault;
        fault.count = count;
        fault.calls = 1;
        files->TheFaults().Set(operation, fault);
    }

    Handle handle;
};

class FaultsOfEach : public Faults, public testing::WithParamInterface<Operation>
{
};

TEST_P(FaultsOfEach, GiveTheCallerAnyErrorAndOnlyThat)
{
    for (const int error : {EBADF, EIO, EACCES, ENOENT, ENODEV, EMFILE, EINVAL, EAGAIN, ENOSPC})
    {
        files->TheFaults().Fail(GetParam(), error);
        EXPECT_EQ(Do(GetParam()), error);
        EXPECT_EQ(Do(GetParam()), error);
    }
    files->TheFaults().Clear(GetParam());
    EXPECT_EQ(Do(GetParam()), 0);
}

TEST_P(FaultsOfEach, CanBeginLaterAndEnd)
{
    files->TheFaults().Fail(GetParam(), EIO, 2, 1);
    EXPECT_EQ(Do(GetParam()), 0);
    EXPECT_EQ(Do(GetParam()), EIO);
    EXPECT_EQ(Do(GetParam()), 0);
}

TEST_P(FaultsOfEach, CanDelayTheCall)
{
    Fault fault;
    fault.delay = 30ms;
    files->TheFaults().Set(GetParam(), fault);
    const auto begin = std::chrono::steady_clock::now();
    Child delayed([this] { return Do(GetParam()); });
    EXPECT_EQ(delayed.Wait(), 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 30ms);
}

INSTANTIATE_TEST_SUITE_P(Operations, FaultsOfEach,
                         testing::Values(Operation::UledsOpen, Operation::UledsWrite, Operation::UledsRead,
                                         Operation::ExportOpen, Operation::ExportWrite, Operation::DirectionOpen,
                                         Operation::DirectionWrite, Operation::ValueOpen, Operation::ValueWrite),
                         testing::PrintToStringParamName());

TEST_F(Faults, AFailedCallHasNoOtherEffect)
{
    files->TheFaults().Fail(Operation::UledsWrite, EIO);
    files->TheFaults().Fail(Operation::UledsRead, EBADF);
    files->TheFaults().Fail(Operation::DirectionWrite, EIO);
    const Handle other(At("uleds"));
    EXPECT_EQ(other.Register("other"), -EIO);
    EXPECT_FALSE(HasLed("other"));
    EXPECT_EQ(handle.Read(), -EBADF);
    EXPECT_EQ(handle.Poll(), POLLIN);
    EXPECT_EQ(WriteTo(At("class/gpio/gpio3/direction"), "in"), EIO);
    EXPECT_TRUE(files->TheGpio().IsDriven(3));
}

TEST_F(Faults, AStreamSeesAFailedWriteWhenItCloses)
{
    files->TheFaults().Fail(Operation::ValueWrite, EIO);
    std::ofstream stream(At("class/gpio/gpio3/value"));
    stream << 0 << 1;
    EXPECT_TRUE(stream.good());
    stream.close();
    EXPECT_TRUE(stream.fail());
}

TEST_F(Faults, AWriteCanSayThatItTookLessThanItDid)
{
    SetCount(Operation::UledsWrite, 40);
    const Handle other(At("uleds"));
    EXPECT_EQ(other.Register("other"), 40);
    EXPECT_TRUE(HasLed("other"));
}

TEST_F(Faults, AReadCanGiveAPartOfTheReport)
{
    SetCount(Operation::UledsRead, 2);
    EXPECT_EQ(handle.ReadBytes(4), 2);
    EXPECT_EQ(handle.Poll(), 0);
}

TEST_F(Faults, AReadCanGiveNothingAndLeaveTheReport)
{
    SetCount(Operation::UledsRead, 0);
    EXPECT_EQ(handle.ReadBytes(4), 0);
    EXPECT_EQ(handle.Poll(), POLLIN);
    EXPECT_EQ(handle.Read(), 0);
}

TEST_F(Faults, APollCanReportMore)
{
    for (const int events : {POLLERR, POLLHUP, POLLPRI, POLLRDBAND, POLLERR | POLLHUP})
    {
        SetEvents(events, false);
        EXPECT_EQ(handle.Poll(0, AllEvents), POLLIN | events);
    }
}

TEST_F(Faults, APollCanReportSomethingElse)
{
    for (const int events : {POLLERR, POLLHUP, POLLPRI, POLLRDBAND, 0})
    {
        SetEvents(events, true);
        EXPECT_EQ(handle.Poll(0, AllEvents), events);
    }
    files->TheFaults().ClearAll();
    EXPECT_EQ(handle.Poll(0, AllEvents), POLLIN);
}

TEST_F(Faults, APollThatFailsReportsAnError)
{
    files->TheFaults().Fail(Operation::UledsPoll, EIO);
    EXPECT_EQ(handle.Poll(0, AllEvents), POLLERR);
}

TEST_F(Faults, APollOfOneLedCanReportMore)
{
    const Handle other(At("uleds"));
    ASSERT_EQ(other.Register("other"), RecordSize);
    SetEvents(POLLERR, false, "other");
    EXPECT_EQ(other.Poll(0, AllEvents), POLLIN | POLLERR);
    EXPECT_EQ(handle.Poll(0, AllEvents), POLLIN);
}

TEST_F(Faults, TheRecordsOfOneLedCanBeRefused)
{
    Fault fault;
    fault.error = ENOMEM;
    fault.led = "second";
    files->TheFaults().Set(Operation::UledsWrite, fault);
    const Handle first(At("uleds"));
    const Handle second(At("uleds"));
    EXPECT_EQ(first.Register("first"), RecordSize);
    EXPECT_EQ(second.Register("second"), -ENOMEM);
}

TEST_F(Faults, APollThatWaitsSeesAFaultAtOnce)
{
    handle.Read();
    const unsigned before = Calls(Operation::UledsPoll);
    auto polled = std::async(std::launch::async, [this] { return handle.Poll(PatienceMilliseconds); });
    ASSERT_TRUE(AwaitCalls(Operation::UledsPoll, before + 1));
    SetEvents(POLLERR, false);
    EXPECT_EQ(polled.get(), POLLERR);
}

TEST_F(Faults, ADelayDoesNotHoldUpOthers)
{
    Fault fault;
    fault.delay = 10min;
    files->TheFaults().Set(Operation::ExportWrite, fault);
    Child delayed([this] { return WriteTo(At("class/gpio/export"), "5"); });
    ASSERT_TRUE(AwaitCalls(Operation::ExportWrite, 2));
    EXPECT_EQ(handle.Read(), 0);
    kill(delayed.pid, SIGKILL); // nor need anybody wait for its end
    EXPECT_EQ(delayed.Wait(), 128 + SIGKILL);
    EXPECT_FALSE(fs::exists(At("class/gpio/gpio5")));
}

TEST_F(Faults, ADelayEndsWithTheFiles)
{
    Fault fault;
    fault.delay = 10min;
    files->TheFaults().Set(Operation::UledsRead, fault);
    Child reader([this] { return static_cast<int>(-Handle(At("uleds")).Read()); });
    ASSERT_TRUE(AwaitCalls(Operation::UledsRead, 1));
    files.reset();
    EXPECT_EQ(reader.Wait(), ENODEV);
}

} // namespace
