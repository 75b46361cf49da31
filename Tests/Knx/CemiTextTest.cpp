#include "Knx/CemiText.h"

#include <gtest/gtest.h>

namespace
{

std::string Described(const std::string& hex)
{
    return Describe(Knx::Decode(Knx::FromHex(hex)));
}

TEST(CemiText, ShowsAddressesPriorityHopsServiceAndValue)
{
    EXPECT_EQ(Described("29 00 bc e0 11 02 0a 03 01 00 81"),
              "L_Data.ind 1.1.2 -> 1/2/3 low hops=6 T_Data_Group A_GroupValue_Write value=0x01");
    EXPECT_EQ(Described("11 00 b4 d0 ff ff ff ff 03 00 40 0c 1a"),
              "L_Data.req 15.15.255 -> 31/7/255 normal hops=5 T_Data_Group A_GroupValue_Response data=0c1a");
    EXPECT_EQ(Described("11 00 b8 e0 00 00 0a 03 01 00 00"),
              "L_Data.req 0.0.0 -> 1/2/3 urgent hops=6 T_Data_Group A_GroupValue_Read");
}

TEST(CemiText, NamesTheTransportService)
{
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 00 80"), "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Connect");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 00 81"), "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Disconnect");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 00 c6"), "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_ACK seq=1");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 00 ff"), "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_NAK seq=15");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 00 82"), "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Control_0x82");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 01 43 00"),
              "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Data_Connected seq=0 A_DeviceDescriptor_Read");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 01 03 00"),
              "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Data_Individual A_DeviceDescriptor_Read");
    EXPECT_EQ(Described("29 00 b0 e0 11 01 00 00 01 01 00"),
              "L_Data.ind 1.1.1 -> 0/0/0 system hops=6 T_Data_Broadcast A_IndividualAddress_Read");
    EXPECT_EQ(Described("29 00 3c e4 11 01 00 01 01 04 81"),
              "L_Data.ind 1.1.1 -> 0/0/1 low hops=6 extended format=4 T_Data_Tag_Group A_GroupValue_Write value=0x01");
    EXPECT_EQ(Described("4a 00 00 00 00 00 00 00 01 01 00"), "T_Data_Individual.req A_IndividualAddress_Read");
}

TEST(CemiText, NamesLongServicesAndGivesTheNumberOfUnknownOnes)
{
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 05 03 d5 00 0b 10 01"),
              "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Data_Individual A_PropertyValue_Read data=000b1001");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 03 02 04 12 34"),
              "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Data_Individual A_Memory_Read value=0x04 data=1234");
    EXPECT_EQ(Described("29 00 b0 60 11 01 12 01 01 03 c4"),
              "L_Data.ind 1.1.1 -> 1.2.1 system hops=6 T_Data_Individual APCI_0x3c4 value=0x04");
}

TEST(CemiText, ShowsTheFlagsThatAreNotAsUsual)
{
    EXPECT_EQ(Described("29 00 1c e0 11 01 0a 03 01 00 81"),
              "L_Data.ind 1.1.1 -> 1/2/3 low hops=6 extended repeated T_Data_Group A_GroupValue_Write value=0x01");
    EXPECT_EQ(Described("11 00 8e e0 11 01 0a 03 01 00 81"), "L_Data.req 1.1.1 -> 1/2/3 low hops=6 no-repeat "
                                                             "system-broadcast acknowledge T_Data_Group "
                                                             "A_GroupValue_Write value=0x01");
    EXPECT_EQ(Described("2e 00 bd e0 11 01 0a 03 01 00 81"),
              "L_Data.con 1.1.1 -> 1/2/3 low hops=6 NOT-CONFIRMED T_Data_Group A_GroupValue_Write value=0x01");
    EXPECT_EQ(Described("29 00 bd e0 11 01 0a 03 01 00 81"),
              "L_Data.ind 1.1.1 -> 1/2/3 low hops=6 error T_Data_Group A_GroupValue_Write value=0x01");
}

TEST(CemiText, ShowsAdditionalInformationRawDataAndSlots)
{
    EXPECT_EQ(Described("2b 09 03 01 05 04 02 aa bb 55 00 bc 11"),
              "L_Busmon.ind info=busmonitor-status:05 info=relative-time:aabb info=0x55: data=bc11");
    EXPECT_EQ(Described("25 00 f0 f0 11 01 00 01 0e 01 02 fe"),
              "L_Poll_Data.con 1.1.1 -> 0/0/1 system hops=7 slots=14 data=0102fe");
}

TEST(CemiText, ShowsPropertiesAndTheirErrors)
{
    EXPECT_EQ(Described("fb 00 0b 01 33 10 02 aa bb"),
              "M_PropRead.con object=11 instance=1 property=51 count=1 index=2 data=aabb");
    EXPECT_EQ(Described("f5 00 0b 01 33 00 01 07"),
              "M_PropWrite.con object=11 instance=1 property=51 count=0 index=1 error=0x07 (no such property)");
    EXPECT_EQ(Described("f5 00 0b 01 33 00 01 77"),
              "M_PropWrite.con object=11 instance=1 property=51 count=0 index=1 error=0x77 (0x77)");
    EXPECT_EQ(Described("f1"), "M_Reset.req");
}

TEST(CemiText, SaysWhatIsWrongAtTheEnd)
{
    EXPECT_EQ(Described("29 00 bc e0 11"), "L_Data.ind low hops=6 data=11 ! ends before the source address");
    EXPECT_EQ(Described("29 05 03"),
              "L_Data.ind info=busmonitor-status ! additional information of 5 bytes, of which 1 came; additional "
              "information with an element that does not fit in; ends before control field 1");
    EXPECT_EQ(Described(""), "! ends before the message code");
}

TEST(CemiText, CanLeaveOutWhatNearlyEveryTelegramHas)
{
    const auto unusual = [](const std::string& hex)
    { return Words(Knx::Decode(Knx::FromHex(hex)), Knx::Detail::Unusual); };
    EXPECT_EQ(unusual("29 00 bc e0 11 02 0a 03 01 00 81"), "1.1.2 -> 1/2/3 A_GroupValue_Write value=0x01");
    EXPECT_EQ(unusual("2e 00 bc e0 11 02 0a 03 01 00 81"), "L_Data.con 1.1.2 -> 1/2/3 A_GroupValue_Write value=0x01");
    EXPECT_EQ(unusual("29 00"), "L_Data.ind"); // there is nothing else
    EXPECT_EQ(unusual("29 00 b4 d0 11 02 0a 03 01 00 81"),
              "1.1.2 -> 1/2/3 normal hops=5 A_GroupValue_Write value=0x01");
    EXPECT_EQ(unusual("29 00 bc e0 11 01 00 00 01 01 00"), "1.1.1 -> 0/0/0 T_Data_Broadcast A_IndividualAddress_Read");
    EXPECT_EQ(unusual("29 00 bc e0 11 02 0a 03"), "1.1.2 -> 1/2/3"); // its problems are not among the words
}

TEST(CemiText, CanLeaveOutTheValueToo)
{
    const auto without = [](const std::string& hex)
    { return Words(Knx::Decode(Knx::FromHex(hex)), Knx::Detail::WithoutValue); };
    EXPECT_EQ(without("29 00 bc e0 11 02 0a 03 01 00 81"), "1.1.2 -> 1/2/3 A_GroupValue_Write");
    EXPECT_EQ(without("29 00 bc e0 11 02 0a 03 02 00 80 81"), "1.1.2 -> 1/2/3 A_GroupValue_Write");
}

} // namespace
