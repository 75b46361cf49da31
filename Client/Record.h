#pragma once

#include "KnownGroups.h"
#include "Message.h"
#include "TimeStamp.h"

#include "Knx/TextBuffer.h"

#include <string>
#include <string_view>

namespace OrvelClient
{

// The record of messages that people read: a line for each.

/// How a line looks.
struct LineStyle
{
    bool color = false;
    std::size_t width = 0; ///< columns that it has to fit, which costs the bytes and what is usual; 0: any number
};

/// A line of a record: "(1763719200.123456) rx 29 00 bc e0 11 01 0a 03 01 00 81  # L_Data.ind ..."
std::string RecordLine(std::string_view stamp, const Message& message, const LineStyle& style = {},
                       const KnownGroups& groups = KnownGroups());
void AddRecordLine(Knx::TextBuffer& text, std::string_view stamp, const Message& message, const LineStyle& style,
                   const KnownGroups& groups);

/// Whether the line is meant as one of a record, right or wrong.
bool LooksLikeRecord(std::string_view line);

/// Reads lines of a record back. Times are as they are in it; where they count from the line before, they are added up.
class RecordParser
{
public:
    /// Throws Failure (NotUnderstood).
    void Parse(std::string_view line, Message& message);

private:
    std::chrono::microseconds previous{};
    LocalDate date;
};

} // namespace OrvelClient
