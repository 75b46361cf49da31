#include "Uleds.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <linux/uleds.h>
#include <poll.h>

#include <cerrno>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace
{

constexpr std::size_t ReportSize = 4;
constexpr long RecordSize = 68;

std::string Record(const std::string& name, int maxBrightness = 100)
{
    uleds_user_dev record{};
    name.copy(record.name, sizeof(record.name));
    record.max_brightness = maxBrightness;
    return {reinterpret_cast<const char*>(&record), sizeof(record)};
}

class Uleds : public testing::Test
{
protected:
    using Handle = Simulator::Uleds::Handle;

    Handle Register(const std::string& name, int maxBrightness = 100)
    {
        const Handle handle = uleds.Open();
        EXPECT_EQ(uleds.Write(handle, Record(name, maxBrightness)), RecordSize) << name;
        return handle;
    }

    /// An LED whose first report has been read.
    Handle RegisterAndRead(const std::string& name)
    {
        const Handle handle = Register(name);
        EXPECT_EQ(Read(handle), 0);
        return handle;
    }

    /// The report, or the error, which is negative.
    long Read(Handle handle)
    {
        int32_t brightness = 0;
        const long result = uleds.Read(handle, ReportSize, brightness);
        return result < 0 ? result : brightness;
    }

    std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& led : uleds.Leds())
        {
            names.push_back(led.name);
        }
        return names;
    }

    std::vector<std::pair<std::string, bool>> changes;
    int reports = 0;
    Simulator::Uleds uleds{[this](const std::string& name, bool present) { changes.emplace_back(name, present); },
                           [this] { ++reports; }};
};

TEST_F(Uleds, ARecordIsTakenWholeAndMakesAnLed)
{
    const Handle handle = uleds.Open();
    EXPECT_EQ(uleds.Write(handle, Record("system")), RecordSize);
    EXPECT_THAT(Names(), ElementsAre("system"));
    EXPECT_EQ(uleds.NameOf(handle), "system");
    EXPECT_THAT(changes, ElementsAre(Pair("system", true)));
}

TEST_F(Uleds, ARecordOfAnyOtherLengthIsRefusedAndTheHandleStaysUsable)
{
    const Handle handle = uleds.Open();
    const std::string record = Record("system");
    EXPECT_EQ(uleds.Write(handle, record.substr(0, 1)), -EINVAL);
    EXPECT_EQ(uleds.Write(handle, record.substr(0, 67)), -EINVAL);
    EXPECT_EQ(uleds.Write(handle, record + "x"), -EINVAL);
    EXPECT_EQ(uleds.Write(handle, ""), 0);
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_EQ(uleds.Write(handle, record), RecordSize);
}

TEST_F(Uleds, RefusesNamesThatCannotBeThoseOfAFile)
{
    const Handle handle = uleds.Open();
    for (const char* const name : {"", ".", "..", "/", "a/b", "/a", "a/"})
    {
        EXPECT_EQ(uleds.Write(handle, Record(name)), -EINVAL) << '"' << name << '"';
    }
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(Uleds, TakesNamesThatOnlyLookOdd)
{
    for (const char* const name : {"...", " ", "a b", "platform:red:status", "\xfc"})
    {
        Register(name);
    }
    EXPECT_EQ(uleds.Leds().size(), 5U);
}

TEST_F(Uleds, RefusesAMaximumBrightnessThatIsNotAboveZero)
{
    const Handle handle = uleds.Open();
    EXPECT_EQ(uleds.Write(handle, Record("system", 0)), -EINVAL);
    EXPECT_EQ(uleds.Write(handle, Record("system", -1)), -EINVAL);
    EXPECT_EQ(uleds.Write(handle, Record("system", 1)), RecordSize);
}

TEST_F(Uleds, TakesANameOf63CharactersAndRefuses64)
{
    Register(std::string(63, 'a'));
    EXPECT_EQ(uleds.Write(uleds.Open(), Record(std::string(64, 'b'))), -EINVAL);
    EXPECT_THAT(Names(), ElementsAre(std::string(63, 'a')));
}

TEST_F(Uleds, RenamesAnLedWhoseNameExists)
{
    Register("led");
    const Handle second = Register("led");
    Register("led");
    EXPECT_THAT(Names(), ElementsAre("led", "led_1", "led_2"));
    EXPECT_EQ(uleds.NameOf(second), "led_1");

    uleds.Close(second);
    Register("led");
    EXPECT_THAT(Names(), ElementsAre("led", "led_2", "led_1"));
}

TEST_F(Uleds, HasNoMemoryForANameWithoutRoomForItsNumber)
{
    Register(std::string(61, 'a'));
    Register(std::string(61, 'a'));
    EXPECT_EQ(Names().back(), std::string(61, 'a') + "_1");

    Register(std::string(62, 'b'));
    const Handle refused = uleds.Open();
    EXPECT_EQ(uleds.Write(refused, Record(std::string(62, 'b'))), -ENOMEM);
    EXPECT_EQ(uleds.Write(refused, Record("c")), RecordSize);
}

TEST_F(Uleds, AHandleThatHasAnLedIsBusyForARecordOfAnyLength)
{
    const Handle handle = Register("led");
    EXPECT_EQ(uleds.Write(handle, Record("other")), -EBUSY);
    EXPECT_EQ(uleds.Write(handle, "x"), -EBUSY);
    EXPECT_EQ(uleds.Write(handle, ""), 0);
    EXPECT_THAT(Names(), ElementsAre("led"));
}

TEST_F(Uleds, AHandleWithoutAnLedHasNothingToPollOrRead)
{
    const Handle handle = uleds.Open();
    EXPECT_EQ(uleds.Poll(handle), 0);
    EXPECT_EQ(Read(handle), -ENODEV);
    EXPECT_EQ(uleds.NameOf(handle), "");
}

TEST_F(Uleds, ANewLedReportsZeroThoughNobodyHasSetIt)
{
    const Handle handle = Register("led");
    int32_t brightness = 77;
    EXPECT_EQ(uleds.Poll(handle), POLLIN | POLLRDNORM);
    EXPECT_EQ(uleds.Read(handle, ReportSize, brightness), 4);
    EXPECT_EQ(brightness, 0);
    EXPECT_EQ(uleds.Poll(handle), 0);
    EXPECT_EQ(Read(handle), -EAGAIN);
}

TEST_F(Uleds, AReadThatIsTooSmallGivesNothingAndLeavesTheReport)
{
    const Handle handle = Register("led");
    int32_t brightness = 0;
    for (const std::size_t size : {0U, 1U, 3U})
    {
        EXPECT_EQ(uleds.Read(handle, size, brightness), 0);
        EXPECT_NE(uleds.Poll(handle), 0);
    }
    EXPECT_EQ(uleds.Read(handle, 100, brightness), 4);
}

TEST_F(Uleds, ReportsABrightnessUntilItIsRead)
{
    const Handle handle = RegisterAndRead("led");
    EXPECT_EQ(uleds.WriteBrightness(handle, "50\n"), 0);
    EXPECT_EQ(reports, 1);
    EXPECT_EQ(uleds.Poll(handle), POLLIN | POLLRDNORM);
    EXPECT_EQ(uleds.Poll(handle), POLLIN | POLLRDNORM);
    EXPECT_EQ(Read(handle), 50);
    EXPECT_EQ(uleds.Poll(handle), 0);
}

TEST_F(Uleds, ReportsOnlyTheLastOfTwoQuickWrites)
{
    const Handle handle = RegisterAndRead("led");
    uleds.WriteBrightness(handle, "10");
    uleds.WriteBrightness(handle, "20");
    EXPECT_EQ(Read(handle), 20);
    EXPECT_EQ(Read(handle), -EAGAIN);
}

TEST_F(Uleds, ReportsOnceWhenTheBrightnessIsBackBeforeTheRead)
{
    const Handle handle = RegisterAndRead("led");
    uleds.WriteBrightness(handle, "0");
    uleds.WriteBrightness(handle, "100");
    uleds.WriteBrightness(handle, "0");
    EXPECT_EQ(Read(handle), 0);
    EXPECT_EQ(Read(handle), -EAGAIN);
}

TEST_F(Uleds, DoesNotReportTheBrightnessThatIsSetAlready)
{
    const Handle handle = RegisterAndRead("led");
    uleds.WriteBrightness(handle, "10");
    EXPECT_EQ(Read(handle), 10);
    EXPECT_EQ(uleds.WriteBrightness(handle, "10"), 0);
    EXPECT_EQ(Read(handle), -EAGAIN);
    EXPECT_EQ(reports, 1);
}

TEST_F(Uleds, TakesABrightnessAboveTheMaximumAsTheMaximum)
{
    const Handle handle = Register("led", 7);
    std::string text;
    EXPECT_EQ(uleds.WriteBrightness(handle, "4294967295"), 0);
    EXPECT_EQ(uleds.ReadBrightness(handle, text), 0);
    EXPECT_EQ(text, "7\n");
    EXPECT_EQ(Read(handle), 7);
    EXPECT_EQ(uleds.ReadMaxBrightness(handle, text), 0);
    EXPECT_EQ(text, "7\n");
}

TEST_F(Uleds, RefusesABrightnessThatIsNoDecimalNumberAndDoesNotReport)
{
    const Handle handle = RegisterAndRead("led");
    for (const char* const text : {"-1", "abc", "0x20", "12.5", "", "\n", " 1", "1 ", "1\n\n", "+-1"})
    {
        EXPECT_EQ(uleds.WriteBrightness(handle, text), EINVAL) << '"' << text << '"';
    }
    EXPECT_EQ(uleds.WriteBrightness(handle, "18446744073709551616"), ERANGE);
    EXPECT_EQ(Read(handle), -EAGAIN);
}

TEST_F(Uleds, ReadsTheBrightnessAsDecimalAlsoWithALeadingZeroOrPlus)
{
    const Handle handle = Register("led");
    uleds.WriteBrightness(handle, "010");
    EXPECT_EQ(Read(handle), 10);
    uleds.WriteBrightness(handle, "+9\n");
    EXPECT_EQ(Read(handle), 9);
}

TEST_F(Uleds, ClosingAHandleRemovesItsLedOnly)
{
    const Handle first = Register("one");
    Register("two");
    changes.clear();
    uleds.Close(first);
    std::string text;
    EXPECT_THAT(Names(), ElementsAre("two"));
    EXPECT_THAT(changes, ElementsAre(Pair("one", false)));
    EXPECT_EQ(uleds.WriteBrightness(first, "1"), ENODEV);
    EXPECT_EQ(uleds.ReadBrightness(first, text), ENODEV);
    EXPECT_EQ(uleds.ReadMaxBrightness(first, text), ENODEV);
    EXPECT_EQ(Read(first), -ENODEV);
    EXPECT_EQ(uleds.Write(first, Record("one")), -EBADF);
}

TEST_F(Uleds, ClosingAHandleWithoutAnLedTellsNobody)
{
    uleds.Close(uleds.Open());
    uleds.Close(12345);
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(Uleds, ClosingAllHandlesRemovesAllLeds)
{
    Register("one");
    uleds.Open();
    Register("two");
    changes.clear();
    uleds.CloseAll();
    EXPECT_THAT(Names(), IsEmpty());
    EXPECT_THAT(changes, ElementsAre(Pair("one", false), Pair("two", false)));
}

TEST_F(Uleds, AHandleNumberIsNeverUsedAgain)
{
    const Handle first = uleds.Open();
    EXPECT_NE(first, 0U);
    uleds.Close(first);
    EXPECT_NE(uleds.Open(), first);
}

TEST_F(Uleds, TheListenerMayAskForTheLeds)
{
    std::size_t seen = 0;
    Simulator::Uleds* asked = nullptr;
    Simulator::Uleds own([&](const std::string&, bool) { seen = asked->Leds().size(); });
    asked = &own;
    own.Write(own.Open(), Record("led"));
    EXPECT_EQ(seen, 1U);
}

TEST(UledsThreads, AReaderMissesNoLastBrightnessOfAWriterOnAnotherThread)
{
    constexpr int Last = 1000;
    Simulator::Uleds uleds;
    const auto handle = uleds.Open();
    uleds.Write(handle, Record("led", Last));
    std::thread writer(
        [&]
        {
            for (int brightness = 1; brightness <= Last; ++brightness)
            {
                uleds.WriteBrightness(handle, std::to_string(brightness));
            }
        });
    int32_t seen = 0;
    while (seen != Last)
    {
        uleds.Read(handle, ReportSize, seen);
        std::this_thread::yield();
    }
    writer.join();
    EXPECT_EQ(uleds.Poll(handle), 0);
}

} // namespace
