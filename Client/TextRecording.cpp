#include "TextRecording.h"

#include "Failure.h"
#include "Json.h"

#include "Knx/CemiMessage.h"

namespace OrvelClient
{

namespace
{

constexpr std::size_t MaxUnknown = 10000; // lines before the first of the daemon's in a journal
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

bool IsHexadecimal(std::string_view line)
{
    return line.substr(0, line.find('#')).find_first_not_of("0123456789abcdefABCDEF :\t\r") == std::string_view::npos;
}

std::string Line(std::size_t number)
{
    return "line " + std::to_string(number);
}

// Among lines of the daemon, and of whoever else writes to the same journal, a bracket alone makes no record.
bool HasDirection(std::string_view line)
{
    return line.find(" rx ") != std::string_view::npos || line.find(" tx ") != std::string_view::npos;
}

} // namespace

bool TextRecordingReader::Next(Message& message)
{
    for (std::string_view line; source.Line(line);)
    {
        ++number;
        try
        {
            if (Take(line, message))
            {
                hasMessages = true;
                return IsCutOff(line, message) ? EndWith(Line(number) + " is cut off; used is what comes before it")
                                               : true;
            }
        }
        catch (const Failure& failure)
        {
            if (failure.ExitStatus() != Status::NotUnderstood)
            {
                throw;
            }
            if (!source.HasLineEnded() && hasMessages)
            {
                return EndWith(Line(number) + " is cut off; used is what comes before it");
            }
            throw Failure(failure.ExitStatus(), Line(number) + ": " + failure.what());
        }
    }
    return End();
}

// False when the line has no message.
bool TextRecordingReader::Take(std::string_view line, Message& message)
{
    if (number == 1 && line.substr(0, ByteOrderMark.size()) == ByteOrderMark)
    {
        line.remove_prefix(ByteOrderMark.size());
    }
    if (LooksLikeRecord(line) && (!isDriverLog || HasDirection(line))) // the most usual first
    {
        record.Parse(line, message);
        return true;
    }
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string_view::npos || line[first] == '#')
    {
        return false;
    }
    if (isDriverLog)
    {
        return TakeDriverLine(line, message);
    }
    if (line[first] == '{')
    {
        message = MessageFromJson(line);
        return true;
    }
    if (IsHexadecimal(line))
    {
        message = {};
        message.frame = FrameFromText(line);
        message.direction = UsualDirection(message.frame);
        return true;
    }
    if (DriverLog::Has(line))
    {
        isDriverLog = true;
        return TakeDriverLine(line, message);
    }
    KeepForLater();
    return false;
}

// What somebody mails has passed through other programs. A line that was spoilt there does not make the others useless.
bool TextRecordingReader::TakeDriverLine(std::string_view line, Message& message)
{
    try
    {
        const auto parsed = driverLog.Parse(line);
        if (parsed)
        {
            message = *parsed;
        }
        return parsed.has_value();
    }
    catch (const Failure&)
    {
        if (source.HasLineEnded())
        {
            ++garbled;
            return false;
        }
        throw;
    }
}

void TextRecordingReader::KeepForLater()
{
    firstUnknown = firstUnknown == 0 ? number : firstUnknown;
    if (hasMessages || number - firstUnknown > MaxUnknown)
    {
        throw Failure(Status::NotUnderstood, "is no line of a recording: no log, JSON or hexadecimal digits");
    }
}

// A frame of which the end is missing is one that is written anew in each form, but for the last line of a file.
bool TextRecordingReader::IsCutOff(std::string_view line, const Message& message) const
{
    if (source.HasLineEnded())
    {
        return false;
    }
    if (isDriverLog && line.size() > 1 && line[line.size() - 2] == ' ')
    {
        return true; // "8" may be the begin of "81"
    }
    const bool hasEnd = !isDriverLog && line.find_first_of("#}") != std::string_view::npos;
    return !hasEnd && IsOfTheBus(message.frame) && !Knx::Decode(message.frame).problems.empty();
}

bool TextRecordingReader::End()
{
    if (firstUnknown != 0 && !isDriverLog)
    {
        throw Failure(Status::NotUnderstood,
                      Line(firstUnknown) + ": is no line of a recording: no log, JSON or hexadecimal digits");
    }
    return EndWith(garbled == 0 ? "" : std::to_string(garbled) + " lines show no bytes behind 'topic 256:'");
}

} // namespace OrvelClient
