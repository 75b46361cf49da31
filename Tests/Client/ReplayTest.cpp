#include "Replay.h"

#include <gtest/gtest.h>

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::PauseBefore;
using OrvelClient::RequestFor;
using namespace std::chrono_literals;

namespace
{

std::string Request(const std::string& frame)
{
    const auto request = RequestFor(FromHex(frame));
    return request ? ToHex(*request) : "nothing";
}

TEST(Replay, AnIndicationOrAConfirmationBecomesTheRequest)
{
    EXPECT_EQ(Request("29 00 bc e0 11 01 0a 03 01 00 81"), "11 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Request("2e 00 bc e0 11 01 0a 03 01 00 81"), "11 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Request("2d 00 bc 11 01"), "10 00 bc 11 01");
    EXPECT_EQ(Request("2f 00 bd 11 01"), "10 00 bd 11 01");
}

TEST(Replay, ARequestHasNothingThatTellsOfTheReception)
{
    EXPECT_EQ(Request("29 07 03 01 05 04 02 aa bb bc e0 11 01 0a 03 01 00 81"), "11 00 bc e0 11 01 0a 03 01 00 81");
    EXPECT_EQ(Request("2e 00 bd e0 11 01 0a 03 01 00 81"), "11 00 bc e0 11 01 0a 03 01 00 81");
}

TEST(Replay, KeepsTheTimingOfTheRecordingAtItsSpeed)
{
    EXPECT_EQ(PauseBefore(1500ms, 1), 1500ms);
    EXPECT_EQ(PauseBefore(1500ms, 2), 750ms);
    EXPECT_EQ(PauseBefore(1500ms, 0), 0ms);
}

TEST(Replay, WaitsNoLongerThanTheClockCanTellAndNeverForThePast)
{
    constexpr auto tenYears = 10 * 365 * 24h;
    constexpr std::chrono::microseconds latest = std::chrono::seconds(999999999999);
    EXPECT_EQ(PauseBefore(latest, 1), tenYears);
    EXPECT_EQ(PauseBefore(latest, 0.001), tenYears);
    EXPECT_EQ(PauseBefore(-latest, 0.001), 0ms);
}

TEST(Replay, RequestsStayAsTheyAre)
{
    for (const char* const frame :
         {"11 03 03 01 05 bd e0", "10 00", "13 00 f0", "41 00", "4a", "fc 00", "f6 00", "f8 00", "f9 00", "f1"})
    {
        EXPECT_EQ(Request(frame), frame);
    }
}

TEST(Replay, WhatIsNoFrameForTheBusIsLeftOut)
{
    for (const char* const frame : {"", "b9 00 01", "2b 00 bc 11", "25 00 f0", "89 00", "94 00", "f0", "f5 00", "f7 00",
                                    "fa 00", "fb 00", "77", "ba 00", "bb 00 05", "29", "29 00", "29 05 03", "2d 01 02"})
    {
        EXPECT_EQ(Request(frame), "nothing") << frame;
    }
}

TEST(Replay, AFrameThatIsTooLongForTheWayBackIsLeftOut)
{
    Bytes frame(256, 0x55);
    frame[0] = 0x29;
    frame[1] = 0;
    EXPECT_FALSE(RequestFor(frame));
    frame.pop_back();
    EXPECT_TRUE(RequestFor(frame));
}

} // namespace
