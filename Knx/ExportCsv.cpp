#include "Knx/ExportCsv.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Knx
{

namespace
{

using namespace ExportText;

struct Field
{
    std::string value;
    std::size_t offset = 0;
};

using Row = std::vector<Field>;

// Takes the text apart: rows of fields, which may have quotes around them. Two quotes inside these are one.
class RowReader
{
public:
    RowReader(const std::string& exportText, char columnSeparator)
        : text(exportText)
        , separator(columnSeparator)
    {
    }

    // Empty at the end. Empty lines are skipped. Throws NotAnExport.
    Row Next()
    {
        while (position < text.size() && (text[position] == '\n' || text[position] == '\r'))
        {
            ++position;
        }
        Row row;
        if (position == text.size())
        {
            return row;
        }
        do
        {
            row.push_back(NextField());
        } while (TakeSeparator());
        return row;
    }

private:
    Field NextField()
    {
        if (position < text.size() && text[position] == '"')
        {
            return NextQuoted();
        }
        const std::size_t begin = position;
        position = std::min(text.find_first_of(std::string("\n") + separator, begin), text.size());
        const bool hasReturn =
            position > begin && position < text.size() && text[position] == '\n' && text[position - 1] == '\r';
        return {text.substr(begin, position - begin - (hasReturn ? 1 : 0)), begin};
    }

    Field NextQuoted()
    {
        Field field{"", position};
        for (std::size_t begin = position + 1;;)
        {
            const std::size_t quote = text.find('"', begin);
            if (quote == std::string::npos)
            {
                RejectAt(text, position, "this quote does not end");
            }
            field.value.append(text, begin, quote - begin);
            begin = quote + 1;
            if (begin == text.size() || text[begin] != '"')
            {
                position = begin;
                break;
            }
            field.value += '"';
            ++begin;
        }
        if (text.compare(position, 2, "\r\n") == 0)
        {
            ++position;
        }
        if (position < text.size() && text[position] != '\n' && text[position] != separator)
        {
            RejectAt(text, position, "the column should end behind its quotes");
        }
        return field;
    }

    // False at the end of a row.
    bool TakeSeparator()
    {
        const bool isOne = position < text.size() && text[position] == separator;
        position += position < text.size() ? 1 : 0;
        return isOne;
    }

    const std::string& text;
    char separator;
    std::size_t position = 0;
};

struct Separator
{
    char character;
    const char* name;
};

constexpr std::array<Separator, 3> Separators{{{'\t', "tabs"}, {';', "semicolons"}, {',', "commas"}}};

// Of the first line; none when its quotes are wrong with this separator.
std::size_t ColumnsWith(const Separator& separator, const std::string& text)
{
    try
    {
        return RowReader(text, separator.character).Next().size();
    }
    catch (const NotAnExport&)
    {
        return 0;
    }
}

// The one that makes most columns of the first line. Throws NotAnExport.
Separator SeparatorOf(const std::string& text)
{
    std::size_t most = 1;
    std::optional<Separator> found;
    for (const Separator& separator : Separators)
    {
        if (const std::size_t columns = ColumnsWith(separator, text); columns > most)
        {
            most = columns;
            found = separator;
        }
    }
    if (!found)
    {
        RejectAt(text, 0,
                 "no group address export: neither XML, nor columns with tabs, semicolons or commas between them");
    }
    return *found;
}

// "1/2/3", or "1/2/-" and "1/-/-" of a range.
bool LooksLikeAddressOrRange(std::string_view text)
{
    return !text.empty() && text.find_first_not_of("0123456789/-") == std::string_view::npos;
}

bool IsRange(std::string_view address)
{
    return address.find('-') != std::string_view::npos;
}

// Where the columns are.
struct Layout
{
    std::size_t names = 1; // columns of names, which come first

    std::size_t Address() const
    {
        return names;
    }

    // Behind the address and two columns about couplers.
    std::size_t Description() const
    {
        return names + 3;
    }

    std::size_t Type() const
    {
        return names + 4;
    }
};

std::optional<Layout> LayoutOf(const Row& row)
{
    for (const Layout layout : {Layout{3}, Layout{1}})
    {
        if (row.size() > layout.Address() && LooksLikeAddressOrRange(row[layout.Address()].value))
        {
            return layout;
        }
    }
    return std::nullopt;
}

class CsvReader
{
public:
    explicit CsvReader(const Decoded& decodedExport)
        : decoded(decodedExport)
        , separator(SeparatorOf(decoded.text))
        , collector(decoded.text)
    {
    }

    GroupAddressExport Read()
    {
        FindLayout();
        // A file that somebody has sorted has the ranges anywhere.
        ForEachRow([this](const Row& row) { ReadRange(row); });
        ForEachRow([this](const Row& row) { ReadGroup(row); });
        return {collector.Finish(style.value_or(GroupAddressStyle::ThreeLevel)),
                std::string("CSV with ") + (layout.names == 1 ? "one column" : "three columns") + " of names, " +
                    separator.name + ", " + (hasHeader ? "a header, " : "no header, ") + decoded.encoding};
    }

private:
    void FindLayout()
    {
        RowReader rows(decoded.text, separator.character);
        auto found = LayoutOf(rows.Next());
        hasHeader = !found;
        if (hasHeader)
        {
            found = LayoutOf(rows.Next());
        }
        if (!found)
        {
            RejectAt(decoded.text, 0, "no group address export: no addresses in column 2 or 4");
        }
        layout = *found;
    }

    template<typename Action>
    void ForEachRow(Action action)
    {
        RowReader rows(decoded.text, separator.character);
        Row row = rows.Next();
        const std::size_t columns = row.size();
        if (hasHeader)
        {
            row = rows.Next();
        }
        for (; !row.empty(); row = rows.Next())
        {
            if (row.size() != columns)
            {
                RejectAt(decoded.text, row.front().offset,
                         "this line has " + std::to_string(row.size()) + " columns, the first one " +
                             std::to_string(columns));
            }
            action(row);
        }
    }

    // The name stands in the column of its level; a tool that has no such column uses one behind it.
    std::string NameIn(const Row& row, std::size_t level) const
    {
        for (std::size_t column = std::min(level, layout.names) - 1; column < layout.names; ++column)
        {
            if (std::string name = Clean(row[column].value); !name.empty())
            {
                return name;
            }
        }
        return "";
    }

    void ReadRange(const Row& row)
    {
        const Field& address = row[layout.Address()];
        if (!LooksLikeAddressOrRange(address.value))
        {
            RejectAt(decoded.text, address.offset, Quoted(address.value) + " is no group address");
        }
        if (!IsRange(address.value))
        {
            return;
        }
        const std::string above = address.value.substr(0, address.value.find('-')); // "1/2/"
        const auto level = static_cast<std::size_t>(std::count(above.begin(), above.end(), '/'));
        if (level > 0)
        {
            ranges[above] = NameIn(row, level);
        }
    }

    void ReadGroup(const Row& row)
    {
        const Field& address = row[layout.Address()];
        if (IsRange(address.value))
        {
            return;
        }
        NamedGroup group;
        group.address = collector.AddressIn({address.value, address.offset});
        group.name = FullName(row, address.value);
        if (layout.Description() < row.size())
        {
            group.description = Clean(row[layout.Description()].value);
        }
        if (layout.Type() < row.size())
        {
            const Field& types = row[layout.Type()];
            group.type = collector.TypeIn({types.value, types.offset});
        }
        if (!style)
        {
            style = StyleOf(address.value);
        }
        collector.Add(std::move(group), address.offset);
    }

    std::string FullName(const Row& row, const std::string& address) const
    {
        std::string names;
        std::size_t level = 1;
        for (std::size_t slash = address.find('/'); slash != std::string::npos; slash = address.find('/', slash + 1))
        {
            const auto range = ranges.find(address.substr(0, slash + 1));
            names += range == ranges.end() || range->second.empty() ? "" : range->second + "/";
            ++level;
        }
        const std::string name = NameIn(row, level);
        return name.empty() ? "" : names + name;
    }

    const Decoded& decoded;
    Separator separator;
    Collector collector;
    Layout layout;
    bool hasHeader = false;
    std::map<std::string, std::string> ranges; // names, by what addresses in the range begin with: "1/2/"
    std::optional<GroupAddressStyle> style;    // of the first address
};

} // namespace

GroupAddressExport ReadCsvExport(const ExportText::Decoded& decoded)
{
    return CsvReader(decoded).Read();
}

} // namespace Knx
