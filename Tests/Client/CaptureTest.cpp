#include "Capture.h"

#include "BenchKit/ReceivedMessage.h"
#include "Recorded.h"
#include "Recording.h"
#include "Rejection.h"

#include <gmock/gmock.h>
#include <sys/time.h>

#include <cstring>

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::CaptureHeader;
using OrvelClient::CapturePacket;
using OrvelClient::CaptureReader;
using OrvelClient::Direction;
using OrvelClient::IsCapture;
using OrvelClient::Message;
using OrvelClient::Status;
using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

namespace
{

std::string Text(const std::string& hex)
{
    const Bytes bytes = FromHex(hex);
    return {bytes.begin(), bytes.end()};
}

std::string Hex(const std::string& text)
{
    return ToHex({text.begin(), text.end()});
}

const std::string Advice =
    "; what may help: tshark -r FILE -Y exported_pdu -w - | editcap -F pcap -T wireshark-upper-pdu - OTHER";

std::vector<Message> Read(const std::string& capture)
{
    return ReadWith<CaptureReader>(capture).messages;
}

// What the library says differs between its versions.
void ExpectRefused(const std::string& capture, const std::string& begin)
{
    EXPECT_THAT(RejectionOf([&] { Read(capture); }), AllOf(StartsWith("3: " + begin), EndsWith(Advice)));
}

TEST(Capture, BeginsWithAHeaderForPacketsThatNameTheirDissector)
{
    EXPECT_EQ(Hex(CaptureHeader()), "d4 c3 b2 a1 02 00 04 00 00 00 00 00 00 00 00 00 ff ff 00 00 fc 00 00 00");
}

TEST(Capture, APacketNamesTheDissectorAndHasTheFrame)
{
    EXPECT_EQ(Hex(CapturePacket(MessageOf("29 00 bc"))),
              "20 38 20 69 40 e2 01 00 0f 00 00 00 0f 00 00 00 " // time, size here and size there was
              "00 0c 00 04 63 65 6d 69 "                         // "cemi"
              "00 00 00 00 29 00 bc");
}

TEST(Capture, AMessageAboutTheLinkIsShownAsItsText)
{
    EXPECT_EQ(Hex(CapturePacket(MessageOf("b9 00 01"))),
              "20 38 20 69 40 e2 01 00 1f 00 00 00 1f 00 00 00 "
              "00 0c 00 04 64 61 74 61 "                         // "data"
              "00 21 00 0c 6c 69 6e 6b 20 75 73 61 62 6c 65 00 " // "link usable"
              "00 00 00 00 b9 00 01");
}

TEST(Capture, AMessageOfTheGatewayIsShownAsItsText)
{
    EXPECT_EQ(Hex(CapturePacket(MessageOf("bb 00 05"))),
              "20 38 20 69 40 e2 01 00 1f 00 00 00 1f 00 00 00 "
              "00 0c 00 04 64 61 74 61 "                         // "data"
              "00 21 00 0c 64 72 6f 70 70 65 64 20 35 00 00 00 " // "dropped 5"
              "00 00 00 00 bb 00 05");
}

TEST(Capture, ReadsBackWhatWasWritten)
{
    std::string capture = CaptureHeader();
    const std::vector<Bytes> frames{{0x29, 0x00, 0xBC}, {0xB9, 0xFF, 0xFF}, {}, Bytes(260, 0x55)};
    for (const Bytes& frame : frames)
    {
        capture += CapturePacket(MessageOf(ToHex(frame)));
    }
    const auto messages = Read(capture);
    ASSERT_EQ(messages.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        EXPECT_EQ(messages[i].frame, frames[i]);
        EXPECT_EQ(messages[i].time, ReceivedAt);
    }
}

TEST(Capture, ReadsTheOtherByteOrderAndNanoseconds)
{
    const auto big = Read(Text("a1b2c3d4 0002 0004 00000000 00000000 0000ffff 000000fc"
                               "69203820 0001e240 0000000d 0000000d 000c0004 63656d69 00000000 29"));
    ASSERT_EQ(big.size(), 1);
    EXPECT_EQ(big[0].time, ReceivedAt);
    EXPECT_EQ(big[0].frame, Bytes{0x29});
    const auto nanoseconds = Read(Text("4d3cb2a1 0200 0400 00000000 00000000 ffff0000 fc000000"
                                       "20382069 00ca5b07 0d000000 0d000000 000c0004 63656d69 00000000 29"));
    ASSERT_EQ(nanoseconds.size(), 1);
    EXPECT_EQ(nanoseconds[0].time, ReceivedAt);
}

TEST(Capture, TellsTimesUntilTheYear2106)
{
    Message message = MessageOf("29 00 bc");
    message.time = std::chrono::seconds(0xFFFFFFFF) + std::chrono::microseconds(999999);
    const auto messages = Read(CaptureHeader() + CapturePacket(message));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].time, message.time);
}

TEST(Capture, HasNoRoomForOtherTimesAndForLongerFrames)
{
    Message message = MessageOf("29 00 bc");
    for (const auto time : {std::chrono::seconds(0x100000000), std::chrono::seconds(-1)})
    {
        message.time = time;
        EXPECT_REJECTED(CapturePacket(message), Status::NotUnderstood,
                        "a capture has no room for times before 1970 or after 2106");
    }
    message.time = {};
    message.frame.resize(70000);
    EXPECT_REJECTED(CapturePacket(message), Status::NotUnderstood, "a capture has no room for a frame of 70000 bytes");
}

TEST(Capture, IsRecognisedByItsFirstBytes)
{
    for (const char* const magic : {"d4c3b2a1", "a1b2c3d4", "4d3cb2a1", "a1b23c4d", "0a0d0d0a"})
    {
        EXPECT_TRUE(IsCapture(Text(magic))) << magic;
        EXPECT_TRUE(IsCapture(Text(magic) + "...")) << magic;
    }
    for (const char* const other : {"(176", "", "\xd4\xc3\xb2", "\n\r\r"})
    {
        EXPECT_FALSE(IsCapture(other)) << other;
    }
}

TEST(Capture, IsUsedUpToAPacketThatIsCutOff)
{
    const std::string packet = CapturePacket(MessageOf("29 00 bc"));
    const std::string good = CaptureHeader() + packet;
    EXPECT_EQ(ReadWith<CaptureReader>(good).remark, "");
    for (std::size_t size = 1; size < packet.size(); ++size)
    {
        const Recorded recorded = ReadWith<CaptureReader>(good + packet.substr(0, size));
        EXPECT_EQ(recorded.messages.size(), 1) << size;
        EXPECT_EQ(recorded.remark, "packet 2 is cut off; used is what comes before it") << size;
    }
}

TEST(Capture, APacketHasNothingOfTheMessageBefore)
{
    const File file(CaptureHeader() + CapturePacket(MessageOf("29 00 bc")));
    const OrvelClient::StopSignals stop;
    OrvelClient::Source source(file.Name(), stop);
    CaptureReader reader(source);
    Message message = MessageOf("11 00 bc e0");
    message.sizeByte = 7;
    ASSERT_TRUE(reader.Next(message));
    EXPECT_EQ(ToHex(message.frame), "29 00 bc");
    EXPECT_FALSE(message.sizeByte);
}

TEST(Capture, EndsWhenTheProgramIsToStop)
{
    const File file(CaptureHeader() + CapturePacket(MessageOf("29 00 bc")));
    const OrvelClient::StopSignals stop;
    OrvelClient::Source source(file.Name(), stop);
    CaptureReader reader(source);
    stop.Ask();
    Message message;
    EXPECT_TRUE(reader.Next(message)) << "what has come is still shown";
    EXPECT_REJECTED(reader.Next(message), Status::Interrupted, "stopped before the end of the input");
    OrvelClient::Source next(file.Name(), stop);
    EXPECT_REJECTED(CaptureReader(next), Status::Interrupted, "stopped before the end of the input");
    EXPECT_NE(stop.Take(), 0) << "which would stop the next test, too";
}

TEST(Capture, SaysWhichPacketIsNotComplete)
{
    const std::string good = CaptureHeader() + CapturePacket(MessageOf("29 00 bc"));
    std::string cut = good;
    cut[CaptureHeader().size() + 12] = 0x10; // there was more than there is
    EXPECT_REJECTED(Read(cut), Status::NotUnderstood, "packet 1 is not complete");
    std::string shortened = CaptureHeader();
    shortened.replace(16, 4, Text("0e000000")); // the longest packet, which the next one exceeds
    shortened += CapturePacket(MessageOf("29 00 bc"));
    EXPECT_REJECTED(Read(shortened), Status::NotUnderstood, "packet 1 is not complete");
    std::string tooLong = CaptureHeader();
    tooLong.replace(16, 4, Text("00000400")); // other programs take longer ones
    std::string packet = CapturePacket(MessageOf(ToHex(Bytes(65000, 0x55)))) + std::string(1000, 'U');
    const auto size = static_cast<uint32_t>(packet.size() - 16);
    std::memcpy(&packet[8], &size, sizeof(size));
    std::memcpy(&packet[12], &size, sizeof(size));
    tooLong += packet;
    EXPECT_REJECTED(Read(tooLong), Status::NotUnderstood, "packet 1 is not complete");
}

TEST(Capture, SaysWhyAPacketCannotBeReadAndWhatMayHelp)
{
    std::string huge = CaptureHeader() + CapturePacket(MessageOf("29 00 bc"));
    huge[CaptureHeader().size() + 11] = 0x7F;
    ExpectRefused(huge, "packet 1 cannot be read: ");
}

TEST(Capture, SaysWhichPacketHasAnImpossibleTime)
{
    for (const char* const microseconds : {"40420f00", "ffffffff"})
    {
        std::string wrong = CaptureHeader() + CapturePacket(MessageOf("29 00 bc"));
        wrong.replace(CaptureHeader().size() + 4, 4, Text(microseconds));
        EXPECT_REJECTED(Read(wrong), Status::NotUnderstood, "packet 1 has an impossible time");
    }
}

TEST(Capture, TellsTheDirectionByTheMessageCode)
{
    const auto messages = Read(CaptureHeader() + CapturePacket(MessageOf("11 00")) + CapturePacket(MessageOf("2e 00")));
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].direction, Direction::ToLink);
    EXPECT_EQ(messages[1].direction, Direction::FromLink);
}

TEST(Capture, SaysWhichPacketIsForAnotherDissectorOrHasNoEndOfItsTags)
{
    std::string other = CaptureHeader() + CapturePacket(MessageOf("29"));
    other.replace(other.find("cemi"), 4, "http");
    EXPECT_REJECTED(Read(other), Status::NotUnderstood, "packet 1 is not for the dissector cemi");
    std::string endless = CaptureHeader() + CapturePacket(MessageOf(""));
    endless[endless.size() - 3] = 0x05;
    EXPECT_REJECTED(Read(endless), Status::NotUnderstood, "packet 1 has no end of its tags");
    std::string tooLong = CaptureHeader() + CapturePacket(MessageOf(""));
    tooLong[tooLong.find("cemi") - 1] = 0x7F;
    EXPECT_REJECTED(Read(tooLong), Status::NotUnderstood, "packet 1 has no end of its tags");
}

TEST(Capture, OfAnotherKindIsNamed)
{
    EXPECT_REJECTED(Read(CaptureHeader().substr(0, 23)), Status::NotUnderstood,
                    "ends within the header of the capture");
    std::string ethernet = CaptureHeader();
    ethernet[20] = 1;
    EXPECT_REJECTED(Read(ethernet), Status::NotUnderstood, "is a capture of Ethernet, not of link type 252" + Advice);
}

// A block of the format pcapng around its body, little-endian.
std::string Block(const std::string& type, const std::string& body)
{
    const auto size = static_cast<uint8_t>(12 + FromHex(body).size());
    const std::string sizeText = ToHex({size, 0, 0, 0});
    return Text(type + sizeText + body + sizeText);
}

const std::string Section = Block("0a0d0d0a", "4d3c2b1a 0100 0000 ffffffffffffffff");
const std::string Interface = Block("01000000", "fc00 0000 ffff0000");
const std::string Ethernet = Block("01000000", "0100 0000 ffff0000");
const std::string Packet = // 1763719200123456 us; 13 bytes
    Block("06000000", "00000000 17440600 402a68e0 0d000000 0d000000 000c0004 63656d69 00000000 29 000000");

TEST(CaptureInBlocks, HasPacketsOfAnInterface)
{
    const auto messages = Read(Section + Interface + Packet + Packet);
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].frame, Bytes{0x29});
    EXPECT_EQ(messages[0].time, ReceivedAt);
}

TEST(CaptureInBlocks, OtherBlocksAndEarlierSectionsDoNotMatter)
{
    const std::string other = Block("05000000", std::string(40, '0'));
    EXPECT_EQ(Read(Section + other + Interface + other + Section + other + Interface + Packet + other).size(), 1);
}

TEST(CaptureInBlocks, TheOtherByteOrderIsReadToo)
{
    const auto messages = Read(Text("0a0d0d0a 0000001c 1a2b3c4d 0001 0000 ffffffffffffffff 0000001c"
                                    "00000001 00000014 00fc 0000 0000ffff 00000014"
                                    "00000006 00000030 00000000 00064417 e0682a40 0000000d 0000000d"
                                    "000c0004 63656d69 00000000 29 000000 00000030"));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].time, ReceivedAt);
    EXPECT_EQ(messages[0].frame, Bytes{0x29});
}

TEST(CaptureInBlocks, AnInterfaceSaysInWhichUnitsTimesAreAndFromWhenOn)
{
    // 10^-9 s, and 1000000000 s more
    const std::string nanoseconds =
        Block("01000000", "fc00 0000 ffff0000 0900 0100 09 000000 0e00 0800 00ca9a3b 00000000 0000 0000");
    const auto ofNanoseconds =
        Read(Section + nanoseconds +
             Block("06000000", "00000000 00000000 dc050000 0d000000 0d000000 000c0004 63656d69 00000000 29 000000"));
    ASSERT_EQ(ofNanoseconds.size(), 1);
    EXPECT_EQ(ofNanoseconds[0].time, std::chrono::seconds(1000000000) + std::chrono::microseconds(1));
    // 2^-2 s
    const std::string quarters = Block("01000000", "fc00 0000 ffff0000 0900 0100 82 000000");
    const auto ofQuarters =
        Read(Section + quarters +
             Block("06000000", "00000000 00000000 07000000 0d000000 0d000000 000c0004 63656d69 00000000 29 000000"));
    ASSERT_EQ(ofQuarters.size(), 1);
    EXPECT_EQ(ofQuarters[0].time, std::chrono::milliseconds(1750));
}

TEST(CaptureInBlocks, ASimplePacketHasNoTime)
{
    const auto messages =
        Read(Section + Interface + Block("03000000", "0d000000 000c0004 63656d69 00000000 29 000000"));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].frame, Bytes{0x29});
    EXPECT_EQ(messages[0].time.count(), 0);
}

TEST(CaptureInBlocks, IsUsedUpToABlockThatIsCutOff)
{
    const std::string good = Section + Interface + Packet;
    for (std::size_t size = 1; size < Packet.size(); ++size)
    {
        const Recorded recorded = ReadWith<CaptureReader>(good + Packet.substr(0, size));
        EXPECT_EQ(recorded.messages.size(), 1) << size;
        EXPECT_EQ(recorded.remark, "packet 2 is cut off; used is what comes before it") << size;
    }
}

TEST(CaptureInBlocks, SaysWhichPacketIsNotUnderstood)
{
    std::vector<std::pair<std::string, std::string>> wrong{
        {Section, "ends within the header of the capture"},
        {(Section + Interface).substr(0, 40), "ends within the header of the capture"},
        {Section + Interface + Block("06000000", "00000000 00000000 00000000 00000000 01000000"),
         "packet 1 is not complete"},
        {Section + Interface + Packet + Block("06000000", "00000000 00000000 00000000 04000000 04000000 000c00ff"),
         "packet 2 has no end of its tags"},
    };
    if (sizeof(timeval::tv_sec) > sizeof(uint32_t)) // where it is not, the library drops the higher half of a time
    {
        wrong.emplace_back(Section + Interface + Block("06000000", "00000000 ffffffff ffffffff 00000000 00000000"),
                           "packet 1 has an impossible time");
    }
    for (const auto& each : wrong)
    {
        EXPECT_REJECTED(Read(each.first), Status::NotUnderstood, each.second);
    }
}

TEST(CaptureInBlocks, OfInterfacesOfSeveralKindsIsRefusedWithWhatMayHelp)
{
    const std::string shorter = Block("01000000", "fc00 0000 00100000");
    EXPECT_EQ(Read(Section + Interface + Packet + Interface + Packet).size(), 2);
    ExpectRefused(Section + Interface + Packet + Ethernet + Packet, "packet 2 cannot be read: ");
    ExpectRefused(Section + Interface + Packet + shorter + Packet, "packet 2 cannot be read: ");
    ExpectRefused(Section + Ethernet + Interface + Packet, "is a capture of Ethernet, not of link type 252");
}

TEST(CaptureInBlocks, ThatIsSpoiltIsRefused)
{
    ExpectRefused(Section + Packet, "cannot be read: ");
    ExpectRefused(Section + Text("01000000 0b000000 00000000"), "cannot be read: ");
    ExpectRefused(Section + Interface + Packet + Text("06000000 ffffff7f 00000000"), "packet 2 cannot be read: ");
}

} // namespace
