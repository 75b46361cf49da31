// The options of orvelctl.

#include "ClientProgram.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
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

TEST(ClientOptions, HelpOfACommandListsItsOptions)
{
    const Outcome outcome = RunClient({"send", "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.lines, Contains(StartsWith("      --wait arg")));
    EXPECT_EQ(RunClient({"monitor", "-h"}).status, 0);
}

TEST(ClientOptions, WrongOnesGetOneLineAndStatus2)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> wrong{
        {{}, "needs a command; --help lists them"},
        {{"jump"}, "'jump' is no command; --help lists them"},
        {{"--json"}, "'--json' is no command; --help lists them"},
        {{"send", "--jump"}, "Option ‘jump’ does not exist"},
        {{"send", "--wait"}, "Option ‘wait’ is missing an argument"},
        {{"send", "--wait", "soon", "29"}, "Argument ‘soon’ failed to parse"},
        {{"send", "--wait", "-1", "29"}, "--wait takes 0 to 86400000"},
        {{"send", "--wait", "86400001", "29"}, "--wait takes 0 to 86400000"},
        {{"monitor", "x"}, "'x' is not understood"},
        {{"monitor", "--number", "0"}, "--number takes 1 to 1000000000000000"},
        {{"monitor", "--time", "local"}, "--time is absolute, relative or delta, not 'local'"},
        {{"monitor", "--json", "--count"}, "--count and --json cannot go together"},
        {{"monitor", "--json", "--time", "delta"}, "--time and --json cannot go together"},
        {{"monitor", "--json", "--pcap", "-"}, "--json and --pcap cannot go together"},
    };
    for (const auto& [arguments, line] : wrong)
    {
        const Outcome outcome = RunClient(arguments);
        EXPECT_EQ(outcome.status, 2) << line;
        EXPECT_THAT(outcome.lines, ElementsAre("orvelctl: " + line));
    }
}

} // namespace
