#include "Picture.h"

#include "TypedText.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace Simulator
{

namespace
{

constexpr int StateRow = 1; // behind the bar at the top
constexpr int LeftColumn = 1;
constexpr int ValueColumn = 13;

// "  12.345"
std::string Seconds(BoardState::Time time)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%9.3f", std::chrono::duration<double>(time).count());
    return text.data();
}

const char* PhaseText(BoardState::Phase state)
{
    switch (state)
    {
    case BoardState::Phase::HeldInReset:
        return "held in reset";
    case BoardState::Phase::Booting:
        return "booting";
    case BoardState::Phase::Hanging:
        return "hangs";
    case BoardState::Phase::Running:
        break;
    }
    return "running";
}

int PutLamp(Picture& picture, int row, int column, bool lit, const std::string& name, Style style)
{
    column = picture.Put(row, column, lit ? "(*)" : "( )", lit ? style : Style::Plain);
    return picture.Put(row, column, " " + name + "  ");
}

std::string ProgramsText(const std::vector<std::string>& programs)
{
    std::string text = std::to_string(programs.size()) + (programs.size() == 1 ? " program" : " programs");
    const char* separator = ": ";
    for (const std::string& program : programs)
    {
        text += separator + program;
        separator = ", ";
    }
    return text;
}

// Gives the row behind the state.
int DrawState(Picture& picture, const BoardState& state)
{
    int row = StateRow;
    picture.Put(row, LeftColumn, "LEDs");
    int column = ValueColumn;
    struct Lamp
    {
        Led led;
        Style style;
    };
    for (const auto& lamp : {Lamp{RedKnxLed, Style::Red}, Lamp{YellowKnxLed, Style::Yellow},
                             Lamp{GreenDeviceLed, Style::Green}, Lamp{OrangeDeviceLed, Style::Orange}})
    {
        column = PutLamp(picture, row, column, state.IsLit(lamp.led), NameOf(lamp.led), lamp.style);
    }

    ++row;
    picture.Put(row, LeftColumn, "RS485");
    column = PutLamp(picture, row, ValueColumn, state.IsTerminated(), "termination", Style::Green);
    const bool pressed = state.IsButtonPressed();
    column = picture.Put(row, column, "button ");
    column = picture.Put(row, column, pressed ? "[pressed]" : "[released]", pressed ? Style::Bar : Style::Plain);
    picture.Put(row, column, ", presses " + std::to_string(state.Count().presses));

    ++row;
    picture.Put(row, LeftColumn, "link");
    const bool up = state.IsLinkUp();
    column = picture.Put(row, ValueColumn, up ? "up" : "DOWN", up ? Style::Green : Style::Alarm);
    column = picture.Put(row, column, state.IsPlugged() ? ", serial line plugged in" : ", ");
    if (!state.IsPlugged())
    {
        column = picture.Put(row, column, "serial line PULLED", Style::Alarm);
    }
    column = picture.Put(row, column, ", co-processor ");
    const auto coProcessor = state.CoProcessorPhase();
    picture.Put(row, column, PhaseText(coProcessor),
                coProcessor == BoardState::Phase::Running ? Style::Plain : Style::Alarm);

    ++row;
    const auto& count = state.Count();
    const auto pulse = state.LastPulse();
    picture.Put(row, LeftColumn, "resets");
    picture.Put(row, ValueColumn,
                std::to_string(count.resets) + (pulse ? ", last pulse " + TextOf(*pulse) : "") +
                    "; times the link came up " + std::to_string(count.links));

    ++row;
    picture.Put(row, LeftColumn, "telegrams");
    picture.Put(row, ValueColumn,
                std::to_string(count.toKnx) + " to KNX, " + std::to_string(count.confirmed) + " confirmed, " +
                    std::to_string(count.notSent) + " not sent; " + std::to_string(count.fromKnx) + " from KNX, " +
                    std::to_string(count.lost) + " lost");

    ++row;
    if (const auto& gateway = state.TheGateway())
    {
        picture.Put(row, LeftColumn, "gateway");
        picture.Put(row, ValueColumn, gateway->runs ? ProgramsText(gateway->programs) : "ENDED",
                    gateway->runs ? Style::Plain : Style::Alarm);
        ++row;
    }
    return row;
}

Style StyleOf(BoardState::Line line)
{
    switch (line)
    {
    case BoardState::Line::Trouble:
        return Style::Alarm;
    case BoardState::Line::Daemon:
        return Style::Faint;
    case BoardState::Line::Telegram:
    case BoardState::Line::Board:
        break;
    }
    return Style::Plain;
}

// A heading and below it the last entries that fit, in the rows from `first` to before `end`.
void DrawList(Picture& picture, const std::string& heading, const std::deque<BoardState::Entry>& entries, int first,
              int end)
{
    if (first >= end)
    {
        return;
    }
    picture.PutBar(first, heading, Style::Heading);
    const auto room = static_cast<std::size_t>(end - first - 1);
    auto entry = entries.end() - static_cast<std::ptrdiff_t>(std::min(room, entries.size()));
    for (int row = first + 1; entry != entries.end(); ++row, ++entry)
    {
        const int column = picture.Put(row, 0, Seconds(entry->time) + " ", Style::Faint);
        picture.Put(row, column, entry->text, StyleOf(entry->kind));
    }
}

void DrawHelp(Picture& picture, const std::string& name, int first, int end)
{
    const std::array<std::string, 11> lines{
        "b  press the programming button, or let it go",
        "u  pull the serial line, or plug it in again",
        "m  let the co-processor hang until it is reset",
        "t  type a telegram from KNX: 2/1/1 21.5 9.001, read 2/1/1, or a cEMI frame",
        "r  end the daemon with SIGINT and start it again; 3r: after 3 seconds",
        "k  do the same with SIGKILL",
        "h  show or leave this help",
        "q  stop the daemon and the board, as Ctrl-C does; a second time kills it",
        "",
        "(*) is an LED that is on, ( ) one that is off. Times are in seconds.",
        "In another terminal 'orvel-board shell" + (name == "board" ? "" : " --name " + name) +
            "' is a shell on this board.",
    };
    if (first < end)
    {
        picture.PutBar(first, " help ", Style::Heading);
    }
    for (std::size_t number = 0; number < lines.size() && first + 1 + static_cast<int>(number) < end; ++number)
    {
        picture.Put(first + 1 + static_cast<int>(number), LeftColumn, lines.at(number));
    }
}

} // namespace

Picture Draw(const BoardState& state, const View& view, int rows, int columns)
{
    Picture picture(rows, columns);
    const int last = rows - 1;
    const int listRow = DrawState(picture, state);
    if (view.help)
    {
        DrawHelp(picture, view.name, listRow, last);
    }
    else
    {
        const int middle = listRow + (last - listRow) / 2;
        DrawList(picture, "-- telegrams ", state.Telegrams(), listRow, middle);
        DrawList(picture, "-- log ", state.Log(), middle, last);
    }
    picture.PutBar(0, " orvel-board: " + view.name, Style::Bar);
    if (view.prompt)
    {
        // What is being typed is at its end.
        const std::string label = " telegram (Enter, Esc): ";
        const auto room = static_cast<std::size_t>(std::max(columns - static_cast<int>(label.size()) - 1, 0));
        picture.PutBar(last, label + EndOf(*view.prompt, room) + "_", Style::Bar);
    }
    else if (view.pause)
    {
        picture.PutBar(last, " after " + std::to_string(*view.pause) + " s:  r restart  k kill", Style::Bar);
    }
    else
    {
        picture.PutBar(last,
                       std::string(" b ") + (state.IsButtonPressed() ? "release" : "press") + "  u " +
                           (state.IsPlugged() ? "unplug" : "plug") +
                           "  m mute  t telegram  r restart  k kill  h help  q quit",
                       Style::Bar);
    }
    return picture;
}

} // namespace Simulator
