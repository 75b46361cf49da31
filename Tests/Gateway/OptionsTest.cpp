#include "Options.h"

#include "Failure.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace OrvelGateway;
using namespace std::chrono_literals;

namespace
{

Options Parse(std::vector<const char*> arguments)
{
    arguments.insert(arguments.begin(), "orvel-gateway");
    return ParseOptions(static_cast<int>(arguments.size()), arguments.data());
}

// Why the options are rejected.
std::string Rejection(const std::vector<const char*>& arguments)
{
    try
    {
        Parse(arguments);
        return "accepted";
    }
    catch (const Failure& failure)
    {
        EXPECT_EQ(failure.ExitStatus(), Status::WrongOption);
        return failure.what();
    }
}

TEST(GatewayOptions, HaveTheDefaultsThatTheHelpTells)
{
    const Options options = Parse({});
    EXPECT_EQ(options.print, "");
    EXPECT_EQ(options.socket, "/run/orvel/gateway");
    EXPECT_EQ(options.buttonQueue, "/progButton");
    EXPECT_EQ(options.logConfigFile, "");
    EXPECT_EQ(options.hub.programs, 64U);
    EXPECT_EQ(options.hub.confirmTimeout, 3s);
    for (const char* const text : {"/run/orvel/gateway", "/progButton", "64", " 3\n"})
    {
        EXPECT_THAT(Parse({"--help"}).print, testing::HasSubstr(text));
    }
}

TEST(GatewayOptions, AreTaken)
{
    const Options options = Parse({"--socket", "/tmp/bus", "--button-queue=/doorbell", "-l", "log.properties",
                                   "--clients", "1000", "--confirm-timeout", "0.25"});
    EXPECT_EQ(options.socket, "/tmp/bus");
    EXPECT_EQ(options.buttonQueue, "/doorbell");
    EXPECT_EQ(options.logConfigFile, "log.properties");
    EXPECT_EQ(options.hub.programs, 1000U);
    EXPECT_EQ(options.hub.confirmTimeout, 250ms);
    EXPECT_THAT(Parse({"-v"}).print, testing::StartsWith("orvel-gateway "));
    EXPECT_FALSE(Parse({"-v", "--knxip", "eth0"}).network);
    EXPECT_THAT(Parse({"-h"}).print, testing::HasSubstr("Usage:\n  orvel-gateway [OPTION...]\n"));
}

TEST(GatewayOptions, AreRejectedInOneLine)
{
    for (const char* const number : {"0", "1001", "-1", "5x", "", "1.5"})
    {
        EXPECT_EQ(Rejection({"--clients", number}), "--clients takes 1 to 1000, not '" + std::string(number) + "'");
    }
    for (const char* const time : {"0", "0.09", "3601", "nan", "inf", "-3", "3s", ""})
    {
        EXPECT_EQ(Rejection({"--confirm-timeout", time}),
                  "--confirm-timeout takes 0.1 to 3600 seconds, not '" + std::string(time) + "'");
    }
    for (const char* const name : {"", "/", "doorbell", "/a/b"})
    {
        EXPECT_EQ(Rejection({"--button-queue", name}),
                  "--button-queue takes a name that begins with / and has no other, not '" + std::string(name) + "'");
    }
    EXPECT_EQ(Rejection({"now"}), "'now' is not understood");
    EXPECT_THAT(Rejection({"--nothing"}), testing::HasSubstr("nothing"));
}

} // namespace
