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
    AddEntry(entry, message);
    return entry.Text();
}

void Formatter::AddEntry(Knx::TextBuffer& text, const Message& message)
{
    switch (form)
    {
    case Form::Json:
        text.Add(DescribeAsJson(message, groups));
        text.Add('\n');
        break;
    case Form::Capture:
        text.Add(CapturePacket(message));
        break;
    case Form::TelegramLog:
        if (!message.frame.empty() && IsOfTheBus(message.frame))
        {
            text.Add(TelegramLogEntry(message));
        }
        break;
    default:
        AddRecordLine(text, stamper.Stamp(message.time), message,
                      {look.color, look.terminal == nullptr ? 0 : look.terminal->Columns()}, groups);
        text.Add('\n');
        break;
    }
}

std::string Formatter::End(std::chrono::microseconds time) const
{
    return form == Form::TelegramLog ? TelegramLogEnd(time) : "";
}

} // namespace OrvelClient
