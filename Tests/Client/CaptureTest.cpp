#include "Capture.h"

#include "Rejection.h"

#include <algorithm>
#include <sstream>

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::CaptureHeader;
using OrvelClient::CapturePacket;
using OrvelClient::IsCapture;
using OrvelClient::Message;
using OrvelClient::ReadCapture;
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
    std::istringstream stream(capture);
    return ReadCapture(stream);
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
    for (const char* const magic : {"d4c3b2a1", "a1b2c3d4", "4d3cb2a1", "a1b23c4d", "0a0d0d0a"})
    {
        EXPECT_TRUE(IsCapture(Text(magic) + "...")) << magic;
    }
    for (const char* const other : {"(176", "", "\xd4\xc3\xb2"})
    {
        EXPECT_FALSE(IsCapture(other)) << other;
    }
}

TEST(Capture, SaysWhichPacketIsNotComplete)
{
    const std::string packet = CapturePacket(MessageOf({0x29, 0x00, 0xBC}));
    const std::string good = CaptureHeader() + packet;
    for (std::size_t size = 1; size < packet.size(); ++size)
    {
        EXPECT_REJECTED(Read(good + packet.substr(0, size)), Status::NotUnderstood, "packet 2 is not complete") << size;
    }
    std::string cut = good;
    cut[CaptureHeader().size() + 12] = 0x10; // there was more than there is
    EXPECT_REJECTED(Read(cut), Status::NotUnderstood, "packet 1 is not complete");
    std::string huge = good;
    huge[CaptureHeader().size() + 11] = 0x7F;
    EXPECT_REJECTED(Read(huge), Status::NotUnderstood, "packet 1 is not complete");
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
    EXPECT_REJECTED(Read(Text("0a0d0d0a") + std::string(40, '\0')), Status::NotUnderstood,
                    "is a capture in the format pcapng; 'editcap -F pcap' converts it");
}

} // namespace
