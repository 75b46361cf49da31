#include "DriverLog.h"

#include "Failure.h"

#include <algorithm>
#include <array>

namespace OrvelClient
{

namespace
{

constexpr std::string_view Topic = " on topic 256:"; // of frames
constexpr std::string_view Sent = "Sent";
constexpr std::string_view Received = "Received";

bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// "DEBUG Nemt", and a blank or a colon behind it.
bool NamesALogger(std::string_view line, std::string_view level)
{
    constexpr std::array<std::string_view, 6> loggers{"Main", "Leds", "Buttons", "Cemi", "Reset", "Nemt"};
    const std::size_t position = line.find(level);
    if (position == std::string_view::npos)
    {
        return false;
    }
    const std::string_view behind = line.substr(position + level.size());
    const std::string_view name = behind.substr(0, behind.find_first_of(" :"));
    return std::find(loggers.begin(), loggers.end(), name) != loggers.end();
}

// One or two digits a byte, a blank before each.
Bytes FrameFromDump(std::string_view dump)
{
    std::string padded;
    while (!dump.empty() && (dump.back() == '\r' || dump.back() == ' '))
    {
        dump.remove_suffix(1);
    }
    while (!dump.empty())
    {
        dump.remove_prefix(dump.front() == ' ' ? 1 : 0);
        const std::string_view byte = dump.substr(0, dump.find(' '));
        padded += byte.size() == 1 ? " 0" : " ";
        padded += byte;
        dump.remove_prefix(byte.size());
        if (byte.empty() || byte.size() > 2)
        {
            throw Failure(Status::NotUnderstood, "shows no bytes behind 'topic 256:'");
        }
    }
    return FrameFromText(padded);
}

} // namespace

bool DriverLog::Has(std::string_view line)
{
    constexpr std::array<std::string_view, 5> levels{"DEBUG ", "INFO ", "WARN ", "ERROR ", "FATAL "};
    return std::any_of(levels.begin(), levels.end(),
                       [line](std::string_view level) { return NamesALogger(line, level); });
}

std::optional<Message> DriverLog::Parse(std::string_view line)
{
    const std::size_t topic = line.find(Topic);
    if (topic == std::string_view::npos)
    {
        return std::nullopt;
    }
    Message message;
    message.frame = FrameFromDump(line.substr(topic + Topic.size()));
    if (message.frame.empty())
    {
        return std::nullopt;
    }
    const std::string_view before = line.substr(0, topic);
    message.direction = EndsWith(before, Sent)       ? Direction::ToLink
                        : EndsWith(before, Received) ? Direction::FromLink
                                                     : UsualDirection(message.frame);
    for (std::size_t i = 0; i + LocalDate::Size <= topic; ++i)
    {
        if (const auto time = date.Time(line.substr(i)))
        {
            previous = *time;
            break;
        }
    }
    message.time = previous; // of the line before where this one has none
    return message;
}

} // namespace OrvelClient
