#include "Filter.h"

#include "CommandLine.h"
#include "Rejection.h"

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
    const OrvelClient::Command command{"decode", "", "", "", "", OrvelClient::WithFilterOptions({}), 0, nullptr};
    return Filter(OrvelClient::CommandLine(command, static_cast<int>(arguments.size()), arguments.data()));
}

// Which of the messages pass: "11000" are the first two.
std::string Chosen(const std::vector<const char*>& arguments)
{
    const Filter filter = Made(arguments);
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

TEST(Filter, CanChooseTheOthers)
{
    EXPECT_EQ(Chosen({"--not", "--group", "1/2/*"}), "001111");
    EXPECT_EQ(Chosen({"--group", "1/2/3,1/2/4", "--service", "read", "--not"}), "101111");
}

TEST(Filter, SaysWhatItCannotChooseBy)
{
    EXPECT_REJECTED(Made({"--service", "wirte"}), Status::WrongOption,
                    "--service is read, response, write, or a name such as A_Restart, not 'wirte'");
    EXPECT_REJECTED(Made({"--service", ""}), Status::WrongOption,
                    "--service is read, response, write, or a name such as A_Restart, not ''");
    EXPECT_REJECTED(Made({"--kind", "links"}), Status::WrongOption,
                    "--kind is ind, con, req, link, or a name such as L_Data.ind, not 'links'");
    EXPECT_REJECTED(Made({"--group", "1/2/300"}), Status::WrongOption,
                    "--group: '1/2/300' is no group address: 300 should be 0 to 255");
    EXPECT_REJECTED(Made({"--source", "1/2/3"}), Status::WrongOption,
                    "--source: '1/2/3' is no individual address or pattern such as 1.1.5, 1.1.* or 1.1.0-9");
    EXPECT_REJECTED(Made({"--not"}), Status::WrongOption, "--not needs --group, --source, --service or --kind");
}

} // namespace
