#include "Capture.h"

#include "PcapNg.h"
#include "Recorded.h"
#include "Recording.h"
#include "Rejection.h"

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::CaptureHeader;
using OrvelClient::CapturePacket;
using OrvelClient::CaptureReader;
using OrvelClient::Direction;
using OrvelClient::IsCapture;
using OrvelClient::IsPcapNg;
using OrvelClient::Message;
using OrvelClient::PcapNgReader;
using OrvelClient::Status;

namespace
{

constexpr std::chrono::microseconds Time{1763719200123456};

Message MessageOf(const Bytes& frame)
{
    Message message;
    message.time = Time;
    message.frame = frame;
    return message;
}

std::string Text(const std::string& hex)
{
    const Bytes bytes = FromHex(hex);
    return {bytes.begin(), bytes.end()};
}

std::string Hex(const std::string& text)
{
    return ToHex({text.begin(), text.end()});
}

std::vector<Message> Read(const std::string& capture)
{
    return ReadWith<CaptureReader>(capture).messages;
}

TEST(Capture, BeginsWithAHeaderForPacketsThatNameTheirDissector)
{
    EXPECT_EQ(Hex(CaptureHeader()), "d4 c3 b2 a1 02 00 04 00 00 00 00 00 00 00 00 00 ff ff 00 00 fc 00 00 00");
}

TEST(Capture, APacketNamesTheDissectorAndHasTheFrame)
{
    EXPECT_EQ(Hex(CapturePacket(MessageOf({0x29, 0x00, 0xBC}))),
              "20 38 20 69 40 e2 01 00 0f 00 00 00 0f 00 00 00 " // time, size here and size there was
              "00 0c 00 04 63 65 6d 69 "                         // "cemi"
              "00 00 00 00 29 00 bc");
}

TEST(Capture, AMessageAboutTheLinkIsShownAsItsText)
{
    EXPECT_EQ(Hex(CapturePacket(MessageOf({0xB9, 0x00, 0x01}))),
              "20 38 20 69 40 e2 01 00 1f 00 00 00 1f 00 00 00 "
              "00 0c 00 04 64 61 74 61 "                         // "data"
              "00 21 00 0c 6c 69 6e 6b 20 75 73 61 62 6c 65 00 " // "link usable"
              "00 00 00 00 b9 00 01");
}

TEST(Capture, AMessageOfTheGatewayIsShownAsItsText)
{
    EXPECT_EQ(Hex(CapturePacket(MessageOf({0xBB, 0x00, 0x05}))),
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
        capture += CapturePacket(MessageOf(frame));
    }
    const auto messages = Read(capture);
    ASSERT_EQ(messages.size(), frames.size());
    for (std::size_t i = 0; i < frames.size(); ++i)
    {
        EXPECT_EQ(messages[i].frame, frames[i]);
        EXPECT_EQ(messages[i].time, Time);
    }
}

TEST(Capture, ReadsTheOtherByteOrderAndNanoseconds)
{
    const auto big = Read(Text("a1b2c3d4 0002 0004 00000000 00000000 0000ffff 000000fc"
                               "69203820 0001e240 0000000d 0000000d 000c0004 63656d69 00000000 29"));
    ASSERT_EQ(big.size(), 1);
    EXPECT_EQ(big[0].time, Time);
    EXPECT_EQ(big[0].frame, Bytes{0x29});
    const auto nanoseconds = Read(Text("4d3cb2a1 0200 0400 00000000 00000000 ffff0000 fc000000"
                                       "20382069 00ca5b07 0d000000 0d000000 000c0004 63656d69 00000000 29"));
    ASSERT_EQ(nanoseconds.size(), 1);
    EXPECT_EQ(nanoseconds[0].time, Time);
}

TEST(Capture, IsRecognisedByItsFirstBytes)
{
    for (const char* const magic : {"d4c3b2a1", "a1b2c3d4", "4d3cb2a1", "a1b23c4d"})
    {
        EXPECT_TRUE(IsCapture(Text(magic) + "...")) << magic;
        EXPECT_FALSE(IsPcapNg(Text(magic) + "...")) << magic;
    }
    EXPECT_TRUE(IsPcapNg(Text("0a0d0d0a") + "..."));
    for (const char* const other : {"(176", "", "\xd4\xc3\xb2"})
    {
        EXPECT_FALSE(IsCapture(other)) << other;
    }
}

TEST(Capture, IsUsedUpToAPacketThatIsCutOff)
{
    const std::string packet = CapturePacket(MessageOf({0x29, 0x00, 0xBC}));
    const std::string good = CaptureHeader() + packet;
    EXPECT_EQ(ReadWith<CaptureReader>(good).remark, "");
    for (std::size_t size = 1; size < packet.size(); ++size)
    {
        const Recorded recorded = ReadWith<CaptureReader>(good + packet.substr(0, size));
        EXPECT_EQ(recorded.messages.size(), 1) << size;
        EXPECT_EQ(recorded.remark, "packet 2 is cut off; used is what comes before it") << size;
    }
}

TEST(Capture, SaysWhichPacketIsNotComplete)
{
    const std::string good = CaptureHeader() + CapturePacket(MessageOf({0x29, 0x00, 0xBC}));
    std::string cut = good;
    cut[CaptureHeader().size() + 12] = 0x10; // there was more than there is
    EXPECT_REJECTED(Read(cut), Status::NotUnderstood, "packet 1 is not complete");
    std::string huge = good;
    huge[CaptureHeader().size() + 11] = 0x7F;
    EXPECT_REJECTED(Read(huge), Status::NotUnderstood, "packet 1 is not complete");
}

TEST(Capture, TellsTheDirectionByTheMessageCode)
{
    const auto messages =
        Read(CaptureHeader() + CapturePacket(MessageOf({0x11, 0x00})) + CapturePacket(MessageOf({0x2E, 0x00})));
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].direction, Direction::ToLink);
    EXPECT_EQ(messages[1].direction, Direction::FromLink);
}

TEST(Capture, SaysWhichPacketIsForAnotherDissectorOrHasNoEndOfItsTags)
{
    std::string other = CaptureHeader() + CapturePacket(MessageOf({0x29}));
    other.replace(other.find("cemi"), 4, "http");
    EXPECT_REJECTED(Read(other), Status::NotUnderstood, "packet 1 is not for the dissector cemi");
    std::string endless = CaptureHeader() + CapturePacket(MessageOf({}));
    endless[endless.size() - 3] = 0x05;
    EXPECT_REJECTED(Read(endless), Status::NotUnderstood, "packet 1 has no end of its tags");
    std::string tooLong = CaptureHeader() + CapturePacket(MessageOf({}));
    tooLong[tooLong.find("cemi") - 1] = 0x7F;
    EXPECT_REJECTED(Read(tooLong), Status::NotUnderstood, "packet 1 has no end of its tags");
}

TEST(Capture, OfAnotherKindIsNamed)
{
    EXPECT_REJECTED(Read(CaptureHeader().substr(0, 23)), Status::NotUnderstood,
                    "ends within the header of the capture");
    std::string ethernet = CaptureHeader();
    ethernet[20] = 1;
    EXPECT_REJECTED(Read(ethernet), Status::NotUnderstood, "is a capture of link type 1, not 252");
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
const std::string Packet = // 1763719200123456 us; 13 bytes
    Block("06000000", "00000000 17440600 402a68e0 0d000000 0d000000 000c0004 63656d69 00000000 29 000000");

std::vector<Message> ReadBlocks(const std::string& capture)
{
    return ReadWith<PcapNgReader>(capture).messages;
}

TEST(CaptureInBlocks, HasPacketsOfAnInterface)
{
    const auto messages = ReadBlocks(Section + Interface + Packet + Packet);
    ASSERT_EQ(messages.size(), 2);
    EXPECT_EQ(messages[0].frame, Bytes{0x29});
    EXPECT_EQ(messages[0].time, Time);
}

TEST(CaptureInBlocks, OtherBlocksAndEarlierSectionsDoNotMatter)
{
    const std::string other = Block("05000000", std::string(40, '0'));
    const std::string ethernet = Block("01000000", "0100 0000 ffff0000");
    EXPECT_EQ(ReadBlocks(Section + ethernet + other + Section + other + Interface + Packet + other).size(), 1);
}

TEST(CaptureInBlocks, TheOtherByteOrderIsReadToo)
{
    const auto messages = ReadBlocks(Text("0a0d0d0a 0000001c 1a2b3c4d 0001 0000 ffffffffffffffff 0000001c"
                                          "00000001 00000014 00fc 0000 0000ffff 00000014"
                                          "00000006 00000030 00000000 00064417 e0682a40 0000000d 0000000d"
                                          "000c0004 63656d69 00000000 29 000000 00000030"));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].time, Time);
    EXPECT_EQ(messages[0].frame, Bytes{0x29});
}

TEST(CaptureInBlocks, AnInterfaceSaysInWhichUnitsTimesAreAndFromWhenOn)
{
    // 10^-9 s, and 1000000000 s more
    const std::string nanoseconds =
        Block("01000000", "fc00 0000 ffff0000 0900 0100 09 000000 0e00 0800 00ca9a3b 00000000 0000 0000");
    const auto ofNanoseconds = ReadBlocks(
        Section + nanoseconds +
        Block("06000000", "00000000 00000000 dc050000 0d000000 0d000000 000c0004 63656d69 00000000 29 000000"));
    ASSERT_EQ(ofNanoseconds.size(), 1);
    EXPECT_EQ(ofNanoseconds[0].time, std::chrono::seconds(1000000000) + std::chrono::microseconds(1));
    // 2^-2 s
    const std::string quarters = Block("01000000", "fc00 0000 ffff0000 0900 0100 82 000000");
    const auto ofQuarters = ReadBlocks(
        Section + quarters +
        Block("06000000", "00000000 00000000 07000000 0d000000 0d000000 000c0004 63656d69 00000000 29 000000"));
    ASSERT_EQ(ofQuarters.size(), 1);
    EXPECT_EQ(ofQuarters[0].time, std::chrono::milliseconds(1750));
}

TEST(CaptureInBlocks, ASimplePacketHasNoTime)
{
    const auto messages =
        ReadBlocks(Section + Interface + Block("03000000", "0d000000 000c0004 63656d69 00000000 29 000000"));
    ASSERT_EQ(messages.size(), 1);
    EXPECT_EQ(messages[0].frame, Bytes{0x29});
    EXPECT_EQ(messages[0].time.count(), 0);
}

TEST(CaptureInBlocks, IsUsedUpToABlockThatIsCutOff)
{
    const std::string good = Section + Interface + Packet;
    for (std::size_t size = 1; size < Packet.size(); ++size)
    {
        const Recorded recorded = ReadWith<PcapNgReader>(good + Packet.substr(0, size));
        EXPECT_EQ(recorded.messages.size(), 1) << size;
        EXPECT_EQ(recorded.remark, "block 4 is cut off; used is what comes before it") << size;
    }
}

TEST(CaptureInBlocks, SaysWhichBlockIsNotUnderstood)
{
    const std::string ethernet = Block("01000000", "0100 0000 ffff0000");
    const std::vector<std::pair<std::string, std::string>> wrong{
        {Text("0a0d0d0a") + std::string(40, '\0'), "block 1 is of no byte order"},
        {Section + Packet, "block 2 is of an interface that is not described"},
        {Section + ethernet + Packet, "block 3 is a capture of link type 1, not 252"},
        {Section + Text("01000000 0b000000 00000000"), "block 2 has a size of 11"},
        {Section + Text("01000000 08000000 00000000"), "block 2 has a size of 8"},
        {Section + Text("01000000 04001000 00000000"), "block 2 is too large"},
        {Section + Block("01000000", "fc00 0000"), "block 2 is too short"},
        {Section + Block("01000000", "fc00 0000 ffff0000 0900 0100 0d 000000"),
         "block 2 has times in units that are too small"},
        {Section + Interface + Block("06000000", "00000000 00000000 00000000 ff000000 ff000000"),
         "block 3 is not complete"},
        {Section + Interface + Block("06000000", "00000000 00000000 00000000 00000000 01000000"),
         "block 3 is not complete"},
        {Section + Interface + Block("06000000", "00000000 00000000 00000000 00000000"), "block 3 is too short"},
        {Section + Interface + Block("06000000", "00000000 ffffffff ffffffff 00000000 00000000"),
         "block 3 is later than any time"},
        {Section + Interface + Block("06000000", "00000000 00000000 00000000 04000000 04000000 000c00ff"),
         "block 3 has no end of its tags"},
        {Section + Interface + Block("03000000", "ff000000"), "block 3 is not complete"},
    };
    for (const auto& each : wrong)
    {
        EXPECT_REJECTED(ReadBlocks(each.first), Status::NotUnderstood, each.second);
    }
}

} // namespace
