#include "Knx/KnownGroups.h"

#include "Knx/GroupService.h"

#include <gtest/gtest.h>

using Knx::Decode;
using Knx::FromHex;
using Knx::KnownGroups;
using Knx::MeaningOf;
using Knx::ValueOf;

namespace
{

KnownGroups Groups()
{
    return KnownGroups(Knx::GroupAddresses(std::vector<Knx::NamedGroup>{{0x0A03, "Lights/Ceiling", "1.001", ""},
                                                                        {0x0A04, "Climate/Temperature", "9.001", ""},
                                                                        {0x0A05, "Unknown type", "999.999", ""},
                                                                        {0x0A06, "No type", "", ""}}));
}

// "name: value" of a telegram.
std::string MeaningText(const std::string& hex)
{
    const auto meaning = MeaningOf(Decode(FromHex(hex)), Groups());
    return meaning.name + ": " + (meaning.isWrong ? "wrong" : meaning.text);
}

TEST(KnownGroups, HaveNamesAndTypes)
{
    const KnownGroups groups = Groups();
    EXPECT_EQ(groups.Name(0x0A03), "Lights/Ceiling");
    ASSERT_NE(groups.Type(0x0A04), nullptr);
    EXPECT_EQ(groups.Type(0x0A04)->Number(), "9.001");
    for (const uint16_t group : std::vector<uint16_t>{0x0A05, 0x0A06, 0x0A07, 0x0000, 0xFFFF})
    {
        EXPECT_EQ(groups.Type(group), nullptr) << group;
    }
    EXPECT_EQ(groups.Name(0x0A07), "");
    EXPECT_EQ(KnownGroups().Name(0x0A03), "");
    EXPECT_EQ(KnownGroups().Type(0x0A03), nullptr);
}

TEST(KnownGroups, GiveTheMeaningOfAWriteAndAResponse)
{
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 03 01 00 81"), "Lights/Ceiling: On");
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 03 01 00 40"), "Lights/Ceiling: Off");
    EXPECT_EQ(MeaningText("11 00 bc e0 00 00 0a 04 03 00 80 0c 1a"), "Climate/Temperature: 21 °C");
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 04 01 00 00"), "Climate/Temperature: "); // a read
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 06 01 00 81"), "No type: ");
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 07 01 00 81"), ": ");
}

TEST(KnownGroups, DoNotGuessWhatAnotherLengthMeans)
{
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 04 01 00 81"), "Climate/Temperature: wrong");
    EXPECT_EQ(MeaningText("29 00 bc e0 11 01 0a 03 02 00 80 01"), "Lights/Ceiling: wrong");
}

TEST(KnownGroups, AreNotMeantByOtherTelegrams)
{
    for (const char* const hex : {"29 00 b0 60 11 01 0a 03 01 00 81", // to a device
                                  "29 00 b0 e0 11 01 0a 03 01 04 81", // with a tag
                                  "29 00 b0 e0 11 01 0a 03 01 44 81", // of a connection
                                  "29 00 b0 e0 11 01 0a 03 00 81",    // the end of one
                                  "29 00 b0 e0 11 01 0a 03", "fc 00 0b 01 33 10 01", "b9 00 01", ""})
    {
        EXPECT_EQ(MeaningText(hex), ": ") << hex;
        EXPECT_FALSE(ValueOf(Decode(FromHex(hex)))) << hex;
    }
    EXPECT_FALSE(ValueOf(Decode(FromHex("29 00 b0 e0 11 01 00 00 01 00 81")))); // to everybody
    EXPECT_FALSE(ValueOf(Decode(FromHex("29 00 bc e0 11 01 0a 03 01 03 00")))); // another service
}

} // namespace
