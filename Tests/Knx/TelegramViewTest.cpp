#include "Knx/TelegramView.h"

#include "Knx/Telegram.h"

#include "RandomFrames.h"

#include <gtest/gtest.h>

#include <string>

using namespace Knx;

namespace
{

std::optional<TelegramView> View(Bytes& bytes)
{
    return TelegramView::Of(bytes.data(), bytes.size());
}

bool AreSame(const std::string& one, const std::string& other)
{
    Bytes first = FromHex(one);
    Bytes second = FromHex(other);
    return View(first)->IsSameTelegramAs(*View(second));
}

TEST(TelegramView, SeesRequestsConfirmationsAndIndicationsOnly)
{
    for (const char* const code : {"11", "2e", "29"})
    {
        Bytes bytes = FromHex(code + std::string(" 00 bc e0 00 00 0a 03 01 00 81"));
        EXPECT_TRUE(View(bytes)) << code;
    }
    for (const char* const code : {"10", "2b", "2d", "2f", "fc"})
    {
        Bytes bytes = FromHex(code + std::string(" 00 bc e0 00 00 0a 03 01 00 81"));
        EXPECT_FALSE(View(bytes)) << code;
    }
}

TEST(TelegramView, SeesAWholeTelegramOnly)
{
    const Bytes whole = FromHex("29 04 04 02 00 07 bc e0 11 01 0a 03 02 00 80 01");
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(View(part)) << size;
    }
    for (const char* const wrong :
         {"29 04 04 02 00 07 bc e0 11 01 0a 03 02 00 80 01 00", "29 04 04 03 00 07 bc e0 11 01 0a 03 02 00 80 01",
          "29 03 04 02 00 07 bc e0 11 01 0a 03 02 00 80 01", "29 ff bc e0 11 01 0a 03 01 00 81"})
    {
        Bytes bytes = FromHex(wrong);
        EXPECT_FALSE(View(bytes)) << wrong;
    }
}

TEST(TelegramView, AgreesWithTheDecoderWhatIsWhole)
{
    unsigned whole = 0;
    RandomFrames frames(1);
    for (int i = 0; i < 20000; ++i)
    {
        Bytes frame = frames.Next();
        const bool isSeen = View(frame).has_value();
        if (!frame.empty() && frame[0] != static_cast<uint8_t>(MessageCode::LDataCon))
        {
            EXPECT_EQ(isSeen, Telegram::IsRequest(frame) || Telegram::IsIndication(frame)) << ToHex(frame);
        }
        whole += isSeen ? 1U : 0U;
    }
    EXPECT_GT(whole, 100U);
}

TEST(TelegramView, IsTheSameTelegramWhateverTheLinkChanges)
{
    EXPECT_TRUE(AreSame("11 00 bc e0 00 00 0a 03 01 00 81", "2e 00 b1 d0 11 05 0a 03 01 00 81"));
    EXPECT_TRUE(AreSame("11 02 aa 00 bc e0 00 00 0a 03 01 00 81", "2e 00 bc e0 00 00 0a 03 01 00 81"));
}

TEST(TelegramView, IsAnotherTelegramWithAnotherDestinationOrOtherData)
{
    const char* const request = "11 00 bc e0 00 00 0a 03 01 00 81";
    EXPECT_FALSE(AreSame(request, "2e 00 bc 60 00 00 0a 03 01 00 81")); // to a device
    EXPECT_FALSE(AreSame(request, "2e 00 bc e0 00 00 0a 04 01 00 81"));
    EXPECT_FALSE(AreSame(request, "2e 00 bc e0 00 00 0a 03 01 00 80"));
    EXPECT_FALSE(AreSame(request, "2e 00 bc e0 00 00 0a 03 01 40 81"));
    EXPECT_FALSE(AreSame(request, "2e 00 bc e0 00 00 0a 03 02 00 81 00"));
}

TEST(TelegramView, MakesWhatTheSimulatedBoardMakesOfARequest)
{
    for (const char* const text : {"11 00 bc e0 00 00 0a 03 01 00 81", "11 02 aa 00 be e0 11 05 0a 03 01 00 81",
                                   "11 00 3d e0 00 01 0a 03 02 00 80 01"})
    {
        const Bytes request = FromHex(text);
        Bytes bytes = request;
        View(bytes)->BecomeIndication();
        EXPECT_EQ(bytes, Telegram::ToIndication(request));
        bytes = request;
        View(bytes)->BecomeFailedConfirmation();
        EXPECT_EQ(bytes, Telegram::ToConfirmation(request, false));
    }
}

TEST(TelegramView, KnowsAFailedConfirmation)
{
    Bytes sent = FromHex("2e 00 bc e0 00 00 0a 03 01 00 81");
    Bytes failed = FromHex("2e 00 bd e0 00 00 0a 03 01 00 81");
    EXPECT_FALSE(View(sent)->HasFailed());
    EXPECT_TRUE(View(failed)->HasFailed());
}

} // namespace
