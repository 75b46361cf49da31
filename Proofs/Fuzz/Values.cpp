// Fuzzes values of datapoint types. The input is a byte that chooses, two that choose the type, and what follows: the bytes of a
// value, or its text.

#include "Knx/Datapoint.h"

#include "Expect.h"
#include "Input.h"

#include <nlohmann/json.hpp>

using namespace Knx;

namespace
{

bool IsOneLine(const std::string& text)
{
    return text.find_first_of("\n\r\x1b") == std::string::npos;
}

// What may be sent is the same text again. What somebody else sent need not be allowed.
void Show(const DatapointType& type, const GroupValue& value)
{
    try
    {
        const std::string text = ToText(type, value);
        const auto json = ToJson(type, value);
        Fuzz::Expect("one line of text", IsOneLine(text));
        Fuzz::Expect("one line of JSON", IsOneLine(json.dump()));
        const GroupValue again = Encode(type, text);
        Fuzz::ExpectEqual("the text again", ToText(type, again), text);
        Fuzz::ExpectEqual("the JSON again", ToJson(type, EncodeJson(type, json)).dump(), json.dump());
    }
    catch (const NotAValue& wrong)
    {
        Fuzz::Expect("one line that says why", IsOneLine(wrong.what()) && wrong.what()[0] != '\0');
    }
}

void Take(const DatapointType& type, const std::string& text)
{
    try
    {
        const GroupValue value = Encode(type, text);
        Fuzz::ExpectEqual("where it stands", value.isSmall, type.IsSmall());
        const std::string shown = ToText(type, value);
        Fuzz::ExpectEqual("the text again", ToText(type, Encode(type, shown)), shown);
    }
    catch (const NotAValue& wrong)
    {
        Fuzz::Expect("one line that says why", IsOneLine(wrong.what()) && wrong.what()[0] != '\0');
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    const uint8_t choice = input.TakeByte();
    const auto types = static_cast<uint16_t>(DatapointTypes::end() - DatapointTypes::begin());
    const DatapointType& type = DatapointTypes::begin()[input.TakeNumber() % types];
    const Bytes rest = input.TakeBytes(size);
    switch (choice % 3)
    {
    case 0:
        Show(type, {rest, choice % 2 == 0 ? type.IsSmall() : !type.IsSmall()});
        break;
    case 1:
        Take(type, {rest.begin(), rest.end()});
        break;
    default:
        const std::string number(rest.begin(), rest.end());
        try
        {
            Fuzz::ExpectEqual("the type again", &DatapointTypeOf(DatapointTypeOf(number).Number()),
                              FindDatapointType(number));
        }
        catch (const NotAValue& wrong)
        {
            Fuzz::Expect("one line that says why", IsOneLine(wrong.what()) && FindDatapointType(number) == nullptr);
        }
    }
    return 0;
}
