// The words of telegrams to groups that are known.

#include "Meaning.h"

#include <gtest/gtest.h>

using namespace Simulator;
using Knx::FromHex;

namespace
{

std::string TextOfKnown(Event::Kind kind, const std::string& telegram)
{
    static const Knx::KnownGroups groups(Knx::GroupAddresses(
        {{0x0A03, "Lights/Ceiling", "1.001", ""}, {0x0A04, "", "9.001", ""}, {0x0A05, "Door", "", ""}}));
    const Event event(kind, FromHex(telegram));
    const std::string text = TextOf(event, groups);
    const std::string digits = TextOf(event);
    EXPECT_EQ(text.substr(0, digits.size()), digits);
    return text.substr(digits.size());
}

TEST(Meaning, OfATelegramStandsBehindItsDigits)
{
    for (const auto kind :
         {Event::TelegramToKnx, Event::TelegramConfirmed, Event::TelegramNotSent, Event::TelegramFromKnx})
    {
        EXPECT_EQ(TextOfKnown(kind, "29 00 bc e0 11 01 0a 03 01 00 81"), "  # Lights/Ceiling: On");
    }
    EXPECT_EQ(TextOfKnown(Event::TelegramFromKnx, "29 00 bc e0 11 01 0a 03 01 00 00"), "  # Lights/Ceiling: read");
    EXPECT_EQ(TextOfKnown(Event::TelegramFromKnx, "29 00 bc e0 11 01 0a 04 03 00 40 0c 1a"), "  # 1/2/4: 21 \u00b0C");
    EXPECT_EQ(TextOfKnown(Event::TelegramFromKnx, "29 00 bc e0 11 01 0a 05 01 00 81"), "  # Door");
}

TEST(Meaning, IsNotGuessed)
{
    EXPECT_EQ(TextOfKnown(Event::TelegramFromKnx, "29 00 bc e0 11 01 0a 03 03 00 80 0c 1a"),
              "  # Lights/Ceiling: no value of the type 1.001");
    for (const char* const hex : {"29 00 bc e0 11 01 0a 06 01 00 81", "29 00 bc 60 11 01 0a 03 01 00 81", "29 00", ""})
    {
        EXPECT_EQ(TextOfKnown(Event::TelegramFromKnx, hex), "") << hex;
    }
    EXPECT_EQ(TextOfKnown(Event::UnknownDeviceMessage, "29 00 bc e0 11 01 0a 03 01 00 81"), "") << "no telegram";
}

} // namespace
