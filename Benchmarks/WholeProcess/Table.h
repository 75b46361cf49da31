#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// A table on standard output that reads as well in a terminal as in Markdown.
class Table
{
public:
    explicit Table(std::vector<std::string> headings);

    void Add(std::vector<std::string> cells);
    void Print() const;

private:
    std::vector<std::vector<std::string>> rows;
};

/// A number with so many digits behind the point.
std::string Text(double number, int digits);

/// A heading on standard output.
void PrintHeading(const std::string& text);
