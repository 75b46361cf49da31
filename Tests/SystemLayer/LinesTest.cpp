#include "System/Lines.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using System::Lines;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Texts = std::vector<std::string>;

Texts Take(Lines& lines, std::string_view bytes)
{
    Texts taken;
    lines.Take(bytes, [&taken](const std::string& line) { taken.push_back(line); });
    return taken;
}

Texts End(Lines& lines)
{
    Texts taken;
    lines.End([&taken](const std::string& line) { taken.push_back(line); });
    return taken;
}

TEST(Lines, AreHandedOverWithoutTheirNewline)
{
    Lines lines;
    EXPECT_THAT(Take(lines, "one\n\nthree\n"), ElementsAre("one", "", "three"));
    EXPECT_THAT(End(lines), IsEmpty());
}

TEST(Lines, AreCompleteWhereTheBytesCameInPieces)
{
    Lines lines;
    EXPECT_THAT(Take(lines, "on"), IsEmpty());
    EXPECT_EQ(lines.Pending(), 2U);
    EXPECT_THAT(Take(lines, "e\ntw"), ElementsAre("one"));
    EXPECT_THAT(Take(lines, "o"), IsEmpty());
    EXPECT_THAT(Take(lines, "\n"), ElementsAre("two"));
    EXPECT_EQ(lines.Pending(), 0U);
}

TEST(Lines, EndWithOneThatHasNoNewline)
{
    Lines lines;
    EXPECT_THAT(Take(lines, "one\nlast"), ElementsAre("one"));
    EXPECT_THAT(End(lines), ElementsAre("last"));
    EXPECT_THAT(End(lines), IsEmpty());
}

TEST(Lines, AreCutWhereTheyAreTooLong)
{
    Lines lines(4);
    EXPECT_THAT(Take(lines, "four\nfiver\n"), ElementsAre("four", "five"));
    EXPECT_THAT(Take(lines, "abc"), IsEmpty());
    EXPECT_THAT(Take(lines, "def"), IsEmpty());
    EXPECT_THAT(Take(lines, "ghi\nnext\n"), ElementsAre("abcd", "next"));
}

} // namespace
