#include "TimeStamp.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

using namespace std::chrono_literals;
using OrvelClient::LocalDate;
using OrvelClient::SecondsText;
using OrvelClient::TimeOfSeconds;
using OrvelClient::TimeOfUtc;
using OrvelClient::TimeStamp;
using OrvelClient::TimeStamper;
using OrvelClient::UtcText;

namespace
{

constexpr std::chrono::microseconds Start{1763719200123456};

TEST(TimeStamp, CountsFromTheEpochTheFirstOrTheOneBefore)
{
    TimeStamper absolute(TimeStamp::Absolute);
    TimeStamper relative(TimeStamp::Relative);
    TimeStamper delta(TimeStamp::Delta);
    const std::vector<std::vector<std::string>> expected{
        {"(1763719200.123456)", "(0.000000)", "(+0.000000)"},
        {"(1763719201.123456)", "(1.000000)", "(+1.000000)"},
        {"(1763719201.123556)", "(1.000100)", "(+0.000100)"},
    };
    const std::vector<std::chrono::microseconds> times{Start, Start + 1s, Start + 1s + 100us};
    for (std::size_t i = 0; i < times.size(); ++i)
    {
        EXPECT_EQ(absolute.Stamp(times[i]), expected[i][0]);
        EXPECT_EQ(relative.Stamp(times[i]), expected[i][1]);
        EXPECT_EQ(delta.Stamp(times[i]), expected[i][2]);
    }
}

TEST(TimeStamp, IsNotNegativeWhenTheClockWasSetBack)
{
    TimeStamper relative(TimeStamp::Relative);
    TimeStamper delta(TimeStamp::Delta);
    relative.Stamp(Start);
    delta.Stamp(Start);
    EXPECT_EQ(relative.Stamp(Start - 1s), "(0.000000)");
    EXPECT_EQ(delta.Stamp(Start - 1s), "(+0.000000)");
    EXPECT_EQ(delta.Stamp(Start), "(+1.000000)");
}

// A time zone of its own for as long as the object lives.
class TimeZone
{
public:
    explicit TimeZone(const char* name)
    {
        setenv("TZ", name, 1);
        tzset();
    }

    ~TimeZone()
    {
        unsetenv("TZ");
        tzset();
    }

    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;
};

TEST(TimeStamp, CanBeTheDateAsTheDaemonWritesIt)
{
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    TimeStamper stamper(TimeStamp::Date);
    EXPECT_EQ(stamper.Stamp(Start), "21.11.2025 11:00:00.123");
    EXPECT_EQ(stamper.Stamp(Start + 59s), "21.11.2025 11:00:59.123");
    EXPECT_EQ(stamper.Stamp(Start + 60s), "21.11.2025 11:01:00.123");
    EXPECT_EQ(stamper.Stamp(0us), "01.01.1970 01:00:00.000");
    EXPECT_EQ(stamper.Stamp(Start - 150 * 24h), "24.06.2025 12:00:00.123");
}

TEST(LocalDate, IsReadBack)
{
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    LocalDate date;
    for (const auto time : {1751364000001ms, 1751364000001ms + 59s, 1763719200123ms, 0ms})
    {
        TimeStamper writer(TimeStamp::Date);
        EXPECT_EQ(date.Time(writer.Stamp(time)), time);
    }
    EXPECT_EQ(date.Time("21.11.2025 11:00:00.123 [1] DEBUG"), 1763719200123ms);
}

TEST(LocalDate, MayBeOfTheHourThatSummerTimeLeavesOut)
{
    const TimeZone zone("CET-1CEST,M3.5.0,M10.5.0/3");
    LocalDate date;
    const auto before = date.Time("29.03.2026 01:59:00.000");
    const auto within = date.Time("29.03.2026 02:30:00.000"); // a device in another zone has it
    const auto after = date.Time("29.03.2026 03:31:00.000");
    ASSERT_TRUE(before && within && after);
    EXPECT_GT(*within - *before, -1h);
    EXPECT_LT(*within - *after, 1h);
}

TEST(LocalDate, IsNoneOfADayThatThereIsNot)
{
    LocalDate date;
    for (const char* const text : {"31.02.2026 10:00:00.000", "01.13.2026 10:00:00.000", "01.01.2026 25:00:00.000",
                                   "01.01.2026 24:00:00.000", "01.01.2026 10:60:00.000", "01.01.2026 10:00:99.000",
                                   "01.01.1900 10:00:00.000", "1.1.2026 10:00:00.000", "01.01.2026 10:00:00", ""})
    {
        EXPECT_FALSE(date.Time(text)) << text;
    }
}

TEST(TimeStamp, OfSecondsIsReadBack)
{
    for (const auto time : {0us, 1us, 999999us, 1763719200123456us, 999999999999999999us})
    {
        EXPECT_EQ(TimeOfSeconds(SecondsText(time)), time);
    }
    EXPECT_EQ(TimeOfSeconds("7"), 7s);
    EXPECT_EQ(TimeOfSeconds("7.5"), 7500ms);
    EXPECT_EQ(TimeOfSeconds("7.1234567"), 7123456us);
    for (const char* const text : {"", ".", ".5", "7.", "-7", "7e3", "1234567890123"})
    {
        EXPECT_FALSE(TimeOfSeconds(text)) << text;
    }
}

TEST(TimeStamp, InUtcIsReadBackWithAnyZoneAndAnyNumberOfDecimals)
{
    EXPECT_EQ(UtcText(Start), "2025-11-21T10:00:00.123456Z");
    for (const char* const text :
         {"2025-11-21T10:00:00.123456Z", "2025-11-21T10:00:00.1234569Z", "2025-11-21T11:00:00.123456+01:00",
          "2025-11-21T04:30:00.123456-05:30", "2025-11-21T10:00:00.123456"})
    {
        EXPECT_EQ(TimeOfUtc(text), Start) << text;
    }
    EXPECT_EQ(TimeOfUtc("2025-11-21T10:00:00Z"), 1763719200s);
    EXPECT_EQ(TimeOfUtc("1970-01-01T00:00:00+01:00"), 0s);
    for (const char* const text : {"", "2025-11-21", "2025-02-30T10:00:00Z", "2025-11-21T10:00:00X",
                                   "2025-11-21T10:00:00+1", "1969-12-31T00:00:00Z", "2025-11-21 10:00:00Z"})
    {
        EXPECT_FALSE(TimeOfUtc(text)) << text;
    }
}

} // namespace
