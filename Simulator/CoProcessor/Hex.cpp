#include "Hex.h"

#include <cctype>
#include <utility>

namespace Simulator
{

namespace
{

uint8_t DigitValue(char digit)
{
    const std::string digits = "0123456789abcdef";
    return static_cast<uint8_t>(digits.find(static_cast<char>(std::tolower(static_cast<unsigned char>(digit)))));
}

bool IsDigit(char character)
{
    return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

} // namespace

std::string ToHex(const Bytes& bytes)
{
    const char* const digits = "0123456789abcdef";
    std::string text;
    for (const uint8_t byte : bytes)
    {
        if (!text.empty())
        {
            text += ' ';
        }
        text += digits[byte >> 4U];
        text += digits[byte & 0x0FU];
    }
    return text;
}

std::optional<Bytes> FromHex(const std::string& text)
{
    Bytes bytes;
    for (std::size_t position = 0; position < text.size();)
    {
        if (text[position] == ' ' || text[position] == ':')
        {
            ++position;
            continue;
        }
        if (position + 1 >= text.size() || !IsDigit(text[position]) || !IsDigit(text[position + 1]))
        {
            return std::nullopt;
        }
        bytes.push_back(static_cast<uint8_t>((DigitValue(text[position]) << 4U) | DigitValue(text[position + 1])));
        position += 2;
    }
    return bytes;
}

std::optional<Bytes> TelegramFromHex(const std::string& text)
{
    auto telegram = FromHex(text);
    return telegram && !telegram->empty() && telegram->size() <= MaxTelegram ? std::move(telegram) : std::nullopt;
}

} // namespace Simulator
