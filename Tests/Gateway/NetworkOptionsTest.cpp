#include "Failure.h"
#include "Options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace OrvelGateway;

namespace
{

Options Parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "orvel-gateway");
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

// What is printed; empty if the options are taken.
std::string Complaint(const std::vector<const char*>& arguments)
{
    try
    {
        Parse(arguments);
        return "";
    }
    catch (const Failure& failure)
    {
        EXPECT_EQ(failure.ExitStatus(), Status::WrongOption);
        return failure.what();
    }
}

TEST(NetworkOptions, WithoutThemThereIsNoNetworkAndNoMetrics)
{
    const Options options = Parse({});
    EXPECT_FALSE(options.network);
    EXPECT_EQ(options.metrics, "");
}

TEST(NetworkOptions, NameTheInterfaceAndPerhapsTheGroup)
{
    const Options usual = Parse({"--knxip", "eth0"});
    ASSERT_TRUE(usual.network);
    EXPECT_EQ(usual.network->place.interface, "eth0");
    EXPECT_EQ(usual.network->place.group, "224.0.23.12");
    const Options own = Parse({"--knxip=eth0/239.1.2.3"});
    ASSERT_TRUE(own.network);
    EXPECT_EQ(own.network->place.group, "239.1.2.3");
}

TEST(NetworkOptions, LetAllGroupsPassAndNothingElseUnlessTheySay)
{
    const auto settings = Parse({"--knxip", "eth0"}).network->routing;
    EXPECT_FALSE(settings.programming);
    EXPECT_TRUE(settings.fromNetwork.Contain(1));
    EXPECT_TRUE(settings.toNetwork.Contain(0xFFFF));
}

TEST(NetworkOptions, NarrowEachWayAndLetProgrammingPass)
{
    const auto settings =
        Parse({"--knxip", "eth0", "--from-ip", "1/2/0-9,3/1/7", "--to-ip", "4/*", "--programming"}).network->routing;
    EXPECT_TRUE(settings.programming);
    EXPECT_TRUE(settings.fromNetwork.Contain(Knx::ParseGroupAddress("3/1/7")));
    EXPECT_FALSE(settings.fromNetwork.Contain(Knx::ParseGroupAddress("4/1/7")));
    EXPECT_TRUE(settings.toNetwork.Contain(Knx::ParseGroupAddress("4/1/7")));
    EXPECT_FALSE(settings.toNetwork.Contain(Knx::ParseGroupAddress("3/1/7")));
}

TEST(NetworkOptions, AreRefusedInOneLineThatSaysWhy)
{
    EXPECT_EQ(Complaint({"--knxip", ""}), "--knxip: '' is no name of a network interface");
    EXPECT_EQ(Complaint({"--knxip", "eth0/10.1.2.3"}),
              "--knxip: '10.1.2.3' is no IPv4 multicast group, 224.0.0.0 to 239.255.255.255");
    EXPECT_EQ(Complaint({"--knxip", "eth0", "--from-ip", "1/2/256"}),
              "--from-ip: '1/2/256' is no group address: 256 should be 0 to 255");
    EXPECT_EQ(Complaint({"--knxip", "eth0", "--to-ip", "1/2/3,lamp"}),
              "--to-ip: 'lamp' is no group address or pattern such as 1/2/3, 1/2/* or 1/2/0-9");
}

TEST(NetworkOptions, NeedANetworkToBeAbout)
{
    EXPECT_EQ(Complaint({"--from-ip", "1/2/3"}), "--from-ip requires --knxip");
    EXPECT_EQ(Complaint({"--to-ip", "1/2/3"}), "--to-ip requires --knxip");
    EXPECT_EQ(Complaint({"--programming"}), "--programming requires --knxip");
}

TEST(NetworkOptions, NameTheFileForTheMetrics)
{
    EXPECT_EQ(Parse({"--metrics", "/run/orvel/gateway.metrics"}).metrics, "/run/orvel/gateway.metrics");
}

} // namespace
