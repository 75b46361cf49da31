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

std::string Formatter::Entry(const Message& message)
{
    switch (form)
    {
    case Form::Json:
        return DescribeAsJson(message, groups) + "\n";
    case Form::Capture:
        return CapturePacket(message);
    case Form::TelegramLog:
        return message.frame.empty() || !IsOfTheBus(message.frame) ? "" : TelegramLogEntry(message);
    default:
        return RecordLine(stamper.Stamp(message.time), message,
                          {look.color, look.terminal == nullptr ? 0 : look.terminal->Columns()}, groups) +
               "\n";
    }
}

std::string Formatter::End(std::chrono::microseconds time) const
{
    return form == Form::TelegramLog ? TelegramLogEnd(time) : "";
}

} // namespace OrvelClient
