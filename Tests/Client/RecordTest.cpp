#include "Record.h"

#include "Recorded.h"
#include "Rejection.h"
#include "TextRecording.h"
#include "TimeStamp.h"

using namespace std::chrono_literals;
using Knx::Bytes;
using OrvelClient::Direction;
using OrvelClient::Message;
using OrvelClient::RecordLine;
using OrvelClient::RecordParser;
using OrvelClient::Status;
using OrvelClient::TextRecordingReader;
using OrvelClient::TimeStamp;
using OrvelClient::TimeStamper;

namespace
{

constexpr std::chrono::microseconds Start{1763719200123456};

std::vector<Message> Read(const std::string& text)
{
    return ReadWith<TextRecordingReader>(text).messages;
}

TEST(Record, ALineHasTheTimeTheDirectionTheBytesAndTheirMeaning)
{
    Message message;
    message.frame = {0xB9, 0x00, 0x01};
    EXPECT_EQ(RecordLine("(0.000000)", message), "(0.000000) rx b9 00 01  # link usable");
    message.direction = Direction::ToLink;
    EXPECT_EQ(RecordLine("(0.000000)", message), "(0.000000) tx b9 00 01  # link usable");
    message.direction = Direction::FromLink;
    message.frame.clear();
    EXPECT_EQ(RecordLine("(0.000000)", message), "(0.000000) rx  # ! ends before the message code");
}

TEST(Record, ReadsBackWhatWasWritten)
{
    for (const TimeStamp kind : {TimeStamp::Absolute, TimeStamp::Relative, TimeStamp::Delta, TimeStamp::Date})
    {
        TimeStamper stamper(kind);
        std::string text;
        const auto start = std::chrono::floor<std::chrono::milliseconds>(Start); // a date has no more
        const std::vector<std::chrono::microseconds> times{start, start + 2s, start + 2s + 1ms, start + 3s};
        for (const auto time : times)
        {
            Message message;
            message.frame = {0x29, 0x00, 0xBC};
            message.direction = Direction::ToLink;
            text += RecordLine(stamper.Stamp(time), message) + "\n";
        }
        const auto messages = Read(text);
        ASSERT_EQ(messages.size(), times.size());
        for (std::size_t i = 0; i < times.size(); ++i)
        {
            EXPECT_EQ(messages[i].time - messages[0].time, times[i] - times[0]);
            EXPECT_EQ(messages[i].frame, (Bytes{0x29, 0x00, 0xBC}));
            EXPECT_EQ(messages[i].direction, Direction::ToLink);
        }
    }
}

TEST(Record, OfALineHasNothingOfTheLineBefore)
{
    RecordParser parser;
    Message message;
    message.sizeByte = 7;
    for (const auto& [digits, frame] : {std::pair{"29 00 bc", Bytes{0x29, 0x00, 0xBC}},
                                        {"", Bytes{}},
                                        {"29 00 bc e0 11", Bytes{0x29, 0x00, 0xBC, 0xE0, 0x11}},
                                        {"b9 # 00", Bytes{0xB9}}})
    {
        parser.Parse(std::string("(0.000000) rx ") + digits, message);
        EXPECT_EQ(message.frame, frame);
        EXPECT_FALSE(message.sizeByte);
    }
}

TEST(Record, SkipsEmptyLinesAndComments)
{
    EXPECT_EQ(Read("\n  \n# a comment\r\n(0.000000) rx 29\n").size(), 1);
    EXPECT_EQ(Read("").size(), 0);
    const auto messages = Read("(0.000000) rx\n");
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].frame, Bytes{});
}

TEST(Record, DoesNotAddDeltasUpToMoreThanATimeHasRoomFor)
{
    const std::string longest = "(+999999999999.999999) rx 29\n";
    EXPECT_EQ(Read(longest).size(), 1);
    EXPECT_REJECTED(Read(longest + "(+0.000001) rx 29\n"), Status::NotUnderstood, "line 2: is later than any time");
}

TEST(Record, SaysWhichLineIsNotUnderstood)
{
    const std::string good = "(1763719200.123456) rx 29 00\n";
    const std::string reason = "is no line of a log, which begins as (1763719200.123456) rx";
    for (const char* const bad :
         {"(1.5) rx 29", "(1.0000000) rx 29", "(.000000) rx 29", "(-1.000000) rx 29", "(1.000000) bx 29",
          "(1.000000)rx 29", "(1234567890123.000000) rx 29", "(1.000000", "31.02.2026 10:00:00.000 rx 29"})
    {
        EXPECT_REJECTED(Read(good + bad + "\n"), Status::NotUnderstood, "line 2: " + reason) << bad;
    }
    EXPECT_REJECTED(Read(good + good + "(1.000000) rx 29 0\n"), Status::NotUnderstood,
                    "line 3: byte 2 has one digit only");
    EXPECT_REJECTED(Read("(1.000000) rx 29 x\n"), Status::NotUnderstood,
                    "line 1: 'x' at position 18 is no hexadecimal digit");
}

Message SwitchOn()
{
    Message message;
    message.frame = Knx::FromHex("29 00 bc e0 11 01 0a 03 01 00 81");
    return message;
}

TEST(Record, ALineThatHasToFitLeavesOutTheBytesAndWhatIsUsual)
{
    const std::string text = "(0.000000) 1.1.1 -> 1/2/3 A_GroupValue_Write value=0x01";
    EXPECT_EQ(RecordLine("(0.000000)", SwitchOn(), {false, 80}), text);
    EXPECT_EQ(RecordLine("(0.000000)", SwitchOn(), {false, text.size()}), text);
    EXPECT_EQ(RecordLine("(0.000000)", SwitchOn(), {false, 40}), "(0.000000) 1.1.1 -> 1/2/3 A_GroupValue_>");
    EXPECT_EQ(RecordLine("(0.000000)", SwitchOn(), {false, 5}), "(0.0>");
}

TEST(Record, ALineHasTheColourOfWhatItSays)
{
    const auto colors = [](const std::string& hex)
    {
        Message message;
        message.frame = Knx::FromHex(hex);
        const std::string line = RecordLine("T", message, {true, 0});
        EXPECT_EQ(line.rfind("\x1b[2mT rx ", 0), 0) << line;
        const std::string text = line.substr(line.find('#'));
        const std::size_t begin = text.find('\x1b', text.find('\x1b') + 1); // behind the end of what is dim
        return begin == std::string::npos ? "none" : text.substr(begin + 2, text.find('m', begin) - begin - 2);
    };
    EXPECT_EQ(colors("29 00 bc e0 11 01 0a 03 01 00 81"), "none"); // writes
    EXPECT_EQ(colors("29 00 bc e0 11 01 0a 03 01 00 00"), "36");   // reads
    EXPECT_EQ(colors("29 00 bc e0 11 01 0a 03 01 00 41"), "32");   // answers
    EXPECT_EQ(colors("2e 00 bc e0 11 01 0a 03 01 00 81"), "2");    // confirms
    EXPECT_EQ(colors("2e 00 bd e0 11 01 0a 03 01 00 81"), "31");
    EXPECT_EQ(colors("29 00"), "31");
    EXPECT_EQ(colors("b9 00 01"), "33");
    EXPECT_EQ(colors("b9 ff ff"), "31");
}

TEST(Record, ColoursTakeNoRoom)
{
    EXPECT_EQ(RecordLine("(0.000000)", SwitchOn(), {true, 40}),
              "\x1b[2m(0.000000) \x1b[0m1.1.1 -> 1/2/3 A_GroupValue_>");
}

} // namespace
