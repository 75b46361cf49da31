// Fuzzes telegrams as a person types them. The input is the text.

#include "Knx/HexDigits.h"

#include "Expect.h"

#include <algorithm>

using namespace Knx;

namespace
{

std::string WithoutGaps(std::string text)
{
    const auto isGap = [](char character)
    { return character == ' ' || character == ':' || character == '\t' || character == '\r'; };
    text.erase(std::remove_if(text.begin(), text.end(), isGap), text.end());
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    try
    {
        Fuzz::ExpectEqual("the digits", WithoutGaps(ToHex(FromHex(text))), WithoutGaps(text));
    }
    catch (const NotHex& problem)
    {
        Fuzz::Expect("what is wrong", problem.what()[0] != '\0');
    }
    const Bytes any(data, data + size);
    Fuzz::Expect("the bytes again", FromHex(ToHex(any)) == any);
    return 0;
}
