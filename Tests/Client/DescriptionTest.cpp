#include "Description.h"

#include "ReceivedMessage.h"

#include <gtest/gtest.h>

using OrvelClient::Message;

namespace
{

std::string Described(const std::string& hex)
{
    return Describe(MessageOf(hex));
}

TEST(Description, SaysTheStateOfTheLinkInWords)
{
    EXPECT_EQ(Described("b9 00 01"), "link usable");
    EXPECT_EQ(Described("b9 ff ff"), "link lost");
    EXPECT_EQ(Described("b9 12 34"), "link 0x1234");
    EXPECT_EQ(Described("b9 00"), "0xb9 data=00 ! unknown message code");
}

TEST(Description, SaysWhatIsWrongAtTheEnd)
{
    Message message = MessageOf("f0");
    message.sizeByte = 7;
    EXPECT_EQ(Describe(message), "M_Reset.ind ! size byte 7 on a frame of 1");
    message = MessageOf("b9 00 01");
    message.sizeByte = 7;
    EXPECT_EQ(Describe(message), "link usable ! size byte 7 on a frame of 3");
}

TEST(Description, TellsTheKindOfAMessage)
{
    EXPECT_EQ(KindOf(MessageOf("29 00")), "L_Data.ind");
    EXPECT_EQ(KindOf(MessageOf("b9 00 01")), "link usable");
    EXPECT_EQ(KindOf(MessageOf("77")), "message code 0x77");
    EXPECT_EQ(KindOf(MessageOf("")), "no frame");
}

} // namespace
