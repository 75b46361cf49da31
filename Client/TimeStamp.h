#pragma once

#include "Knx/TextBuffer.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace OrvelClient
{

/// What the time stamps of a record count from.
enum class TimeStamp
{
    Absolute, ///< 1970
    Relative, ///< the first of them
    Delta,    ///< the one before
    Date      ///< the calendar, as in the daemon's lines
};

/// Dates as the daemon writes them, in the local time: "22.11.2026 14:05:09.042".
class LocalDate
{
public:
    static constexpr std::size_t Size = 23;

    /// Whether the text begins as a date does.
    static bool Begins(std::string_view text);

    void Add(Knx::TextBuffer& text, std::chrono::microseconds time);

    /// Of a text that begins with a date; nothing when it is none of a day that there is.
    std::optional<std::chrono::microseconds> Time(std::string_view text);

private:
    // The C library takes long for the rules of the time zone. Most dates are of the same minute as the one before.
    std::string minute;
    std::chrono::minutes minuteTime{-1};
};

/// Gives the time stamps for what happens one after the other: "(1763719200.123456)", "(0.000000)", "(+0.250000)",
/// "22.11.2026 14:05:09.042".
class TimeStamper
{
public:
    explicit TimeStamper(TimeStamp countsFrom)
        : kind(countsFrom)
    {
    }

    /// Valid until the next one.
    std::string_view Stamp(std::chrono::microseconds time);

private:
    TimeStamp kind;
    std::optional<std::chrono::microseconds> origin;
    LocalDate date;
    Knx::TextBuffer stamp;
};

/// "1763719200.123456"
std::string SecondsText(std::chrono::microseconds time);

/// The time in a text such as "1763719200.123456", with six decimals or with any number of them. Nothing when it is no such
/// text, or a time that nobody reaches.
std::optional<std::chrono::microseconds> TimeOfSeconds(std::string_view text);

/// "2026-11-22T13:05:09.042000Z"
std::string UtcText(std::chrono::microseconds time);

/// The time in a text such as "2026-11-22T14:05:09.0420000+01:00"; without a time zone it is UTC. Nothing when it is no such
/// text.
std::optional<std::chrono::microseconds> TimeOfUtc(std::string_view text);

} // namespace OrvelClient
