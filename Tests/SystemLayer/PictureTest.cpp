#include "System/Terminal/Picture.h"

#include <gtest/gtest.h>

#include <string>

using System::Picture;
using System::Style;

namespace
{

TEST(Picture, SaysWithItsLastColumnThatATextDoesNotFit)
{
    Picture picture(1, 6);
    EXPECT_EQ(picture.Put(0, 2, "abcd"), 6);
    EXPECT_EQ(picture.Text(0), "  abcd");
    EXPECT_EQ(picture.Put(0, 2, "abcde"), 7) << "the column behind it, even so";
    EXPECT_EQ(picture.Text(0), "  abc>");
}

TEST(Picture, KeepsATextWithinItsPartOfTheRow)
{
    Picture picture(1, 10);
    picture.Put(0, 0, "..........");
    picture.PutWithin(0, 2, 4, "abcd");
    EXPECT_EQ(picture.Text(0), "..abcd....");
    picture.PutWithin(0, 2, 4, "efghi");
    EXPECT_EQ(picture.Text(0), "..efg>....");
    picture.PutWithin(0, 8, 4, "xyz");
    EXPECT_EQ(picture.Text(0), "..efg>..x>");
}

TEST(Picture, HasARowInOneStyle)
{
    Picture picture(2, 4);
    picture.PutBar(1, "ab", Style::Heading);
    EXPECT_EQ(picture.Text(1), "ab--");
    EXPECT_EQ(picture.At(1, 3).style, Style::Heading);
    EXPECT_EQ(picture.Text(0), "");
    EXPECT_EQ(picture.At(0, 3).style, Style::Plain);
}

TEST(Picture, TakesNothingOutsideOfIt)
{
    Picture picture(1, 4);
    picture.Put(-1, 0, "abcd");
    picture.Put(1, 0, "abcd");
    picture.Put(0, 4, "abcd");
    picture.Put(0, -2, "abc");
    EXPECT_EQ(picture.Text(0), "c");
    EXPECT_EQ(Picture(-1, -1).Rows(), 0);
}

TEST(Picture, ShowsAQuestionMarkForWhatCannotBeShown)
{
    Picture picture(1, 8);
    picture.Put(0, 0, "a\033[2J\x7F");
    EXPECT_EQ(picture.Text(0), "a?[2J?");
}

} // namespace
