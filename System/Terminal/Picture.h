#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace System
{

enum class Style : uint8_t
{
    Plain,
    Bar,     ///< the lines at the top and at the bottom
    Heading, ///< of a part
    Faint,
    Alarm, ///< what is wrong
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

    /// The same in a part of the row: what does not fit into so many columns is left out.
    void PutWithin(int row, int column, int width, const std::string& text, Style style = Style::Plain);

    /// The whole row, with `text` at its beginning.
    void PutBar(int row, const std::string& text, Style style);

    /// The characters of a row, without blanks at its end.
    std::string Text(int row) const;

private:
    Cell& CellAt(int row, int column);
    int PutBefore(int limit, int row, int column, const std::string& text, Style style);

    int rows;
    int columns;
    std::vector<Cell> cells;
};

} // namespace System
