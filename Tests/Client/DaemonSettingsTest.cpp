#include "DaemonSettings.h"

#include <gmock/gmock.h>

#include <unistd.h>

using OrvelClient::CommandLineOf;
using OrvelClient::SettingsOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

TEST(DaemonSettings, WithoutOptionsAreTheDefaults)
{
    const std::vector<std::vector<std::string>> lines{{}, {"orvel"}};
    for (const auto& line : lines)
    {
        EXPECT_THAT(SettingsOf(line).leds, ElementsAre("prg1", "prg2", "system", "knx"));
        EXPECT_THAT(SettingsOf(line).buttonQueues, ElementsAre("/progButton"));
    }
}

TEST(DaemonSettings, TakesTheNamesFromTheOptionsHoweverTheyAreSpelt)
{
    const auto settings = SettingsOf({"orvel", "-r", "a", "--led_knx_yellow_name=b", "--led_green_name", "c", "-od",
                                      "-e", "-s", "f", "-p", "/x", "--prog_button_message_queue", "/y,/z"});
    EXPECT_THAT(settings.leds, ElementsAre("a", "b", "c", "d", "f"));
    EXPECT_THAT(settings.buttonQueues, ElementsAre("/x", "/y", "/z"));
}

TEST(DaemonSettings, TheTerminationIsAnLedOnlyWhereItIsEnabled)
{
    EXPECT_THAT(SettingsOf({"orvel", "-s", "f"}).leds, ElementsAre("prg1", "prg2", "system", "knx"));
    EXPECT_THAT(SettingsOf({"orvel", "-e"}).leds, ElementsAre("prg1", "prg2", "system", "knx", "rs485termination"));
}

TEST(DaemonSettings, TakesTheValueOfAnotherOptionForNoOption)
{
    EXPECT_THAT(SettingsOf({"orvel", "-l", "-e", "-d", "-e", "-n", "5"}).leds,
                ElementsAre("prg1", "prg2", "system", "knx"));
}

TEST(DaemonSettings, OfALineThatTheDaemonWouldRefuseAreTheDefaults)
{
    EXPECT_THAT(SettingsOf({"orvel", "-r", "a", "-p"}).leds, ElementsAre("prg1", "prg2", "system", "knx"));
}

TEST(DaemonSettings, TheCommandLineOfAProcessHasItsArguments)
{
    EXPECT_THAT(CommandLineOf(std::to_string(getpid())).front(), testing::HasSubstr("ClientTests"));
    EXPECT_THAT(CommandLineOf("0"), IsEmpty());
}

} // namespace
