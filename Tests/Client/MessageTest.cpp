#include "Message.h"

#include <gtest/gtest.h>

using OrvelClient::Bytes;
using OrvelClient::FromQueue;
using OrvelClient::LinkState;

namespace
{

constexpr std::chrono::microseconds Time{5};

TEST(Message, FromTheQueueIsTheFrameWithoutItsSizeByte)
{
    const auto message = FromQueue({0x02, 0x29, 0x77}, Time);
    EXPECT_EQ(message.frame, (Bytes{0x29, 0x77}));
    EXPECT_EQ(message.time, Time);
    EXPECT_FALSE(message.sizeByte);
}

TEST(Message, ASizeByteThatOverflowedIsRight)
{
    for (std::size_t size = 256; size <= 260; ++size)
    {
        Bytes received(size + 1, 0x29);
        received.front() = static_cast<uint8_t>(size - 256);
        const auto message = FromQueue(received, Time);
        EXPECT_EQ(message.frame.size(), size);
        EXPECT_FALSE(message.sizeByte) << size;
    }
}

TEST(Message, ASizeByteThatIsNotThatOfTheLengthIsKept)
{
    EXPECT_EQ(FromQueue({0x03, 0x29, 0x77}, Time).sizeByte, 3);
    EXPECT_EQ(FromQueue({0x00}, Time).sizeByte, 0);
    EXPECT_EQ(FromQueue({0x00}, Time).frame, Bytes{});
}

TEST(Message, OfNoByteIsNoFrame)
{
    EXPECT_EQ(FromQueue({}, Time).frame, Bytes{});
    EXPECT_FALSE(FromQueue({}, Time).sizeByte);
}

TEST(Message, AboutTheLinkHasThreeBytesAndACodeOfItsOwn)
{
    EXPECT_EQ(LinkState({0xB9, 0x00, 0x01}), 0x0001);
    EXPECT_EQ(LinkState({0xB9, 0xFF, 0xFE}), 0xFFFE);
    EXPECT_FALSE(LinkState({0xB9, 0x00}));
    EXPECT_FALSE(LinkState({0xB9, 0x00, 0x01, 0x02}));
    EXPECT_FALSE(LinkState({0x29, 0x00, 0x01}));
    EXPECT_FALSE(LinkState({}));
}

} // namespace
