#include "Knx/DatapointField.h"

#include "Knx/Characters.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <system_error>

namespace Knx
{

namespace
{

using Field = DatapointField;

constexpr uint64_t InvalidFloat16 = 0x7FFF;
constexpr std::string_view Invalid = "invalid";

std::string_view WithoutBlanks(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    const std::size_t last = text.find_last_not_of(" \t");
    return first == std::string_view::npos ? std::string_view() : text.substr(first, last - first + 1);
}

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool IsBlank(char character)
{
    return character == ' ' || character == '\t';
}

// What ends like a unit may be a part of the number: newton is the end of "NaN", and "51/s" are 51 for each second or 5 of "1/s".
std::string_view WithoutUnit(std::string_view text, const Field& field)
{
    text = WithoutBlanks(text);
    if (!field.unit.empty() && text.size() > field.unit.size())
    {
        const std::string_view number = text.substr(0, text.size() - field.unit.size());
        const bool endsBefore = IsBlank(number.back()) || (IsDigit(number.back()) && !IsDigit(field.unit.front()));
        const bool hasUnit = text.substr(number.size()) == field.unit && endsBefore;
        return hasUnit ? WithoutBlanks(number) : text;
    }
    return text;
}

// Of the whole text.
template<typename Number>
std::optional<Number> NumberOf(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
    {
        return {};
    }
    return number;
}

template<typename Number>
void AppendNumber(std::string& text, Number number)
{
    std::array<char, 32> digits{};
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), result.ptr);
}

void AppendHundredths(std::string& text, int64_t hundredths)
{
    if (hundredths < 0)
    {
        text += '-';
        hundredths = -hundredths;
    }
    AppendNumber(text, hundredths / 100);
    if (const auto rest = static_cast<char>(hundredths % 100); rest != 0)
    {
        text += '.';
        text += static_cast<char>('0' + rest / 10);
        if (rest % 10 != 0)
        {
            text += static_cast<char>('0' + rest % 10);
        }
    }
}

// The texts of bits and enumerations

std::string_view TakeItem(std::string_view& texts)
{
    const std::size_t end = std::min(texts.find('|'), texts.size());
    const std::string_view item = texts.substr(0, end);
    texts.remove_prefix(std::min(end + 1, texts.size()));
    return item;
}

struct NumberedText
{
    uint64_t number;
    std::string_view text;
};

NumberedText TakeNumberedText(std::string_view& texts)
{
    const std::string_view item = TakeItem(texts);
    const std::size_t equals = item.find('=');
    return {NumberOf<uint64_t>(item.substr(0, equals)).value_or(0), item.substr(equals + 1)};
}

// Empty when there is none.
std::string_view TextOf(const Field& field, uint64_t number)
{
    std::string_view texts = field.texts;
    if (field.kind == FieldKind::Bit)
    {
        const std::string_view zero = TakeItem(texts);
        return number == 0 ? zero : texts;
    }
    while (!texts.empty())
    {
        const NumberedText item = TakeNumberedText(texts);
        if (item.number == number)
        {
            return item.text;
        }
    }
    return {};
}

std::optional<uint64_t> BitOf(const Field& field, std::string_view text)
{
    constexpr std::array<std::array<std::string_view, 3>, 2> words{{{"0", "off", "false"}, {"1", "on", "true"}}};
    for (const std::size_t bit : {0U, 1U})
    {
        const bool isWord = std::any_of(words[bit].begin(), words[bit].end(),
                                        [text](std::string_view word) { return IsSameWord(word, text); });
        if (isWord || IsSameWord(TextOf(field, bit), text))
        {
            return bit;
        }
    }
    return {};
}

std::optional<uint64_t> NumberOfEnumeration(const Field& field, std::string_view text)
{
    std::string_view texts = field.texts;
    while (!texts.empty())
    {
        const NumberedText item = TakeNumberedText(texts);
        if (IsSameWord(text, item.text))
        {
            return item.number;
        }
    }
    return NumberOf<uint64_t>(text);
}

// Integers

bool HasHundredths(const Field& field)
{
    return field.divisor == 100;
}

// Whether each number that can be shown has bits of its own.
bool IsExact(const Field& field)
{
    return field.multiplier == 1 && field.divisor == 1;
}

int64_t Signed(const Field& field, uint64_t bits)
{
    if (field.kind == FieldKind::Signed && field.bits < 64 && (bits >> (field.bits - 1U)) != 0)
    {
        return static_cast<int64_t>(bits | ~uint64_t{0} << field.bits);
    }
    return static_cast<int64_t>(bits);
}

// The number that is shown, or its hundredths.
int64_t Shown(const Field& field, int64_t raw)
{
    if (field.kind == FieldKind::ShortYear)
    {
        return raw + (raw >= 90 && raw <= 99 ? 1900 : 2000);
    }
    const int64_t parts = raw * field.multiplier;
    if (field.divisor == 1 || HasHundredths(field))
    {
        return parts + field.offset;
    }
    const int64_t divisor = field.divisor;
    return (2 * parts + divisor) / (2 * divisor); // the nearest; these are not negative
}

void AppendShown(std::string& text, const Field& field, int64_t raw)
{
    if (HasHundredths(field))
    {
        AppendHundredths(text, Shown(field, raw));
    }
    else
    {
        AppendNumber(text, Shown(field, raw));
    }
}

// Floats

double Hundredths(int64_t count)
{
    return static_cast<double>(count) / 100;
}

int64_t HundredthsOfFloat16(uint64_t bits)
{
    const int64_t mantissa = static_cast<int64_t>(bits & 0x07FFU) - ((bits & 0x8000U) != 0 ? 2048 : 0);
    return mantissa * (int64_t{1} << ((bits >> 11U) & 0x0FU));
}

// The nearest one, with the smallest exponent that it has room in. Nothing when it is beyond all.
std::optional<uint64_t> Float16Of(double number)
{
    for (unsigned exponent = 0; exponent < 16; ++exponent)
    {
        const double mantissa = std::nearbyint(number * 100 / (1U << exponent));
        if (mantissa >= -2048 && mantissa <= 2047)
        {
            const auto bits = static_cast<uint64_t>(static_cast<int64_t>(mantissa));
            return (bits & 0x07FFU) | (exponent << 11U) | (mantissa < 0 ? 0x8000U : 0U);
        }
    }
    return {};
}

float Float32Of(uint64_t bits)
{
    const auto word = static_cast<uint32_t>(bits);
    float number = 0;
    std::memcpy(&number, &word, sizeof(number));
    return number;
}

uint64_t BitsOf(float number)
{
    uint32_t word = 0;
    std::memcpy(&word, &number, sizeof(word));
    return word;
}

void AppendFloat32(std::string& text, float number)
{
    if (std::isnan(number))
    {
        text += "nan"; // also one with a sign
    }
    else
    {
        AppendNumber(text, number);
    }
}

bool HasLimits(const Field& field)
{
    return field.kind != FieldKind::Float32 || field.lowest != std::numeric_limits<int64_t>::min();
}

// What is allowed

void AppendLimit(std::string& text, const Field& field, int64_t limit)
{
    if (!HasLimits(field))
    {
        AppendFloat32(text, std::numeric_limits<float>::max() * (limit < 0 ? -1.0F : 1.0F));
    }
    else if (field.kind == FieldKind::Float16 || field.kind == FieldKind::Float32)
    {
        AppendHundredths(text, limit);
    }
    else
    {
        AppendShown(text, field, limit);
    }
}

std::string Range(const Field& field)
{
    if (field.kind == FieldKind::ShortYear)
    {
        return "1990 to 2089";
    }
    std::string text;
    AppendLimit(text, field, field.lowest);
    text += " to ";
    AppendLimit(text, field, field.highest);
    if (!field.unit.empty())
    {
        text += ' ';
        text += field.unit;
    }
    return text;
}

std::string Texts(const Field& field)
{
    std::string text;
    std::string_view texts = field.texts;
    while (!texts.empty())
    {
        text += TakeNumberedText(texts).text;
        text += ", ";
    }
    return text + "or " + Range(field);
}

[[noreturn]] void Refuse(const DatapointType& type, const Field& field, const char* remark = "")
{
    throw NotAValue(AllowedIn(type, field) + remark);
}

// From text

uint64_t EncodeExact(const DatapointType& type, const Field& field, std::string_view text)
{
    const auto number = NumberOf<int64_t>(text);
    if (!number)
    {
        const bool isFraction = NumberOf<double>(text) && text.find('.') != std::string_view::npos;
        Refuse(type, field, isFraction ? ", whole numbers" : "");
    }
    if (field.kind == FieldKind::ShortYear)
    {
        if (*number < 1990 || *number > 2089)
        {
            Refuse(type, field);
        }
        return static_cast<uint64_t>(*number % 100);
    }
    if (*number < Shown(field, field.lowest) || *number > Shown(field, field.highest))
    {
        Refuse(type, field);
    }
    return static_cast<uint64_t>(*number - field.offset);
}

uint64_t EncodeNearest(const DatapointType& type, const Field& field, std::string_view text)
{
    const auto number = NumberOf<double>(text);
    const double parts = HasHundredths(field) ? 100 : 1;
    if (!number || !(*number >= static_cast<double>(Shown(field, field.lowest)) / parts) ||
        !(*number <= static_cast<double>(Shown(field, field.highest)) / parts))
    {
        Refuse(type, field);
    }
    return static_cast<uint64_t>(static_cast<int64_t>(std::nearbyint(*number * field.divisor / field.multiplier)));
}

uint64_t EncodeEnumeration(const DatapointType& type, const Field& field, std::string_view text)
{
    const auto number = NumberOfEnumeration(field, text);
    if (!number || *number < static_cast<uint64_t>(field.lowest) || *number > static_cast<uint64_t>(field.highest))
    {
        Refuse(type, field);
    }
    return *number;
}

uint64_t EncodeFloat16(const DatapointType& type, const Field& field, std::string_view text)
{
    if (IsSameWord(text, Invalid))
    {
        return InvalidFloat16;
    }
    const auto number = NumberOf<double>(text);
    const auto bits = Float16Of(number.value_or(std::numeric_limits<double>::quiet_NaN()));
    if (!bits || *number > Hundredths(field.highest))
    {
        Refuse(type, field);
    }
    // A limit may lie between two steps. It becomes the nearest one, which is allowed then, too.
    const uint64_t lowest = *Float16Of(Hundredths(field.lowest));
    if (*number < Hundredths(std::min(field.lowest, HundredthsOfFloat16(lowest))))
    {
        Refuse(type, field);
    }
    return *bits;
}

uint64_t EncodeFloat32(const DatapointType& type, const Field& field, std::string_view text)
{
    const auto number = NumberOf<float>(text);
    const bool isWithin =
        number && (!HasLimits(field) || (*number >= Hundredths(field.lowest) && *number <= Hundredths(field.highest)));
    if (!isWithin)
    {
        Refuse(type, field);
    }
    return BitsOf(std::isnan(*number) ? std::numeric_limits<float>::quiet_NaN() : *number);
}

uint64_t EncodeBit(const DatapointType& type, const Field& field, std::string_view text)
{
    const auto bit = BitOf(field, text);
    if (!bit)
    {
        Refuse(type, field);
    }
    return *bit;
}

} // namespace

std::string AllowedIn(const DatapointType& type, const DatapointField& field)
{
    std::string line = type.Number();
    if (!field.name.empty())
    {
        line += ' ';
        line += field.name;
    }
    line += ": ";
    switch (field.kind)
    {
    case FieldKind::Bit:
        return line.append(TextOf(field, 0)).append(" or ").append(TextOf(field, 1));
    case FieldKind::Enumeration:
        return line + Texts(field);
    default:
        return line + Range(field);
    }
}

uint64_t EncodeField(const DatapointType& type, const DatapointField& field, std::string_view text)
{
    text = WithoutUnit(text, field);
    switch (field.kind)
    {
    case FieldKind::Bit:
        return EncodeBit(type, field, text);
    case FieldKind::Enumeration:
        return EncodeEnumeration(type, field, text);
    case FieldKind::Float16:
        return EncodeFloat16(type, field, text);
    case FieldKind::Float32:
        return EncodeFloat32(type, field, text);
    default:
        return IsExact(field) ? EncodeExact(type, field, text) : EncodeNearest(type, field, text);
    }
}

void AppendField(std::string& text, const DatapointField& field, uint64_t bits)
{
    switch (field.kind)
    {
    case FieldKind::Bit:
    case FieldKind::Enumeration:
        if (const std::string_view name = TextOf(field, bits); !name.empty())
        {
            text += name;
        }
        else
        {
            AppendNumber(text, bits);
        }
        return;
    case FieldKind::Float16:
        if (bits == InvalidFloat16)
        {
            text += Invalid;
            return;
        }
        AppendHundredths(text, HundredthsOfFloat16(bits));
        break;
    case FieldKind::Float32:
        AppendFloat32(text, Float32Of(bits));
        break;
    default:
        AppendShown(text, field, Signed(field, bits));
    }
    if (!field.unit.empty())
    {
        text += ' ';
        text += field.unit;
    }
}

FieldMeaning MeaningOf(const DatapointField& field, uint64_t bits)
{
    switch (field.kind)
    {
    case FieldKind::Bit:
        return bits != 0;
    case FieldKind::Enumeration:
    {
        const std::string_view name = TextOf(field, bits);
        return name.empty() ? FieldMeaning(static_cast<int64_t>(bits)) : FieldMeaning(name);
    }
    case FieldKind::Float16:
        return bits == InvalidFloat16 ? FieldMeaning() : FieldMeaning(Hundredths(HundredthsOfFloat16(bits)));
    case FieldKind::Float32:
    {
        const float number = Float32Of(bits);
        if (!std::isfinite(number))
        {
            return std::string_view(std::isnan(number) ? "nan" : number < 0 ? "-inf" : "inf");
        }
        std::string text;
        AppendFloat32(text, number);
        return *NumberOf<double>(text); // 21.1, where the float itself is 21.10000038...
    }
    default:
    {
        const int64_t shown = Shown(field, Signed(field, bits));
        return HasHundredths(field) ? FieldMeaning(Hundredths(shown)) : FieldMeaning(shown);
    }
    }
}

} // namespace Knx
