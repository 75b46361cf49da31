// The examples, run as beginners run them.

#include "BenchKit/Await.h"
#include "BenchKit/ClientProgram.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/OnBoard.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <ostream>

using Simulator::Event;
using Simulator::RedKnxLed;

namespace
{

struct Example
{
    const char* name;
    std::vector<std::string> command;
};

// The test is listed with this name.
std::ostream& operator<<(std::ostream& stream, const Example& example)
{
    return stream << example.name;
}

class Examples : public OnBoard, public testing::WithParamInterface<Example>
{
protected:
    void Telegram(const std::string& hex)
    {
        TheCoProcessor().InjectTelegram(Knx::FromHex(hex));
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
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 04 01 00 00")}));

    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(example.AwaitLine("switched on"));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 81")}));
    TheCoProcessor().SetButton(false);
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));

    TheCoProcessor().SetButton(true);
    EXPECT_TRUE(example.AwaitLine("switched off"));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 80")}));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 40"); // the answer to a read counts too
    EXPECT_TRUE(example.AwaitLine("the light is off"));
    EXPECT_TRUE(AwaitEvent({Event::LedOff, RedKnxLed}));
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
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
    TheCoProcessor().Hang();
    EXPECT_TRUE(AwaitEvent(Event::LinkUp));
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    Telegram("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(AwaitEvent({Event::LedOn, RedKnxLed}));
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

// Tests whose queues the test makes in the daemon's place.
class ExamplesAlone : public testing::TestWithParam<Example>
{
protected:
    struct Queues
    {
        MadeQueue fromLink{"/cemiFromLL"};
        MadeQueue toLink{"/cemiToLL"};
        MadeQueue button{"/progButton", 6, 1};
    };

    // Whether the example waits for something at this moment.
    static bool IsAsleep(pid_t process)
    {
        return StateOf(process).state == 'S';
    }
};

TEST_P(ExamplesAlone, AsksForTheStatusOnlyWhenTheLinkIsUsable)
{
    const Queues queues;
    Daemon example(GetParam().command, {});
    queues.fromLink.PutFrame("b9 ff ff");
    EXPECT_TRUE(example.AwaitLine("the link is lost"));
    queues.fromLink.PutFrame("b9 00 01");
    EXPECT_TRUE(example.AwaitLine("the link is usable"));
    EXPECT_TRUE(Await([&] { return queues.toLink.Waiting() > 0; }));
    EXPECT_EQ(queues.toLink.Take(), "0b 11 00 bc e0 00 00 0a 04 01 00 00");
    EXPECT_EQ(queues.toLink.Take(), "nothing");
}

TEST_P(ExamplesAlone, SleepsWhileAQueueIsNotThere)
{
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue button("/progButton", 6, 1);
    const Daemon example(GetParam().command, {});
    EXPECT_TRUE(Await([&] { return IsAsleep(example.Id()); }));
}

TEST_P(ExamplesAlone, EndsWithOneLineWhereAQueueIsNotForIt)
{
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue toLink("/cemiToLL", 14, 261, 0400);
    const MadeQueue button("/progButton", 6, 1);
    WithoutCapability(CAP_DAC_OVERRIDE,
                      []
                      {
                          Daemon example(GetParam().command, {});
                          ASSERT_TRUE(example.AwaitLine("/cemiToLL"));
                          EXPECT_EQ(example.Wait(), 1);
                          EXPECT_THAT(example.Lines(), testing::ElementsAre(testing::HasSubstr("Permission denied")));
                      });
}

TEST_P(ExamplesAlone, KnowsWhatItSwitchedAlsoWhenTheDaemonWasStartedAnew)
{
    Daemon example(GetParam().command, {});
    for (const char* const line : {"switched on", "switched off"})
    {
        const Queues queues;
        queues.button.Put({0x00});
        queues.button.Put({0x01});
        EXPECT_TRUE(example.AwaitLine(line));
    }
}

TEST_P(ExamplesAlone, GoesOnWithoutAnLedAndSaysSo)
{
    const Queues queues;
    Daemon example(GetParam().command, {});
    queues.fromLink.PutFrame("29 00 bc e0 11 01 0a 04 01 00 81");
    EXPECT_TRUE(example.AwaitLine("prg1"));
    EXPECT_TRUE(example.AwaitLine("the light is on"));
    queues.button.Put({0x00});
    EXPECT_TRUE(example.AwaitLine("switched on"));
}

const auto All = testing::Values(Example{"C", {Paths::ExampleC()}}, Example{"Cpp", {Paths::ExampleCpp()}},
                                 Example{"Python", {"python3", Paths::InSourceTree("Examples/LightSwitch.py")}});

std::string NameOf(const testing::TestParamInfo<Example>& example)
{
    return example.param.name;
}

INSTANTIATE_TEST_SUITE_P(LightSwitch, Examples, All, NameOf);
INSTANTIATE_TEST_SUITE_P(LightSwitch, ExamplesAlone, All, NameOf);

TEST(ExamplesSources, HaveFewerThan100Lines)
{
    for (const std::string ending : {".c", ".cpp", ".py"})
    {
        std::ifstream source(Paths::InSourceTree("Examples/LightSwitch" + ending));
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
