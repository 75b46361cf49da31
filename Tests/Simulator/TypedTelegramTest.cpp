#include "TypedTelegram.h"

#include <gtest/gtest.h>

#include <string>

using namespace Simulator;
using Knx::KnownGroups;
using Knx::ToHex;

namespace
{

const KnownGroups& House()
{
    static const KnownGroups house(Knx::GroupAddresses({{0x0A03, "Lights/Living room/Ceiling", "1.001", ""},
                                                        {0x0A04, "Climate/Living room/Temperature", "9.001", ""},
                                                        {0x0A05, "Lights/Kitchen/Ceiling", "1.001", ""},
                                                        {0x0A06, "Door", "", ""},
                                                        {0x0A07, "Cafe", "1.001", ""}}));
    return house;
}

std::string Typed(const std::string& text, const KnownGroups& groups = House())
{
    return ToHex(TelegramFrom(text, groups));
}

// What is answered to a text that is no telegram.
template<typename Attempt>
std::string AnswerTo(const Attempt& attempt)
{
    try
    {
        attempt();
        return "";
    }
    catch (const NotATelegram& problem)
    {
        return problem.what();
    }
}

std::string Answer(const std::string& text, const KnownGroups& groups = House())
{
    return AnswerTo([&] { static_cast<void>(TelegramFrom(text, groups)); });
}

TEST(TypedTelegram, IsAFrameInHexadecimalDigits)
{
    EXPECT_EQ(Typed("29 00 bc e0 11 01 0a 03 01 00 81"), "29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Typed("2900BC:e0"), "29 00 bc e0");
    EXPECT_EQ(TelegramFrom(std::string(2 * MaxTelegram, '0'), {}).size(), MaxTelegram);
}

TEST(TypedTelegram, IsAGroupItsValueAndTheValuesType)
{
    EXPECT_EQ(Typed("1/2/3 on 1.001", {}), "29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Typed(" 1/2/3\t21  9.001 ", {}), "29 00 bc e0 11 01 0a 03 03 00 80 0c 1a");
    EXPECT_EQ(Typed("1/515 -5 DPT-6-1", {}), Typed("1/2/3 -5 6.001", {}));
    EXPECT_EQ(Typed("1/2/3 red=255 green=0 blue=16 232.600", {}), "29 00 bc e0 11 01 0a 03 04 00 80 ff 00 10");
}

TEST(TypedTelegram, TakesANumberForAGroupWhereATypeStandsBehindItsValue)
{
    EXPECT_EQ(Typed("515 21.5 9.001", {}), Typed("0/2/3 21.5 9.001", {}));
    EXPECT_EQ(Typed("2563 on 1.001"), Typed("1/2/3 on 1.001"));
    EXPECT_EQ(Typed("2563 00 81"), "25 63 00 81");
    EXPECT_EQ(Answer("70000 on 1.001"), "'70000' is no group address: 70000 should be 0 to 65535");
}

TEST(TypedTelegram, TakesNamesAndTypesOfKnownGroups)
{
    EXPECT_EQ(Typed("1/2/4 21"), "29 00 bc e0 11 01 0a 04 03 00 80 0c 1a");
    EXPECT_EQ(Typed("Temperature 21 \u00b0C"), Typed("1/2/4 21"));
    EXPECT_EQ(Typed("\"Living room/Ceiling\" on"), "29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Typed("\"Living room/Ceiling\" 5 5.010"), "29 00 bc e0 11 01 0a 03 02 00 80 05")
        << "the typed one counts";
}

TEST(TypedTelegram, OfDigitsAloneIsAFrameWhateverNamesThereAre)
{
    EXPECT_EQ(Typed("Cafe 01"), "ca fe 01");
    EXPECT_EQ(Typed("\"Cafe\" 1"), "29 00 bc e0 11 01 0a 07 01 00 81");
}

TEST(TypedTelegram, IsAnExtendedFrameWhereTheValueIsLong)
{
    const auto frame = TelegramFrom("1/2/3 A_line_of_more_than_fourteen_bytes 28.001", {});
    EXPECT_EQ(frame.at(2), 0x3C);
}

TEST(TypedTelegram, ThatIsNoneIsAnsweredInOneLine)
{
    const std::string hex =
        "'telegram' takes 1 to 1024 bytes of two hexadecimal digits each; blanks and colons may stand between "
        "them; or a group, a value and its type, such as 1/2/3 21.5 9.001";
    for (const std::string wrong : {"", " ", "1", "29 00 x", "29 00 1.x", "2563 9.001", "Cellar on"})
    {
        EXPECT_EQ(Answer(wrong), hex) << wrong;
    }
    EXPECT_EQ(Answer(std::string(2 * MaxTelegram + 2, '0')), hex);
    EXPECT_EQ(Answer("1/2/3 21.5", {}),
              "the type of 1/2/3 is not known: name it behind the value, such as 1/2/3 21.5 9.001");
    EXPECT_EQ(Answer("Door open"),
              "the type of 1/2/6 is not known: name it behind the value, such as 1/2/6 21.5 9.001");
    EXPECT_EQ(Answer("1/2/3"), "'telegram' takes a value behind the group; 'read' takes none");
    EXPECT_EQ(Answer("1/9/3 on 1.001"), "'1/9/3' is no group address: 9 should be 0 to 7");
    EXPECT_EQ(Answer("1/2/4 -300"), "9.001: -273 to 670433.28 \u00b0C");
    EXPECT_EQ(Answer("\"Cellar\" on"), "no group has the name 'Cellar'; 'orvelctl names' lists them");
    EXPECT_EQ(Answer("\"Living room/Ceiling on"), "the name of the group has no quote at its end");
    EXPECT_EQ(Answer("\"Ceiling\" on"), "'Ceiling' is ambiguous: 1/2/3 Lights/Living room/Ceiling, "
                                        "1/2/5 Lights/Kitchen/Ceiling");
}

TEST(TypedRead, AsksForTheValueOfAGroup)
{
    for (const char* const typed :
         {"1/2/4", "1/516", "2564", "Temperature", "Living room/Temperature", "\"Living room/Temperature\"", " 1/2/4 "})
    {
        EXPECT_EQ(ToHex(ReadFrom(typed, House())), "29 00 bc e0 11 01 0a 04 01 00 00") << typed;
    }
}

TEST(TypedRead, OfNoGroupIsAnsweredInOneLine)
{
    const auto answer = [](const std::string& text)
    { return AnswerTo([&] { static_cast<void>(ReadFrom(text, House())); }); };
    EXPECT_EQ(answer(""), "'read' takes a group, such as 1/2/3, and nothing behind it");
    EXPECT_EQ(answer("\"Door\" on"), answer(""));
    EXPECT_EQ(answer("Cellar"), "no group has the name 'Cellar'; 'orvelctl names' lists them");
    EXPECT_EQ(answer("1/2/3 on"), "no group has the name '1/2/3 on'; 'orvelctl names' lists them");
}

} // namespace
