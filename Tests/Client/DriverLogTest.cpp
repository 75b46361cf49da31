#include "DriverLog.h"

#include "Rejection.h"

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::Direction;
using OrvelClient::DriverLog;
using OrvelClient::LocalDate;
using OrvelClient::Status;

namespace
{

const std::string Date = "22.11.2026 14:05:09.042";
const std::string Received = Date + " [140737350] DEBUG Nemt <> - Received on topic 256: 29 0 bc e0 11 1 a 3 1 0 81";

std::string FrameIn(const std::string& line)
{
    DriverLog log;
    const auto message = log.Parse(line);
    return message ? ToHex(message->frame) : "nothing";
}

TEST(DriverLog, ShowsFramesInBothDirections)
{
    DriverLog log;
    auto message = log.Parse(Received);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->frame, FromHex("29 00 bc e0 11 01 0a 03 01 00 81"));
    EXPECT_EQ(message->direction, Direction::FromLink);
    EXPECT_EQ(message->time, LocalDate().Time(Date));
    message = log.Parse(Date + " [140737350] DEBUG Nemt <> - Sent on topic 256: 29 0");
    ASSERT_TRUE(message);
    EXPECT_EQ(message->frame, (Bytes{0x29, 0x00}));
    EXPECT_EQ(message->direction, Direction::ToLink);
}

TEST(DriverLog, MayHaveThePrefixesOfAJournal)
{
    for (const char* const prefix :
         {"<7>", "Nov 22 14:05:09 board orvel[417]: ", "2026-11-22T14:05:09+0100 board orvel[417]: <7>",
          "[  417.123456] board orvel[417]: "})
    {
        DriverLog log;
        const auto message = log.Parse(prefix + Received + "\r");
        ASSERT_TRUE(message) << prefix;
        EXPECT_EQ(message->frame.size(), 11) << prefix;
        EXPECT_EQ(message->time, LocalDate().Time(Date)) << prefix;
    }
}

TEST(DriverLog, AFrameWithoutADateIsOfTheTimeOfTheOneBefore)
{
    DriverLog log;
    EXPECT_EQ(log.Parse("    5.082 DEBUG Nemt: Received on topic 256: 29 0")->time.count(), 0);
    log.Parse(Received);
    EXPECT_EQ(log.Parse("    5.082 DEBUG Nemt: Received on topic 256: 29 0")->time, LocalDate().Time(Date));
}

TEST(DriverLog, OtherLinesShowNoFrame)
{
    for (const char* const text :
         {"Received on topic 257: 7 1 1", "Sended cemi message with size 12 from LL to user message queue",
          "Received on topic 256:", "Received on topic 2560: 29"})
    {
        EXPECT_EQ(FrameIn(Date + " [140737350] DEBUG Nemt <> - " + text), "nothing") << text;
    }
}

TEST(DriverLog, ALineThatShowsNoBytesIsNotUnderstood)
{
    const std::string begin = Date + " [140737350] DEBUG Nemt <> - Received on topic 256:";
    EXPECT_REJECTED(FrameIn(begin + " 29 012"), Status::NotUnderstood, "shows no bytes behind 'topic 256:'");
    EXPECT_REJECTED(FrameIn(begin + " 29  1"), Status::NotUnderstood, "shows no bytes behind 'topic 256:'");
    EXPECT_REJECTED(FrameIn(begin + " 29 x"), Status::NotUnderstood, "'x' at position 6 is no hexadecimal digit");
}

TEST(DriverLog, IsKnownByItsLevelsAndLoggers)
{
    EXPECT_TRUE(DriverLog::Has(Received));
    EXPECT_TRUE(DriverLog::Has(Date + " [1] ERROR Cemi <> - Failed"));
    EXPECT_TRUE(DriverLog::Has("    1.679 DEBUG Leds: Set brightness"));
    for (const char* const other : {"", "DEBUG", "DEBUG x", "systemd[1]: Started orvel.service", "DEBUG Nemts <> - x"})
    {
        EXPECT_FALSE(DriverLog::Has(other)) << other;
    }
}

} // namespace
