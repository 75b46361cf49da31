#pragma once

#include "Message.h"
#include "TimeStamp.h"

#include <optional>
#include <string_view>

namespace OrvelClient
{

/// Reads frames from the daemon's own log, in which the link library shows them byte by byte, without leading zeros:
/// "22.11.2026 14:05:09.042 [140] DEBUG Nemt <> - Received on topic 256: 29 0 bc e0 11 1 a 3 1 0 81". Anything may come before
/// the date, such as what the journal adds.
class DriverLog
{
public:
    /// Whether the line is one of the daemon's, with a frame or without.
    static bool Has(std::string_view line);

    /// Nothing when the line shows no frame. Throws Failure (NotUnderstood) when it shows one that is none.
    std::optional<Message> Parse(std::string_view line);

private:
    std::chrono::microseconds previous{};
    LocalDate date;
};

} // namespace OrvelClient
