#include "Knx/Datagram.h"

#include <gmock/gmock.h>

#include <random>
#include <string>

using namespace Knx;
using testing::ElementsAre;

namespace
{

Bytes Hex(const std::string& text)
{
    return FromHex(text);
}

template<typename Kind>
Kind DecodeAs(const std::string& text)
{
    return std::get<Kind>(Routing::Decode(Hex(text)).value());
}

TEST(Datagram, ATelegramStandsBehindAHeaderWithTheSizeOfAll)
{
    const Bytes cemi = Hex("29 00 bc e0 11 01 0a 03 01 00 81");
    const Bytes datagram = Hex("06 10 05 30 00 11 29 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Routing::Encode(Routing::Indication{cemi}), datagram);
    EXPECT_EQ(std::get<Routing::Indication>(Routing::Decode(datagram).value()).cemi, cemi);
}

TEST(Datagram, LostTelegramsAreANumber)
{
    EXPECT_EQ(Routing::Encode(Routing::Lost{1, 0x0203}), Hex("06 10 05 31 00 0a 04 01 02 03"));
    const auto lost = DecodeAs<Routing::Lost>("06 10 05 31 00 0a 04 01 02 03");
    EXPECT_EQ(lost.deviceState, 1);
    EXPECT_EQ(lost.count, 0x0203);
}

TEST(Datagram, ABusyRouterTellsATime)
{
    EXPECT_EQ(Routing::Encode(Routing::Busy{1, 100, 0x0203}), Hex("06 10 05 32 00 0c 06 01 00 64 02 03"));
    const auto busy = DecodeAs<Routing::Busy>("06 10 05 32 00 0c 06 01 00 64 02 03");
    EXPECT_EQ(busy.deviceState, 1);
    EXPECT_EQ(busy.waitTime, 100);
    EXPECT_EQ(busy.control, 0x0203);
}

TEST(Datagram, AnotherServiceIsNotMalformed)
{
    const auto search = DecodeAs<Routing::Other>("06 10 02 01 00 0e 08 01 7f 00 00 01 0e 57");
    EXPECT_EQ(search.service, 0x0201);
    EXPECT_EQ(search.body.size(), 8U);
    EXPECT_EQ(Routing::Encode(search), Hex("06 10 02 01 00 0e 08 01 7f 00 00 01 0e 57"));
}

TEST(Datagram, WhatContradictsItselfIsMalformed)
{
    for (const char* const text : {
             "", "06", "06 10 05 30 00",
             "07 10 05 30 00 06",                   // size of the header
             "06 20 05 30 00 06",                   // version
             "06 10 05 30 00 07",                   // longer than it is
             "06 10 05 30 00 06 29",                // shorter than it is
             "06 10 05 31 00 06",                   // no body
             "06 10 05 31 00 0a 05 00 00 01",       // size of the body
             "06 10 05 31 00 0b 05 00 00 01 00",    // too long
             "06 10 05 32 00 0a 04 00 00 64",       // too short
             "06 10 05 32 00 0c 05 00 00 64 00 00", // size of the body
         })
    {
        EXPECT_FALSE(Routing::Decode(Hex(text))) << text;
    }
}

TEST(Datagram, ATelegramMayBeEmptyOrAnything)
{
    EXPECT_THAT(DecodeAs<Routing::Indication>("06 10 05 30 00 06").cemi, ElementsAre());
    EXPECT_THAT(DecodeAs<Routing::Indication>("06 10 05 30 00 07 ff").cemi, ElementsAre(0xFF));
}

TEST(Datagram, WhateverIsDecodedIsEncodedToTheSameBytes)
{
    std::minstd_rand random(1);
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    int decoded = 0;
    for (int round = 0; round < 20000; ++round)
    {
        Bytes bytes = Hex("06 10 05 30 00 00");
        bytes[3] = static_cast<uint8_t>(0x30 + below(4));
        for (int left = below(8); left > 0; --left)
        {
            bytes.push_back(static_cast<uint8_t>(below(8)));
        }
        bytes[5] = static_cast<uint8_t>(bytes.size());
        bytes[static_cast<std::size_t>(below(6))] ^= static_cast<uint8_t>(below(3) == 0 ? 1 << below(8) : 0);
        if (const auto datagram = Routing::Decode(bytes))
        {
            EXPECT_EQ(Routing::Encode(*datagram), bytes);
            ++decoded;
        }
    }
    EXPECT_GT(decoded, 5000);
}

} // namespace
