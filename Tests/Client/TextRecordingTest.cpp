#include "TextRecording.h"

#include "Recorded.h"
#include "Rejection.h"

using Knx::Bytes;
using Knx::FromHex;
using OrvelClient::Direction;
using OrvelClient::Status;
using OrvelClient::TextRecordingReader;

namespace
{

const std::string Digits = "29 00 bc e0 11 01 0a 03 01 00 81";
const std::string Log = "(1763719200.123456) rx " + Digits + "  # L_Data.ind\n";
const std::string Json = R"({"time":1763719200.123456,"direction":"rx","hex":"2900bce011010a03010081"})"
                         "\n";
const std::string DriverLine =
    "22.11.2026 14:05:09.042 [14] DEBUG Nemt <> - Received on topic 256: 29 0 bc e0 11 1 a 3 1 0 81\n";

Recorded Read(const std::string& text)
{
    return ReadWith<TextRecordingReader>(text);
}

TEST(TextRecording, IsALogJsonDigitsOrTheDaemonsLog)
{
    for (const std::string& text : {Log, Json, Digits + "\n", DriverLine, "\xEF\xBB\xBF" + Log})
    {
        const Recorded recorded = Read(text);
        ASSERT_EQ(recorded.messages.size(), 1) << text;
        EXPECT_EQ(recorded.messages[0].frame, FromHex(Digits)) << text;
        EXPECT_EQ(recorded.remark, "") << text;
    }
}

TEST(TextRecording, DigitsAloneHaveNoTimeAndTheDirectionOfTheirMessageCode)
{
    const auto messages = Read("2900\n11:00 # a comment\n").messages;
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].direction, Direction::FromLink);
    EXPECT_EQ(messages[1].direction, Direction::ToLink);
    EXPECT_EQ(messages[1].time.count(), 0);
    EXPECT_EQ(messages[1].frame, (Bytes{0x11, 0x00}));
}

TEST(TextRecording, OfTheDaemonHasManyLinesWithoutAFrame)
{
    const std::string journal = "-- Boot 6a1 --\nDec 22 14:05:08 board systemd[1]: Started orvel.service\n";
    EXPECT_EQ(Read(journal + DriverLine + journal + "29 00\n" + DriverLine).messages.size(), 2);
}

TEST(TextRecording, OfTheDaemonMayHaveRecordsInBetween)
{
    EXPECT_EQ(Read(DriverLine + Log + "(gdb) continue\n" + Log + DriverLine).messages.size(), 4);
}

TEST(TextRecording, OfTheDaemonCountsLinesThatWereSpoilt)
{
    const std::string spoilt = "22.11.2026 14:05:09.042 [14] DEBUG Nemt <> - Received on topic 256: 29 0=\n";
    const Recorded recorded = Read(DriverLine + spoilt + spoilt + DriverLine);
    EXPECT_EQ(recorded.messages.size(), 2);
    EXPECT_EQ(recorded.remark, "2 lines show no bytes behind 'topic 256:'");
}

TEST(TextRecording, IsUsedUpToALineThatIsCutOff)
{
    const std::string withoutEnd = Digits.substr(0, Digits.size() - 3); // a byte is missing
    for (const std::string& cut :
         {std::string("(17637"), "(1763719200.123456) rx " + withoutEnd, "(1763719200.123456) rx " + withoutEnd + " 8",
          Json.substr(0, 60), withoutEnd, DriverLine.substr(0, DriverLine.size() - 2),
          DriverLine.substr(0, DriverLine.size() - 3)})
    {
        const bool isDriverLine = cut.find("topic") != std::string::npos;
        const Recorded recorded = Read((isDriverLine ? DriverLine : Log) + cut);
        EXPECT_EQ(recorded.messages.size(), 1) << cut;
        EXPECT_EQ(recorded.remark, "line 2 is cut off; used is what comes before it") << cut;
    }
}

TEST(TextRecording, ALastLineWithoutAnEndIsUsedWhenItsFrameIsComplete)
{
    for (const std::string& last : {"(1763719200.123456) rx " + Digits, Digits, Digits + "  # L_Da",
                                    std::string("(1763719200.123456) rx b9 00 01"), Json.substr(0, Json.size() - 1)})
    {
        const Recorded recorded = Read(Log + last);
        EXPECT_EQ(recorded.messages.size(), 2) << last;
        EXPECT_EQ(recorded.remark, "") << last;
    }
    const Recorded ofTheDaemon = Read(DriverLine + DriverLine.substr(0, DriverLine.size() - 1));
    EXPECT_EQ(ofTheDaemon.messages.size(), 2);
    EXPECT_EQ(ofTheDaemon.remark, "");
}

TEST(TextRecording, SaysWhichLineIsNone)
{
    const std::string reason = "is no line of a recording: no log, JSON or hexadecimal digits";
    EXPECT_REJECTED(Read("\nDear all,\n\nsee below\n"), Status::NotUnderstood, "line 2: " + reason);
    EXPECT_REJECTED(Read(Log + "Dear all,\n"), Status::NotUnderstood, "line 2: " + reason);
    EXPECT_REJECTED(Read("29 00\n29 0\n"), Status::NotUnderstood, "line 2: byte 2 has one digit only");
    EXPECT_REJECTED(Read("29 0"), Status::NotUnderstood, "line 1: byte 2 has one digit only");
    EXPECT_REJECTED(Read("{}\n"), Status::NotUnderstood, "line 1: is an object without the member hex");
}

TEST(TextRecording, LooksForTheDaemonsLinesOnlyForSoLong)
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
    {
        text += "Dear all,\n";
    }
    EXPECT_REJECTED(Read(text + DriverLine), Status::NotUnderstood,
                    "line 10002: is no line of a recording: no log, JSON or hexadecimal digits");
}

} // namespace
