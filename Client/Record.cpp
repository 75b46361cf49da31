#include "Record.h"

#include "Description.h"
#include "Failure.h"

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

// "123.456789"
std::chrono::microseconds TimeOf(std::string_view text)
{
    const std::size_t point = text.find('.');
    const auto time = TimeOfSeconds(text);
    if (!time || point == std::string_view::npos || text.size() - point - 1 != Decimals)
    {
        RejectLine();
    }
    return *time;
}

} // namespace

std::string RecordLine(const std::string& stamp, const Message& message)
{
    std::string line = stamp;
    line += ' ';
    line += NameOf(message.direction);
    if (!message.frame.empty())
    {
        line += ' ';
        line += Knx::ToHex(message.frame);
    }
    line += "  # ";
    return line += Describe(message);
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

Message RecordParser::Parse(std::string_view line)
{
    Message message;
    std::size_t end = LocalDate::Size;
    if (const auto time = date.Time(line))
    {
        message.time = *time;
    }
    else
    {
        end = line.find(')');
        const bool isDelta = line.substr(0, 2) == "(+";
        if (line.empty() || line.front() != '(' || end == std::string_view::npos)
        {
            RejectLine();
        }
        const std::size_t begin = isDelta ? 2 : 1;
        message.time = TimeOf(line.substr(begin, end - begin)) + (isDelta ? previous : std::chrono::microseconds{});
        ++end;
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
    message.frame = FrameFromText(line, end + direction.size());
    return message;
}

} // namespace OrvelClient
