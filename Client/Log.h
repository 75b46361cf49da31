#pragma once

#include "Message.h"

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

namespace OrvelClient
{

/// What the time stamps of a log count from.
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

/// A line of a log: "(1763719200.123456) rx 29 00 bc e0 11 01 0a 03 01 00 81  # L_Data.ind ..."
std::string LogLine(const std::string& stamp, const Message& message);

/// Reads a log back; times are as they are in it, deltas added up. Lines that are empty or begin with '#' are skipped.
/// Throws Failure (NotUnderstood) that names the line.
std::vector<Message> ReadLog(std::istream& log);

} // namespace OrvelClient
