#include "Knx/HexDigits.h"

#include <gtest/gtest.h>

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;

namespace
{

std::string ProblemOf(const std::string& text)
{
    try
    {
        FromHex(text);
    }
    catch (const Knx::NotHex& problem)
    {
        return problem.what();
    }
    return "none";
}

TEST(HexDigits, WritesTwoDigitsAByteWithASeparatorBetween)
{
    EXPECT_EQ(ToHex({0x00, 0x9A, 0xBC, 0xFF}), "00 9a bc ff");
    EXPECT_EQ(ToHex({0x00, 0x9A, 0xBC, 0xFF}, ""), "009abcff");
    EXPECT_EQ(ToHex({}), "");
}

TEST(HexDigits, ReadsDigitsOfEitherCaseWithBlanksColonsOrNothingBetweenTheBytes)
{
    EXPECT_EQ(FromHex("29 00:bC\tE0 \r"), (Bytes{0x29, 0x00, 0xBC, 0xE0}));
    EXPECT_EQ(FromHex("2900bce0"), (Bytes{0x29, 0x00, 0xBC, 0xE0}));
    EXPECT_EQ(FromHex("  29  00 bce0 \t81 "), (Bytes{0x29, 0x00, 0xBC, 0xE0, 0x81}));
}

TEST(HexDigits, ReadsIntoBytesOfAnyLength)
{
    for (const std::size_t length : {0U, 1U, 2U, 3U, 100U})
    {
        Bytes bytes(length, 0xFF);
        FromHex("29 00", 0, bytes);
        EXPECT_EQ(bytes, (Bytes{0x29, 0x00})) << length;
        FromHex(" ", 0, bytes);
        EXPECT_EQ(bytes, Bytes{}) << length;
    }
}

TEST(HexDigits, ReadsNothingFromAnEmptyLine)
{
    EXPECT_EQ(FromHex(""), Bytes{});
    EXPECT_EQ(FromHex("  "), Bytes{});
}

TEST(HexDigits, ReadsFromAPositionOn)
{
    EXPECT_EQ(FromHex("rx 29 00", 3), (Bytes{0x29, 0x00}));
    EXPECT_EQ(FromHex("rx", 3), Bytes{});
}

TEST(HexDigits, TakesNoOtherCharacterForADigit)
{
    const std::string digits = "0123456789abcdefABCDEF";
    for (int code = 0; code <= UINT8_MAX; ++code)
    {
        const auto character = static_cast<char>(code);
        const bool isAllowed = digits.find(character) != std::string::npos;
        EXPECT_EQ(ProblemOf(std::string("0") + character) == "none", isAllowed) << code;
    }
}

TEST(HexDigits, SaysWhichByteHasOneDigitOnly)
{
    EXPECT_EQ(ProblemOf("1"), "byte 1 has one digit only");
    EXPECT_EQ(ProblemOf("29 0"), "byte 2 has one digit only");
    EXPECT_EQ(ProblemOf("29 0 0"), "byte 2 has one digit only");
    EXPECT_EQ(ProblemOf("290 "), "byte 2 has one digit only");
    EXPECT_EQ(ProblemOf("29 00 bc 0 81"), "byte 4 has one digit only");
}

TEST(HexDigits, SaysWhatIsNoDigitAndWhere)
{
    EXPECT_EQ(ProblemOf("29 0g"), "'g' at position 5 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf("29 00 g0 81"), "'g' at position 7 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf("29 00 0g 81"), "'g' at position 8 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf("29 00g81"), "'g' at position 6 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf("0x29"), "'x' at position 2 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf("29\x1b"), "the byte 0x1b at position 3 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf("29\xc3"), "the byte 0xc3 at position 3 is no hexadecimal digit");
    EXPECT_EQ(ProblemOf(std::string("29\0", 3)), "the byte 0x00 at position 3 is no hexadecimal digit");
}

TEST(HexDigits, WritesANumberWithSoManyDigits)
{
    EXPECT_EQ(Knx::HexNumber(0xB9, 2), "0xb9");
    EXPECT_EQ(Knx::HexNumber(0xB9, 3), "0x0b9");
    EXPECT_EQ(Knx::HexNumber(0xFFFF, 4), "0xffff");
}

} // namespace
