#pragma once

#include "MessageReader.h"
#include "Source.h"

#include <string>
#include <string_view>

namespace OrvelClient
{

// The telegram log of the engineering tool: XML, of which each element Telegram has a frame.

/// What a log begins with, which was begun at that time.
std::string TelegramLogHeader(std::chrono::microseconds time);

/// One frame in a log.
std::string TelegramLogEntry(const Message& message);

/// What a log ends with, which ended at that time.
std::string TelegramLogEnd(std::chrono::microseconds time);

/// Whether `begin`, the first bytes of a file, are those of XML.
bool IsXml(std::string_view begin);

/// Reads a telegram log.
class TelegramLogReader : public MessageReader
{
public:
    explicit TelegramLogReader(Source& file)
        : source(file)
    {
    }

    bool Next(Message& message) override;

private:
    bool NextTag(std::string& tag);
    bool SkipTo(std::string_view end, std::string* skipped);
    Message Parse(std::string tag) const;

    Source& source;
    bool hasRoot = false;
    std::size_t line = 1;
};

} // namespace OrvelClient
