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

// A byte as a decimal number.
struct Decimal
{
    std::array<char, 3> digits; // those behind the size mean nothing
    uint8_t size;
};

constexpr std::array<Decimal, 256> MakeDecimals()
{
    std::array<Decimal, 256> decimals{};
    for (std::size_t byte = 0; byte < decimals.size(); ++byte)
    {
        Decimal& decimal = decimals[byte];
        for (std::size_t unit = byte < 10 ? 1 : byte < 100 ? 10 : 100; unit > 0; unit /= 10)
        {
            decimal.digits[decimal.size++] = Digits[byte / unit % 10];
        }
    }
    return decimals;
}

constexpr std::array<Decimal, 256> Decimals = MakeDecimals();
constexpr std::size_t LongestByte = 3;

// Gives the end of the number. There has to be room for the longest one.
char* WriteByte(char* place, uint8_t byte)
{
    const Decimal& decimal = Decimals[byte];
    std::copy_n(decimal.digits.begin(), LongestByte, place); // always as many, which is quicker
    return place + decimal.size;
}

} // namespace

void TextBuffer::AddNumber(uint64_t number)
{
    if (number <= UINT8_MAX) // as most are
    {
        EndAt(WriteByte(Take(LongestByte), static_cast<uint8_t>(number)));
        return;
    }
    constexpr std::size_t longest = 20;
    char* const begin = Take(longest);
    EndAt(std::to_chars(begin, begin + longest, number).ptr);
}

void TextBuffer::AddNumbers(const std::array<uint8_t, 3>& numbers, char separator)
{
    char* place = Take(numbers.size() * (LongestByte + 1));
    for (const uint8_t number : numbers)
    {
        place = WriteByte(place, number);
        *place++ = separator;
    }
    EndAt(place - 1); // there is none behind the last number
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
