#include "Picture.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cwchar>
#include <numeric>

namespace Simulator
{

namespace
{

constexpr int StateRow = 1;     // behind the bar at the top
constexpr int FirstListRow = 6; // behind the state
constexpr int LeftColumn = 1;
constexpr int ValueColumn = 13;

struct Glyph
{
    wchar_t character;
    int columns; // that it takes
};

// What is no character of the locale, or none that can be shown, becomes '?'. Marks on the character before are left out.
std::vector<Glyph> Glyphs(const std::string& text)
{
    std::vector<Glyph> glyphs;
    std::mbstate_t state{};
    for (std::size_t position = 0; position < text.size();)
    {
        wchar_t character = 0;
        const std::size_t size = std::mbrtowc(&character, &text[position], text.size() - position, &state);
        const bool isCharacter = size >= 1 && size <= text.size() - position;
        const int columns = isCharacter ? wcwidth(character) : -1;
        if (!isCharacter)
        {
            state = {};
        }
        if (columns != 0)
        {
            glyphs.push_back(columns > 0 ? Glyph{character, columns} : Glyph{L'?', 1});
        }
        position += isCharacter ? size : 1;
    }
    return glyphs;
}

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

void DrawState(Picture& picture, const BoardState& state)
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
        "t  type a telegram from KNX, a cEMI frame in hexadecimal digits",
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

Picture::Picture(int rowCount, int columnCount)
    : rows(std::max(rowCount, 0))
    , columns(std::max(columnCount, 0))
    , cells(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns))
{
}

const Picture::Cell& Picture::At(int row, int column) const
{
    return cells.at(static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) +
                    static_cast<std::size_t>(column));
}

Picture::Cell& Picture::CellAt(int row, int column)
{
    return cells[static_cast<std::size_t>(row) * static_cast<std::size_t>(columns) + static_cast<std::size_t>(column)];
}

int Picture::Put(int row, int column, const std::string& text, Style style)
{
    const std::vector<Glyph> glyphs = Glyphs(text);
    const int end = std::accumulate(glyphs.begin(), glyphs.end(), column,
                                    [](int sum, const Glyph& glyph) { return sum + glyph.columns; });
    if (row < 0 || row >= rows)
    {
        return end;
    }
    for (const Glyph& glyph : glyphs)
    {
        const int behind = column + glyph.columns;
        for (int position = std::max(column, 0); position < std::min(behind, columns); ++position)
        {
            const bool cut = end > columns && behind >= columns; // no more fits, or not even this one
            const wchar_t character = position == column ? glyph.character : L'\0';
            CellAt(row, position) = {cut ? (position == columns - 1 ? L'>' : L' ') : character, style};
        }
        column = behind;
    }
    return end;
}

void Picture::PutBar(int row, const std::string& text, Style style)
{
    Put(row, 0, std::string(static_cast<std::size_t>(columns), style == Style::Heading ? '-' : ' '), style);
    Put(row, 0, text, style);
}

std::string Picture::Text(int row) const
{
    std::string text;
    std::mbstate_t state{};
    for (int column = 0; column < columns; ++column)
    {
        if (const wchar_t character = At(row, column).character; character != 0)
        {
            std::array<char, MB_LEN_MAX> bytes{};
            const std::size_t size = std::wcrtomb(bytes.data(), character, &state);
            text.append(bytes.data(), size <= bytes.size() ? size : 0);
        }
    }
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

Picture Draw(const BoardState& state, const View& view, int rows, int columns)
{
    Picture picture(rows, columns);
    const int last = rows - 1;
    DrawState(picture, state);
    if (view.help)
    {
        DrawHelp(picture, view.name, FirstListRow, last);
    }
    else
    {
        const int middle = FirstListRow + (last - FirstListRow) / 2;
        DrawList(picture, "-- telegrams ", state.Telegrams(), FirstListRow, middle);
        DrawList(picture, "-- log ", state.Log(), middle, last);
    }
    picture.PutBar(0, " orvel-board: " + view.name, Style::Bar);
    if (view.prompt)
    {
        // What is being typed is at its end.
        const std::string label = " telegram (Enter, Esc): ";
        const std::string& typed = *view.prompt;
        const auto room = static_cast<std::size_t>(std::max(columns - static_cast<int>(label.size()) - 1, 0));
        picture.PutBar(last, label + (typed.size() > room ? typed.substr(typed.size() - room) : typed) + "_",
                       Style::Bar);
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
