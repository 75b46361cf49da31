#include "Knx/HexDigits.h"

#include "Knx/TextBuffer.h"

#include <algorithm>
#include <array>

namespace Knx
{

namespace
{

// What a character is: the value of a digit, or one of these.
constexpr uint8_t Gap = 0x10; // between bytes
constexpr uint8_t Other = 0x11;

constexpr std::array<uint8_t, 256> MakeKinds()
{
    std::array<uint8_t, 256> kinds{};
    for (std::size_t character = 0; character < kinds.size(); ++character)
    {
        kinds[character] = character >= '0' && character <= '9'   ? static_cast<uint8_t>(character - '0')
                           : character >= 'a' && character <= 'f' ? static_cast<uint8_t>(character - 'a' + 10)
                           : character >= 'A' && character <= 'F' ? static_cast<uint8_t>(character - 'A' + 10)
                                                                  : Other;
    }
    for (const char gap : {' ', ':', '\t', '\r'})
    {
        kinds[static_cast<unsigned char>(gap)] = Gap;
    }
    return kinds;
}

constexpr std::array<uint8_t, 256> Kinds = MakeKinds();

uint8_t KindOf(char character)
{
    return Kinds[static_cast<unsigned char>(character)];
}

uint8_t KindAt(std::string_view text, std::size_t position)
{
    return position < text.size() ? KindOf(text[position]) : Gap;
}

uint8_t ByteOf(uint8_t high, uint8_t low)
{
    return static_cast<uint8_t>(high << 4U | low);
}

// Whether the three characters are two digits and a gap.
bool IsByteWithGap(const char* text)
{
    return (KindOf(text[0]) | KindOf(text[1])) < Gap && KindOf(text[2]) == Gap;
}

// Nobody wants control characters or half a page in an error line.
std::string Quoted(char character)
{
    const auto code = static_cast<unsigned char>(character);
    if (code < 0x20 || code >= 0x7F)
    {
        return "the byte " + HexNumber(code, 2);
    }
    return std::string("'") + character + "'";
}

// Of the two characters from `position` on, one is no digit.
[[noreturn]] void Reject(std::string_view text, std::size_t position, std::size_t bytesBefore)
{
    const bool isSecond = KindAt(text, position) < Gap;
    if (isSecond && KindAt(text, position + 1) == Gap)
    {
        throw NotHex("byte " + std::to_string(bytesBefore + 1) + " has one digit only");
    }
    const std::size_t wrong = position + (isSecond ? 1 : 0);
    throw NotHex(Quoted(text[wrong]) + " at position " + std::to_string(wrong + 1) + " is no hexadecimal digit");
}

} // namespace

std::string ToHex(const Bytes& bytes, std::string_view separator)
{
    TextBuffer text;
    text.AddHex(bytes, separator);
    return std::string(text.Text());
}

std::string HexNumber(uint16_t number, int digits)
{
    TextBuffer text;
    text.AddHexNumber(number, static_cast<unsigned>(digits));
    return std::string(text.Text());
}

Bytes FromHex(std::string_view text, std::size_t position)
{
    Bytes bytes;
    FromHex(text, position, bytes);
    return bytes;
}

void FromHex(std::string_view text, std::size_t position, Bytes& bytes)
{
    bytes.resize((text.size() - std::min(position, text.size())) / 2); // as many as there can be
    uint8_t* const place = bytes.data();
    std::size_t size = 0;
    while (position < text.size())
    {
        // Nearly all bytes have a gap behind them. These are read without a look for the end before each character.
        for (; position + 2 < text.size() && IsByteWithGap(text.data() + position); position += 3)
        {
            place[size++] = ByteOf(KindOf(text[position]), KindOf(text[position + 1]));
        }
        const uint8_t high = KindAt(text, position);
        const uint8_t low = KindAt(text, position + 1);
        if ((high | low) < Gap)
        {
            place[size++] = ByteOf(high, low);
            position += 2;
        }
        else if (high == Gap)
        {
            ++position;
        }
        else
        {
            Reject(text, position, size);
        }
    }
    bytes.resize(size);
}

} // namespace Knx
