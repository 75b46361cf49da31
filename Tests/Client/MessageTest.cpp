#include "Message.h"

#include "Rejection.h"

using Knx::Bytes;
using OrvelClient::ButtonState;
using OrvelClient::FrameFromText;
using OrvelClient::FromQueue;
using OrvelClient::IsOfTheBus;
using OrvelClient::LinkState;
using OrvelClient::LostMessages;

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

TEST(Message, OfTheGatewayHasACodeAndASizeOfItsOwn)
{
    EXPECT_EQ(ButtonState({0xBA, 0x00}), 0x00);
    EXPECT_EQ(ButtonState({0xBA, 0x01}), 0x01);
    EXPECT_FALSE(ButtonState({0xBA}));
    EXPECT_FALSE(ButtonState({0xBA, 0x00, 0x00}));
    EXPECT_EQ(LostMessages({0xBB, 0x01, 0x02}), 0x0102);
    EXPECT_FALSE(LostMessages({0xBB, 0x01}));
    EXPECT_FALSE(LostMessages({0xBB, 0x01, 0x02, 0x03}));
}

TEST(Message, OfTheBusIsEachThatHasNoneOfTheseCodes)
{
    EXPECT_TRUE(IsOfTheBus({0x29, 0x00, 0x01}));
    EXPECT_TRUE(IsOfTheBus({}));
    EXPECT_TRUE(IsOfTheBus({0xBA}));
    EXPECT_FALSE(IsOfTheBus({0xB9, 0x00, 0x01}));
    EXPECT_FALSE(IsOfTheBus({0xBA, 0x00}));
    EXPECT_FALSE(IsOfTheBus({0xBB, 0x00, 0x01}));
}

TEST(Message, AsTextEndsWhereACommentBegins)
{
    EXPECT_EQ(FrameFromText("29 00 # bc, and other words"), (Bytes{0x29, 0x00}));
    EXPECT_EQ(FrameFromText("# 29 00"), Bytes{});
}

TEST(Message, AsTextIsNotUnderstoodWhereItIsNoHex)
{
    EXPECT_REJECTED(FrameFromText("290 # comment"), OrvelClient::Status::NotUnderstood, "byte 2 has one digit only");
    EXPECT_REJECTED(FrameFromText("0x29"), OrvelClient::Status::NotUnderstood,
                    "'x' at position 2 is no hexadecimal digit");
}

TEST(Message, GoesToTheLinkWhenItIsARequest)
{
    for (const uint8_t code : Bytes{0x10, 0x11, 0x13, 0x41, 0x4A, 0xF1, 0xF6, 0xF8, 0xF9, 0xFC})
    {
        EXPECT_EQ(OrvelClient::UsualDirection({code}), OrvelClient::Direction::ToLink) << int{code};
    }
    for (const uint8_t code :
         Bytes{0x25, 0x29, 0x2B, 0x2D, 0x2E, 0x2F, 0x89, 0x94, 0xB9, 0xF0, 0xF5, 0xF7, 0xFA, 0xFB, 0x77})
    {
        EXPECT_EQ(OrvelClient::UsualDirection({code}), OrvelClient::Direction::FromLink) << int{code};
    }
    EXPECT_EQ(OrvelClient::UsualDirection({}), OrvelClient::Direction::FromLink);
}

} // namespace
