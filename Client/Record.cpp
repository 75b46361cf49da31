#include "Record.h"

#include "Description.h"
#include "Failure.h"

#include "Knx/CemiText.h"
#include "Orvel/Protocol.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace OrvelClient
{

namespace
{

constexpr std::chrono::seconds TooLate(1000000000000); // what has too many digits, as a sum too
constexpr std::size_t Decimals = 6;

[[noreturn]] void RejectLine()
{
    throw Failure(Status::NotUnderstood, "is no line of a log, which begins as (1763719200.123456) rx");
}

// How a terminal changes its colour.
constexpr const char* Plain = "\x1b[0m";
constexpr const char* Dim = "\x1b[2m";
constexpr const char* Red = "\x1b[31m";
constexpr const char* Green = "\x1b[32m";
constexpr const char* Yellow = "\x1b[33m";
constexpr const char* Cyan = "\x1b[36m";

// What is wrong is red, the link is yellow; of telegrams, those that ask and answer stand out.
const char* ColorOf(const Message& message)
{
    if (const auto state = LinkState(message.frame))
    {
        return *state == ORVEL_LINK_STATE_USABLE ? Yellow : Red;
    }
    const Knx::CemiMessage cemi = TakenApart(message);
    if (!cemi.problems.empty() || !IsOfTheBus(message.frame))
    {
        return Red;
    }
    if (cemi.Is(Knx::MessageCode::LDataCon))
    {
        return cemi.ErrorBit() ? Red : Dim;
    }
    const std::string service = cemi.apci ? Knx::ServiceName(cemi) : "";
    return service == "A_GroupValue_Read" ? Cyan : service == "A_GroupValue_Response" ? Green : "";
}

using LineParts = std::vector<std::pair<std::string, const char*>>; // text and colour

bool BeginsCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80; // in UTF-8
}

// Cuts off what is behind the width. The last character then tells so.
void Fit(LineParts& parts, std::size_t width)
{
    std::size_t columns = 0;
    for (const auto& part : parts)
    {
        columns += static_cast<std::size_t>(std::count_if(part.first.begin(), part.first.end(), BeginsCharacter));
    }
    if (columns <= width)
    {
        return;
    }
    std::size_t left = width - 1;
    for (auto& [text, color] : parts)
    {
        std::size_t end = 0;
        while (end < text.size() && (left > 0 || !BeginsCharacter(text[end])))
        {
            left -= BeginsCharacter(text[end]) ? 1 : 0;
            ++end;
        }
        text.resize(end);
    }
    parts.back().first += '>';
}

std::string Painted(const LineParts& parts)
{
    std::string line;
    for (const auto& [text, color] : parts)
    {
        line += *color == '\0' ? text : color + text + Plain;
    }
    return line;
}

// "123.456789"
std::chrono::microseconds TimeOf(std::string_view text)
{
    const auto time = TimeOfSeconds(text);
    if (!time || text.size() <= Decimals || text[text.size() - Decimals - 1] != '.')
    {
        RejectLine();
    }
    return *time;
}

// What comes before the words.
void AddBegin(Knx::TextBuffer& text, std::string_view stamp, const Message& message)
{
    text.Add(stamp);
    text.Add(' ');
    text.Add(NameOf(message.direction));
    if (!message.frame.empty())
    {
        text.Add(' ');
        text.AddHex(message.frame);
    }
    text.Add("  # ");
}

} // namespace

std::string RecordLine(std::string_view stamp, const Message& message, const LineStyle& style,
                       const KnownGroups& groups)
{
    Knx::TextBuffer text;
    AddRecordLine(text, stamp, message, style, groups);
    return std::string(text.Text());
}

void AddRecordLine(Knx::TextBuffer& text, std::string_view stamp, const Message& message, const LineStyle& style,
                   const KnownGroups& groups)
{
    const bool isNarrow = style.width > 0;
    if (!isNarrow && !style.color)
    {
        AddBegin(text, stamp, message);
        AddDescription(text, message, Knx::Detail::All, groups);
        return;
    }
    Knx::TextBuffer begin;
    if (isNarrow)
    {
        begin.Add(stamp);
        begin.Add(' ');
    }
    else
    {
        AddBegin(begin, stamp, message);
    }
    LineParts parts{{std::string(begin.Text()), Dim},
                    {Describe(message, isNarrow ? Knx::Detail::Unusual : Knx::Detail::All, groups),
                     style.color ? ColorOf(message) : ""}};
    if (isNarrow)
    {
        Fit(parts, style.width);
    }
    text.Add(style.color ? Painted(parts) : parts[0].first + parts[1].first);
}

bool LooksLikeRecord(std::string_view line)
{
    if (LocalDate::Begins(line))
    {
        const std::string_view behind = line.substr(LocalDate::Size);
        return behind.substr(0, 3) == " rx" || behind.substr(0, 3) == " tx";
    }
    return !line.empty() && line.front() == '(';
}

void RecordParser::Parse(std::string_view line, Message& message)
{
    std::size_t end = LocalDate::Size;
    if (line.substr(0, 1) == "(")
    {
        end = line.find(')');
        if (end == std::string_view::npos)
        {
            RejectLine();
        }
        const bool isDelta = line[1] == '+';
        const std::size_t begin = isDelta ? 2 : 1;
        message.time = TimeOf(line.substr(begin, end - begin)) + (isDelta ? previous : std::chrono::microseconds{});
        ++end;
    }
    else if (const auto time = date.Time(line))
    {
        message.time = *time;
    }
    else
    {
        RejectLine();
    }
    if (message.time >= TooLate)
    {
        throw Failure(Status::NotUnderstood, "is later than any time");
    }
    previous = message.time;
    const std::string_view direction = line.substr(std::min(end, line.size()), 3);
    if (direction != " rx" && direction != " tx")
    {
        RejectLine();
    }
    message.direction = direction == " tx" ? Direction::ToLink : Direction::FromLink;
    message.sizeByte.reset();
    FrameFromText(line, end + direction.size(), message.frame);
}

} // namespace OrvelClient
