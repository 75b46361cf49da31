#include "HexDigits.h"

#include "Rejection.h"

using OrvelClient::Bytes;
using OrvelClient::FromHex;
using OrvelClient::Status;
using OrvelClient::ToHex;

namespace
{

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
}

TEST(HexDigits, ReadsNothingFromAnEmptyLineOrAComment)
{
    EXPECT_EQ(FromHex(""), Bytes{});
    EXPECT_EQ(FromHex("  "), Bytes{});
    EXPECT_EQ(FromHex("# 29 00"), Bytes{});
    EXPECT_EQ(FromHex("29 00 # bc, and other words"), (Bytes{0x29, 0x00}));
}

TEST(HexDigits, SaysWhichByteHasOneDigitOnly)
{
    EXPECT_REJECTED(FromHex("1"), Status::NotUnderstood, "byte 1 has one digit only");
    EXPECT_REJECTED(FromHex("29 0"), Status::NotUnderstood, "byte 2 has one digit only");
    EXPECT_REJECTED(FromHex("29 0 0"), Status::NotUnderstood, "byte 2 has one digit only");
    EXPECT_REJECTED(FromHex("290 # comment"), Status::NotUnderstood, "byte 2 has one digit only");
}

TEST(HexDigits, SaysWhatIsNoDigitAndWhere)
{
    EXPECT_REJECTED(FromHex("29 0g"), Status::NotUnderstood, "'g' at position 5 is no hexadecimal digit");
    EXPECT_REJECTED(FromHex("0x29"), Status::NotUnderstood, "'x' at position 2 is no hexadecimal digit");
    EXPECT_REJECTED(FromHex("29\x1b"), Status::NotUnderstood, "the byte 0x1b at position 3 is no hexadecimal digit");
    EXPECT_REJECTED(FromHex("29\xc3"), Status::NotUnderstood, "the byte 0xc3 at position 3 is no hexadecimal digit");
    EXPECT_REJECTED(FromHex(std::string("29\0", 3)), Status::NotUnderstood,
                    "the byte 0x00 at position 3 is no hexadecimal digit");
}

} // namespace
