#include "Mailbox.h"

#include "Orvel/Gateway.h"

#include <gtest/gtest.h>

#include <vector>

using namespace OrvelGateway;

namespace
{

Message Numbered(int number)
{
    const std::array<uint8_t, 3> bytes{2, static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number & 0xFF)};
    return {bytes.data(), bytes.size()};
}

// The numbers of the messages in their order; -5 where five are missing.
std::vector<int> TakeAll(Mailbox& mailbox)
{
    std::vector<int> numbers;
    while (const Message* const message = mailbox.Next())
    {
        const bool tellsLost = message->HasCode(ORVEL_GATEWAY_LOST_CODE) && message->Size() == 4;
        const int number = message->Data()[message->Size() - 2] << 8 | message->Data()[message->Size() - 1];
        EXPECT_EQ(mailbox.Take(), !tellsLost);
        numbers.push_back(tellsLost ? -number : number);
    }
    return numbers;
}

TEST(Mailbox, GivesItsMessagesInTheirOrder)
{
    Mailbox mailbox(0);
    for (int round = 0; round < 3; ++round)
    {
        std::vector<int> numbers;
        for (int i = 0; i < 1000; ++i)
        {
            EXPECT_TRUE(mailbox.Put(Numbered(i)));
            numbers.push_back(i);
        }
        EXPECT_EQ(TakeAll(mailbox), numbers);
    }
    EXPECT_EQ(mailbox.Next(), nullptr);
}

TEST(Mailbox, TellsHowManyAreMissingWhereTheyAre)
{
    Mailbox mailbox(0);
    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES; ++i)
    {
        ASSERT_TRUE(mailbox.Put(Numbered(i)));
    }
    EXPECT_FALSE(mailbox.Put(Numbered(5000)));
    EXPECT_FALSE(mailbox.Put(Numbered(5001)));
    mailbox.Take();
    EXPECT_TRUE(mailbox.Put(Numbered(6000)));
    EXPECT_FALSE(mailbox.Put(Numbered(5002)));
    auto numbers = TakeAll(mailbox);
    EXPECT_EQ(numbers.size(), 1023U + 3U);
    EXPECT_EQ(std::vector<int>(numbers.end() - 4, numbers.end()), (std::vector<int>{1023, -2, 6000, -1}));
}

TEST(Mailbox, TellsOfMissingMessagesOnce)
{
    Mailbox mailbox(0);
    for (int i = 0; i <= ORVEL_GATEWAY_MESSAGES; ++i)
    {
        mailbox.Put(Numbered(i));
    }
    TakeAll(mailbox);
    EXPECT_TRUE(mailbox.Put(Numbered(7)));
    EXPECT_EQ(TakeAll(mailbox), (std::vector<int>{7}));
}

TEST(Mailbox, CountsMissingMessagesToTheMostThatTheMessageCanTell)
{
    Mailbox mailbox(0);
    for (int i = 0; i < ORVEL_GATEWAY_MESSAGES + 70000; ++i)
    {
        mailbox.Put(Numbered(0));
    }
    EXPECT_EQ(TakeAll(mailbox).back(), -65535);
}

TEST(Mailbox, HasRoomForConfirmationsWhereOtherMessagesHaveNone)
{
    Mailbox mailbox(2);
    for (int i = 0; i <= ORVEL_GATEWAY_MESSAGES; ++i)
    {
        mailbox.Put(Numbered(i));
    }
    mailbox.PutConfirmation(Numbered(8000));
    mailbox.PutConfirmation(Numbered(8001));
    EXPECT_FALSE(mailbox.Put(Numbered(5000)));
    auto numbers = TakeAll(mailbox);
    EXPECT_EQ(std::vector<int>(numbers.end() - 5, numbers.end()), (std::vector<int>{1023, -1, 8000, 8001, -1}));
}

} // namespace
