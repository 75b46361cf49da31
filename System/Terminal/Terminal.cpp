#include "System/Terminal/Terminal.h"

#include <curses.h>
#include <sys/ioctl.h>
#include <term.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

namespace System
{

namespace
{

constexpr int EscapeDelay = 25; // ms; longer than what a key's sequence takes, shorter than a person notices

// Numbers of the terminal library's colour pairs.
enum Pair : short
{
    RedPair = 1,
    YellowPair,
    GreenPair,
    OrangePair
};

void StartColours()
{
    constexpr short Orange = 208; // of the 256 colours that many terminals have
    if (!has_colors())
    {
        return;
    }
    start_color();
    use_default_colors();
    const bool many = COLORS >= 256;
    init_pair(RedPair, COLOR_RED, -1);
    init_pair(YellowPair, many ? short{226} : short{COLOR_YELLOW}, -1);
    init_pair(GreenPair, COLOR_GREEN, -1);
    init_pair(OrangePair, many ? Orange : short{COLOR_RED}, -1);
}

// Whether the environment leaves it open which characters the terminal has. An empty variable says nothing.
bool HasNoLanguage()
{
    constexpr std::array Variables{"LC_ALL", "LC_CTYPE", "LANG"};
    return std::none_of(Variables.begin(), Variables.end(),
                        [](const char* name)
                        {
                            const char* value = std::getenv(name);
                            return value != nullptr && *value != '\0';
                        });
}

screen* OpenScreen()
{
    const bool isKnown = std::setlocale(LC_CTYPE, "") != nullptr; // the characters that the user's terminal has
    if (!isKnown || HasNoLanguage())
    {
        // What terminals have if nobody says otherwise, as in a container, or if ssh has brought along a locale that is not
        // installed here.
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
    return newterm(nullptr, stdout, stdin);
}

chtype AttributesOf(Style style)
{
    const auto colour = [](short pair) { return has_colors() ? static_cast<chtype>(COLOR_PAIR(pair)) : 0U; };
    switch (style)
    {
    case Style::Plain:
        break;
    case Style::Bar:
        return A_REVERSE;
    case Style::Heading:
        return A_BOLD;
    case Style::Faint:
        return A_DIM;
    case Style::Alarm:
    case Style::Red:
        return colour(RedPair) | A_BOLD;
    case Style::Yellow:
        return colour(YellowPair) | A_BOLD;
    case Style::Green:
        return colour(GreenPair) | A_BOLD;
    case Style::Orange:
        return colour(OrangePair) | A_BOLD;
    }
    return A_NORMAL;
}

} // namespace

bool Terminal::IsThere()
{
    if (isatty(STDIN_FILENO) == 0 || isatty(STDOUT_FILENO) == 0 || tcgetpgrp(STDOUT_FILENO) != getpgrp())
    {
        return false;
    }
    int error = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &error) == ERR)
    {
        return false;
    }
    const bool canMove = cursor_address != nullptr;
    del_curterm(cur_term);
    return canMove;
}

Terminal::Terminal()
    : handle(OpenScreen())
{
    if (handle == nullptr)
    {
        throw std::runtime_error("this terminal can show no pictures");
    }
    cbreak();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    nodelay(stdscr, TRUE);
    set_escdelay(EscapeDelay);
    curs_set(0);
    StartColours();
}

Terminal::~Terminal()
{
    endwin();
    delscreen(handle);
}

int Terminal::Rows() const
{
    return LINES;
}

int Terminal::Columns() const
{
    return COLS;
}

void Terminal::Show(const Picture& picture)
{
    for (int row = 0; row < picture.Rows(); ++row)
    {
        for (int column = 0; column < picture.Columns(); ++column)
        {
            const auto& cell = picture.At(row, column);
            if (cell.character != 0)
            {
                attrset(static_cast<int>(AttributesOf(cell.style)));
                mvaddnwstr(row, column, &cell.character, 1);
            }
        }
    }
    refresh();
}

int Terminal::ReadKey()
{
    const int key = getch();
    switch (key)
    {
    case ERR:
        return NoKey;
    case KEY_ENTER:
    case '\n':
        return Enter;
    case KEY_BACKSPACE:
    case 127:
        return Backspace;
    case KEY_UP:
        return Up;
    case KEY_DOWN:
        return Down;
    case KEY_PPAGE:
        return PageUp;
    case KEY_NPAGE:
        return PageDown;
    case KEY_HOME:
        return Home;
    case KEY_END:
        return End;
    default:
        return key;
    }
}

void Terminal::OnSignal(int signal)
{
    if (signal == SIGTSTP)
    {
        endwin(); // until it is shown a picture again
        kill(getpid(), SIGSTOP);
    }
    TakeSize(); // it may have changed while the program was stopped
}

void Terminal::TakeSize()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_row > 0 && size.ws_col > 0)
    {
        resizeterm(size.ws_row, size.ws_col);
        clear(); // what the terminal made of the old picture is not known
    }
}

} // namespace System
