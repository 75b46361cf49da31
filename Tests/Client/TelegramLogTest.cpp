#include "TelegramLog.h"

#include "BenchKit/ReceivedMessage.h"
#include "Recorded.h"
#include "Rejection.h"

#include <ctime>

using Knx::FromHex;
using OrvelClient::Direction;
using OrvelClient::IsXml;
using OrvelClient::Status;
using OrvelClient::TelegramLogEnd;
using OrvelClient::TelegramLogEntry;
using OrvelClient::TelegramLogHeader;
using OrvelClient::TelegramLogReader;

namespace
{

const std::string Begin = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
                          "<CommunicationLog xmlns=\"http://knx.org/xml/telegrams/01\">\n";
const std::string End = "</CommunicationLog>\n";
const std::string Telegram = "  <Telegram Timestamp=\"2025-11-21T10:00:00.1234567Z\" Service=\"L_Data.ind\" "
                             "FrameFormat=\"CommonEmi\" RawData=\"2900BCE011010A03010081\"/>\n";

Recorded Read(const std::string& log)
{
    return ReadWith<TelegramLogReader>(log);
}

TEST(TelegramLog, IsXmlWithAnElementForEachFrame)
{
    EXPECT_EQ(TelegramLogHeader(ReceivedAt) + TelegramLogEntry(MessageOf("2900bce011010a03010081")) +
                  TelegramLogEnd(ReceivedAt),
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
    const Recorded recorded = Read(TelegramLogHeader(ReceivedAt) + TelegramLogEntry(MessageOf("2900")) +
                                   TelegramLogEntry(MessageOf("1100")) + TelegramLogEnd(ReceivedAt));
    ASSERT_EQ(recorded.messages.size(), 2);
    EXPECT_EQ(recorded.messages[0].time, ReceivedAt);
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
    EXPECT_EQ(recorded.messages[0].time, ReceivedAt);
    EXPECT_EQ(recorded.messages[1].frame, FromHex("2900"));
    EXPECT_EQ(recorded.remark, "");
}

TEST(TelegramLog, MayHaveQuotesWhereverXmlHasThem)
{
    for (const char* const other :
         {"<Connection State='the 19\" rack'/>", "<Connection State=\"the bus' rack\"/>", "<Connection State='\">'/>",
          "<Connection State='a > b' Name=\"'>\"/>", "<!-- it's 19\" -->", "<?note it's 19\"?>",
          "<Comment><![CDATA[it's <19\"> ]]></Comment>", "<Comment>it's 19\"</Comment>"})
    {
        std::string text = Begin;
        text.append(other).append(Telegram).append(End);
        const Recorded recorded = Read(text);
        EXPECT_EQ(recorded.messages.size(), 1) << other;
        EXPECT_EQ(recorded.remark, "") << other;
    }
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

TEST(TelegramLog, TakesNoLongerForATagWithManyBrackets)
{
    std::string log = Begin;
    for (int i = 0; i < 20; ++i)
    {
        log += "<Comment Text=\"" + std::string(65000, '>') + "\"/>\n";
    }
    const std::clock_t begin = std::clock();
    EXPECT_EQ(Read(log + Telegram + End).messages.size(), 1);
    EXPECT_LT((std::clock() - begin) / CLOCKS_PER_SEC, 5); // of the processor; it takes less than a hundredth of that
}

} // namespace
