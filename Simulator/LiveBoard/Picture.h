#pragma once

#include "BoardState.h"

#include <optional>
#include <string>
#include <vector>

namespace Simulator
{

enum class Style : uint8_t
{
    Plain,
    Bar,     ///< the lines at the top and at the bottom
    Heading, ///< of a part
    Faint,
    Alarm,
    Red,
    Yellow,
    Green,
    Orange
};

/// Characters and their styles in rows and columns. Which characters can be shown is the matter of the locale (LC_CTYPE).
class Picture
{
public:
    struct Cell
    {
        wchar_t character = L' '; ///< 0 behind one that takes two columns
        Style style = Style::Plain;
    };

    Picture(int rowCount, int columnCount);

    int Rows() const
    {
        return rows;
    }
    int Columns() const
    {
        return columns;
    }

    const Cell& At(int row, int column) const;

    /// What does not fit is left out, and its last column says so with a '>'; a '?' stands for what cannot be shown. Returns
    /// the column behind the text.
    int Put(int row, int column, const std::string& text, Style style = Style::Plain);

    /// The whole row, with `text` at its beginning.
    void PutBar(int row, const std::string& text, Style style);

    /// The characters of a row, without blanks at its end.
    std::string Text(int row) const;

private:
    Cell& CellAt(int row, int column);

    int rows;
    int columns;
    std::vector<Cell> cells;
};

/// What else is on the screen.
struct View
{
    std::string name; ///< of the board
    bool help = false;
    std::optional<std::string> prompt;       ///< the telegram that is being typed
    std::optional<int> pause = std::nullopt; ///< seconds that have been typed, for the next restart
};

/// The board on a screen of this size, however small.
Picture Draw(const BoardState& state, const View& view, int rows, int columns);

} // namespace Simulator
