#include "TelegramLog.h"

#include "Recorded.h"
#include "Rejection.h"

using Knx::FromHex;
using OrvelClient::Direction;
using OrvelClient::IsXml;
using OrvelClient::Message;
using OrvelClient::Status;
using OrvelClient::TelegramLogEnd;
using OrvelClient::TelegramLogEntry;
using OrvelClient::TelegramLogHeader;
using OrvelClient::TelegramLogReader;

namespace
{

constexpr std::chrono::microseconds Time{1763719200123456};
const std::string Begin = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                          "<CommunicationLog xmlns=\"http://knx.org/xml/telegrams/01\">\n";
const std::string End = "</CommunicationLog>\n";
const std::string Telegram = "  <Telegram Timestamp=\"2025-11-21T10:00:00.1234567Z\" Service=\"L_Data.ind\" "
                             "FrameFormat=\"CommonEmi\" RawData=\"2900BCE011010A03010081\"/>\n";

Recorded Read(const std::string& log)
{
    return ReadWith<TelegramLogReader>(log);
}

Message MessageOf(const std::string& hex)
{
    Message message;
    message.time = Time;
    message.frame = FromHex(hex);
    return message;
}

TEST(TelegramLog, IsXmlWithAnElementForEachFrame)
{
    EXPECT_EQ(TelegramLogHeader(Time) + TelegramLogEntry(MessageOf("2900bce011010a03010081")) + TelegramLogEnd(Time),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<CommunicationLog xmlns=\"http://knx.org/xml/telegrams/01\">\n"
              "  <RecordStart Timestamp=\"2025-11-21T10:00:00.123456Z\"/>\n"
              "  <Telegram Timestamp=\"2025-11-21T10:00:00.123456Z\" Service=\"L_Data.ind\" FrameFormat=\"CommonEmi\" "
              "RawData=\"2900BCE011010A03010081\"/>\n"
              "  <RecordStop Timestamp=\"2025-11-21T10:00:00.123456Z\"/>\n"
              "</CommunicationLog>\n");
}

TEST(TelegramLog, IsReadBack)
{
    const Recorded recorded = Read(TelegramLogHeader(Time) + TelegramLogEntry(MessageOf("2900")) +
                                   TelegramLogEntry(MessageOf("1100")) + TelegramLogEnd(Time));
    ASSERT_EQ(recorded.messages.size(), 2);
    EXPECT_EQ(recorded.messages[0].time, Time);
    EXPECT_EQ(recorded.messages[0].frame, FromHex("2900"));
    EXPECT_EQ(recorded.messages[0].direction, Direction::FromLink);
    EXPECT_EQ(recorded.messages[1].direction, Direction::ToLink);
    EXPECT_EQ(recorded.remark, "");
}

TEST(TelegramLog, OtherElementsAndWhatMayStandBetweenThemDoNotMatter)
{
    const std::string others =
        "<RecordStart Mode=\"a > b\"/><!-- <Telegram > -- > --><Connection State='x'></Connection>\n";
    const Recorded recorded = Read("\xEF\xBB\xBF" + Begin + others + Telegram + others +
                                   "<Telegram\n Service=\"a > b\" RawData=\"2900\"\n FrameFormat=\"Common&#69;mi\" "
                                   "Timestamp=\"2025-11-21T11:00:00+01:00\">x</Telegram>" +
                                   End);
    ASSERT_EQ(recorded.messages.size(), 2);
    EXPECT_EQ(recorded.messages[0].time, Time);
    EXPECT_EQ(recorded.messages[1].frame, FromHex("2900"));
    EXPECT_EQ(recorded.remark, "");
}

TEST(TelegramLog, IsUsedUpToWhereItIsCutOff)
{
    const std::string good = Begin + Telegram;
    for (std::size_t size = 0; size + 2 < Telegram.size(); ++size)
    {
        const Recorded recorded = Read(good + Telegram.substr(0, size));
        EXPECT_EQ(recorded.messages.size(), 1) << size;
        EXPECT_EQ(recorded.remark, "is cut off in line 4; used is what comes before it") << size;
    }
}

TEST(TelegramLog, SaysInWhichLineAFrameIsNotUnderstood)
{
    const auto changed = [](const std::string& from, const std::string& to)
    {
        std::string telegram = Telegram;
        return Begin + Telegram + telegram.replace(telegram.find(from), from.size(), to) + End;
    };
    EXPECT_REJECTED(Read(changed("CommonEmi", "Common\nEmi2")), Status::NotUnderstood,
                    "line 5: has a frame in the format 'Common Emi2', not CommonEmi");
    EXPECT_REJECTED(Read(changed("FrameFormat", "Format")), Status::NotUnderstood,
                    "line 4: has a frame in the format '', not CommonEmi");
    EXPECT_REJECTED(Read(changed("2025-11", "2025-13")), Status::NotUnderstood,
                    "line 4: has no time in '2025-13-21T10:00:00.1234567Z'");
    EXPECT_REJECTED(Read(changed("81\"", "8\"")), Status::NotUnderstood,
                    "line 4: has a frame in which byte 11 has one digit only");
    EXPECT_REJECTED(Read(changed("Service=\"", "Service=\"x\" \"")), Status::NotUnderstood,
                    "line 4: Error parsing start element tag");
    EXPECT_REJECTED(Read(Begin + "<Telegram " + std::string(70000, ' ') + "/>"), Status::NotUnderstood,
                    "line 3: has a tag that does not end");
}

TEST(TelegramLog, IsNoOtherXml)
{
    for (const char* const other : {"<?xml version=\"1.0\"?>\n<html></html>", "<!-- -->", "<", "<<>", "<>"})
    {
        EXPECT_REJECTED(Read(other), Status::NotUnderstood, "is XML, but no CommunicationLog") << other;
    }
}

TEST(TelegramLog, IsRecognisedByItsFirstCharacter)
{
    EXPECT_TRUE(IsXml("<?xm"));
    EXPECT_TRUE(IsXml("\xEF\xBB\xBF<"));
    EXPECT_FALSE(IsXml("(176"));
    EXPECT_FALSE(IsXml(""));
}

} // namespace
