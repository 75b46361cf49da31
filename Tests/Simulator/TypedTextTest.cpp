#include "TypedText.h"

#include "System/Terminal/Terminal.h"

#include <gtest/gtest.h>

#include <string>

using namespace Simulator;
using System::Terminal;

namespace
{

TEST(TypedText, HasTheCharactersOfUtf8AndNoOtherKeys)
{
    const std::string name = "Entr\u00e9e/Ceiling 21.5 \u00b0C";
    std::string typed;
    for (const char byte : name)
    {
        const int key = static_cast<unsigned char>(byte); // as the terminal has it
        typed += IsCharacter(key) ? byte : '?';
    }
    EXPECT_EQ(typed, name);
    for (const int key : {int{Terminal::NoKey}, 0, 0x1F, 0x7F, 0x100, int{Terminal::Up}, int{Terminal::End}})
    {
        EXPECT_FALSE(IsCharacter(key)) << key;
    }
}

TEST(TypedText, LosesWholeCharacters)
{
    std::string text = "a\u00e9\u20ac\U0001F4A1";
    for (const char* const rest : {"a\u00e9\u20ac", "a\u00e9", "a", "", ""})
    {
        RemoveLast(text);
        EXPECT_EQ(text, rest);
    }
}

TEST(TypedText, EndsWithTheWholeCharactersForWhichThereIsRoom)
{
    const std::string text = "a\u20acb";
    EXPECT_EQ(EndOf(text, 0), "");
    EXPECT_EQ(EndOf(text, 1), "b");
    EXPECT_EQ(EndOf(text, 2), "b");
    EXPECT_EQ(EndOf(text, 3), "b");
    EXPECT_EQ(EndOf(text, 4), "\u20acb");
    EXPECT_EQ(EndOf(text, 5), text);
    EXPECT_EQ(EndOf(text, 6), text);
}

} // namespace
