#include "KernelText.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <limits>

namespace Simulator
{

namespace
{

std::string_view UpToZero(std::string_view text)
{
    return text.substr(0, text.find('\0'));
}

bool Remove(std::string_view& text, char first)
{
    if (text.empty() || text.front() != first)
    {
        return false;
    }
    text.remove_prefix(1);
    return true;
}

int ParseDigits(std::string_view text, int base, unsigned long& value)
{
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, base);
    if (result.ec == std::errc::result_out_of_range)
    {
        return ERANGE;
    }
    const std::string_view rest(result.ptr, static_cast<std::size_t>(end - result.ptr));
    return result.ec == std::errc() && (rest.empty() || rest == "\n") ? 0 : EINVAL;
}

// Removes the "0x"; the "0" of an octal number is one of its digits.
int RemoveBase(std::string_view& text)
{
    if (text.empty() || text.front() != '0')
    {
        return 10;
    }
    const bool hexadecimal = text.size() > 2 && (text[1] == 'x' || text[1] == 'X') &&
                             std::isxdigit(static_cast<unsigned char>(text[2])) != 0;
    if (!hexadecimal)
    {
        return 8;
    }
    text.remove_prefix(2);
    return 16;
}

} // namespace

int ParseNumber(std::string_view text, long& value)
{
    constexpr auto Max = static_cast<unsigned long>(std::numeric_limits<long>::max());

    text = UpToZero(text);
    const bool negative = Remove(text, '-');
    if (!negative)
    {
        Remove(text, '+');
    }
    const int base = RemoveBase(text);
    unsigned long magnitude = 0;
    if (const int error = ParseDigits(text, base, magnitude); error != 0)
    {
        return error;
    }
    if (magnitude > (negative ? Max + 1 : Max))
    {
        return ERANGE;
    }
    value = static_cast<long>(negative ? 0 - magnitude : magnitude);
    return 0;
}

int ParseDecimal(std::string_view text, unsigned long& value)
{
    text = UpToZero(text);
    Remove(text, '+');
    return ParseDigits(text, 10, value);
}

bool IsWord(std::string_view text, std::string_view word)
{
    text = UpToZero(text);
    if (!text.empty() && text.back() == '\n')
    {
        text.remove_suffix(1);
    }
    return text == word;
}

} // namespace Simulator
