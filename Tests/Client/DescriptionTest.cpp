#include "Description.h"

#include "BenchKit/ReceivedMessage.h"

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

TEST(Description, SaysInWordsWhatTheGatewayTells)
{
    EXPECT_EQ(Described("ba 00"), "button pressed");
    EXPECT_EQ(Described("ba 01"), "button released");
    EXPECT_EQ(Described("ba 02"), "button 0x02");
    EXPECT_EQ(Described("bb 01 02"), "dropped 258");
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
    EXPECT_EQ(KindOf(MessageOf("ba 00")), "button pressed");
    EXPECT_EQ(KindOf(MessageOf("bb 01 02")), "dropped"); // one kind, whatever their number
    EXPECT_EQ(KindOf(MessageOf("77")), "message code 0x77");
    EXPECT_EQ(KindOf(MessageOf("")), "no frame");
}

TEST(Description, SaysTheValueAndTheNameOfAKnownGroup)
{
    const OrvelClient::KnownGroups groups(Knx::GroupAddresses(
        std::vector<Knx::NamedGroup>{{0x0A03, "Lights/Ceiling", "1.001", ""}, {0x0A04, "Temperature", "9.001", ""}}));
    const auto full = [&groups](const std::string& hex) { return Describe(MessageOf(hex), Knx::Detail::All, groups); };
    const auto narrow = [&groups](const std::string& hex)
    { return Describe(MessageOf(hex), Knx::Detail::Unusual, groups); };
    EXPECT_EQ(full("29 00 bc e0 11 02 0a 03 01 00 81"),
              "L_Data.ind 1.1.2 -> 1/2/3 low hops=6 T_Data_Group A_GroupValue_Write value=0x01 = On  Lights/Ceiling");
    EXPECT_EQ(narrow("29 00 bc e0 11 02 0a 03 01 00 81"), "1.1.2 -> 1/2/3 A_GroupValue_Write On  Lights/Ceiling");
    EXPECT_EQ(narrow("29 00 bc e0 11 02 0a 04 03 00 80 0c 1a"), "1.1.2 -> 1/2/4 A_GroupValue_Write 21 °C  Temperature");
    EXPECT_EQ(narrow("29 00 bc e0 11 02 0a 04 01 00 00"), "1.1.2 -> 1/2/4 A_GroupValue_Read  Temperature");
    EXPECT_EQ(narrow("29 00 bc e0 11 02 0a 04 01 00 81"),
              "1.1.2 -> 1/2/4 A_GroupValue_Write value=0x01  Temperature ! no value of the type 9.001");
}

} // namespace
