#include "GroupRequest.h"

#include "Conversation.h"
#include "Rejection.h"

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::Confirms;
using OrvelClient::GroupRequest;
using OrvelClient::GroupService;
using OrvelClient::Status;

namespace
{

TEST(GroupRequest, HasASmallValueInItsLastByteAndALongerOneBehindIt)
{
    EXPECT_EQ(ToHex(GroupRequest(GroupService::Write, 0x0A03, {{0x01}, true})), "11 00 bc e0 00 00 0a 03 01 00 81");
    EXPECT_EQ(ToHex(GroupRequest(GroupService::Response, 0x0A03, {{0x3F}, true})), "11 00 bc e0 00 00 0a 03 01 00 7f");
    EXPECT_EQ(ToHex(GroupRequest(GroupService::Write, 0x0A03, {{0x0C, 0x1A}, false})),
              "11 00 bc e0 00 00 0a 03 03 00 80 0c 1a");
    EXPECT_EQ(ToHex(GroupRequest(GroupService::Read, 0x0A03)), "11 00 bc e0 00 00 0a 03 01 00 00");
}

TEST(GroupRequest, IsAnExtendedFrameWhereItHasTo)
{
    EXPECT_EQ(GroupRequest(GroupService::Write, 1, {Bytes(14), false})[2], 0xBC);
    EXPECT_EQ(GroupRequest(GroupService::Write, 1, {Bytes(15), false})[2], 0x3C);
    EXPECT_EQ(GroupRequest(GroupService::Write, 1, {Bytes(244), false}).size(), 255);
    EXPECT_REJECTED(GroupRequest(GroupService::Write, 1, {Bytes(245), false}), Status::WrongLength,
                    "a frame has at most 255 bytes, and this one 256");
}

TEST(GroupRequest, IsConfirmedByTheSameFrameWithTheSourceFilledIn)
{
    const Bytes request = FromHex("11 00 bc e0 00 00 0a 03 01 00 81");
    EXPECT_TRUE(Confirms(FromHex("2e 00 bc e0 11 01 0a 03 01 00 81"), request));
    EXPECT_TRUE(Confirms(FromHex("2e 00 bd e0 11 01 0a 03 01 00 81"), request)); // also that it was not sent
    EXPECT_TRUE(Confirms(FromHex("2e 02 04 00 bc d0 11 01 0a 03 01 00 81"), request));
    for (const char* const other :
         {"29 00 bc e0 11 01 0a 03 01 00 81", "2e 00 bc e0 11 01 0a 04 01 00 81", "2e 00 bc e0 11 01 0a 03 01 00 80",
          "2e 00 bc e0 11 01 0a 03 02 00 81 00", "2e 00 bc 60 11 01 0a 03 01 00 81", "2e 00 bc e0 11 01 0a 03", "2e",
          "", "b9 00 01"})
    {
        EXPECT_FALSE(Confirms(FromHex(other), request)) << other;
    }
}

} // namespace
