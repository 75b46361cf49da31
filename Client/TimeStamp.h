#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace OrvelClient
{

/// What the time stamps of a record count from.
enum class TimeStamp
{
    Absolute, ///< 1970
    Relative, ///< the first of them
    Delta     ///< the one before
};

/// Gives the time stamps for what happens one after the other: "(1763719200.123456)", "(0.000000)", "(+0.250000)".
class TimeStamper
{
public:
    explicit TimeStamper(TimeStamp countsFrom)
        : kind(countsFrom)
    {
    }

    std::string Stamp(std::chrono::microseconds time);

private:
    TimeStamp kind;
    std::optional<std::chrono::microseconds> origin;
};

/// "1763719200.123456"
std::string SecondsText(std::chrono::microseconds time);

} // namespace OrvelClient
