#include "Table.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace
{

// Counts characters, some of which have more than one byte.
std::size_t Width(const std::string& text)
{
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

} // namespace

Table::Table(std::vector<std::string> headings)
    : rows{std::move(headings)}
{
}

void Table::Add(std::vector<std::string> cells)
{
    rows.push_back(std::move(cells));
}

void Table::Print() const
{
    std::vector<std::size_t> widths(rows.front().size(), 3);
    for (const auto& row : rows)
    {
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            widths[column] = std::max(widths[column], Width(row[column]));
        }
    }
    for (const auto& row : rows)
    {
        std::string line = "|";
        for (std::size_t column = 0; column < row.size(); ++column)
        {
            const std::string padding(widths[column] - Width(row[column]), ' ');
            // Texts are aligned left, numbers right.
            line += column == 0 ? " " + row[column] + padding + " |" : " " + padding + row[column] + " |";
        }
        std::puts(line.c_str());
        if (&row == &rows.front())
        {
            std::string rule = "|" + std::string(widths.front() + 2, '-') + "|";
            for (std::size_t column = 1; column < row.size(); ++column)
            {
                rule += std::string(widths[column] + 1, '-') + ":|";
            }
            std::puts(rule.c_str());
        }
    }
}

std::string Text(double number, int digits)
{
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, number);
    return text.data();
}

void PrintHeading(const std::string& text)
{
    std::printf("\n### %s\n\n", text.c_str());
    std::fflush(stdout);
}
