#pragma once

#include "System/Terminal/Picture.h"

#include <csignal>
#include <initializer_list>

struct screen; // of the terminal library, whose names are macros and had better not be everywhere

namespace System
{

/// The terminal that is this program's standard input and output, while it shows pictures. One at a time, and one thread.
class Terminal
{
public:
    /// Keys other than characters.
    enum Key : int
    {
        NoKey = -1,
        Enter = '\r',
        Escape = 27,
        Backspace = 8,
        ClearLine = 21, // Ctrl-U
        Up = 0x110000,  // from here on behind all characters
        Down,
        PageUp,
        PageDown,
        Home,
        End
    };

    /// What the terminal tells by signals: another size, and Ctrl-Z. A program takes them as System::Signals.
    static constexpr std::initializer_list<int> Signals{SIGWINCH, SIGTSTP};

    /// Whether standard input and output are a terminal that can show pictures, and which this program has for itself: in the
    /// background of a shell it has not.
    static bool IsThere();

    /// Throws std::runtime_error when it is not.
    Terminal();

    /// Leaves the terminal as it was.
    ~Terminal();

    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    int Rows() const;
    int Columns() const;

    void Show(const Picture& picture);

    /// The next key that was pressed, without waiting.
    int ReadKey();

    /// To be called for each of Signals. Takes over another size; Ctrl-Z stops the program, with the terminal as it was
    /// meanwhile.
    void OnSignal(int signal);

private:
    void TakeSize();

    screen* handle;
};

} // namespace System
