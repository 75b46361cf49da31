#include "Knx/TextBuffer.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace Knx
{

namespace
{

constexpr std::string_view Digits = "0123456789abcdef";
constexpr unsigned BitsOfDigit = 4;

using Pair = std::array<char, 2>;

constexpr std::array<Pair, 256> MakePairs()
{
    std::array<Pair, 256> pairs{};
    for (std::size_t byte = 0; byte < pairs.size(); ++byte)
    {
        pairs[byte] = {Digits[byte >> BitsOfDigit], Digits[byte & 0x0FU]};
    }
    return pairs;
}

constexpr std::array<Pair, 256> Pairs = MakePairs(); // the digits of each byte

} // namespace

void TextBuffer::AddNumber(uint64_t number)
{
    if (number < 10) // as most are
    {
        Add(static_cast<char>('0' + number));
        return;
    }
    if (number < 1000)
    {
        AddDigits(number, number < 100 ? 2 : 3);
        return;
    }
    constexpr std::size_t longest = 20;
    char* const begin = Take(longest);
    const char* const end = std::to_chars(begin, begin + longest, number).ptr;
    size -= static_cast<std::size_t>(begin + longest - end);
}

void TextBuffer::AddDigits(uint64_t number, std::size_t digits)
{
    char* const begin = Take(digits);
    for (char* place = begin + digits; place > begin; number /= 10)
    {
        *--place = static_cast<char>('0' + number % 10);
    }
}

void TextBuffer::AddHex(const Bytes& bytes, std::string_view separator)
{
    if (bytes.empty())
    {
        return;
    }
    char* place = Take(bytes.size() * (2 + separator.size()));
    const auto write = [&](const auto& separate)
    {
        for (const uint8_t byte : bytes)
        {
            place = separate(std::copy_n(Pairs[byte].begin(), 2, place));
        }
    };
    if (separator == " ") // by far the most usual, and worth a loop of its own
    {
        write(
            [](char* end)
            {
                *end = ' ';
                return end + 1;
            });
    }
    else
    {
        write([separator](char* end) { return std::copy(separator.begin(), separator.end(), end); });
    }
    size -= separator.size(); // there is none behind the last byte
}

void TextBuffer::AddHexNumber(uint16_t number, unsigned digits)
{
    constexpr unsigned most = 4;
    Add("0x");
    for (unsigned digit = std::max(digits, most); digit-- > 0;)
    {
        const unsigned rest = digit < most ? static_cast<unsigned>(number) >> (digit * BitsOfDigit) : 0;
        if (digit < digits || rest != 0)
        {
            Add(Digits[rest & 0x0FU]);
        }
    }
}

void TextBuffer::Grow(std::size_t characters)
{
    constexpr std::size_t least = 256;
    room.resize(std::max({2 * room.size(), size + characters, least}));
}

} // namespace Knx
