#include "Json.h"

#include "BenchKit/ReceivedMessage.h"
#include "Rejection.h"

using Knx::Bytes;
using OrvelClient::Direction;
using OrvelClient::Message;
using OrvelClient::MessageFromJson;
using OrvelClient::Status;

namespace
{

TEST(Json, HasEveryField)
{
    EXPECT_EQ(DescribeAsJson(MessageOf("29 03 03 01 05 bc e0 11 02 0a 03 03 00 80 0c 1a")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"2903030105bce011020a030300800c1a",)"
              R"("kind":"L_Data.ind","code":41,"additionalInfo":"030105","frameType":"standard","repeated":false,)"
              R"("priority":"low","destinationType":"group",)"
              R"("hops":6,"source":"1.1.2","destination":"1/2/3","length":3,"transport":"T_Data_Group",)"
              R"("apci":128,"service":"A_GroupValue_Write","data":"0c1a"})");
    EXPECT_EQ(DescribeAsJson(MessageOf("2e 00 4b 71 11 01 12 01 01 47 81")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"2e004b7111011201014781","kind":"L_Data.con",)"
              R"("code":46,"frameType":"extended","noRepetition":true,"priority":"urgent","systemBroadcast":true,)"
              R"("acknowledge":true,"confirmed":false,"destinationType":"individual","hops":7,"format":1,)"
              R"("source":"1.1.1",)"
              R"("destination":"1.2.1","length":1,"transport":"T_Data_Connected","sequence":1,"apci":897,)"
              R"("service":"A_Restart_MasterReset"})");
    EXPECT_EQ(DescribeAsJson(MessageOf("fb 00 0b 01 33 00 02 07")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"fb000b0133000207","kind":"M_PropRead.con",)"
              R"("code":251,"objectType":11,"objectInstance":1,"property":51,"count":0,"index":2,"propertyError":7})");
    EXPECT_EQ(DescribeAsJson(MessageOf("13 00 f1 f0 11 01 00 01")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"1300f1f011010001","kind":"L_Poll_Data.req",)"
              R"("code":19,"frameType":"standard","priority":"system","error":true,)"
              R"("destinationType":"group","hops":7,"source":"1.1.1",)"
              R"("destination":"0/0/1","problem":"ends before the number of slots"})");
}

TEST(Json, SaysWhetherATelegramIsARepetitionAndWhetherARequestWasConfirmed)
{
    EXPECT_NE(DescribeAsJson(MessageOf("29 00 9c e0 11 02 0a 03 01 00 81")).find(R"("repeated":true,)"),
              std::string::npos);
    EXPECT_NE(DescribeAsJson(MessageOf("2e 00 bc e0 11 02 0a 03 01 00 81")).find(R"("confirmed":true,)"),
              std::string::npos);
}

TEST(Json, HasASmallValueAsDataToo)
{
    EXPECT_NE(DescribeAsJson(MessageOf("29 00 bc e0 11 02 0a 03 01 00 81")).find(R"("data":"01")"), std::string::npos);
    EXPECT_NE(DescribeAsJson(MessageOf("29 00 bc e0 11 02 0a 03 01 00 40")).find(R"("data":"00")"), std::string::npos);
    EXPECT_EQ(DescribeAsJson(MessageOf("29 00 bc e0 11 02 0a 03 01 00 00")).find("data"), std::string::npos);
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

TEST(Json, IsReadBack)
{
    Message message = MessageOf("29 03 03 01 05 bc e0 11 02 0a 03 03 00 80 0c 1a");
    for (const Direction direction : {Direction::FromLink, Direction::ToLink})
    {
        message.direction = direction;
        const Message again = MessageFromJson(DescribeAsJson(message));
        EXPECT_EQ(again.frame, message.frame);
        EXPECT_EQ(again.time, message.time);
        EXPECT_EQ(again.direction, direction);
    }
}

TEST(Json, OfAnotherProgramNeedsOnlyTheDigits)
{
    const Message message = MessageFromJson(R"({"hex":"11:00","more":{"hex":"77","time":7},"list":[{"hex":"77"}]})");
    EXPECT_EQ(message.frame, (Bytes{0x11, 0x00}));
    EXPECT_EQ(message.time.count(), 0);
    EXPECT_EQ(message.direction, Direction::ToLink);
    EXPECT_EQ(MessageFromJson(R"({"time":3,"hex":""})").time, std::chrono::seconds(3));
}

TEST(Json, SaysWhatIsNotUnderstood)
{
    const std::vector<std::pair<std::string, std::string>> wrong{
        {R"({"hex":"11)", "is no JSON from position 11 on"},
        {R"({"hex":"11"}})", "is no JSON from position 13 on"},
        {R"({"time":3})", "is an object without the member hex"},
        {R"({"hex":11})", "is an object without the member hex"},
        {R"({"hex":"1"})", "byte 1 has one digit only"},
        {R"({"hex":"11","time":-1})", "has a time that is none"},
        {R"({"hex":"11","time":1e9})", "has a time that is none"},
        {R"({"hex":"11","time":"12"})", "has a time that is none"},
        {R"({"hex":"11","direction":"up"})", "has a direction that is neither rx nor tx"},
    };
    for (const auto& each : wrong)
    {
        EXPECT_REJECTED(MessageFromJson(each.first), Status::NotUnderstood, each.second) << each.first;
    }
}

TEST(Json, HasTheNameTheTypeAndTheValueOfAKnownGroup)
{
    const OrvelClient::KnownGroups groups(Knx::GroupAddresses(
        std::vector<Knx::NamedGroup>{{0x0A03, "Lights/Ceiling", "1.001", ""}, {0x0A04, "Temperature", "9.001", ""}}));
    const auto end = [&groups](const std::string& hex)
    {
        const std::string object = DescribeAsJson(MessageOf(hex), groups);
        return object.substr(object.find(R"("service")"));
    };
    EXPECT_EQ(
        end("29 00 bc e0 11 02 0a 03 01 00 81"),
        R"("service":"A_GroupValue_Write","data":"01","name":"Lights/Ceiling","dpt":"1.001","value":true,"text":"On"})");
    EXPECT_EQ(end("29 00 bc e0 11 02 0a 04 03 00 80 0c 1a"),
              R"("service":"A_GroupValue_Write","data":"0c1a","name":"Temperature","dpt":"9.001","value":21.0,)"
              R"("text":"21 °C"})");
    EXPECT_EQ(end("29 00 bc e0 11 02 0a 04 01 00 00"),
              R"("service":"A_GroupValue_Read","name":"Temperature","dpt":"9.001"})");
    EXPECT_EQ(end("29 00 bc e0 11 02 0a 04 01 00 81"),
              R"("service":"A_GroupValue_Write","data":"01","name":"Temperature","dpt":"9.001",)"
              R"("problem":"no value of the type 9.001"})");
}

TEST(Json, TellsTheButtonAndHowManyMessagesWereDropped)
{
    EXPECT_EQ(DescribeAsJson(MessageOf("ba 00")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"ba00","kind":"button pressed"})");
    EXPECT_EQ(DescribeAsJson(MessageOf("bb 01 02")),
              R"({"time":1763719200.123456,"direction":"rx","hex":"bb0102","kind":"dropped","dropped":258})");
}

} // namespace
