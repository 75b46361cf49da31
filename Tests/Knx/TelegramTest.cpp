#include "Knx/Telegram.h"

#include <gtest/gtest.h>

#include <string>

using namespace Knx;

namespace
{

Bytes Hex(const std::string& text)
{
    return FromHex(text);
}

// In bit times of 9600 bit/s, rounded.
std::chrono::nanoseconds::rep BitTimes(const std::string& cemi)
{
    return (Telegram::TimeOnLine(Hex(cemi)).count() * 9600 + 500'000'000) / 1'000'000'000;
}

TEST(Telegram, ARequestAndAnIndicationAreToldApart)
{
    EXPECT_TRUE(Telegram::IsRequest(Hex("11 00 bc e0 00 00 0a 03 01 00 81")));
    EXPECT_FALSE(Telegram::IsIndication(Hex("11 00 bc e0 00 00 0a 03 01 00 81")));
    EXPECT_TRUE(Telegram::IsIndication(Hex("29 00 bc e0 11 01 0a 03 01 00 81")));
    EXPECT_FALSE(Telegram::IsRequest(Hex("29 00 bc e0 11 01 0a 03 01 00 81")));
    EXPECT_FALSE(Telegram::IsRequest(Hex("10 00 bc e0 11 01 0a 03 01 00 81"))); // L_Raw.req
}

TEST(Telegram, OnlyAWholeOneCounts)
{
    const Bytes whole = Hex("29 00 bc e0 11 01 0a 03 01 00 81");
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        EXPECT_FALSE(Telegram::IsIndication(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))))
            << size;
    }
    EXPECT_FALSE(Telegram::IsIndication(Hex("29 00 bc e0 11 01 0a 03 01 00 81 00")));
    EXPECT_FALSE(Telegram::IsIndication(Hex("29 ff bc e0 11 01 0a 03 01 00 81"))); // additional information
}

TEST(Telegram, AdditionalInformationAndATelegramWithoutDataAreUnderstood)
{
    EXPECT_TRUE(Telegram::IsIndication(Hex("29 04 03 02 12 34 bc e0 11 01 0a 03 01 00 81")));
    EXPECT_TRUE(Telegram::IsIndication(Hex("29 00 b0 60 11 01 11 02 00 80"))); // T_Connect
}

TEST(Telegram, AdditionalInformationIsElementsOfATypeASizeAndSoManyBytes)
{
    const auto isTelegramWith = [](const std::string& information)
    {
        Bytes cemi = Hex(information);
        cemi.insert(cemi.begin(), {0x29, static_cast<uint8_t>(cemi.size())});
        const Bytes rest = Hex("bc e0 11 01 0a 03 01 00 81");
        cemi.insert(cemi.end(), rest.begin(), rest.end());
        return Telegram::IsIndication(cemi);
    };
    EXPECT_TRUE(isTelegramWith(""));
    EXPECT_TRUE(isTelegramWith("07 00"));
    EXPECT_TRUE(isTelegramWith("03 02 12 34 07 01 00"));
    EXPECT_FALSE(isTelegramWith("03"));
    EXPECT_FALSE(isTelegramWith("03 02 12"));
    EXPECT_FALSE(isTelegramWith("03 02 12 34 07"));
    EXPECT_FALSE(isTelegramWith("03 ff 12 34"));
}

TEST(Telegram, OfTwoHundredFiftyFourBytesIsTheLongest)
{
    Bytes longest = Hex("29 00 3c e0 11 01 0a 03 fe 00 80");
    longest.resize(2 + 8 + 254);
    EXPECT_TRUE(Telegram::IsIndication(longest));
    longest[8] = 0xFF; // reserved
    longest.push_back(0);
    EXPECT_FALSE(Telegram::IsIndication(longest));
}

TEST(Telegram, OthersSeeARequestAsAnIndicationThatWasNotRepeated)
{
    // Do not repeat, acknowledge wanted, and a bit that has no meaning in a request.
    EXPECT_EQ(Telegram::ToIndication(Hex("11 00 9f e0 11 01 0a 03 01 00 81")), Hex("29 00 bc e0 11 01 0a 03 01 00 81"));
}

TEST(Telegram, OthersSeeTheAdditionalInformationToo)
{
    EXPECT_EQ(Telegram::ToIndication(Hex("11 04 03 02 12 34 bc e0 11 01 0a 03 01 00 81")),
              Hex("29 04 03 02 12 34 bc e0 11 01 0a 03 01 00 81"));
}

TEST(Telegram, ASourceIsFilledInWhereThereIsNone)
{
    EXPECT_EQ(Telegram::ToIndication(Hex("11 00 bc e0 00 00 0a 03 01 00 81")), Hex("29 00 bc e0 ff ff 0a 03 01 00 81"));
    EXPECT_EQ(Telegram::ToIndication(Hex("11 00 bc e0 00 01 0a 03 01 00 81")), Hex("29 00 bc e0 00 01 0a 03 01 00 81"));
    EXPECT_EQ(Telegram::ToIndication(Hex("11 00 bc e0 11 00 0a 03 01 00 81")), Hex("29 00 bc e0 11 00 0a 03 01 00 81"));
}

TEST(Telegram, IsSentOnInTheNameOfItsSenderAndWithoutHowItWasReceived)
{
    EXPECT_EQ(Telegram::ToRequest(Hex("29 00 bc e0 11 01 0a 03 01 00 81")), Hex("11 00 bc e0 11 01 0a 03 01 00 81"));
    // Additional information, and the bits of a repeated telegram.
    EXPECT_EQ(Telegram::ToRequest(Hex("29 04 03 02 12 34 9f e0 11 01 0a 03 01 00 81")),
              Hex("11 00 bc e0 11 01 0a 03 01 00 81"));
    // An extended frame of another priority stays one.
    EXPECT_EQ(Telegram::ToRequest(Hex("29 00 30 60 11 01 11 02 01 03 00")), Hex("11 00 30 60 11 01 11 02 01 03 00"));
}

TEST(Telegram, LosesAHopAtEachRouter)
{
    Bytes telegram = Hex("29 00 bc e0 11 01 0a 03 01 00 81");
    for (const char* const control2 : {"d0", "c0", "b0", "a0", "90", "80"})
    {
        EXPECT_TRUE(Telegram::CountHop(telegram));
        EXPECT_EQ(telegram, Hex(std::string("29 00 bc ") + control2 + " 11 01 0a 03 01 00 81"));
    }
    EXPECT_FALSE(Telegram::CountHop(telegram));
}

TEST(Telegram, WithSevenHopsIsNeverStopped)
{
    Bytes telegram = Hex("29 04 03 02 12 34 bc f3 11 01 0a 03 01 00 81");
    const Bytes before = telegram;
    EXPECT_TRUE(Telegram::CountHop(telegram));
    EXPECT_EQ(telegram, before);
}

TEST(Telegram, AHopIsCountedForADeviceAsForAGroup)
{
    Bytes telegram = Hex("29 04 03 02 12 34 b0 1f 11 01 11 02 00 80");
    EXPECT_TRUE(Telegram::CountHop(telegram));
    EXPECT_EQ(telegram, Hex("29 04 03 02 12 34 b0 0f 11 01 11 02 00 80"));
    EXPECT_FALSE(Telegram::CountHop(telegram));
}

TEST(Telegram, AConfirmationTellsWhetherTheRequestWasSent)
{
    EXPECT_EQ(Telegram::ToConfirmation(Hex("11 04 03 02 12 34 bd e0 00 00 0a 03 01 00 81"), true),
              Hex("2e 04 03 02 12 34 bc e0 00 00 0a 03 01 00 81"));
    EXPECT_EQ(Telegram::ToConfirmation(Hex("11 00 bc"), false), Hex("2e 00 bd"));
}

TEST(Telegram, ToAGroupHasLowPriorityAndNoSourceUnlessItIsGivenThem)
{
    Telegram::GroupTelegram telegram;
    telegram.group = 0x0A03;
    telegram.apci = 0x081;
    EXPECT_EQ(Encode(telegram), Hex("11 00 bc e0 00 00 0a 03 01 00 81"));
    telegram = {MessageCode::LDataInd, 0x34, 0x1102, 0x0A03, 0x3D5, {0x0C, 0x1A}};
    EXPECT_EQ(Encode(telegram), Hex("29 00 34 e0 11 02 0a 03 03 03 d5 0c 1a"));
}

TEST(Telegram, TakesTheTimeOfItsCharactersAndOfWhatIsAroundThem)
{
    // 53 idle, 9 characters of 11 with 8 gaps of 2, 15 to the acknowledge, 11 for it.
    EXPECT_EQ(BitTimes("29 00 bc e0 11 01 0a 03 01 00 81"), 53 + 9 * 11 + 8 * 2 + 15 + 11);
    EXPECT_EQ(BitTimes("11 00 bc e0 11 01 0a 03 01 00 81"), 194); // both ways the same
    EXPECT_EQ(BitTimes("29 00 bc e0 11 01 0a 03 02 00 80 01"), 194 + 13);
    EXPECT_EQ(BitTimes("29 04 03 02 12 34 bc e0 11 01 0a 03 01 00 81"), 194); // the information is not on the line
}

TEST(Telegram, TakesNoTimeIfItEndsBeforeItsLength)
{
    const Bytes whole = Hex("29 04 03 02 12 34 bc e0 11 01 0a 03 01");
    EXPECT_GT(Telegram::TimeOnLine(whole).count(), 0);
    for (std::size_t size = 0; size < whole.size(); ++size)
    {
        EXPECT_EQ(Telegram::TimeOnLine(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size))).count(),
                  0)
            << size;
    }
}

TEST(Telegram, AnExtendedFrameHasOneCharacterMore)
{
    EXPECT_EQ(BitTimes("29 00 3c e0 11 01 0a 03 01 00 81"), 194 + 13);
    // Longer than a standard frame can be, it is an extended one whatever it says.
    EXPECT_EQ(BitTimes("29 00 bc e0 11 01 0a 03 0f 00 80 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e"), 194 + 14 * 13);
    EXPECT_EQ(BitTimes("29 00 bc e0 11 01 0a 03 10 00 80 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f"),
              194 + 15 * 13 + 13);
}

} // namespace
