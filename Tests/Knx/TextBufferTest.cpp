#include "Knx/TextBuffer.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using Knx::TextBuffer;

namespace
{

TEST(TextBuffer, GrowsAtItsEnd)
{
    TextBuffer text;
    EXPECT_EQ(text.Text(), "");
    text.Add("");
    text.Add("low");
    text.Add(' ');
    text.AddNumber(0);
    text.Add("/");
    text.AddNumber(UINT64_MAX);
    EXPECT_EQ(text.Text(), "low 0/18446744073709551615");
    EXPECT_EQ(text.Size(), text.Text().size());
}

TEST(TextBuffer, HasRoomForAnyLengthAndKeepsWhatItHas)
{
    TextBuffer text;
    std::string expected;
    for (const std::size_t size : {1U, 255U, 1U, 100'000U, 7U, 1'000'000U})
    {
        const std::string more(size, static_cast<char>('a' + size % 26));
        text.Add(more);
        expected += more;
        ASSERT_EQ(text.Text(), expected);
    }
}

TEST(TextBuffer, HasNothingOfTheTextBefore)
{
    TextBuffer text;
    text.Add("a longer text than the next");
    text.Clear();
    EXPECT_EQ(text.Size(), 0);
    text.AddNumber(7);
    EXPECT_EQ(text.Text(), "7");
}

TEST(TextBuffer, WritesANumberOfAnySize)
{
    for (const uint64_t number : {0ULL, 9ULL, 10ULL, 99ULL, 100ULL, 255ULL, 256ULL, 999ULL, 1000ULL, 1ULL << 32U})
    {
        TextBuffer text;
        text.AddNumber(number);
        text.Add('.');
        EXPECT_EQ(text.Text(), std::to_string(number) + ".");
    }
}

TEST(TextBuffer, WritesEachByteAsANumberWithASeparatorBetween)
{
    for (unsigned number = 0; number <= UINT8_MAX; ++number)
    {
        const auto byte = static_cast<uint8_t>(number);
        TextBuffer text;
        text.AddNumbers({byte, 0, 255}, '.');
        EXPECT_EQ(text.Text(), std::to_string(number) + ".0.255");
        text.Clear();
        text.AddNumbers({31, 7, byte}, '/');
        EXPECT_EQ(text.Text(), "31/7/" + std::to_string(number));
    }
}

TEST(TextBuffer, WritesSoManyDigits)
{
    TextBuffer text;
    text.AddDigits(0, 2);
    text.Add('.');
    text.AddDigits(42, 6);
    text.Add('.');
    text.AddDigits(123456, 6);
    EXPECT_EQ(text.Text(), "00.000042.123456");
}

TEST(TextBuffer, WritesBytesWithASeparatorBetween)
{
    TextBuffer text;
    text.AddHex({});
    text.AddHex({0x00, 0x9A, 0xFF});
    text.Add('|');
    text.AddHex({0x00, 0x9A, 0xFF}, "");
    text.Add('|');
    text.AddHex({0xBC, 0x01}, ", ");
    EXPECT_EQ(text.Text(), "00 9a ff|009aff|bc, 01");
}

TEST(TextBuffer, WritesAHexadecimalNumberWithSoManyDigitsAtLeast)
{
    for (const auto& [number, digits, expected] : {std::tuple{0x0U, 2U, "0x00"},
                                                   {0xB9U, 2U, "0xb9"},
                                                   {0x3C4U, 2U, "0x3c4"},
                                                   {0x3C4U, 3U, "0x3c4"},
                                                   {0xB9U, 4U, "0x00b9"},
                                                   {0xFFFFU, 2U, "0xffff"},
                                                   {0x12U, 6U, "0x000012"}})
    {
        TextBuffer text;
        text.AddHexNumber(static_cast<uint16_t>(number), digits);
        EXPECT_EQ(text.Text(), expected);
    }
}

} // namespace
