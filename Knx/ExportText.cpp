#include "Knx/ExportText.h"

#include "Knx/Characters.h"
#include "Knx/HexDigits.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

namespace Knx::ExportText
{

namespace
{

constexpr std::string_view Mark = "\xEF\xBB\xBF";

// What Windows-1252 has from 0x80 to 0x9F; from 0xA0 on it is as Unicode. 0: no character.
constexpr std::array<uint16_t, 32> Windows1252{0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                               0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                               0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                               0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

uint8_t Byte(char character)
{
    return static_cast<uint8_t>(character);
}

bool IsContinuation(char character)
{
    return (Byte(character) & 0xC0U) == 0x80;
}

// Of the character at the begin of the text; 0 when it is not UTF-8.
std::size_t SizeOfCharacter(std::string_view text)
{
    const uint8_t first = Byte(text.front());
    if (first < 0x80)
    {
        return 1;
    }
    const std::size_t size = first >= 0xC2 && first <= 0xDF   ? 2
                             : first >= 0xE0 && first <= 0xEF ? 3
                             : first >= 0xF0 && first <= 0xF4 ? 4
                                                              : 0;
    if (size == 0 || text.size() < size ||
        !std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(size), IsContinuation))
    {
        return 0;
    }
    const uint8_t second = Byte(text[1]);
    const bool isTooLong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isSurrogate = first == 0xED && second > 0x9F;
    const bool isBeyondUnicode = first == 0xF4 && second > 0x8F;
    return isTooLong || isSurrogate || isBeyondUnicode ? 0 : size;
}

// Where the text stops to be UTF-8; its size when all of it is.
std::size_t EndOfUtf8(std::string_view text)
{
    std::size_t offset = 0;
    while (offset < text.size())
    {
        const std::size_t size = SizeOfCharacter(text.substr(offset));
        if (size == 0)
        {
            break;
        }
        offset += size;
    }
    return offset;
}

void AppendUtf8(std::string& text, unsigned character)
{
    if (character < 0x80)
    {
        text += static_cast<char>(character);
        return;
    }
    if (character < 0x800)
    {
        text += static_cast<char>(0xC0U | (character >> 6U));
    }
    else
    {
        text += static_cast<char>(0xE0U | (character >> 12U));
        text += static_cast<char>(0x80U | ((character >> 6U) & 0x3FU));
    }
    text += static_cast<char>(0x80U | (character & 0x3FU));
}

std::string HexByte(char character)
{
    return "the byte " + HexNumber(Byte(character), 2);
}

std::string FromWindows1252(const std::string& content)
{
    std::string text;
    text.reserve(content.size() + content.size() / 8);
    for (const char character : content)
    {
        const unsigned byte = Byte(character);
        const unsigned code = byte >= 0x80 && byte <= 0x9F ? Windows1252[byte - 0x80] : byte;
        if (code == 0 && byte != 0)
        {
            RejectAt(text, text.size(), HexByte(character) + " is no character of Windows-1252, nor is this UTF-8");
        }
        AppendUtf8(text, code);
    }
    return text;
}

bool Begins(const std::string& content, std::string_view mark)
{
    return content.compare(0, mark.size(), mark) == 0;
}

bool HasMark(const std::string& content)
{
    return Begins(content, Mark);
}

void RejectOtherMarks(const std::string& content)
{
    if (Begins(content, "\xFF\xFE") || Begins(content, "\xFE\xFF")) // so begins one of the marks of UTF-32, too
    {
        RejectAt(content, 0, "this is UTF-16 or UTF-32; save it as UTF-8");
    }
}

void CheckCharacters(std::string_view text)
{
    const auto* const found =
        std::find_if(text.begin(), text.end(),
                     [](char character)
                     { return Byte(character) < 0x20 && character != '\t' && character != '\n' && character != '\r'; });
    if (found != text.end())
    {
        RejectAt(text, static_cast<std::size_t>(found - text.begin()), HexByte(*found) + " is of no text");
    }
}

bool IsNumber(std::string_view text)
{
    constexpr std::size_t maxDigits = 5;
    return !text.empty() && text.size() <= maxDigits && text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::string_view Trimmed(std::string_view text)
{
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

bool TakePrefix(std::string_view& text, std::string_view prefix)
{
    const bool begins = text.substr(0, prefix.size()) == prefix;
    text.remove_prefix(begins ? prefix.size() : 0);
    return begins;
}

// "9.001" of "DPST-9-1" and "9.001", "9" of "DPT-9" and "9".
std::optional<std::string> TypeNumber(std::string_view type)
{
    constexpr std::size_t subDigits = 3;
    const bool isSub = TakePrefix(type, "DPST-");
    const bool isMain = !isSub && TakePrefix(type, "DPT-");
    const std::size_t separator = type.find(isSub ? '-' : '.');
    const std::string main(type.substr(0, separator));
    if (separator == std::string_view::npos)
    {
        return IsNumber(main) && !isSub ? std::optional(main) : std::nullopt;
    }
    const std::string sub(type.substr(separator + 1));
    if (!IsNumber(main) || !IsNumber(sub) || isMain)
    {
        return std::nullopt;
    }
    return main + "." + std::string(sub.size() < subDigits ? subDigits - sub.size() : 0, '0') + sub;
}

} // namespace

void RejectAt(std::string_view text, std::size_t offset, const std::string& why)
{
    const std::string_view before = text.substr(0, offset);
    const auto lines = std::count(before.begin(), before.end(), '\n');
    const std::string_view line = before.substr(before.rfind('\n') + 1); // all, when there is no newline
    const auto characters = std::count_if(line.begin(), line.end(), [](char byte) { return !IsContinuation(byte); });
    throw NotAnExport("line " + std::to_string(lines + 1) + ", column " + std::to_string(characters + 1) + ": " + why);
}

bool IsUtf8(std::string_view text)
{
    return EndOfUtf8(text) == text.size();
}

std::string DecodeUtf8(const std::string& content)
{
    RejectOtherMarks(content);
    std::string text = content.substr(HasMark(content) ? Mark.size() : 0);
    if (const std::size_t end = EndOfUtf8(text); end < text.size())
    {
        RejectAt(text, end, HexByte(text[end]) + " is not UTF-8");
    }
    CheckCharacters(text);
    return text;
}

Decoded Decode(const std::string& content)
{
    RejectOtherMarks(content);
    if (HasMark(content) || IsUtf8(content))
    {
        return {DecodeUtf8(content), "UTF-8"};
    }
    Decoded decoded{FromWindows1252(content), "Windows-1252"};
    CheckCharacters(decoded.text);
    return decoded;
}

std::string Clean(std::string_view text)
{
    std::string clean(text);
    for (std::size_t index = 0; index < clean.size(); ++index)
    {
        if (const std::size_t size = ControlSize(std::string_view(clean).substr(index)); size != 0)
        {
            clean.replace(index, size, " ");
        }
    }
    return std::string(Trimmed(clean));
}

std::string Quoted(std::string_view text)
{
    constexpr std::size_t maxSize = 60; // bytes
    std::string_view shown = text;
    if (shown.size() > maxSize)
    {
        std::size_t end = maxSize;
        while (end > 0 && IsContinuation(shown[end]))
        {
            --end;
        }
        shown = shown.substr(0, end);
    }
    return "'" + Clean(shown) + (shown.size() < text.size() ? "...'" : "'");
}

GroupAddressStyle StyleOf(std::string_view address)
{
    switch (std::count(address.begin(), address.end(), '/'))
    {
    case 0:
        return GroupAddressStyle::Free;
    case 1:
        return GroupAddressStyle::TwoLevel;
    default:
        return GroupAddressStyle::ThreeLevel;
    }
}

uint16_t Collector::AddressIn(Part part) const
{
    constexpr std::size_t maxSize = 16; // with some zeros too many
    if (part.value.size() > maxSize || !LooksLikeGroupAddress(part.value))
    {
        RejectAt(text, part.offset, Quoted(part.value) + " is no group address");
    }
    try
    {
        return ParseGroupAddress(part.value);
    }
    catch (const NotAGroupAddress& problem)
    {
        RejectAt(text, part.offset, problem.what());
    }
}

std::string Collector::TypeIn(Part part) const
{
    const std::string_view own = Trimmed(part.value.substr(part.value.rfind(',') + 1)); // all, when there is no comma
    if (own.empty())
    {
        return "";
    }
    const auto type = TypeNumber(own);
    if (!type)
    {
        RejectAt(text, part.offset, Quoted(own) + " is no datapoint type such as DPST-9-1 or DPT-9");
    }
    return *type;
}

void Collector::Add(NamedGroup group, std::size_t offset)
{
    groups.push_back({std::move(group), offset});
}

GroupAddresses Collector::Finish(GroupAddressStyle style)
{
    std::stable_sort(groups.begin(), groups.end(),
                     [](const Placed& one, const Placed& other) { return one.group.address < other.group.address; });
    const auto twice = std::adjacent_find(groups.begin(), groups.end(),
                                          [](const Placed& one, const Placed& other)
                                          { return one.group.address == other.group.address; });
    if (twice != groups.end())
    {
        const auto first =
            std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(twice->offset), '\n') + 1;
        RejectAt(text, std::next(twice)->offset,
                 GroupAddress(twice->group.address, style) + " is there twice; the first is on line " +
                     std::to_string(first));
    }
    std::vector<NamedGroup> sorted;
    sorted.reserve(groups.size());
    for (Placed& placed : groups)
    {
        sorted.push_back(std::move(placed.group));
    }
    return GroupAddresses(std::move(sorted), style);
}

} // namespace Knx::ExportText
