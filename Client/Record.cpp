#include "Record.h"

#include "Description.h"
#include "Failure.h"

#include <istream>
#include <string_view>

namespace OrvelClient
{

namespace
{

constexpr std::size_t MaxDigits = 12; // of the seconds: enough for any time, and they fit into the number
constexpr std::size_t Decimals = 6;
constexpr std::chrono::seconds TooLate(1000000000000); // what has more digits, also as a sum of deltas

// Takes things from the front of a line.
class Scanner
{
public:
    explicit Scanner(std::string_view wholeLine)
        : line(wholeLine)
    {
    }

    bool Skip(std::string_view text)
    {
        const bool isThere = line.substr(position, text.size()) == text;
        position += isThere ? text.size() : 0;
        return isThere;
    }

    std::string Digits()
    {
        const std::size_t begin = position;
        while (position < line.size() && line[position] >= '0' && line[position] <= '9')
        {
            ++position;
        }
        return std::string(line.substr(begin, position - begin));
    }

    std::size_t Position() const
    {
        return position;
    }

private:
    std::string_view line;
    std::size_t position = 0;
};

bool IsWithoutMessage(const std::string& line)
{
    const std::size_t first = line.find_first_not_of(" \t\r");
    return first == std::string::npos || line[first] == '#';
}

Message ParseLine(const std::string& line, std::chrono::microseconds previous)
{
    Scanner scanner(line);
    const bool begins = scanner.Skip("(");
    const bool isDelta = scanner.Skip("+");
    const std::string seconds = scanner.Digits();
    const bool hasPoint = scanner.Skip(".");
    const std::string fraction = scanner.Digits();
    if (!begins || seconds.empty() || seconds.size() > MaxDigits || !hasPoint || fraction.size() != Decimals ||
        !scanner.Skip(") rx"))
    {
        throw Failure(Status::NotUnderstood, "is no line of a log, which begins as (1763719200.123456) rx");
    }
    Message message;
    message.time = std::chrono::seconds(std::stoll(seconds)) + std::chrono::microseconds(std::stoll(fraction)) +
                   (isDelta ? previous : std::chrono::microseconds{});
    if (message.time >= TooLate)
    {
        throw Failure(Status::NotUnderstood, "is later than any time");
    }
    // Blanks in place of what is no frame, so that a position is one in the line.
    message.frame = FrameFromText(std::string(scanner.Position(), ' ') + line.substr(scanner.Position()));
    return message;
}

} // namespace

std::string RecordLine(const std::string& stamp, const Message& message)
{
    const std::string hex = message.frame.empty() ? "" : " " + Knx::ToHex(message.frame);
    return stamp + " rx" + hex + "  # " + Describe(message);
}

std::vector<Message> ReadRecord(std::istream& record)
{
    std::vector<Message> messages;
    std::string line;
    for (std::size_t number = 1; std::getline(record, line); ++number)
    {
        try
        {
            const auto previous = messages.empty() ? std::chrono::microseconds{} : messages.back().time;
            if (!IsWithoutMessage(line))
            {
                messages.push_back(ParseLine(line, previous));
            }
        }
        catch (const Failure& failure)
        {
            throw Failure(failure.ExitStatus(), "line " + std::to_string(number) + ": " + failure.what());
        }
    }
    return messages;
}

} // namespace OrvelClient
