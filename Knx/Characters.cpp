#include "Knx/Characters.h"

#include <algorithm>

namespace Knx
{

namespace
{

bool IsControl(unsigned character)
{
    const bool changesOrder =
        (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || changesOrder;
}

bool IsIn(Encoding encoding, unsigned character)
{
    constexpr unsigned ends[] = {0x80, 0x100, 0x110000}; // behind the last one
    return !IsControl(character) && character < ends[static_cast<std::size_t>(encoding)];
}

// How many bytes the character at the front of the text has; 0 when they are none. Its code point goes to `character`.
std::size_t FirstCharacter(std::string_view text, unsigned& character)
{
    const auto first = static_cast<uint8_t>(text[0]);
    if (first < 0x80)
    {
        character = first;
        return 1;
    }
    const std::size_t size = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC0 || first > 0xF7 || size > text.size())
    {
        return 0;
    }
    character = first & (0xFFU >> (size + 1));
    for (const char next : text.substr(1, size - 1))
    {
        const auto byte = static_cast<uint8_t>(next);
        if ((byte & 0xC0U) != 0x80)
        {
            return 0;
        }
        character = (character << 6U) | (byte & 0x3FU);
    }
    // Each code point has one form, and the surrogates of UTF-16 are none.
    constexpr unsigned lowest[] = {0x80, 0x800, 0x10000};
    const bool isSurrogate = character >= 0xD800 && character < 0xE000;
    return character < lowest[size - 2] || isSurrogate ? 0 : size;
}

void AppendLatin1(std::string& text, unsigned character)
{
    if (character < 0x80)
    {
        text += static_cast<char>(character);
        return;
    }
    text += static_cast<char>(0xC0U | (character >> 6U));
    text += static_cast<char>(0x80U | (character & 0x3FU));
}

} // namespace

std::size_t ControlSize(std::string_view text)
{
    unsigned character = 0;
    const std::size_t size = text.empty() ? 0 : FirstCharacter(text, character);
    return size != 0 && IsControl(character) ? size : 0;
}

std::string FromCharacters(Encoding encoding, const Bytes& bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), uint8_t{0});
    std::string_view rest(reinterpret_cast<const char*>(bytes.data()), static_cast<std::size_t>(end - bytes.begin()));
    std::string text;
    while (!rest.empty())
    {
        unsigned character = static_cast<uint8_t>(rest[0]);
        std::size_t size = encoding == Encoding::Utf8 ? FirstCharacter(rest, character) : 1;
        if (size == 0 || !IsIn(encoding, character))
        {
            text += "\\x" + ToHex({static_cast<uint8_t>(rest[0])});
            size = 1;
        }
        else if (size == 1)
        {
            AppendLatin1(text, character);
        }
        else
        {
            text += rest.substr(0, size);
        }
        rest.remove_prefix(size);
    }
    return text;
}

std::string Printable(std::string_view text)
{
    return FromCharacters(Encoding::Utf8, Bytes(text.begin(), text.end()));
}

std::optional<Bytes> ToCharacters(Encoding encoding, std::string_view text)
{
    Bytes bytes;
    while (!text.empty())
    {
        unsigned character = 0;
        const std::size_t size = FirstCharacter(text, character);
        if (size == 0 || !IsIn(encoding, character))
        {
            return {};
        }
        if (encoding == Encoding::Utf8)
        {
            bytes.insert(bytes.end(), text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
        }
        else
        {
            bytes.push_back(static_cast<uint8_t>(character));
        }
        text.remove_prefix(size);
    }
    return bytes;
}

bool IsSameWord(std::string_view one, std::string_view other)
{
    const auto lower = [](char character)
    { return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character; };
    return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                      [lower](char left, char right) { return lower(left) == lower(right); });
}

} // namespace Knx
