#include "RandomValues.h"

#include <algorithm>

namespace Knx
{

namespace
{

int64_t RandomNumber(int64_t lowest, int64_t highest, std::mt19937& random)
{
    return std::uniform_int_distribution<int64_t>(lowest, highest)(random);
}

bool IsText(const DatapointField& field)
{
    return field.kind == FieldKind::Characters || field.kind == FieldKind::Line;
}

std::string RandomText(const DatapointField& field, std::mt19937& random)
{
    static const std::string plain[] = {"a", "Z", "0", " ", "=", "{", "\\", "\"", "~"};
    static const std::string more[] = {"ä", "°", "ÿ", "\u00A0", "€", "𝄞"};
    const auto kinds = static_cast<int64_t>(std::size(plain)) + (field.encoding == Encoding::Utf8     ? 6
                                                                 : field.encoding == Encoding::Latin1 ? 4
                                                                                                      : 0);
    std::string text;
    for (int64_t size = RandomNumber(0, field.encoding == Encoding::Utf8 ? 9 : field.bits / 8, random); size > 0;
         --size)
    {
        const auto kind = static_cast<std::size_t>(RandomNumber(0, kinds - 1, random));
        text += kind < std::size(plain) ? plain[kind] : more[kind - std::size(plain)];
    }
    return text;
}

// A float of 16 bits between the limits; any other field has the limits of its bits.
uint64_t RandomBits(const DatapointField& field, std::mt19937& random)
{
    if (field.IsReserved())
    {
        return 0;
    }
    if (field.kind == FieldKind::Float32)
    {
        const auto number = static_cast<float>(RandomNumber(-67076000, 67076000, random)) / 100;
        uint32_t bits = 0;
        std::copy_n(reinterpret_cast<const uint8_t*>(&number), sizeof(bits), reinterpret_cast<uint8_t*>(&bits));
        return bits;
    }
    if (field.kind != FieldKind::Float16)
    {
        return static_cast<uint64_t>(RandomNumber(field.lowest, field.highest, random));
    }
    for (;;)
    {
        const auto bits = static_cast<uint64_t>(RandomNumber(0, 0xFFFF, random));
        const int64_t mantissa = static_cast<int64_t>(bits & 0x7FFU) - ((bits >> 15U) != 0 ? 2048 : 0);
        const int64_t hundredths = mantissa * (int64_t{1} << ((bits >> 11U) & 15U));
        if (hundredths >= field.lowest && hundredths <= field.highest)
        {
            return bits;
        }
    }
}

} // namespace

GroupValue RandomValue(const DatapointType& type, std::mt19937& random)
{
    if (IsText(*type.begin()))
    {
        return Encode(type, RandomText(*type.begin(), random));
    }
    GroupValue value{Bytes(type.Size()), type.IsSmall()};
    std::size_t position = type.Size() * 8 - type.bits;
    for (const DatapointField& field : type)
    {
        const uint64_t bits = RandomBits(field, random);
        for (std::size_t bit = field.bits; bit > 0; --bit, ++position)
        {
            const auto isSet = static_cast<uint8_t>((bits >> (bit - 1)) & 1U);
            value.bytes[position / 8] = static_cast<uint8_t>(value.bytes[position / 8] | (isSet << (7 - position % 8)));
        }
    }
    if (type.main == 19 && (value.bytes[3] & 0x1FU) == 24) // the end of a day
    {
        value.bytes[4] = 0;
        value.bytes[5] = 0;
    }
    if (type.main == 19 && (value.bytes[1] == 0 || value.bytes[2] == 0)) // no date
    {
        value.bytes[6] |= 0x08U;
    }
    return value;
}

GroupValue RandomBytes(const DatapointType& type, std::mt19937& random)
{
    GroupValue value{Bytes(type.Size()), type.IsSmall()};
    std::generate(value.bytes.begin(), value.bytes.end(),
                  [&random, &type]
                  { return static_cast<uint8_t>(RandomNumber(0, type.IsSmall() ? 63 : 255, random)); });
    return value;
}

bool HasSeveralFormsOfANumber(const DatapointType& type)
{
    return std::any_of(type.begin(), type.end(),
                       [](const DatapointField& field)
                       {
                           const bool isRounded = field.divisor == 255 && field.multiplier < field.divisor;
                           return field.kind == FieldKind::Float16 || isRounded;
                       });
}

} // namespace Knx
