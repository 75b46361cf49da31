#include "Gpio.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

using Simulator::PinFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Change = std::tuple<int, bool, bool>; // pin, driven, high

/// The pin 3, exported, and what the listener was told since.
class Gpio : public testing::Test
{
protected:
    Gpio()
    {
        gpio.Export("3");
    }

    int Write(PinFile file, std::string_view text)
    {
        return gpio.Write(3, file, text);
    }

    std::string Read(PinFile file) const
    {
        std::string text;
        EXPECT_EQ(gpio.Read(3, file, text), 0);
        return text;
    }

    std::vector<Change> changes;
    Simulator::Gpio gpio{[this](int pin, bool driven, bool high) { changes.emplace_back(pin, driven, high); }};
};

TEST_F(Gpio, AnExportedPinIsAnInputWhoseLineThePullUpHolds)
{
    EXPECT_EQ(Read(PinFile::Direction), "in\n");
    EXPECT_EQ(Read(PinFile::Value), "1\n");
    EXPECT_EQ(Read(PinFile::ActiveLow), "0\n");
    EXPECT_EQ(Read(PinFile::Edge), "none\n");
    EXPECT_TRUE(gpio.IsHigh(3));
    EXPECT_FALSE(gpio.IsDriven(3));
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(Gpio, HasThePins0To31)
{
    EXPECT_EQ(gpio.Export("0"), 0);
    EXPECT_EQ(gpio.Export("31"), 0);
    EXPECT_EQ(gpio.Export("32"), EINVAL);
    EXPECT_EQ(gpio.Export("-1"), EINVAL);
}

TEST_F(Gpio, ExportingAgainIsBusy)
{
    EXPECT_EQ(gpio.Export("3"), EBUSY);
}

TEST_F(Gpio, ExportRefusesWhatIsNoNumber)
{
    for (const char* const text :
         {"abc", "", "\n", "-", "+", " 4", "4 ", "4x", "08", "0x", "4\n\n", "0xg", "--4", "-+4"})
    {
        EXPECT_EQ(gpio.Export(text), EINVAL) << '"' << text << '"';
    }
    EXPECT_EQ(gpio.ExportNumber(4), 0U);
    EXPECT_EQ(gpio.ExportNumber(8), 0U);
}

TEST_F(Gpio, ExportRefusesANumberOfMoreThan64BitsAsOutOfRange)
{
    EXPECT_EQ(gpio.Export("9223372036854775807"), EINVAL);
    EXPECT_EQ(gpio.Export("9223372036854775808"), ERANGE);
    EXPECT_EQ(gpio.Export("-9223372036854775808"), EINVAL);
    EXPECT_EQ(gpio.Export("-9223372036854775809"), ERANGE);
    EXPECT_EQ(gpio.Export("99999999999999999999"), ERANGE);
}

TEST_F(Gpio, ExportReadsNumbersAsCDoes)
{
    for (const auto& [text, pin] :
         {std::pair("4\n", 4), {"+5", 5}, {"010", 8}, {"0x1f", 31}, {"0XA", 10}, {"00", 0}, {"-0x0", 0}})
    {
        EXPECT_EQ(gpio.ExportNumber(pin) != 0 ? 0 : gpio.Export(text), 0) << '"' << text << '"';
        EXPECT_NE(gpio.ExportNumber(pin), 0U) << '"' << text << '"';
    }
}

TEST_F(Gpio, ATextEndsAtAZeroByte)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(gpio.Export("4\0abc"sv), 0);
    EXPECT_NE(gpio.ExportNumber(4), 0U);
    EXPECT_EQ(Write(PinFile::Direction, "out\0abc"sv), 0);
    EXPECT_EQ(Read(PinFile::Direction), "out\n");
}

TEST_F(Gpio, OnlyAnExportedPinCanBeUnexported)
{
    EXPECT_EQ(gpio.Unexport("4"), EINVAL);
    EXPECT_EQ(gpio.Unexport("99"), EINVAL);
    EXPECT_EQ(gpio.Unexport("abc"), EINVAL);
    EXPECT_EQ(gpio.Unexport("3\n"), 0);
    EXPECT_EQ(gpio.Unexport("3"), EINVAL);
}

TEST_F(Gpio, AnOutputThatIsUnexportedGoesLowAndStaysAnOutput)
{
    Write(PinFile::Direction, "high");
    changes.clear();

    EXPECT_EQ(gpio.Unexport("3"), 0);

    EXPECT_THAT(changes, ElementsAre(Change(3, true, false)));
    EXPECT_EQ(gpio.Export("3"), 0);
    EXPECT_EQ(Read(PinFile::Direction), "out\n");
    EXPECT_EQ(Read(PinFile::Value), "0\n");
    EXPECT_EQ(changes.size(), 1U);
}

TEST_F(Gpio, AnInputThatIsUnexportedStaysOneAndForgetsTheRest)
{
    Write(PinFile::ActiveLow, "1");
    Write(PinFile::Edge, "both");
    gpio.Unexport("3");
    EXPECT_EQ(gpio.Export("3"), 0);
    EXPECT_EQ(Read(PinFile::Direction), "in\n");
    EXPECT_EQ(Read(PinFile::ActiveLow), "0\n");
    EXPECT_EQ(Read(PinFile::Edge), "none\n");
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(Gpio, AnEdgeStaysWhenThePinBecomesAnOutputUntilAnotherIsRefused)
{
    Write(PinFile::Edge, "rising");
    Write(PinFile::Direction, "out");
    EXPECT_EQ(Write(PinFile::Edge, "rising"), 0);
    EXPECT_EQ(Read(PinFile::Edge), "rising\n");
    EXPECT_EQ(Write(PinFile::Edge, "both"), EIO);
    EXPECT_EQ(Read(PinFile::Edge), "none\n");
}

TEST_F(Gpio, AnOutputTakesNoEdge)
{
    Write(PinFile::Direction, "out");
    for (const char* const edge : {"rising", "falling", "both"})
    {
        EXPECT_EQ(Write(PinFile::Edge, edge), EIO) << edge;
    }
    EXPECT_EQ(Write(PinFile::Edge, "none"), 0);
    EXPECT_EQ(Write(PinFile::Edge, "up"), EINVAL);
}

TEST_F(Gpio, APinThatIsNotExportedHasNoFiles)
{
    std::string text;
    EXPECT_EQ(gpio.Write(4, PinFile::Direction, "out"), ENODEV);
    EXPECT_EQ(gpio.Read(4, PinFile::Direction, text), ENODEV);
    EXPECT_FALSE(gpio.IsDriven(4));
}

TEST_F(Gpio, EachExportHasANumberOfItsOwn)
{
    const auto first = gpio.ExportNumber(3);
    gpio.Unexport("3");
    EXPECT_EQ(gpio.ExportNumber(3), 0U);
    gpio.Export("4");
    gpio.Export("3");
    EXPECT_NE(gpio.ExportNumber(3), first);
    EXPECT_NE(gpio.ExportNumber(3), gpio.ExportNumber(4));
}

TEST_F(Gpio, OutDrivesTheLineLowAlsoWhenItWasHigh)
{
    EXPECT_EQ(Write(PinFile::Direction, "high"), 0);
    EXPECT_TRUE(gpio.IsHigh(3));
    EXPECT_EQ(Write(PinFile::Direction, "out"), 0);
    EXPECT_FALSE(gpio.IsHigh(3));
    EXPECT_TRUE(gpio.IsDriven(3));
}

TEST_F(Gpio, TakesEachDirectionWithAndWithoutANewline)
{
    for (const auto& [text, direction, value] : {std::tuple("high", "out\n", "1\n"),
                                                 {"low\n", "out\n", "0\n"},
                                                 {"in", "in\n", "1\n"},
                                                 {"out\n", "out\n", "0\n"},
                                                 {"high\n", "out\n", "1\n"},
                                                 {"in\n", "in\n", "1\n"}})
    {
        EXPECT_EQ(Write(PinFile::Direction, text), 0) << text;
        EXPECT_EQ(Read(PinFile::Direction), direction) << text;
        EXPECT_EQ(Read(PinFile::Value), value) << text;
    }
}

TEST_F(Gpio, RefusesOtherDirectionsAndChangesNothing)
{
    for (const char* const text : {"OUT", "out ", " out", "", "o", "outs", "out\n\n", "1"})
    {
        EXPECT_EQ(Write(PinFile::Direction, text), EINVAL) << '"' << text << '"';
    }
    EXPECT_EQ(Read(PinFile::Direction), "in\n");
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(Gpio, TheValueOfAnInputCannotBeWrittenWhateverTheTextIs)
{
    EXPECT_EQ(Write(PinFile::Value, "1"), EPERM);
    EXPECT_EQ(Write(PinFile::Value, "abc"), EPERM);
}

TEST_F(Gpio, ZeroAndOneInOneWriteAreOneChangeToHigh)
{
    Write(PinFile::Direction, "out");
    changes.clear();
    EXPECT_EQ(Write(PinFile::Value, "01"), 0);
    EXPECT_THAT(changes, ElementsAre(Change(3, true, true)));
}

TEST_F(Gpio, RefusesValuesThatAreNoNumberAndKeepsTheLevel)
{
    Write(PinFile::Direction, "high");
    changes.clear();
    for (const char* const text : {"08", " 1", "1 ", "", "\n", "0x", "high"})
    {
        EXPECT_EQ(Write(PinFile::Value, text), EINVAL) << '"' << text << '"';
    }
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(Gpio, EveryValueButZeroIsHigh)
{
    for (const char* const text : {"1", "1\n", "2", "-1", "0x10", "+1", "07"})
    {
        Write(PinFile::Direction, "out");
        EXPECT_EQ(Write(PinFile::Value, text), 0) << text;
        EXPECT_EQ(Read(PinFile::Value), "1\n") << text;
    }
    EXPECT_EQ(Write(PinFile::Value, "0x0"), 0);
    EXPECT_EQ(Read(PinFile::Value), "0\n");
}

TEST_F(Gpio, ActiveLowInvertsTheValueButNotTheWordsForTheDirection)
{
    EXPECT_EQ(Write(PinFile::ActiveLow, "1"), 0);
    EXPECT_EQ(Read(PinFile::ActiveLow), "1\n");
    EXPECT_EQ(Read(PinFile::Value), "0\n");

    Write(PinFile::Direction, "high");
    EXPECT_TRUE(gpio.IsHigh(3));
    EXPECT_EQ(Read(PinFile::Value), "0\n");

    Write(PinFile::Value, "1");
    EXPECT_FALSE(gpio.IsHigh(3));
    EXPECT_EQ(Read(PinFile::Value), "1\n");
    EXPECT_EQ(Write(PinFile::ActiveLow, "x"), EINVAL);
}

TEST_F(Gpio, ChangingActiveLowDoesNotChangeTheLine)
{
    Write(PinFile::Direction, "high");
    changes.clear();
    Write(PinFile::ActiveLow, "1");
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_TRUE(gpio.IsHigh(3));
}

TEST_F(Gpio, KeepsTheEdge)
{
    for (const std::string edge : {"rising", "falling", "both", "none"})
    {
        EXPECT_EQ(Write(PinFile::Edge, edge), 0);
        EXPECT_EQ(Read(PinFile::Edge), edge + "\n");
    }
    EXPECT_EQ(Write(PinFile::Edge, "up"), EINVAL);
    EXPECT_EQ(Read(PinFile::Edge), "none\n");
}

TEST_F(Gpio, TellsTheListenerOfEachChangeInOrder)
{
    Write(PinFile::Direction, "in");
    Write(PinFile::Direction, "out");
    Write(PinFile::Value, "01");
    Write(PinFile::Direction, "in");
    EXPECT_THAT(changes, ElementsAre(Change(3, true, false), Change(3, true, true), Change(3, false, true)));
}

TEST_F(Gpio, DoesNotTellTheListenerOfAWriteThatChangesNothing)
{
    Write(PinFile::Direction, "out");
    changes.clear();
    Write(PinFile::Direction, "low");
    Write(PinFile::Value, "0");
    Write(PinFile::Value, "x");
    EXPECT_THAT(changes, IsEmpty());
}

TEST(GpioListener, MayReadThePinsAndTheWrites)
{
    std::unique_ptr<Simulator::Gpio> gpio;
    bool high = true;
    std::size_t writes = 0;
    gpio = std::make_unique<Simulator::Gpio>(
        [&](int pin, bool, bool)
        {
            high = gpio->IsHigh(pin);
            writes = gpio->Writes().size();
        });
    gpio->Export("7");
    gpio->Write(7, PinFile::Direction, "out");
    EXPECT_FALSE(high);
    EXPECT_EQ(writes, 2U);
}

TEST(GpioListener, SeesEachLevelFollowTheOtherAlsoWhenTwoThreadsWrite)
{
    constexpr int Rounds = 500;
    bool last = true;
    int repeated = 0;
    Simulator::Gpio gpio(
        [&](int, bool, bool high)
        {
            std::this_thread::yield(); // to let the other one overtake, if it can
            repeated += high == last ? 1 : 0;
            last = high;
        });
    gpio.Export("3");
    gpio.Write(3, PinFile::Direction, "out");
    const auto toggle = [&]
    {
        for (int round = 0; round < Rounds; ++round)
        {
            gpio.Write(3, PinFile::Value, "1");
            gpio.Write(3, PinFile::Value, "0");
        }
    };
    std::thread other(toggle);
    toggle();
    other.join();
    EXPECT_EQ(repeated, 0);
    EXPECT_FALSE(last);
}

TEST_F(Gpio, RemembersTheWritesInOrderWithWhatBecameOfThem)
{
    Write(PinFile::Direction, "out");
    gpio.Export("3\n");
    Write(PinFile::Value, "01");
    gpio.Unexport("x");

    const auto writes = gpio.Writes();
    std::vector<std::tuple<std::string, std::string, int>> seen;
    for (const auto& write : writes)
    {
        seen.emplace_back(write.path, write.text, write.error);
    }
    EXPECT_THAT(seen, ElementsAre(std::tuple("export", "3", 0), std::tuple("gpio3/direction", "out", 0),
                                  std::tuple("export", "3\n", EBUSY), std::tuple("gpio3/value", "01", 0),
                                  std::tuple("unexport", "x", EINVAL)));
    EXPECT_LE(writes.front().time, writes.back().time);
    EXPECT_LE(writes.back().time, std::chrono::steady_clock::now());
}

TEST_F(Gpio, ForgetsTheOldestOfManyWrites)
{
    for (std::size_t count = 0; count < Simulator::Gpio::MaxWrites; ++count)
    {
        Write(PinFile::Edge, "none");
    }
    EXPECT_EQ(gpio.Writes().size(), Simulator::Gpio::MaxWrites);
    EXPECT_EQ(gpio.Writes().front().path, "gpio3/edge");
}

TEST_F(Gpio, RemembersHowPinsChangedAndNotWhatChangedNone)
{
    Write(PinFile::Direction, "in");
    Write(PinFile::Direction, "out");
    Write(PinFile::Value, "0");
    Write(PinFile::Value, "1");
    Write(PinFile::Direction, "in");

    std::vector<std::tuple<int, bool, bool>> seen;
    for (const auto& change : gpio.Changes())
    {
        seen.emplace_back(change.pin, change.driven, change.high);
    }
    EXPECT_THAT(seen, ElementsAre(std::tuple(3, true, false), std::tuple(3, true, true), std::tuple(3, false, true)));
}

TEST_F(Gpio, ForgetsTheWritesAndTheChangesWhenTold)
{
    Write(PinFile::Direction, "out");
    gpio.Forget();
    EXPECT_THAT(gpio.Writes(), IsEmpty());
    EXPECT_THAT(gpio.Changes(), IsEmpty());
}

} // namespace
