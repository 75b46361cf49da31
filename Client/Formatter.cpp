#include "Formatter.h"

#include "Capture.h"
#include "Json.h"
#include "Record.h"
#include "TelegramLog.h"

namespace OrvelClient
{

std::string Formatter::Begin(std::chrono::microseconds time) const
{
    switch (form)
    {
    case Form::Capture:
        return CaptureHeader();
    case Form::TelegramLog:
        return TelegramLogHeader(time);
    default:
        return "";
    }
}

std::string_view Formatter::Entry(const Message& message)
{
    entry.Clear();
    switch (form)
    {
    case Form::Json:
        entry.Add(DescribeAsJson(message, groups));
        entry.Add('\n');
        break;
    case Form::Capture:
        entry.Add(CapturePacket(message));
        break;
    case Form::TelegramLog:
        if (!message.frame.empty() && IsOfTheBus(message.frame))
        {
            entry.Add(TelegramLogEntry(message));
        }
        break;
    default:
        AddRecordLine(entry, stamper.Stamp(message.time), message,
                      {look.color, look.terminal == nullptr ? 0 : look.terminal->Columns()}, groups);
        entry.Add('\n');
        break;
    }
    return entry.Text();
}

std::string Formatter::End(std::chrono::microseconds time) const
{
    return form == Form::TelegramLog ? TelegramLogEnd(time) : "";
}

} // namespace OrvelClient
