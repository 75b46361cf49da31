// The examples, as people who begin with them run them.

#include "ClientProgram.h"
#include "OnBoard.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <ostream>

namespace
{

struct Example
{
    const char* name;
    std::vector<std::string> command;
};

// The name that the test is listed with.
std::ostream& operator<<(std::ostream& stream, const Example& example)
{
    return stream << example.name;
}

class Examples : public OnBoard, public testing::WithParamInterface<Example>
{
protected:
    void Telegram(const std::string& hex)
    {
        TheCoProcessor().InjectTelegram(Simulator::FromHex(hex).value());
    }

    static long CountOf(const Daemon& example, const std::string& text)
    {
        const auto lines = example.Lines();
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }

    Daemon daemon;
    testing::AssertionResult running = AwaitRunning(daemon);
};

TEST_P(Examples, TheButtonSwitchesAndTheLedShowsTheStatus)
{
    ASSERT_TRUE(running);
    Daemon example(GetParam().command, {});
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    EXPECT_TRUE(AwaitEvent("telegram to KNX: 11 00 bc e0 00 00 0a 04 01 00 00"));

    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(example.AwaitLine("switched on"));
    EXPECT_TRUE(AwaitEvent("telegram to KNX: 11 00 bc e0 00 00 0a 03 01 00 81"));
    TheCoProcessor().SetButton(false);
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_TRUE(AwaitEvent("LED red KNX on"));

    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(example.AwaitLine("switched off"));
    EXPECT_TRUE(AwaitEvent("telegram to KNX: 11 00 bc e0 00 00 0a 03 01 00 80"));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 40"); // the answer to a read counts too
    EXPECT_TRUE(example.AwaitLine("the light is off"));
    EXPECT_TRUE(AwaitEvent("LED red KNX off"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_P(Examples, TelegramsForOthersAndBrokenOnesChangeNothing)
{
    ASSERT_TRUE(running);
    Daemon example(GetParam().command, {});
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    for (const char* const frame :
         {"29 00 bc e0 11 01 0a 05 01 00 81", "29 00 bc 60 11 01 0a 04 01 00 81", "29 00 bc e0 11 01 0a 04 01 00 00",
          "2e 00 bc e0 11 01 0a 04 01 00 81", "29 00 bc e0 11 01 0a 04 02 00 80 01", "29 00 bc e0 11 01 0a 04 01 00",
          "29 ff bc e0 11 01 0a 04 01 00 81", "29", "29 00 bc e0 11 01 0a 04 01 03 81"})
    {
        Telegram(frame);
    }
    Telegram("29 04 03 02 11 22 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_EQ(CountOf(example, "the light is"), 1);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_P(Examples, APressFromBeforeTheDaemonRanIsOne)
{
    ASSERT_TRUE(running);
    TheCoProcessor().Flood(0x101, {0x09, 0x01, 0x01}, 1); // what the daemon asks for at its start
    EXPECT_TRUE(daemon.AwaitLine("Programming button since boot was: pressed"));
    Daemon example(GetParam().command, {});
    EXPECT_TRUE(example.AwaitLine("switched on"));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81"); // comes when all three are read
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_EQ(CountOf(example, "switched"), 1);
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_P(Examples, TheLedShowsTheStatusAgainWhenAResetHasPutItOut)
{
    ASSERT_TRUE(running);
    Daemon example(GetParam().command, {});
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(AwaitEvent("LED red KNX on"));
    TheCoProcessor().Hang();
    EXPECT_TRUE(AwaitEvent("link up"));
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(AwaitEvent("LED red KNX on"));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_P(Examples, GoesOnWhenTheDaemonWasStartedAnew)
{
    ASSERT_TRUE(running);
    Daemon example(GetParam().command, {});
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    EXPECT_EQ(daemon.Stop(), 0);
    board->StartPinsAnew();
    Daemon another;
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(example.AwaitLine("switched on"));
    EXPECT_EQ(another.Stop(), 0);
}

INSTANTIATE_TEST_SUITE_P(LightSwitch, Examples,
                         testing::Values(Example{"C", {EXAMPLE_C}}, Example{"Cpp", {EXAMPLE_CPP}},
                                         Example{"Python", {"python3", EXAMPLES "/LightSwitch.py"}}),
                         [](const auto& example) { return example.param.name; });

TEST(ExamplesSources, HaveFewerThan100Lines)
{
    for (const std::string ending : {".c", ".cpp", ".py"})
    {
        std::ifstream source(EXAMPLES "/LightSwitch" + ending);
        std::size_t lines = 0;
        for (std::string line; std::getline(source, line);)
        {
            ++lines;
        }
        EXPECT_GT(lines, 0) << ending;
        EXPECT_LT(lines, 100) << ending;
    }
}

} // namespace
