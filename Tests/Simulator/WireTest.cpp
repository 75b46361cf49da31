#include "Frame.h"

#include "FrameEquality.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <vector>

using Simulator::Wire::Decoder;
using Simulator::Wire::Encode;
using Simulator::Wire::Frame;
using Simulator::Wire::Kind;
using Simulator::Wire::MaxPayload;

using Bytes = std::vector<uint8_t>;

namespace
{

constexpr uint8_t Flag = 0x7E;
constexpr uint8_t Escape = 0x7D;

const Frame Sample{Kind::Message, 0x0101, {0x02, 0x03, 0x01}};

Bytes EveryByteValue()
{
    Bytes bytes;
    for (int value = 0; value <= 0xFF; ++value)
    {
        bytes.push_back(static_cast<uint8_t>(value));
    }
    return bytes;
}

Bytes Join(std::initializer_list<Bytes> parts)
{
    Bytes joined;
    for (const Bytes& part : parts)
    {
        joined.insert(joined.end(), part.begin(), part.end());
    }
    return joined;
}

// What a frame of these bytes looks like on the line; `body` is without the checksum, which is right.
Bytes OnTheLine(const Bytes& body)
{
    uint32_t crc = 0xFFFF;
    for (const uint8_t byte : body)
    {
        crc ^= static_cast<uint32_t>(byte) << 8U;
        for (int bit = 0; bit < 8; ++bit)
        {
            crc = ((crc << 1U) ^ ((crc & 0x8000U) != 0 ? 0x1021U : 0U)) & 0xFFFFU;
        }
    }
    Bytes line{Flag};
    for (const uint8_t byte : Join({body, {static_cast<uint8_t>(crc), static_cast<uint8_t>(crc >> 8U)}}))
    {
        if (byte == Flag || byte == Escape)
        {
            line.push_back(Escape);
        }
        line.push_back(byte == Flag || byte == Escape ? static_cast<uint8_t>(byte ^ 0x20U) : byte);
    }
    line.push_back(Flag);
    return line;
}

/// A decoder and what came out of it.
struct Receiver
{
    void Feed(const Bytes& bytes, std::size_t chunk = SIZE_MAX)
    {
        for (std::size_t begin = 0; begin < bytes.size();)
        {
            const std::size_t size = std::min(chunk, bytes.size() - begin);
            decoder.Feed(&bytes[begin], size, [this](const Frame& frame) { frames.push_back(frame); });
            begin += size;
        }
    }

    Decoder decoder;
    std::vector<Frame> frames;
};

} // namespace

TEST(Wire, EncodesAFrameAsTheLineHasIt)
{
    EXPECT_EQ(Encode({Kind::Hello, 0, {0x7E, 0x7D, 0x00, 0xFF}}), OnTheLine({1, 0, 0, 0x7E, 0x7D, 0x00, 0xFF}));
    EXPECT_EQ(Encode({Kind::Message, 0x1234, {}}), OnTheLine({5, 0x34, 0x12}));
}

TEST(Wire, UsesTheChecksumWithTheKnownCheckValue)
{
    // The check value of this CRC, over the digits 1 to 9, is 0x29B1. Here they are kind '1', topic "23" and payload
    // "456789": no known kind, hence only encoded.
    const Bytes line = Encode({static_cast<Kind>('1'), 0x3332, {'4', '5', '6', '7', '8', '9'}});

    EXPECT_EQ(line, (Bytes{Flag, '1', '2', '3', '4', '5', '6', '7', '8', '9', 0xB1, 0x29, Flag}));
}

TEST(Wire, SendsNoFlagAndNoBareEscapeInsideAFrame)
{
    const Bytes line = Encode({Kind::Message, 0x7E7D, EveryByteValue()});

    EXPECT_EQ(std::count(line.begin(), line.end(), Flag), 2);
    EXPECT_EQ(line.front(), Flag);
    EXPECT_EQ(line.back(), Flag);
    for (auto escape = std::find(line.begin(), line.end(), Escape); escape != line.end();
         escape = std::find(escape + 1, line.end(), Escape))
    {
        EXPECT_TRUE(escape[1] == 0x5E || escape[1] == 0x5D);
    }
}

TEST(Wire, ReturnsFramesOfEveryKindUnchanged)
{
    for (const Kind kind : {Kind::Hello, Kind::Welcome, Kind::Ping, Kind::Pong, Kind::Message})
    {
        const Frame frame{kind, 0xBEEF, {1, 2, 3, 4}};
        Receiver receiver;

        receiver.Feed(Encode(frame));

        EXPECT_EQ(receiver.frames, std::vector<Frame>{frame});
        EXPECT_EQ(receiver.decoder.Rejected(), 0U);
    }
}

TEST(Wire, ReturnsEveryByteValueUnchanged)
{
    const Frame frame{Kind::Message, 0x7E7D, EveryByteValue()};
    Receiver receiver;

    receiver.Feed(Encode(frame));

    EXPECT_EQ(receiver.frames, std::vector<Frame>{frame});
}

TEST(Wire, ReturnsPayloadsOfEveryLengthUnchanged)
{
    for (std::size_t length = 0; length <= MaxPayload; ++length)
    {
        const Frame frame{Kind::Message, 256, Bytes(length, Flag)}; // each byte takes two on the line
        Receiver receiver;

        receiver.Feed(Encode(frame));

        ASSERT_EQ(receiver.frames, std::vector<Frame>{frame}) << "length " << length;
    }
}

TEST(Wire, ReturnsEveryChecksumUnchanged)
{
    // Among so many frames the checksum, too, holds each byte that has to be escaped.
    for (int topic = 0; topic <= 0xFFFF; ++topic)
    {
        const Frame frame{Kind::Message, static_cast<uint16_t>(topic), {}};
        Receiver receiver;

        receiver.Feed(Encode(frame));

        ASSERT_EQ(receiver.frames, std::vector<Frame>{frame});
    }
}

TEST(Wire, ReceivesFramesHoweverTheStreamIsCut)
{
    const std::vector<Frame> frames{
        Sample, {Kind::Ping, 0, {0x7D, 0x7E, 0x7D, 0x7E}}, {Kind::Message, 7, EveryByteValue()}};
    const Bytes stream = Join({Encode(frames[0]), Encode(frames[1]), Encode(frames[2])});

    for (std::size_t chunk = 1; chunk <= stream.size(); ++chunk)
    {
        Receiver receiver;

        receiver.Feed(stream, chunk);

        ASSERT_EQ(receiver.frames, frames) << "chunks of " << chunk;
        ASSERT_EQ(receiver.decoder.Rejected(), 0U);
    }
}

TEST(Wire, CompletesAFrameWithItsOwnLastByte)
{
    const Bytes line = Encode(Sample);
    Receiver receiver;

    receiver.Feed(Bytes(line.begin(), line.end() - 1));
    EXPECT_TRUE(receiver.frames.empty());
    receiver.Feed({line.back()});

    EXPECT_EQ(receiver.frames, std::vector<Frame>{Sample});
}

TEST(Wire, AcceptsOneFlagBetweenTwoFrames)
{
    const Bytes line = Encode(Sample);
    Receiver receiver;

    receiver.Feed(Join({line, Bytes(line.begin() + 1, line.end())}));

    EXPECT_EQ(receiver.frames, (std::vector<Frame>{Sample, Sample}));
}

TEST(Wire, CountsNoGapBetweenFlagsAsDamage)
{
    Receiver receiver;

    receiver.Feed(Join({Bytes(100, Flag), Encode(Sample), Bytes(100, Flag)}));

    EXPECT_EQ(receiver.frames, std::vector<Frame>{Sample});
    EXPECT_EQ(receiver.decoder.Rejected(), 0U);
}

TEST(Wire, FindsTheFramesBetweenGarbage)
{
    const Bytes garbage{0x00, 0x13, 0xFF, 0x55};
    const Bytes good = Encode(Sample);
    Receiver receiver;

    receiver.Feed(Join({garbage, good, garbage, good, garbage, {Flag}}));

    EXPECT_EQ(receiver.frames, (std::vector<Frame>{Sample, Sample}));
    EXPECT_EQ(receiver.decoder.Rejected(), 3U);
}

TEST(Wire, CountsEachDamagedPieceOnce)
{
    Receiver receiver;

    receiver.Feed({Flag, 1, Flag, 1, 2, 3, Flag, Flag, Escape, Flag, 1, 2, 3});

    EXPECT_EQ(receiver.decoder.Rejected(), 3U) << "the last piece has not ended yet";
    EXPECT_TRUE(receiver.frames.empty());
}

TEST(Wire, RejectsAFrameWithAnySingleBitFlipped)
{
    const Bytes line = Encode({Kind::Message, 256, {0x11, 0x00, 0x7D, 0x7E, 0xFF, 0x5E}});
    for (std::size_t bit = 0; bit < line.size() * 8; ++bit)
    {
        Bytes damaged = line;
        damaged[bit / 8] = static_cast<uint8_t>(damaged[bit / 8] ^ (1U << (bit % 8)));
        Receiver receiver;

        receiver.Feed(Join({{Flag}, damaged, Encode(Sample)}));

        ASSERT_EQ(receiver.frames, std::vector<Frame>{Sample}) << "bit " << bit;
        ASSERT_GE(receiver.decoder.Rejected(), 1U) << "bit " << bit;
    }
}

TEST(Wire, RejectsAFrameCutAtAnyPlaceAndReceivesTheNext)
{
    const Bytes line = Encode({Kind::Message, 256, {0x11, 0x7E, 0x7D, 0x22}});
    for (std::size_t length = 2; length + 1 < line.size(); ++length)
    {
        Receiver receiver;

        receiver.Feed(Join({Bytes(line.data(), line.data() + length), Encode(Sample)}));

        ASSERT_EQ(receiver.frames, std::vector<Frame>{Sample}) << "cut after " << length;
        ASSERT_EQ(receiver.decoder.Rejected(), 1U) << "cut after " << length;
    }
}

TEST(Wire, RejectsAnUnknownKind)
{
    for (int kind = 0; kind <= 0xFF; ++kind)
    {
        Receiver receiver;

        receiver.Feed(OnTheLine({static_cast<uint8_t>(kind), 0, 1}));

        const bool known = kind >= 1 && kind <= 5;
        EXPECT_EQ(receiver.frames.size(), known ? 1U : 0U) << "kind " << kind;
        EXPECT_EQ(receiver.decoder.Rejected(), known ? 0U : 1U) << "kind " << kind;
    }
}

TEST(Wire, RejectsABodyThatIsTooShortForAFrame)
{
    for (const Bytes& body : {Bytes{}, Bytes{5}, Bytes{5, 0}})
    {
        Receiver receiver;

        receiver.Feed(OnTheLine(body));

        EXPECT_TRUE(receiver.frames.empty());
        EXPECT_EQ(receiver.decoder.Rejected(), 1U);
    }
}

TEST(Wire, RejectsAPayloadOneByteTooLongAndReceivesTheNext)
{
    Receiver receiver;

    receiver.Feed(Join({Encode({Kind::Message, 256, Bytes(MaxPayload + 1)}), Encode(Sample)}));

    EXPECT_EQ(receiver.frames, std::vector<Frame>{Sample});
    EXPECT_EQ(receiver.decoder.Rejected(), 1U);
}

TEST(Wire, RejectsALongestFrameWithMoreBytesAtItsEnd)
{
    for (const std::size_t more : {std::size_t{1}, std::size_t{2}, std::size_t{100}})
    {
        Bytes line = Encode({Kind::Message, 256, Bytes(MaxPayload)});
        line.insert(line.end() - 1, more, 0x55);
        Receiver receiver;

        receiver.Feed(line);

        EXPECT_TRUE(receiver.frames.empty());
        EXPECT_EQ(receiver.decoder.Rejected(), 1U);
    }
}

TEST(Wire, RejectsAPieceWithoutEndAsOne)
{
    Receiver receiver;

    for (int round = 0; round < 1000; ++round)
    {
        receiver.Feed(Bytes(1000, 0x55));
    }
    receiver.Feed(Encode(Sample));

    EXPECT_EQ(receiver.frames, std::vector<Frame>{Sample});
    EXPECT_EQ(receiver.decoder.Rejected(), 1U);
}

TEST(Wire, RejectsAFrameThatEndsWithAnEscape)
{
    Bytes line = Encode(Sample);
    line.insert(line.end() - 1, Escape);
    Receiver receiver;

    receiver.Feed(Join({line, Encode(Sample)}));

    EXPECT_EQ(receiver.frames, std::vector<Frame>{Sample});
    EXPECT_EQ(receiver.decoder.Rejected(), 1U);
}

TEST(Wire, ReceivesAFrameAfterAnyNoise)
{
    std::mt19937 random(1); // the same noise each time
    for (int round = 0; round < 200; ++round)
    {
        Bytes noise(random() % 3000);
        std::generate(noise.begin(), noise.end(), [&random] { return static_cast<uint8_t>(random()); });
        Receiver receiver;

        receiver.Feed(noise);
        receiver.frames.clear();
        receiver.Feed(Encode(Sample));

        ASSERT_EQ(receiver.frames, std::vector<Frame>{Sample}) << "round " << round;
    }
}
