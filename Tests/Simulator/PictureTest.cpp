#include "Picture.h"

#include <gmock/gmock.h>

#include <clocale>
#include <string>
#include <vector>

using namespace std::chrono_literals;
using namespace Simulator;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace
{

std::vector<std::string> Rows(const Picture& picture)
{
    std::vector<std::string> rows;
    for (int row = 0; row < picture.Rows(); ++row)
    {
        rows.push_back(picture.Text(row));
    }
    return rows;
}

std::vector<Event> HasHappened()
{
    return {Event::ResetLineLow,
            {Event::ResetLineHigh, 1'400'000},
            Event::CoProcessorBooted,
            Event::LinkUp,
            {Event::LedOn, RedKnxLed},
            {Event::LedOn, OrangeDeviceLed},
            Event::TerminationOn,
            Event::ButtonPressed,
            {Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 81")},
            {Event::TelegramConfirmed, Knx::FromHex("2e 00 bc e0 00 00 0a 03 01 00 81")},
            {Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 03 01 00 80")}};
}

// A board on which everything has happened.
BoardState Busy()
{
    BoardState state;
    int time = 0;
    for (const Event& event : HasHappened())
    {
        state.OnEvent(std::chrono::milliseconds(time += 100), event);
    }
    return state;
}

TEST(Picture, HasTheWholeBoardOn24RowsOf80Columns)
{
    const std::string dashes(80, '-');
    const auto events = HasHappened();
    EXPECT_THAT(
        Rows(Draw(Busy(), {"board", false, {}}, 24, 80)),
        ElementsAre(
            " orvel-board: board", " LEDs        (*) red KNX  ( ) yellow KNX  ( ) green device  (*) orange device",
            " RS485       (*) termination  button [pressed], presses 1",
            " link        up, serial line plugged in, co-processor running",
            " resets      1, last pulse 1.4 ms; times the link came up 1",
            " telegrams   1 to KNX, 1 confirmed, 0 not sent; 1 from KNX, 0 lost", "-- telegrams " + dashes.substr(13),
            "    0.900 to KNX    0.0.0 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x01",
            "    1.000 confirmed 0.0.0 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x01",
            "    1.100 from KNX  1.1.1 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x00", "", "", "", "",
            "-- log " + dashes.substr(7), "    0.100 " + TextOf(events[0]), "    0.200 " + TextOf(events[1]),
            "    0.300 " + TextOf(events[2]), "    0.400 " + TextOf(events[3]), "    0.500 " + TextOf(events[4]),
            "    0.600 " + TextOf(events[5]), "    0.700 " + TextOf(events[6]), "    0.800 " + TextOf(events[7]),
            " b release  u unplug  m mute  t telegram  r restart  k kill  h help  q quit"));
}

TEST(Picture, SaysInWordsWhatIsWrong)
{
    BoardState state = Busy();
    state.OnEvent(1s, Event::SerialLinePulled);
    state.OnEvent(1s, Event::CoProcessorHangs);
    state.OnEvent(1s, Event::ButtonReleased);
    const auto rows = Rows(Draw(state, {"board", false, {}}, 24, 80));
    EXPECT_EQ(rows[3], " link        DOWN, serial line PULLED, co-processor hangs");
    EXPECT_EQ(rows[23], " b press  u plug  m mute  t telegram  r restart  k kill  h help  q quit");
}

TEST(Picture, ShowsTheLastLinesThatFit)
{
    BoardState state;
    for (int count = 1; count <= 100; ++count)
    {
        state.OnEvent(1s, {Event::Note, "event " + std::to_string(count)});
    }
    const auto rows = Rows(Draw(state, {"board", false, {}}, 24, 80));
    EXPECT_THAT(rows[15], EndsWith("event 93"));
    EXPECT_THAT(rows[22], EndsWith("event 100"));
    EXPECT_THAT(Rows(Draw(state, {"board", false, {}}, 50, 80))[48], EndsWith("event 100"));
}

TEST(Picture, LedsHaveTheirColourWhenTheyAreOn)
{
    BoardState state;
    const auto styleAt = [&state](int column) { return Draw(state, {"", false, {}}, 24, 80).At(1, column).style; };
    const std::vector<std::pair<int, Style>> leds{
        {14, Style::Red}, {27, Style::Yellow}, {43, Style::Green}, {61, Style::Orange}};
    for (const auto& [column, style] : leds)
    {
        EXPECT_EQ(styleAt(column), Style::Plain) << column;
    }
    for (const Led led : {RedKnxLed, YellowKnxLed, GreenDeviceLed, OrangeDeviceLed})
    {
        state.OnEvent(1s, {Event::LedOn, led});
    }
    for (const auto& [column, style] : leds)
    {
        EXPECT_EQ(styleAt(column), style) << column;
    }
}

TEST(Picture, ALineThatDoesNotFitSaysSo)
{
    BoardState state;
    state.OnEvent(1s, {Event::Note, std::string(100, 'x')});
    const auto rows = Rows(Draw(state, {"board", false, {}}, 24, 80));
    EXPECT_EQ(rows[15], "    1.000 " + std::string(69, 'x') + ">");
}

TEST(Picture, NothingThatIsNoCharacterReachesTheTerminal)
{
    BoardState state;
    state.OnDaemonLine(1s, "a\033[2Jb\tc\xC3\xA4\x7F");
    EXPECT_EQ(Rows(Draw(state, {"\033]0;board", false, {}}, 24, 80))[15], "    1.000 a?[2Jb?c???");
    EXPECT_EQ(Rows(Draw(state, {"\033]0;board", false, {}}, 24, 80))[0], " orvel-board: ?]0;board");
}

// Restores the locale that the other tests have.
class WithUtf8
{
public:
    WithUtf8()
    {
        EXPECT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
    }

    ~WithUtf8()
    {
        std::setlocale(LC_CTYPE, before.c_str());
    }

    WithUtf8(const WithUtf8&) = delete;
    WithUtf8& operator=(const WithUtf8&) = delete;

private:
    const std::string before = std::setlocale(LC_CTYPE, nullptr);
};

TEST(Picture, ShowsCharactersBeyondAsciiWhereTheLocaleHasThem)
{
    const std::string kitchen = "K\u00fcche";
    const std::string board = "\u677f"; // takes two columns
    EXPECT_EQ(Draw({}, {kitchen, false, {}}, 24, 80).Text(0), " orvel-board: K??che");
    const WithUtf8 locale;
    EXPECT_EQ(Draw({}, {kitchen, false, {}}, 24, 80).Text(0), " orvel-board: " + kitchen);
    EXPECT_EQ(Draw({}, {"Ku\u0308che", false, {}}, 24, 80).Text(0), " orvel-board: Kuche") << "a mark of its own";
    const std::string turned{'\xe2', '\x80', '\xae'}; // from here on from right to left
    EXPECT_EQ(Draw({}, {turned + "\xc2\x9bx\xfc", false, {}}, 24, 80).Text(0), " orvel-board: ?x?") << "no characters";
    Picture picture(1, 4);
    EXPECT_EQ(picture.Put(0, 0, board + board), 4);
    EXPECT_EQ(picture.Text(0), board + board);
    EXPECT_EQ(picture.Put(0, 0, "a" + board + board), 5);
    EXPECT_EQ(picture.Text(0), "a" + board + ">");
    EXPECT_EQ(picture.Put(0, 0, "ab" + board + board), 6);
    EXPECT_EQ(picture.Text(0), "ab >");
}

TEST(Picture, HelpTakesThePlaceOfTheLists)
{
    const auto rows = Rows(Draw(Busy(), {"board", true, {}}, 24, 80));
    EXPECT_THAT(rows[6], StartsWith(" help ---"));
    for (const char* const key : {"b  ", "u  ", "m  ", "t  ", "r  ", "k  ", "h  ", "q  "})
    {
        EXPECT_THAT(rows, testing::Contains(StartsWith(std::string(" ") + key)));
    }
    EXPECT_THAT(rows, testing::Each(Not(EndsWith(">"))));
    EXPECT_THAT(rows, testing::Each(Not(HasSubstr("1/2/3"))));
}

TEST(Picture, ShowsWhoIsConnectedToTheGatewayIfThereIsOne)
{
    BoardState state = Busy();
    const auto draw = [&state] { return Draw(state, {"board", false, {}}, 24, 80); };
    EXPECT_THAT(draw().Text(6), StartsWith("-- telegrams"));
    state.OnEvent(2s, Event::GatewayStarted);
    EXPECT_EQ(draw().Text(6), " gateway     0 programs");
    EXPECT_THAT(draw().Text(7), StartsWith("-- telegrams"));
    state.OnEvent(2s, {Event::ProgramConnected, "1234 orvelctl"});
    EXPECT_EQ(draw().Text(6), " gateway     1 program: 1234 orvelctl");
    state.OnEvent(2s, {Event::ProgramConnected, "1240 python3"});
    EXPECT_EQ(draw().Text(6), " gateway     2 programs: 1234 orvelctl, 1240 python3");
    EXPECT_EQ(draw().At(6, 13).style, Style::Plain);
    state.OnEvent(2s, {Event::GatewayEnded, 1});
    EXPECT_EQ(draw().Text(6), " gateway     ENDED");
    EXPECT_EQ(draw().At(6, 13).style, Style::Alarm);
}

TEST(Picture, HelpTellsTheCommandForThisBoard)
{
    EXPECT_THAT(Rows(Draw(Busy(), {"board", true, {}}, 24, 80)),
                testing::Contains(HasSubstr("'orvel-board shell' is a shell on this board")));
    EXPECT_THAT(Rows(Draw(Busy(), {"other", true, {}}, 24, 80)),
                testing::Contains(HasSubstr("'orvel-board shell --name other' is a shell on this board")));
}

TEST(Picture, APauseThatIsTypedIsAtTheBottomWithTheKeysThatItIsFor)
{
    EXPECT_EQ(Rows(Draw(Busy(), {"board", false, {}, 13}, 24, 80))[23], " after 13 s:  r restart  k kill");
}

TEST(Picture, WhatIsTypedIsAtTheBottomAndItsEndIsVisible)
{
    EXPECT_EQ(Rows(Draw(Busy(), {"board", false, "29 00"}, 24, 80))[23], " telegram (Enter, Esc): 29 00_");
    const std::string longText = std::string(100, '0') + " 12 34";
    const auto row = Rows(Draw(Busy(), {"board", false, longText}, 24, 80))[23];
    EXPECT_THAT(row, EndsWith("00 12 34_"));
    EXPECT_EQ(row.size(), 80U);
}

TEST(Picture, WhatIsTypedBeginsWithAWholeCharacterWhereItsBeginningHasNoRoom)
{
    const WithUtf8 locale;
    std::string longText;
    std::string shown;
    for (int count = 1; count <= 30; ++count)
    {
        longText += "\u00fc";
        shown += count <= 27 ? "\u00fc" : "";
    }
    EXPECT_EQ(Draw(Busy(), {"board", false, longText}, 24, 80).Text(23), " telegram (Enter, Esc): " + shown + "_");
}

TEST(Picture, FitsAnySize)
{
    for (int rows = 0; rows < 40; ++rows)
    {
        for (const int columns : {0, 1, 2, 10, 24, 25, 79, 80, 200})
        {
            for (const View& view : {View{"board", false, {}}, View{"board", true, {}}, View{"board", false, "29 00"}})
            {
                const Picture picture = Draw(Busy(), view, rows, columns);
                EXPECT_EQ(picture.Rows(), rows);
                EXPECT_EQ(picture.Columns(), columns);
            }
        }
    }
    EXPECT_EQ(Draw(Busy(), {"board", false, {}}, -1, -1).Rows(), 0);
}

} // namespace
