#include "Knx/Datapoint.h"

#include "Knx/Characters.h"
#include "Knx/DatapointField.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <optional>
#include <set>
#include <vector>

namespace Knx
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr const char* Blanks = " \t";

// The one field of a type whose fields have no names; null when they have.
const DatapointField* OnlyField(const DatapointType& type)
{
    const DatapointField& last = *(type.end() - 1);
    return last.name.empty() && !last.IsReserved() ? &last : nullptr;
}

bool IsText(const DatapointType& type)
{
    return type.begin()->kind == FieldKind::Characters || type.begin()->kind == FieldKind::Line;
}

bool IsLine(const DatapointType& type)
{
    return type.begin()->kind == FieldKind::Line;
}

// Bits

// A small value is at the end of its byte.
std::size_t FirstBit(const DatapointType& type)
{
    return type.Size() * 8 - type.bits;
}

uint64_t BitsAt(const Bytes& bytes, std::size_t position, std::size_t width)
{
    uint64_t bits = 0;
    while (width > 0)
    {
        const std::size_t left = 8 - position % 8; // in this byte
        const std::size_t taken = std::min(left, width);
        bits = (bits << taken) | ((unsigned{bytes[position / 8]} >> (left - taken)) & ((1U << taken) - 1U));
        position += taken;
        width -= taken;
    }
    return bits;
}

void SetBits(Bytes& bytes, std::size_t position, std::size_t width, uint64_t bits)
{
    for (std::size_t end = position + width; end > position; --end, bits >>= 1U)
    {
        const auto bit = static_cast<uint8_t>((bits & 1U) << (7 - (end - 1) % 8));
        bytes[(end - 1) / 8] = static_cast<uint8_t>(bytes[(end - 1) / 8] | bit);
    }
}

// Calls take(field, bits) for each field that means something.
template<typename Take>
void ForEachField(const DatapointType& type, const Bytes& bytes, const Take& take)
{
    std::size_t position = FirstBit(type);
    for (const DatapointField& field : type)
    {
        if (!field.IsReserved())
        {
            take(field, BitsAt(bytes, position, field.bits));
        }
        position += field.bits;
    }
}

// What is wrong with a value as a whole

std::string SizeText(std::size_t size)
{
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

void CheckSize(const DatapointType& type, const GroupValue& value)
{
    const std::size_t size = value.bytes.size();
    const bool fits = IsLine(type) ? size >= 1 && size <= type.Size() : size == type.Size();
    if (fits && value.isSmall == type.IsSmall())
    {
        return;
    }
    const std::string small = "up to 6 bits";
    const std::string expected = type.IsSmall() ? small : (IsLine(type) ? "1 to " : "") + SizeText(type.Size());
    throw NotAValue(type.Number() + ": " + expected + ", not " + (value.isSmall ? small : SizeText(size)));
}

[[noreturn]] void RefuseFields(const DatapointType& type, const std::string& what)
{
    std::string line = type.Number() + ": " + what;
    const char* separator = "; the fields are ";
    for (const DatapointField& field : type)
    {
        if (!field.IsReserved())
        {
            line.append(separator).append(field.name);
            separator = ", ";
        }
    }
    throw NotAValue(line);
}

// Characters

GroupValue EncodeCharacters(const DatapointType& type, std::string_view text)
{
    const Encoding encoding = type.begin()->encoding;
    auto bytes = ToCharacters(encoding, text);
    if (!bytes || bytes->size() > type.Size())
    {
        const char* const unit = encoding == Encoding::Utf8 ? "byte" : "character";
        const char* const of = encoding == Encoding::Utf8    ? " of UTF-8"
                               : encoding == Encoding::Ascii ? " of ASCII"
                                                             : " of ISO 8859-1";
        throw NotAValue(type.Number() + ": up to " + std::to_string(type.Size()) + " " + unit +
                        (type.Size() == 1 ? "" : "s") + of);
    }
    bytes->resize(IsLine(type) ? std::min(bytes->size() + 1, type.Size()) : type.Size());
    return {std::move(*bytes), false};
}

// Several fields

// What somebody said of each field of a type.
using FieldTexts = std::vector<std::optional<std::string>>;

FieldTexts NothingSaid(const DatapointType& type)
{
    return FieldTexts(static_cast<std::size_t>(type.end() - type.begin()));
}

void Say(const DatapointType& type, FieldTexts& texts, std::string_view name, std::string_view text)
{
    const auto* const field =
        std::find_if(type.begin(), type.end(),
                     [name](const DatapointField& one) { return !one.IsReserved() && IsSameWord(one.name, name); });
    if (field == type.end())
    {
        RefuseFields(type, "no field '" + Printable(name) + "'");
    }
    auto& said = texts[static_cast<std::size_t>(field - type.begin())];
    if (said)
    {
        RefuseFields(type, std::string(field->name) + " twice");
    }
    said = text;
}

// Where the next word with a '=' begins, which is a name; at the end of the text if there is none.
std::size_t NextName(std::string_view text, std::size_t from)
{
    std::size_t begin = from == 0 ? 0 : text.find_first_of(Blanks, from);
    while ((begin = text.find_first_not_of(Blanks, begin)) != std::string_view::npos)
    {
        const std::size_t end = std::min(text.find_first_of(Blanks, begin), text.size());
        if (text.substr(begin, end - begin).find('=') != std::string_view::npos)
        {
            return begin;
        }
        begin = end;
    }
    return text.size();
}

// Texts of fields have blanks, too: "day=no day hour=12".
FieldTexts Split(const DatapointType& type, std::string_view text)
{
    std::size_t begin = NextName(text, 0);
    if (text.substr(0, begin).find_first_not_of(Blanks) != std::string_view::npos || begin == text.size())
    {
        RefuseFields(type, "name=value for each field");
    }
    FieldTexts texts = NothingSaid(type);
    while (begin < text.size())
    {
        const std::size_t equals = text.find('=', begin);
        const std::size_t end = NextName(text, equals + 1);
        Say(type, texts, text.substr(begin, equals - begin), text.substr(equals + 1, end - equals - 1));
        begin = end;
    }
    return texts;
}

// Of a field, or of the whole value if it has only one.
std::string TextOf(const DatapointType& type, const Json& json)
{
    if (json.is_structured())
    {
        throw NotAValue(type.Number() + ": an array or an object where a number, a text, true, false or null belongs");
    }
    if (json.is_string())
    {
        return json.get<std::string>();
    }
    return json.is_null() ? "invalid" : json.dump();
}

FieldTexts Split(const DatapointType& type, const Json& object)
{
    if (!object.is_object())
    {
        RefuseFields(type, "no JSON object");
    }
    FieldTexts texts = NothingSaid(type);
    for (const auto& [name, json] : object.items())
    {
        Say(type, texts, name, TextOf(type, json));
    }
    return texts;
}

// Of the library's object, each name is there once: the last value with it.
Json ParseObject(const DatapointType& type, std::string_view text)
{
    std::set<std::string> names;
    const auto look = [&](int depth, Json::parse_event_t event, const Json& parsed)
    {
        if (depth == 1 && event == Json::parse_event_t::key && !names.insert(parsed.get<std::string>()).second)
        {
            RefuseFields(type, Printable(parsed.get<std::string>()) + " twice");
        }
        return true;
    };
    return Json::parse(text, look, false);
}

// What the limits of the single fields cannot say: 24:00:00 is the end of a day, and nothing comes after it; a month or day of 0
// is none.
void CheckDateAndTime(const DatapointType& type, const Bytes& bytes)
{
    if (type.main != 19)
    {
        return;
    }
    if ((bytes[3] & 0x1FU) == 24 && (bytes[4] != 0 || bytes[5] != 0))
    {
        throw NotAValue(type.Number() + " hour: 24 only with minutes=0 seconds=0");
    }
    const bool hasDate = (bytes[6] & 0x08U) == 0;
    if (hasDate && (bytes[1] == 0 || bytes[2] == 0))
    {
        throw NotAValue(type.Number() + (bytes[1] == 0 ? " month" : " day") + ": 0 only with noDate=yes");
    }
}

// Whether a field that nobody said has a bit. What is said of a working day is valid, unless somebody says that it is not.
bool HasPresetBit(const DatapointType& type, const FieldTexts& texts, const DatapointField& field)
{
    const bool isAboutWorkingDay = type.main == 19 && field.name == "noWorkingDay";
    const auto before = static_cast<std::size_t>(&field - type.begin() - 1); // workingDay itself
    return field.preset == 1 && !(isAboutWorkingDay && texts[before]);
}

GroupValue EncodeFields(const DatapointType& type, const FieldTexts& texts)
{
    GroupValue value{Bytes(type.Size()), type.IsSmall()};
    std::size_t position = FirstBit(type);
    for (const DatapointField& field : type)
    {
        const auto& text = texts[static_cast<std::size_t>(&field - type.begin())];
        if (text)
        {
            SetBits(value.bytes, position, field.bits, EncodeField(type, field, *text));
        }
        else if (!field.IsReserved() && field.preset < 0)
        {
            RefuseFields(type, std::string(field.name) + " is missing");
        }
        else if (HasPresetBit(type, texts, field))
        {
            SetBits(value.bytes, position, field.bits, 1);
        }
        position += field.bits;
    }
    CheckDateAndTime(type, value.bytes);
    return value;
}

GroupValue EncodeOnly(const DatapointType& type, const DatapointField& field, std::string_view text)
{
    if (IsText(type))
    {
        return EncodeCharacters(type, text);
    }
    GroupValue value{Bytes(type.Size()), type.IsSmall()};
    SetBits(value.bytes, type.Size() * 8 - field.bits, field.bits, EncodeField(type, field, text));
    return value;
}

} // namespace

GroupValue Encode(const DatapointType& type, std::string_view text)
{
    if (const DatapointField* const field = OnlyField(type))
    {
        return EncodeOnly(type, *field, text);
    }
    if (const std::size_t first = text.find_first_not_of(Blanks); first != std::string_view::npos && text[first] == '{')
    {
        return EncodeFields(type, Split(type, ParseObject(type, text)));
    }
    return EncodeFields(type, Split(type, text));
}

GroupValue EncodeJson(const DatapointType& type, const nlohmann::ordered_json& json)
{
    if (const DatapointField* const field = OnlyField(type))
    {
        return EncodeOnly(type, *field, TextOf(type, json));
    }
    return EncodeFields(type, Split(type, json));
}

std::string ToText(const DatapointType& type, const GroupValue& value)
{
    CheckSize(type, value);
    if (IsText(type))
    {
        return FromCharacters(type.begin()->encoding, value.bytes);
    }
    std::string text;
    ForEachField(type, value.bytes,
                 [&text](const DatapointField& field, uint64_t bits)
                 {
                     if (!field.name.empty())
                     {
                         text += text.empty() ? "" : " ";
                         text += field.name;
                         text += '=';
                     }
                     AppendField(text, field, bits);
                 });
    return text;
}

std::string ToText(const GroupValue& value)
{
    return (value.isSmall ? "0x" : "") + ToHex(value.bytes, "");
}

nlohmann::ordered_json ToJson(const DatapointType& type, const GroupValue& value)
{
    CheckSize(type, value);
    if (IsText(type))
    {
        return FromCharacters(type.begin()->encoding, value.bytes);
    }
    Json json;
    ForEachField(type, value.bytes,
                 [&json](const DatapointField& field, uint64_t bits)
                 {
                     Json& place = field.name.empty() ? json : json[std::string(field.name)];
                     std::visit(
                         [&place](const auto& meaning)
                         {
                             if constexpr (!std::is_same_v<std::decay_t<decltype(meaning)>, std::monostate>)
                             {
                                 place = meaning;
                             }
                         },
                         MeaningOf(field, bits));
                 });
    return json;
}

} // namespace Knx
