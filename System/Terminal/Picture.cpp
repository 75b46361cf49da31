#include "System/Terminal/Picture.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cwchar>
#include <numeric>

namespace System
{

namespace
{

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
    return PutBefore(columns, row, column, text, style);
}

void Picture::PutWithin(int row, int column, int width, const std::string& text, Style style)
{
    PutBefore(std::min(column + width, columns), row, column, text, style);
}

// Returns the column behind the text, as if there were no limit.
int Picture::PutBefore(int limit, int row, int column, const std::string& text, Style style)
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
        for (int position = std::max(column, 0); position < std::min(behind, limit); ++position)
        {
            const bool cut = end > limit && behind >= limit; // no more fits, or not even this one
            const wchar_t character = position == column ? glyph.character : L'\0';
            CellAt(row, position) = {cut ? (position == limit - 1 ? L'>' : L' ') : character, style};
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

} // namespace System
