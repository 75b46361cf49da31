#pragma once

#include "DriverLog.h"
#include "MessageReader.h"
#include "Record.h"
#include "Source.h"

#include <string>
#include <string_view>

namespace OrvelClient
{

/// Reads recordings that consist of lines: those of the monitor, as a log or as JSON, hexadecimal digits as `send` takes them,
/// and the daemon's own log. Empty lines and comments are skipped; in the daemon's log, so is everything without a frame.
class TextRecordingReader : public MessageReader
{
public:
    explicit TextRecordingReader(Source& file)
        : source(file)
    {
    }

    bool Next(Message& message) override;

private:
    bool Take(std::string_view line, Message& message);
    bool TakeDriverLine(std::string_view line, Message& message);
    void KeepForLater();
    bool IsCutOff(std::string_view line, const Message& message) const;
    bool End();

    Source& source;
    RecordParser record;
    DriverLog driverLog;
    bool isDriverLog = false;
    bool hasMessages = false;
    std::size_t number = 0;       // of the line
    std::size_t firstUnknown = 0; // line that may turn out to be one of a journal
    std::size_t garbled = 0;      // lines of the daemon's log that show no bytes
};

} // namespace OrvelClient
