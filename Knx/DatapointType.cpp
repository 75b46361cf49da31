#include "Knx/DatapointType.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <system_error>

namespace Knx
{

namespace
{

struct TypeNumber
{
    uint16_t main;
    uint16_t sub;
};

// In this order the types stand in the table: a main type comes before its sub types.
uint32_t OrderOf(uint16_t main, uint16_t sub)
{
    return (uint32_t{main} << 16U) | static_cast<uint16_t>(sub + 1U);
}

bool TakePrefix(std::string_view& text, std::string_view prefix)
{
    const bool isThere = IsSameWord(text.substr(0, prefix.size()), prefix);
    text.remove_prefix(isThere ? prefix.size() : 0);
    return isThere;
}

bool TakeOneOf(std::string_view& text, std::string_view characters)
{
    const bool isThere = !text.empty() && characters.find(text[0]) != std::string_view::npos;
    text.remove_prefix(isThere ? 1 : 0);
    return isThere;
}

bool TakeNumber(std::string_view& text, uint16_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return error == std::errc() && number != DatapointType::Main;
}

// Nothing when that is no number of any type.
std::optional<TypeNumber> NumberIn(std::string_view text)
{
    if (TakePrefix(text, "DPST") || TakePrefix(text, "DPT"))
    {
        TakeOneOf(text, " -");
    }
    TypeNumber number{0, DatapointType::Main};
    const bool isNumber = TakeNumber(text, number.main) && (!TakeOneOf(text, ".-") || TakeNumber(text, number.sub));
    return isNumber && text.empty() ? std::optional(number) : std::nullopt;
}

const DatapointType* LowerBound(uint16_t main, uint16_t sub)
{
    return std::lower_bound(DatapointTypes::begin(), DatapointTypes::end(), OrderOf(main, sub),
                            [](const DatapointType& type, uint32_t order)
                            { return OrderOf(type.main, type.sub) < order; });
}

// "9.001 to 9.011, 9.020 to 9.031": the sub types of a main type; "1 to 30, 206": the main types.
std::string NumbersOf(const DatapointType* begin, const DatapointType* end, bool isSub)
{
    std::string text;
    const DatapointType* first = nullptr; // of those without a gap
    const DatapointType* last = nullptr;
    const auto append = [&]
    {
        text += (text.empty() ? "" : ", ") + first->Number();
        text += first == last ? "" : " to " + last->Number();
    };
    for (const DatapointType* type = begin; type != end; ++type)
    {
        if ((type->sub != DatapointType::Main) != isSub)
        {
            continue;
        }
        if (first != nullptr && (isSub ? type->sub != last->sub + 1 : type->main != last->main + 1))
        {
            append();
            first = nullptr;
        }
        first = first == nullptr ? type : first;
        last = type;
    }
    append();
    return text;
}

} // namespace

std::string DatapointType::Number() const
{
    std::string text = std::to_string(main);
    if (sub != Main)
    {
        const std::string digits = std::to_string(sub);
        text += "." + std::string(digits.size() < 3 ? 3 - digits.size() : 0, '0') + digits;
    }
    return text;
}

const DatapointType* FindDatapointType(std::string_view number)
{
    const auto wanted = NumberIn(number);
    if (!wanted)
    {
        return nullptr;
    }
    const DatapointType* const found = LowerBound(wanted->main, wanted->sub);
    const bool isFound = found != DatapointTypes::end() && found->main == wanted->main && found->sub == wanted->sub;
    return isFound ? found : nullptr;
}

const DatapointType& DatapointTypeOf(std::string_view number)
{
    if (const DatapointType* const type = FindDatapointType(number))
    {
        return *type;
    }
    const std::string line = "no datapoint type '" + Printable(number) + "'; ";
    const auto wanted = NumberIn(number);
    if (!wanted)
    {
        throw NotAValue(line + "they are written 9.001, DPT-9 or DPST-9-1");
    }
    const DatapointType* const begin = LowerBound(wanted->main, DatapointType::Main);
    const DatapointType* const end = std::find_if(
        begin, DatapointTypes::end(), [&wanted](const DatapointType& type) { return type.main != wanted->main; });
    throw NotAValue(line + "there are " +
                    (begin == end ? NumbersOf(DatapointTypes::begin(), DatapointTypes::end(), false)
                                  : NumbersOf(begin, end, true)));
}

} // namespace Knx
