#include "Knx/HexDigits.h"

#include <array>
#include <cstdio>

namespace Knx
{

namespace
{

constexpr std::string_view Digits = "0123456789abcdef";

bool IsBetweenBytes(char character)
{
    return character == ' ' || character == ':' || character == '\t' || character == '\r';
}

// Nobody wants control characters or half a page in an error line.
std::string Quoted(char character)
{
    const auto code = static_cast<unsigned char>(character);
    if (code < 0x20 || code >= 0x7F)
    {
        return std::string("the byte 0x") + Digits[code >> 4U] + Digits[code & 0x0FU];
    }
    return std::string("'") + character + "'";
}

unsigned ValueAt(std::string_view text, std::size_t position)
{
    const char character = text[position];
    if (character >= '0' && character <= '9')
    {
        return static_cast<unsigned>(character - '0');
    }
    const auto lower = static_cast<char>(character | 0x20);
    if (lower >= 'a' && lower <= 'f')
    {
        return static_cast<unsigned>(lower - 'a' + 10);
    }
    throw NotHex(Quoted(character) + " at position " + std::to_string(position + 1) + " is no hexadecimal digit");
}

} // namespace

std::string ToHex(const Bytes& bytes, std::string_view separator)
{
    std::string text;
    text.reserve(bytes.size() * (2 + separator.size()));
    for (const uint8_t byte : bytes)
    {
        if (!text.empty())
        {
            text += separator;
        }
        text += Digits[byte >> 4U];
        text += Digits[byte & 0x0FU];
    }
    return text;
}

std::string HexNumber(uint16_t number, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", digits, static_cast<unsigned>(number));
    return text.data();
}

Bytes FromHex(std::string_view text, std::size_t position)
{
    Bytes bytes;
    if (position < text.size())
    {
        bytes.reserve((text.size() - position) / 2);
    }
    while (position < text.size())
    {
        if (IsBetweenBytes(text[position]))
        {
            ++position;
            continue;
        }
        const unsigned high = ValueAt(text, position++);
        if (position == text.size() || IsBetweenBytes(text[position]))
        {
            throw NotHex("byte " + std::to_string(bytes.size() + 1) + " has one digit only");
        }
        bytes.push_back(static_cast<uint8_t>((high << 4U) | ValueAt(text, position++)));
    }
    return bytes;
}

} // namespace Knx
