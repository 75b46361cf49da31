#include "Json.h"

#include "ReceivedMessage.h"

#include <gtest/gtest.h>

using OrvelClient::Message;

namespace
{

TEST(Json, HasEveryField)
{
    EXPECT_EQ(DescribeAsJson(MessageOf("29 03 03 01 05 bc e0 11 02 0a 03 03 00 80 0c 1a")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"2903030105bce011020a030300800c1a",)"
              R"("kind":"L_Data.ind","code":41,"additionalInfo":"030105","frameType":"standard","repeatBit":true,)"
              R"("broadcast":"domain","priority":"low","acknowledge":false,"error":false,"destinationType":"group",)"
              R"("hops":6,"format":0,"source":"1.1.2","destination":"1/2/3","length":3,"transport":"T_Data_Group",)"
              R"("apci":128,"service":"A_GroupValue_Write","data":"0c1a"})");
    EXPECT_EQ(DescribeAsJson(MessageOf("2e 00 4b 71 11 01 12 01 01 47 81")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"2e004b7111011201014781","kind":"L_Data.con",)"
              R"("code":46,"frameType":"extended","repeatBit":false,"broadcast":"system","priority":"urgent",)"
              R"("acknowledge":true,"error":true,"destinationType":"individual","hops":7,"format":1,"source":"1.1.1",)"
              R"("destination":"1.2.1","length":1,"transport":"T_Data_Connected","sequence":1,"apci":897,)"
              R"("service":"A_Restart_MasterReset"})");
    EXPECT_EQ(DescribeAsJson(MessageOf("fb 00 0b 01 33 00 02 07")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"fb000b0133000207","kind":"M_PropRead.con",)"
              R"("code":251,"objectType":11,"objectInstance":1,"property":51,"count":0,"index":2,"propertyError":7})");
    EXPECT_EQ(DescribeAsJson(MessageOf("13 00 f0 f0 11 01 00 01")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"1300f0f011010001","kind":"L_Poll_Data.req",)"
              R"("code":19,"frameType":"standard","repeatBit":true,"broadcast":"domain","priority":"system",)"
              R"("acknowledge":false,"error":false,"destinationType":"group","hops":7,"format":0,"source":"1.1.1",)"
              R"("destination":"0/0/1","problem":"ends before the number of slots"})");
}

TEST(Json, OfTheStateOfTheLinkHasNothingOfAFrame)
{
    EXPECT_EQ(DescribeAsJson(MessageOf("b9 00 01")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"b90001","kind":"link usable"})");
}

// Numbers of a parser would lose the last digits.
TEST(Json, HasAllDecimalsOfTheTime)
{
    Message message = MessageOf("b9 00 01");
    message.time = std::chrono::microseconds(1763719200100000);
    EXPECT_EQ(DescribeAsJson(message).find(R"({"time":1763719200.100000,)"), 0U);
}

} // namespace
