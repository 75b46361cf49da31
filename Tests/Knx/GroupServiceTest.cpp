#include "Knx/GroupService.h"

#include <gtest/gtest.h>

using Knx::Decode;
using Knx::FromHex;
using Knx::GroupService;
using Knx::GroupServiceOf;
using Knx::TelegramTo;
using Knx::ValueOf;

namespace
{

TEST(GroupService, IsFoundAgainInTheTelegramThatDoesIt)
{
    const Knx::GroupValue value{{0x0C, 0x1A}, false};
    for (const auto service : {GroupService::Read, GroupService::Response, GroupService::Write})
    {
        const bool isRead = service == GroupService::Read;
        const auto cemi = Decode(Encode(TelegramTo(0x0A03, service, isRead ? Knx::GroupValue() : value)));
        EXPECT_EQ(cemi.destination, 0x0A03);
        EXPECT_EQ(GroupServiceOf(cemi), service);
        EXPECT_EQ(ValueOf(cemi).has_value(), !isRead);
        EXPECT_EQ(ValueOf(cemi).value_or(value), value);
    }
}

TEST(GroupService, IsNoneOfAnotherServiceOrOfATelegramToNoGroup)
{
    for (const char* const hex : {"29 00 bc e0 11 01 0a 03 01 03 00", // another service
                                  "29 00 bc 60 11 01 0a 03 01 00 81", // to a device
                                  "29 00 bc e0 11 01 00 00 01 00 81", // to everybody
                                  "29 00 bc e0 11 01 0a 03 01 44 81", // of a connection
                                  "29 00 bc e0 11 01 0a 03", ""})
    {
        EXPECT_FALSE(GroupServiceOf(Decode(FromHex(hex)))) << hex;
    }
}

} // namespace
