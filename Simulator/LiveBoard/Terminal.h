#pragma once

#include "Picture.h"

#include <cstdio>

struct screen; // of the terminal library, whose names are macros and had better not be everywhere

namespace Simulator
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
        ClearLine = 21 // Ctrl-U
    };

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

    /// Takes over the size that the terminal has now.
    void Resize();

    /// Leaves the terminal as it was, until it is shown a picture again.
    void Suspend();

private:
    screen* handle;
};

} // namespace Simulator
