#include "Knx/Characters.h"

#include <gmock/gmock.h>

using namespace Knx;
using testing::Optional;

TEST(Characters, AreReadUpToTheFirstZero)
{
    EXPECT_EQ(FromCharacters(Encoding::Ascii, {'A', 'b', 0, 'c'}), "Ab");
    EXPECT_EQ(FromCharacters(Encoding::Ascii, {}), "");
}

TEST(Characters, OfLatin1BecomeUtf8AndBack)
{
    EXPECT_EQ(FromCharacters(Encoding::Latin1, {'G', 'r', 0xFC, 0xDF, 0xA0, 0xFF}), "Grüß\u00A0ÿ");
    EXPECT_THAT(ToCharacters(Encoding::Latin1, "Grüß\u00A0ÿ"), Optional(Bytes{'G', 'r', 0xFC, 0xDF, 0xA0, 0xFF}));
    EXPECT_EQ(ToCharacters(Encoding::Latin1, "5 €"), std::nullopt);
}

TEST(Characters, OfUtf8StayWhatTheyAre)
{
    const std::string text = "aü€𝄞";
    const Bytes bytes(text.begin(), text.end());
    EXPECT_EQ(FromCharacters(Encoding::Utf8, bytes), text);
    EXPECT_THAT(ToCharacters(Encoding::Utf8, text), Optional(bytes));
}

TEST(Characters, OfAsciiHaveNoUmlauts)
{
    EXPECT_EQ(FromCharacters(Encoding::Ascii, {'a', 0xFC}), "a\\xfc");
    EXPECT_EQ(ToCharacters(Encoding::Ascii, "ü"), std::nullopt);
}

TEST(Characters, ThatControlATerminalAreShownAsNumbersAndNotTaken)
{
    EXPECT_EQ(FromCharacters(Encoding::Latin1, {0x1B, '[', 'm', 0x7F, 0x9B}), "\\x1b[m\\x7f\\x9b");
    EXPECT_EQ(FromCharacters(Encoding::Utf8, {0xC2, 0x9B}), "\\xc2\\x9b");
    for (const Encoding encoding : {Encoding::Ascii, Encoding::Latin1, Encoding::Utf8})
    {
        EXPECT_EQ(ToCharacters(encoding, "\x1b"), std::nullopt);
        EXPECT_EQ(ToCharacters(encoding, "\u009B"), std::nullopt);
        EXPECT_EQ(ToCharacters(encoding, std::string_view("\0", 1)), std::nullopt);
    }
}

TEST(Characters, ThatTurnTheOrderOfATextAreShownAsNumbersAndNotTaken)
{
    EXPECT_EQ(FromCharacters(Encoding::Utf8, {'1', 0xE2, 0x80, 0xAE, '2', 0xE2, 0x81, 0xA6}),
              R"(1\xe2\x80\xae2\xe2\x81\xa6)");
    const std::uint8_t ends[][2]{
        {0x80, 0xAA}, {0x80, 0xAE}, {0x81, 0xA6}, {0x81, 0xA9}}; // U+202A, U+202E, U+2066, U+2069
    for (const auto& end : ends)
    {
        const Bytes bytes{0xE2, end[0], end[1]};
        const std::string control(bytes.begin(), bytes.end());
        EXPECT_EQ(ToCharacters(Encoding::Utf8, control), std::nullopt);
        EXPECT_EQ(ControlSize(control), 3);
    }
    for (const char* const other : {"", "a", "\u2029", "\u202F", "\u2065", "\u206A", "\xE2\x80"})
    {
        EXPECT_EQ(ControlSize(other), 0) << other;
    }
}

TEST(Characters, ThatAreNoneInUtf8AreShownAsNumbersAndNotTaken)
{
    const std::pair<Bytes, const char*> wrong[] = {
        {{0x80}, R"(\x80)"},                                         // begins in the middle
        {{0xC3, 'a'}, R"(\xc3a)"},                                   // ends too early
        {{0xE2, 0x82}, R"(\xe2\x82)"},                               // cut off
        {{0xC1, 0x81}, R"(\xc1\x81)"},                               // longer than needed
        {{0xE0, 0x9F, 0xBF}, R"(\xe0\x9f\xbf)"},                     // the same
        {{0xF0, 0x8F, 0xBF, 0xBF}, R"(\xf0\x8f\xbf\xbf)"},           // the same
        {{0xED, 0xA0, 0x80}, R"(\xed\xa0\x80)"},                     // half a character of UTF-16
        {{0xF4, 0x90, 0x80, 0x80}, R"(\xf4\x90\x80\x80)"},           // behind the last one
        {{0xF9, 0x90, 0x80, 0x80}, R"(\xf9\x90\x80\x80)"},           // an old form of five bytes, cut off
        {{0xF8, 0x88, 0x80, 0x80, 0x80}, R"(\xf8\x88\x80\x80\x80)"}, // an old form of five bytes
    };
    for (const auto& [bytes, shown] : wrong)
    {
        EXPECT_EQ(FromCharacters(Encoding::Utf8, bytes), shown);
        EXPECT_EQ(ToCharacters(Encoding::Utf8, std::string(bytes.begin(), bytes.end())), std::nullopt) << shown;
    }
}

TEST(Characters, OfAWordMayDifferInCase)
{
    EXPECT_TRUE(IsSameWord("Off", "oFF"));
    EXPECT_TRUE(IsSameWord("", ""));
    EXPECT_FALSE(IsSameWord("Off", "Of"));
    EXPECT_FALSE(IsSameWord("Of", "Off"));
    EXPECT_FALSE(IsSameWord("@", "`")); // they differ as letters of another case do
}
