#include "HexDigits.h"

#include "Failure.h"

namespace OrvelClient
{

namespace
{

constexpr std::string_view Digits = "0123456789abcdef";

constexpr unsigned NoDigit = 16;

unsigned ValueOf(char character)
{
    if (character >= 'A' && character <= 'F')
    {
        character = static_cast<char>(character - 'A' + 'a');
    }
    const std::size_t value = Digits.find(character);
    return value == std::string_view::npos ? NoDigit : static_cast<unsigned>(value);
}

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

} // namespace

std::string ToHex(const Bytes& bytes, std::string_view separator)
{
    std::string text;
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

Bytes FromHex(std::string_view text)
{
    Bytes bytes;
    unsigned pending = NoDigit; // the first digit of a byte
    for (std::size_t position = 0; position < text.size() && text[position] != '#'; ++position)
    {
        const char character = text[position];
        const unsigned value = ValueOf(character);
        if (value == NoDigit && !IsBetweenBytes(character))
        {
            throw Failure(Status::NotUnderstood, Quoted(character) + " at position " + std::to_string(position + 1) +
                                                     " is no hexadecimal digit");
        }
        if (value == NoDigit && pending != NoDigit)
        {
            break; // a byte cannot be torn apart
        }
        if (value == NoDigit)
        {
            continue;
        }
        if (pending == NoDigit)
        {
            pending = value;
            continue;
        }
        bytes.push_back(static_cast<uint8_t>((pending << 4U) | value));
        pending = NoDigit;
    }
    if (pending != NoDigit)
    {
        throw Failure(Status::NotUnderstood, "byte " + std::to_string(bytes.size() + 1) + " has one digit only");
    }
    return bytes;
}

} // namespace OrvelClient
