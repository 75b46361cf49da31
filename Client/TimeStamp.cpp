#include "TimeStamp.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>

namespace OrvelClient
{

namespace
{

using namespace std::chrono;

constexpr std::size_t Decimals = 6;
constexpr std::size_t MaxDigits = 12; // of seconds: enough for any time, and they fit into the number

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool AreDigits(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) { return IsDigit(character); });
}

int Number(std::string_view digits)
{
    int number = 0;
    for (const char digit : digits)
    {
        number = number * 10 + (digit - '0');
    }
    return number;
}

// Whether each '0' of the pattern is a digit in the text, and everything else is as it is.
bool Matches(std::string_view text, std::string_view pattern)
{
    return text.size() >= pattern.size() &&
           std::equal(pattern.begin(), pattern.end(), text.begin(),
                      [](char wanted, char found) { return wanted == '0' ? IsDigit(found) : wanted == found; });
}

// Of digits behind the point, any number of them.
microseconds Fraction(std::string_view digits)
{
    int number = 0;
    for (std::size_t i = 0; i < Decimals; ++i)
    {
        number = number * 10 + (i < digits.size() ? digits[i] - '0' : 0);
    }
    return microseconds(number);
}

void AddSeconds(Knx::TextBuffer& text, microseconds time)
{
    constexpr uint64_t second = 1000000;
    const auto count = static_cast<uint64_t>(time.count());
    text.AddNumber(count / second);
    text.Add('.');
    text.AddDigits(count % second, Decimals);
}

// The first writing of "22.11.2026 14:05" is what the calendar makes of it; there is no 31.02.
bool IsSame(const tm& made, int day, int month, int hour)
{
    return made.tm_mday == day && made.tm_mon == month - 1 && made.tm_hour == hour;
}

} // namespace

bool LocalDate::Begins(std::string_view text)
{
    return Matches(text, "00.00.0000 00:00:00.000");
}

void LocalDate::Add(Knx::TextBuffer& text, microseconds time)
{
    const auto ofMinute = floor<minutes>(time);
    if (ofMinute != minuteTime || minute.empty())
    {
        const auto seconds = static_cast<time_t>(duration_cast<std::chrono::seconds>(ofMinute).count());
        tm local{};
        localtime_r(&seconds, &local);
        std::array<char, 40> made{};
        std::snprintf(made.data(), made.size(), "%02d.%02d.%04d %02d:%02d", local.tm_mday, local.tm_mon + 1,
                      local.tm_year + 1900, local.tm_hour, local.tm_min);
        minute = made.data();
        minuteTime = ofMinute;
    }
    const auto left = static_cast<uint64_t>(floor<milliseconds>(time - ofMinute).count());
    text.Add(minute);
    text.Add(':');
    text.AddDigits(left / 1000, 2);
    text.Add('.');
    text.AddDigits(left % 1000, 3);
}

std::optional<microseconds> LocalDate::Time(std::string_view text)
{
    constexpr std::size_t minuteSize = 16;
    if (!Begins(text) || text.substr(17, 2) > "60") // a leap second has 60
    {
        return std::nullopt;
    }
    if (text.substr(0, minuteSize) != minute)
    {
        tm local{};
        local.tm_mday = Number(text.substr(0, 2));
        local.tm_mon = Number(text.substr(3, 2)) - 1;
        local.tm_year = Number(text.substr(6, 4)) - 1900;
        local.tm_hour = Number(text.substr(11, 2));
        local.tm_min = Number(text.substr(14, 2));
        local.tm_isdst = -1;
        const tm asked = local;
        tm calendar = local;
        timegm(&calendar);
        // Of the hour that summer time leaves out, as a device in another zone has it, mktime makes another hour.
        const time_t seconds = mktime(&local);
        if (seconds < 0 || !IsSame(calendar, asked.tm_mday, asked.tm_mon + 1, asked.tm_hour))
        {
            return std::nullopt;
        }
        minute = text.substr(0, minuteSize);
        minuteTime = floor<minutes>(std::chrono::seconds(seconds));
    }
    return minuteTime + seconds(Number(text.substr(17, 2))) + milliseconds(Number(text.substr(20, 3)));
}

std::string_view TimeStamper::Stamp(microseconds time)
{
    stamp.Clear();
    if (kind == TimeStamp::Date)
    {
        date.Add(stamp, time);
        return stamp.Text();
    }
    if (kind != TimeStamp::Absolute)
    {
        // The clock on the wall can be set back; a time stamp never runs backwards.
        const auto passed = std::max(time - origin.value_or(time), microseconds::zero());
        if (kind == TimeStamp::Delta || !origin)
        {
            origin = time;
        }
        time = passed;
    }
    stamp.Add(kind == TimeStamp::Delta ? "(+" : "(");
    AddSeconds(stamp, time);
    stamp.Add(')');
    return stamp.Text();
}

std::string SecondsText(microseconds time)
{
    Knx::TextBuffer text;
    AddSeconds(text, time);
    return std::string(text.Text());
}

std::optional<microseconds> TimeOfSeconds(std::string_view text)
{
    seconds::rep whole = 0;
    std::size_t size = 0;
    while (size < std::min(text.size(), MaxDigits) && IsDigit(text[size]))
    {
        whole = whole * 10 + (text[size++] - '0');
    }
    if (size == 0)
    {
        return std::nullopt;
    }
    text.remove_prefix(size);
    if (text.empty())
    {
        return seconds(whole);
    }
    if (text.front() != '.' || !AreDigits(text.substr(1)))
    {
        return std::nullopt;
    }
    return seconds(whole) + Fraction(text.substr(1));
}

std::string UtcText(microseconds time)
{
    const auto whole = floor<seconds>(time);
    const auto count = static_cast<time_t>(whole.count());
    tm utc{};
    gmtime_r(&count, &utc);
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ", utc.tm_year + 1900, utc.tm_mon + 1,
                  utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, static_cast<int>((time - whole).count()));
    return text.data();
}

std::optional<microseconds> TimeOfUtc(std::string_view text)
{
    constexpr std::string_view pattern = "0000-00-00T00:00:00";
    constexpr std::string_view zonePattern = "+00:00";
    if (!Matches(text, pattern))
    {
        return std::nullopt;
    }
    tm utc{};
    utc.tm_year = Number(text.substr(0, 4)) - 1900;
    utc.tm_mon = Number(text.substr(5, 2)) - 1;
    utc.tm_mday = Number(text.substr(8, 2));
    utc.tm_hour = Number(text.substr(11, 2));
    utc.tm_min = Number(text.substr(14, 2));
    utc.tm_sec = Number(text.substr(17, 2));
    const tm asked = utc;
    microseconds time = seconds(timegm(&utc));
    if (time.count() < 0 || !IsSame(utc, asked.tm_mday, asked.tm_mon + 1, asked.tm_hour))
    {
        return std::nullopt;
    }
    text.remove_prefix(pattern.size());
    if (!text.empty() && text.front() == '.')
    {
        const auto* const end = std::find_if_not(text.begin() + 1, text.end(), IsDigit);
        const auto size = static_cast<std::size_t>(end - text.begin());
        time += Fraction(text.substr(1, size - 1));
        text.remove_prefix(size);
    }
    if (text.empty() || text == "Z")
    {
        return time;
    }
    const bool isWest = text.front() == '-';
    std::string zone(text);
    zone.front() = zone.front() == '-' ? '+' : zone.front();
    if (zone.size() != zonePattern.size() || !Matches(zone, zonePattern))
    {
        return std::nullopt;
    }
    const auto offset = hours(Number(zone.substr(1, 2))) + minutes(Number(zone.substr(4, 2)));
    return isWest ? time + offset : std::max(time - offset, microseconds::zero());
}

} // namespace OrvelClient
