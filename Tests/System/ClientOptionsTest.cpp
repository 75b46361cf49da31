// The options of orvelctl.

#include "BenchKit/ClientProgram.h"
#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <cctype>
#include <string>
#include <vector>

using Simulator::Event;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Le;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

namespace
{

TEST(ClientOptions, HelpListsTheCommands)
{
    for (const char* const option : {"--help", "-h"})
    {
        const Outcome outcome = RunClient({option});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.lines, Contains(StartsWith("monitor ")));
    }
}

// In the help, only the lines of the commands begin with a small letter.
std::vector<std::string> CommandsOfTheHelp()
{
    std::vector<std::string> commands;
    for (const std::string& line : RunClient({"--help"}).lines)
    {
        if (!line.empty() && std::islower(static_cast<unsigned char>(line.front())) != 0)
        {
            commands.push_back(line.substr(0, line.find(' ')));
        }
    }
    return commands;
}

TEST(ClientOptions, HelpOfACommandListsItsOptions)
{
    const std::vector<std::string> commands = CommandsOfTheHelp();
    ASSERT_THAT(commands, Contains("monitor"));
    for (const std::string& command : commands)
    {
        for (const char* const option : {"--help", "-h"})
        {
            const Outcome outcome = RunClient({command, option});
            EXPECT_EQ(outcome.status, 0);
            EXPECT_THAT(outcome.lines, Contains(StartsWith("  -h, --help ")));
            const std::string usage = "  orvelctl " + command + " [OPTION...]";
            EXPECT_THAT(outcome.lines, Contains(StartsWith(usage)));
            EXPECT_THAT(outcome.lines, Contains(AllOf(StartsWith("  orvelctl " + command), Not(StartsWith(usage)))))
                << "an example";
            EXPECT_THAT(outcome.lines, Each(SizeIs(Le(80)))) << command;
        }
    }
}

using ClientOptionsOnBoard = OnBoard;

TEST_F(ClientOptionsOnBoard, VersionIsThatOfTheTreeWithTheRevisionThatTheDaemonTells)
{
    Daemon daemon({"--version"});
    ASSERT_TRUE(Await([&] { return !daemon.Lines().empty(); }));
    const std::string line = daemon.Lines().front();
    EXPECT_TRUE(AwaitEvent(Event::ResetLineLow)); // it can be stopped now
    EXPECT_EQ(daemon.Stop(), 0);
    ASSERT_EQ(line.rfind("Version ", 0), 0U) << line;
    for (const char* const option : {"--version", "-v"})
    {
        const Outcome outcome = RunClient({option});
        EXPECT_EQ(outcome.status, 0);
        EXPECT_THAT(outcome.lines, ElementsAre("orvelctl " VERSION " (revision " + line.substr(8) + ")"));
    }
}

TEST(ClientOptions, WrongOnesGetOneLineAndStatus2)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> wrong{
        {{}, "needs a command; --help lists them"},
        {{"jump"}, "'jump' is not understood"},
        {{"--json"}, "'--json' is not understood"},
        {{"send", "--wait", "29", "--jump"}, "'--jump' is not understood"},
        {{"send", "--wait"}, "--wait: 1 required value missing"},
        {{"send", "--wait", "010", "--wait", "0x10", "29"}, "--wait takes 0 to 86400000, not '0x10'"},
        {{"send", "--wait", "soon", "29"}, "--wait takes 0 to 86400000, not 'soon'"},
        {{"send", "--wait", "1s", "29"}, "--wait takes 0 to 86400000, not '1s'"},
        {{"send", "--wait", "", "29"}, "--wait takes 0 to 86400000, not ''"},
        {{"send", "--wait", "-1", "29"}, "--wait takes 0 to 86400000, not '-1'"},
        {{"send", "--wait", "86400001", "29"}, "--wait takes 0 to 86400000, not '86400001'"},
        {{"send", "--direct", "--socket", "/x", "29"}, "--socket excludes --direct"},
        {{"send", "--socket", "", "29"}, "--socket takes a path of 1 to 107 bytes"},
        {{"send", "--socket", std::string(108, 'x'), "29"}, "--socket takes a path of 1 to 107 bytes"},
        {{"monitor", "x"}, "'x' is not understood"},
        {{"send", "--rate", "0"}, "--rate takes 0.001 to 100000, not '0'"},
        {{"monitor", "--number", "0"}, "--number takes 1 to 1000000000000000, not '0'"},
        {{"monitor", "--time", "local"}, "--time takes absolute, relative, delta or date, not 'local'"},
        {{"monitor", "--json", "--count"}, "--count excludes --json"},
        {{"monitor", "--json", "--time", "delta"}, "--time excludes --json"},
        {{"monitor", "--json", "--pcap", "-"}, "--json excludes --pcap"},
        {{"monitor", "--stats", "0"}, "--stats takes 0.1 to 86400, not '0'"},
        {{"monitor", "--stats", "1", "--json"}, "--stats excludes --json"},
        {{"monitor", "--pcap", "a", "--write", "b"}, "--pcap excludes --write"},
        {{"monitor", "--rotate", "1M"}, "--rotate needs a file: --write or --pcap"},
        {{"monitor", "--color", "red"}, "--color takes auto, always or never, not 'red'"},
        {{"monitor", "--group", "1/2/-"},
         "--group: '1/2/-' is no group address or pattern such as 1/2/3, 1/2/* or 1/2/0-9"},
        {{"monitor", "--not"}, "--not needs --group, --source, --service or --kind behind it"},
        {{"top", "--group", "1/2/3", "--not"}, "--not needs --group, --source, --service or --kind behind it"},
        {{"decode", "a", "b"}, "'b' is not understood"},
        {{"decode", "--to", "xml"}, "--to takes text, json, pcap or ets, not 'xml'"},
        {{"decode", "--to", "json", "--time", "delta"}, "--time is for --to text only"},
        {{"replay"}, "FILE is required"},
        {{"replay", "a", "b"}, "'b' is not understood"},
        {{"replay", "a", "--speed", "fast"}, "--speed takes 0.001 to 1000, or max, not 'fast'"},
        {{"replay", "a", "--speed", "1x"}, "--speed takes 0.001 to 1000, or max, not '1x'"},
        {{"replay", "a", "--speed", "0"}, "--speed takes 0.001 to 1000, or max, not '0'"},
        {{"replay", "a", "--speed", "1001"}, "--speed takes 0.001 to 1000, or max, not '1001'"},
        {{"replay", "a", "--speed", "nan"}, "--speed takes 0.001 to 1000, or max, not 'nan'"},
        {{"replay", "a", "--wait", "-1"}, "--wait takes 0 to 86400000, not '-1'"},
        {{"generate", "x"}, "'x' is not understood"},
        {{"generate"},
         "--group is required: telegrams to random addresses would switch real lamps and drive real blinds"},
        {{"generate", "--group", "1/2/300"}, "--group: '1/2/300' is no group address: 300 should be 0 to 255"},
        {{"generate", "--group", "31/7/*", "--rate", "0"}, "--rate takes 0.001 to 100000, not '0'"},
        {{"generate", "--group", "31/7/*", "--rate", "100001"}, "--rate takes 0.001 to 100000, not '100001'"},
        {{"generate", "--group", "31/7/*", "--rate", "nan"}, "--rate takes 0.001 to 100000, not 'nan'"},
        {{"generate", "--group", "31/7/*", "--seed", "-1"}, "--seed takes 0 to 4294967295, not '-1'"},
        {{"generate", "--group", "31/7/*", "--number", "0"}, "--number takes 1 to 1000000000000000, not '0'"},
        {{"button", "x"}, "'x' is not understood"},
        {{"button", "--time", "local"}, "--time takes absolute, relative, delta or date, not 'local'"},
        {{"button", "--queue", "b"}, "--queue takes a name that begins with / and has no other, not 'b'"},
        {{"button", "--queue", "/a/b"}, "--queue takes a name that begins with / and has no other, not '/a/b'"},
        {{"button", "--queue", "/a", "--socket", "/b"}, "--queue excludes --socket"},
        {{"status", "x"}, "'x' is not understood"},
        {{"status", "--socket", ""}, "--socket takes a path of 1 to 107 bytes"},
        {{"led", "a", "on", "b"}, "'b' is not understood"},
        {{"led", ""}, "NAME takes the name of an LED"},
        {{"led", "a", "101"}, "STATE takes 0 to 100, on or off, not '101'"},
        {{"led", "a", "-5"}, "STATE takes 0 to 100, on or off, not '-5'"},
        {{"led", "a", "ON"}, "STATE takes 0 to 100, on or off, not 'ON'"},
        {{"led", "a", ""}, "STATE takes 0 to 100, on or off, not ''"},
        {{"check", "x"}, "'x' is not understood"},
        {{"check", "--reset_gpio", "-1"}, "--reset_gpio takes 0 to 2147483647, not '-1'"},
        {{"check", "--reset_gpio", "x"}, "--reset_gpio takes 0 to 2147483647, not 'x'"},
    };
    for (const auto& [arguments, line] : wrong)
    {
        const Outcome outcome = RunClient(arguments);
        EXPECT_EQ(outcome.status, 2) << line;
        EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: " + line));
    }
}

TEST(ClientOptions, OfARotationAreASizeAndANumberOfFiles)
{
    for (const char* const wrong : {"", "x", "k", "1x", "1023", "2000G", "10M,", "10M,0", "10M,x", "10M,10001", "-1k",
                                    "1k,1,1", "99999999999999999999", "18446744073709551615G"})
    {
        const Outcome outcome = RunClient({"monitor", "--write", "/no/such/file", "--rotate", wrong});
        EXPECT_EQ(outcome.status, 2) << wrong;
        EXPECT_THAT(outcome.lines,
                    ElementsAre("orvelctl: --rotate takes a size from 1k on, and how many full files to keep, "
                                "such as 10M or 10M,5, not '" +
                                std::string(wrong) + "'"));
    }
    for (const char* const right : {"1024", "1k", "10M,5", "1G,10000"})
    {
        EXPECT_EQ(RunClient({"monitor", "--write", "/no/such/file", "--rotate", right}).status, 5)
            << right; // no daemon
    }
}

// These are the words of the library that reads the options.
TEST(ClientOptions, UnknownOnesAndThoseWithoutTheirValueGetOneLineAndStatus2)
{
    const std::vector<std::vector<std::string>> wrong{
        {"send", "--confirm=perhaps"}, {"led", "--on"}, {"send", "--wait=" + std::string(100'000, 'x')}};
    for (const auto& arguments : wrong)
    {
        const Outcome outcome = RunClient(arguments);
        EXPECT_EQ(outcome.status, 2) << arguments[1];
        EXPECT_THAT(outcome.lines, ElementsAre(StartsWith("orvelctl: "))) << arguments[0];
    }
}

} // namespace
