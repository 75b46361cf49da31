#include "Reset.h"

#include "ComponentTest.h"
#include "GpioDirectory.h"

#include <chrono>
#include <functional>
#include <type_traits>

namespace
{

using namespace UnitTests;
using namespace std::chrono_literals;

class Reset : public ComponentTest
{
protected:
    // Runs `look` at each pause, counted from 1. The pauses take no time then.
    void AtEachPause(std::function<void(int)> look)
    {
        Kernel::Nanosleep.Replace(
            [this, look = std::move(look)](const timespec* request, timespec*)
            {
                pauses.push_back(std::chrono::seconds(request->tv_sec) + std::chrono::nanoseconds(request->tv_nsec));
                look(static_cast<int>(pauses.size()));
                return 0;
            });
    }

    void SkipPauses()
    {
        AtEachPause([](int) {});
    }

    using Pauses = std::vector<std::chrono::nanoseconds>;

    GpioDirectory gpio{3};
    Pauses pauses;
};

TEST_F(Reset, HasNoVirtualFunction)
{
    EXPECT_FALSE(std::is_polymorphic_v<OrvelDriver::Reset>);
}

TEST_F(Reset, ExportsThePinAndMakesItAnInput)
{
    const OrvelDriver::Reset reset(3);
    EXPECT_FALSE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("export"), "3");
    EXPECT_EQ(gpio.Read("gpio3/direction"), "in");
    EXPECT_EQ(gpio.Read("gpio3/value"), "");
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Reset, UsesThePinThatItWasGiven)
{
    const GpioDirectory other(128);
    OrvelDriver::Reset reset(128);
    SkipPauses();
    reset.ResetStm32();
    EXPECT_FALSE(reset.HasFailed());
    EXPECT_EQ(other.Read("export"), "128");
    EXPECT_EQ(other.Read("gpio128/direction"), "in");
    EXPECT_EQ(other.Read("gpio128/value"), "01");
    EXPECT_EQ(gpio.Read("gpio3/direction"), "");
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Reset Resetting STM32 using GPIO 128"});
}

TEST_F(Reset, ReplacesWhatItsFilesHeld)
{
    gpio.Write("export", "1234567");
    gpio.Write("gpio3/direction", "1234567");
    gpio.Write("gpio3/value", "1234567");
    OrvelDriver::Reset reset(3);
    SkipPauses();
    reset.ResetStm32();
    EXPECT_EQ(gpio.Read("export"), "3");
    EXPECT_EQ(gpio.Read("gpio3/direction"), "in");
    EXPECT_EQ(gpio.Read("gpio3/value"), "01");
}

TEST_F(Reset, AcceptsAPinThatIsExportedAlready)
{
    gpio.RefuseWrites("export");
    const OrvelDriver::Reset reset(3);
    EXPECT_FALSE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/direction"), "in");
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Reset, FailsWithoutTouchingTheDirectionWhenThePinCannotBeExported)
{
    gpio.MakeDirectory("export");
    gpio.Write("gpio3/direction", "untouched");
    const OrvelDriver::Reset reset(3);
    EXPECT_TRUE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/direction"), "untouched");
    EXPECT_EQ(log->Lines(), Texts{"ERROR Reset Failed to export STM32 reset GPIO 3: Is a directory"});
}

TEST_F(Reset, NamesTheReasonWhyThePinCannotBeExported)
{
    gpio.Remove(""); // the whole directory, so that no file can be created either
    const OrvelDriver::Reset reset(12);
    EXPECT_TRUE(reset.HasFailed());
    EXPECT_EQ(log->Lines(), Texts{"ERROR Reset Failed to export STM32 reset GPIO 12: No such file or directory"});
}

TEST_F(Reset, FailsWhenThePinHasNoDirectoryAfterItsExport)
{
    const OrvelDriver::Reset reset(4);
    EXPECT_TRUE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("export"), "4");
    EXPECT_EQ(log->Lines(), Texts{"ERROR Reset Cannot set direction of STM32 reset GPIO 4: No such file or directory"});
}

TEST_F(Reset, AcceptsADirectionThatTheKernelRefuses)
{
    gpio.RefuseWrites("gpio3/direction");
    OrvelDriver::Reset reset(3);
    SkipPauses();
    reset.ResetStm32();
    EXPECT_FALSE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/value"), "01");
    EXPECT_EQ(pauses, (Pauses{1ms, 10ms}));
    EXPECT_EQ(log->Failures(), Texts{});
}

TEST_F(Reset, DrivesThePinLowBeforeTheFirstPauseAndWritesBothDigitsAfterIt)
{
    OrvelDriver::Reset reset(3);
    Texts seen;
    AtEachPause(
        [this, &seen](int)
        {
            seen.push_back("direction " + gpio.Read("gpio3/direction"));
            seen.push_back("value " + gpio.Read("gpio3/value"));
        });
    reset.ResetStm32();
    // Nothing is in the value file during the low time: the two digits reach it together, when it is closed.
    EXPECT_EQ(seen, (Texts{"direction out", "value ", "direction in", "value 01"}));
}

TEST_F(Reset, PausesOneMillisecondLowAndTenToSettle)
{
    OrvelDriver::Reset reset(3);
    SkipPauses();
    reset.ResetStm32();
    EXPECT_EQ(pauses, (Pauses{1ms, 10ms}));
    EXPECT_FALSE(reset.HasFailed());
}

TEST_F(Reset, PausesNotAtAllWhenItIsBuilt)
{
    SkipPauses();
    const OrvelDriver::Reset reset(3);
    EXPECT_EQ(pauses, Pauses{});
}

TEST_F(Reset, LogsEachPulse)
{
    OrvelDriver::Reset reset(3);
    SkipPauses();
    reset.ResetStm32();
    reset.ResetStm32();
    EXPECT_EQ(log->Lines(),
              (Texts{"DEBUG Reset Resetting STM32 using GPIO 3", "DEBUG Reset Resetting STM32 using GPIO 3"}));
    EXPECT_EQ(log->Details().at(0).file, "Driver/OrvelDriver/Src/Reset.cpp");
    EXPECT_EQ(log->Details().at(0).function, "void OrvelDriver::Reset::ResetStm32()");
}

TEST_F(Reset, BlocksUntilBothPausesAreOver)
{
    OrvelDriver::Reset reset(3);
    const auto begin = std::chrono::steady_clock::now();
    reset.ResetStm32();
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 11ms);
}

TEST_F(Reset, ResumesAPauseThatASignalInterrupts)
{
    OrvelDriver::Reset reset(3);
    Pauses requested;
    Kernel::Nanosleep.Replace(
        [&requested](const timespec* request, timespec* remaining)
        {
            requested.push_back(std::chrono::nanoseconds(request->tv_nsec));
            if (requested.size() % 2 == 0)
            {
                return 0;
            }
            *remaining = {0, request->tv_nsec / 4};
            errno = EINTR;
            return -1;
        });
    reset.ResetStm32();
    EXPECT_EQ(requested, (Pauses{1ms, 250us, 10ms, 2500us}));
    EXPECT_FALSE(reset.HasFailed());
}

TEST_F(Reset, FailsAndReleasesThePinWithoutAPauseWhenTheValueCannotBeOpened)
{
    OrvelDriver::Reset reset(3);
    gpio.MakeDirectory("gpio3/value");
    gpio.Write("gpio3/direction", "");
    SkipPauses();
    reset.ResetStm32();
    EXPECT_TRUE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/direction"), "in");
    EXPECT_EQ(pauses, Pauses{});
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Reset Resetting STM32 using GPIO 3",
                                   "ERROR Reset Cannot set value of STM32 reset GPIO 3: Is a directory"}));
}

TEST_F(Reset, TriesToReleaseThePinAfterTheValueCouldNotBeOpened)
{
    OrvelDriver::Reset reset(3);
    gpio.Remove("gpio3");
    reset.ResetStm32();
    EXPECT_TRUE(reset.HasFailed());
    EXPECT_EQ(log->Lines(),
              (Texts{"DEBUG Reset Resetting STM32 using GPIO 3",
                     "ERROR Reset Cannot set direction of STM32 reset GPIO 3: No such file or directory",
                     "ERROR Reset Cannot set value of STM32 reset GPIO 3: No such file or directory",
                     "ERROR Reset Cannot set direction of STM32 reset GPIO 3: No such file or directory"}));
}

TEST_F(Reset, AcceptsAValueThatTheKernelRefuses)
{
    OrvelDriver::Reset reset(3);
    gpio.RefuseWrites("gpio3/value");
    SkipPauses();
    reset.ResetStm32();
    EXPECT_FALSE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/direction"), "in");
    EXPECT_EQ(pauses, (Pauses{1ms, 10ms}));
    EXPECT_EQ(log->Failures(), Texts{});
}

TEST_F(Reset, GoesOnWhenThePinCannotBeDriven)
{
    OrvelDriver::Reset reset(3);
    gpio.MakeDirectory("gpio3/direction");
    AtEachPause(
        [this](int pause)
        {
            if (pause == 1)
            {
                gpio.Remove("gpio3/direction"); // then it can be created again
            }
        });
    reset.ResetStm32();
    EXPECT_FALSE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/value"), "01");
    EXPECT_EQ(gpio.Read("gpio3/direction"), "in");
    EXPECT_EQ(pauses, (Pauses{1ms, 10ms}));
    EXPECT_EQ(log->Failures(), Texts{"ERROR Reset Cannot set direction of STM32 reset GPIO 3: Is a directory"});
}

TEST_F(Reset, FailsWithoutTheSettlingPauseWhenThePinCannotBeReleased)
{
    OrvelDriver::Reset reset(3);
    AtEachPause([this](int) { gpio.MakeDirectory("gpio3/direction"); });
    reset.ResetStm32();
    EXPECT_TRUE(reset.HasFailed());
    EXPECT_EQ(gpio.Read("gpio3/value"), "01");
    EXPECT_EQ(pauses, Pauses{1ms});
    EXPECT_EQ(log->Failures(), Texts{"ERROR Reset Cannot set direction of STM32 reset GPIO 3: Is a directory"});
}

TEST_F(Reset, StaysFailedAfterALaterPulseSucceeds)
{
    OrvelDriver::Reset reset(3);
    SkipPauses();
    gpio.MakeDirectory("gpio3/value");
    reset.ResetStm32();
    gpio.Remove("gpio3/value");
    reset.ResetStm32();
    EXPECT_EQ(gpio.Read("gpio3/value"), "01");
    EXPECT_TRUE(reset.HasFailed());
}

TEST_F(Reset, FailsTheSameBelowItsLoggersLevel)
{
    log4cplus::Logger::getInstance("Reset").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    SkipPauses();
    OrvelDriver::Reset healthy(3);
    EXPECT_FALSE(healthy.HasFailed());
    gpio.Remove("gpio3"); // neither direction nor value can be opened
    healthy.ResetStm32();
    EXPECT_TRUE(healthy.HasFailed());
    gpio.Remove("");
    EXPECT_TRUE(OrvelDriver::Reset(3).HasFailed());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Reset, LeavesThePinAsItWasWhenItIsGone)
{
    {
        const OrvelDriver::Reset reset(3);
        gpio.Write("gpio3/direction", "as it was");
        gpio.Write("export", "as it was");
    }
    EXPECT_EQ(gpio.Read("gpio3/direction"), "as it was");
    EXPECT_EQ(gpio.Read("export"), "as it was");
    EXPECT_EQ(hub.Texts(), Texts{});
}

} // namespace
