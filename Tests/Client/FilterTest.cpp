#include "Filter.h"

#include "Rejection.h"

#include "Knx/GroupAddresses.h"

using Knx::FromHex;
using OrvelClient::Filter;
using OrvelClient::Message;
using OrvelClient::Status;

namespace
{

const std::string Write = "29 00 bc e0 11 05 0a 03 01 00 81"; // 1.1.5 to 1/2/3
const std::string Read = "29 00 bc e0 11 06 0a 04 01 00 00";  // 1.1.6 to 1/2/4
const std::string Confirmation = "2e 00 bc e0 00 00 0b 03 01 00 81";
const std::string ToDevice = "29 00 b0 60 11 05 0a 03 00 80"; // to 0.10.3, the same bits as 1/2/3
const std::string LinkUsable = "b9 00 01";
const std::string LinkLost = "b9 ff ff";

Filter Made(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "decode");
    Filter filter;
    Arguments::Parser parser("decode", "", "");
    filter.AddTo(parser);
    parser.Parse(static_cast<int>(arguments.size()), arguments.data());
    return filter;
}

// Which of the messages pass: "11000" are the first two.
std::string Chosen(const std::vector<const char*>& arguments)
{
    Filter filter = Made(arguments);
    filter.Resolve({});
    std::string chosen;
    for (const std::string& hex : {Write, Read, Confirmation, ToDevice, LinkUsable, LinkLost})
    {
        Message message;
        message.frame = FromHex(hex);
        chosen += filter.Passes(message) ? '1' : '0';
    }
    return chosen;
}

TEST(Filter, PassesEverythingUnlessItIsToldMore)
{
    EXPECT_EQ(Chosen({}), "111111");
}

TEST(Filter, ChoosesByGroupAddressAndNotByThatOfADevice)
{
    EXPECT_EQ(Chosen({"--group", "1/2/3"}), "100000");
    EXPECT_EQ(Chosen({"--group", "1/2/*"}), "110000");
    EXPECT_EQ(Chosen({"--group", "1/2/4,1/3/3"}), "011000");
    EXPECT_EQ(Chosen({"--group", "1/2/4", "--group", "1/3/3"}), "011000");
}

// Of the write to 1/2/3 and the read of 1/2/4, where three groups have names.
std::string ChosenByName(const char* text, bool isLeftOut = false)
{
    Filter filter = isLeftOut ? Made({"--not", "--group", text}) : Made({"--group", text});
    Knx::NamedGroup light;
    light.address = 0x0A03;
    light.name = "Light, floor";
    Knx::NamedGroup temperature;
    temperature.address = 0x0A04;
    temperature.name = "Floor";
    Knx::NamedGroup range;
    range.address = 0x0B03;
    range.name = "2563-2564"; // 1/2/3 and 1/2/4
    filter.Resolve(Knx::GroupAddresses({light, temperature, range}));
    std::string chosen;
    for (const std::string& hex : {Write, Read})
    {
        Message message;
        message.frame = FromHex(hex);
        chosen += filter.Passes(message) ? '1' : '0';
    }
    return chosen;
}

TEST(Filter, ChoosesByNamesWhichMayHaveACommaInThem)
{
    EXPECT_EQ(ChosenByName("Light, floor"), "10");
    EXPECT_EQ(ChosenByName("1/2/*"), "11");
    EXPECT_EQ(ChosenByName("1/2/3,Floor"), "11");
    EXPECT_EQ(ChosenByName("Floor"), "01");
    EXPECT_EQ(ChosenByName("Floor", true), "10");
    EXPECT_REJECTED(ChosenByName("Light, Floor,Roof"), Status::NotUnderstood,
                    "no group has the name 'Light'; 'orvelctl names' lists them");
    EXPECT_REJECTED(ChosenByName("Floor,1/2/300"), Status::WrongOption,
                    "--group: '1/2/300' is no group address: 300 should be 0 to 255");
}

TEST(Filter, TakesANameBeforeARangeOfTheSameCharacters)
{
    EXPECT_EQ(ChosenByName("2563-2564"), "00");
    EXPECT_EQ(ChosenByName("2563-2565"), "11");
}

TEST(Filter, ChoosesBySource)
{
    EXPECT_EQ(Chosen({"--source", "1.1.5"}), "100100");
    EXPECT_EQ(Chosen({"--source", "1.1.*"}), "110100");
}

TEST(Filter, ChoosesByServiceUnderAnyOfItsNames)
{
    for (const char* const name : {"write", "Write", "GroupValue_Write", "A_GroupValue_Write"})
    {
        EXPECT_EQ(Chosen({"--service", name}), "101000") << name;
    }
    EXPECT_EQ(Chosen({"--service", "read,write"}), "111000");
    EXPECT_EQ(Chosen({"--service", "response"}), "000000");
}

TEST(Filter, ChoosesByKind)
{
    EXPECT_EQ(Chosen({"--kind", "L_Data.con"}), "001000");
    EXPECT_EQ(Chosen({"--kind", "ind"}), "110100");
    EXPECT_EQ(Chosen({"--kind", "link"}), "000011");
    EXPECT_EQ(Chosen({"--kind", "link lost"}), "000001");
    EXPECT_EQ(Chosen({"--kind", "req"}), "000000");
}

TEST(Filter, NeedsAllKindsOfConditionsAndOneValueOfEach)
{
    EXPECT_EQ(Chosen({"--group", "1/2/3,1/2/4", "--service", "read"}), "010000");
    EXPECT_EQ(Chosen({"--source", "1.1.5", "--service", "read"}), "000000");
}

TEST(Filter, LeavesOutWhatTheConditionsBehindNotChoose)
{
    EXPECT_EQ(Chosen({"--not", "--group", "1/2/*"}), "001111");
    EXPECT_EQ(Chosen({"--not", "--group", "1/2/3,1/2/4", "--service", "read"}), "101111");
    EXPECT_EQ(Chosen({"--not", "--group", "1/2/4", "--source", "1.1.5"}), "111111");
}

TEST(Filter, ChoosesByTheConditionsBeforeNotAndLeavesOutByThoseBehindIt)
{
    EXPECT_EQ(Chosen({"--group", "1/2/*", "--not", "--group", "1/2/4"}), "100000");
    EXPECT_EQ(Chosen({"--source", "1.1.*", "--service", "read,write", "--not", "--service", "read"}), "100000");
    EXPECT_EQ(Chosen({"--kind", "ind", "--not", "--group", "1/2/*", "--source", "1.1.5"}), "010100");
    EXPECT_EQ(Chosen({"--group", "1/2/3", "--not", "--group", "1/2/3"}), "000000");
}

TEST(Filter, LeavesOutWhatIsBehindAnyNot)
{
    EXPECT_EQ(Chosen({"--not", "--group", "1/2/4", "--not", "--source", "1.1.5"}), "001011");
    EXPECT_EQ(Chosen({"--kind", "ind,con", "--not", "--group", "1/2/4", "--not", "--group", "1/3/3"}), "100100");
}

TEST(Filter, AlwaysPassesThatMessagesAreMissing)
{
    Message dropped;
    dropped.frame = FromHex("bb 00 05");
    const std::vector<std::vector<const char*>> filters{{"--group", "1/2/3"},          {"--source", "1.1.5"},
                                                        {"--service", "read"},         {"--kind", "ind"},
                                                        {"--not", "--group", "1/2/3"}, {"--not", "--kind", "dropped"}};
    for (const auto& arguments : filters)
    {
        EXPECT_TRUE(Made(arguments).Passes(dropped)) << arguments.front() << ' ' << arguments.back();
    }
}

// Why the options are refused.
std::string Refusal(const std::vector<const char*>& arguments)
{
    try
    {
        Made(arguments);
        return "nothing";
    }
    catch (const Arguments::Wrong& wrong)
    {
        return wrong.what();
    }
}

TEST(Filter, SaysWhatItCannotChooseBy)
{
    EXPECT_EQ(Refusal({"--service", "wirte"}),
              "--service takes read, response, write, or a name such as A_Restart, not 'wirte'");
    EXPECT_EQ(Refusal({"--service", "read,"}), "nothing");
    EXPECT_EQ(Refusal({"--service", ""}), "--service takes read, response, write, or a name such as A_Restart, not ''");
    EXPECT_EQ(Refusal({"--kind", "links"}),
              "--kind takes ind, con, req, link, or a name such as L_Data.ind, not 'links'");
    EXPECT_EQ(Refusal({"--group", "1/2/300"}), "--group: '1/2/300' is no group address: 300 should be 0 to 255");
    EXPECT_EQ(Refusal({"--source", "1/2/3"}),
              "--source: '1/2/3' is no individual address or pattern such as 1.1.5, 1.1.* or 1.1.0-9");
    for (const std::vector<const char*>& arguments :
         {std::vector<const char*>{"--not"}, {"--group", "1/2/3", "--not"}, {"--not", "--not", "--group", "1/2/3"}})
    {
        EXPECT_EQ(Refusal(arguments), "--not needs --group, --source, --service or --kind behind it");
    }
}

} // namespace
