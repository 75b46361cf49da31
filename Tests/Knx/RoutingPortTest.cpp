#include "Knx/RoutingPort.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace Knx;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

using Note = RoutingPort::Note;

constexpr const char* Busy = "06 10 05 32 00 0c 06 00 00 64 00 00"; // 100 ms, everybody

class RoutingPortTest : public testing::Test
{
protected:
    static Bytes Telegram(int number)
    {
        Bytes telegram = FromHex("29 00 bc e0 11 01 0a 03 03 00 80 00 00");
        telegram[11] = static_cast<uint8_t>(number >> 8);
        telegram[12] = static_cast<uint8_t>(number & 0xFF);
        return telegram;
    }

    std::optional<Bytes> Receive(const Routing::Datagram& datagram)
    {
        return ReceiveBytes(Routing::Encode(datagram));
    }

    std::optional<Bytes> ReceiveBytes(const Bytes& datagram)
    {
        auto telegram = port.Receive(datagram, now);
        port.Advance(now);
        return telegram;
    }

    void Keep(int count)
    {
        for (int number = 0; number < count; ++number)
        {
            port.Keep(Telegram(number), now);
        }
        port.Advance(now);
    }

    int Take()
    {
        const Bytes telegram = port.Take().cemi;
        port.Advance(now);
        return telegram.at(11) << 8U | telegram.at(12);
    }

    void Pass(std::chrono::milliseconds time)
    {
        now += time;
        port.Advance(now);
    }

    // Each as one line.
    static std::string Text(const Note& note)
    {
        static const std::vector<std::string> kinds{"lost", "others lost", "others busy", "malformed"};
        return kinds.at(note.kind) + " " + std::to_string(note.number) + " " + std::to_string(note.total) +
               (note.datagram.empty() ? "" : " ") + ToHex(note.datagram);
    }

    RoutingPort::Clock::time_point now{1h};
    bool networkWorks = true;
    std::vector<std::string> sent;
    std::vector<std::string> notes;
    RoutingPort port{{[this](const Bytes& datagram)
                      {
                          sent.push_back(ToHex(datagram));
                          return networkWorks;
                      },
                      [this](const Note& note) { notes.push_back(Text(note)); }},
                     1};
};

TEST_F(RoutingPortTest, ReturnsTheTelegramOfADatagramAndKeepsItOnlyWhenAsked)
{
    EXPECT_EQ(Receive(Routing::Indication{Telegram(7)}), Telegram(7));
    EXPECT_EQ(port.Next(), nullptr);
    port.Keep(Telegram(7), now);
    ASSERT_NE(port.Next(), nullptr);
    EXPECT_EQ(port.Next()->cemi, Telegram(7));
    EXPECT_EQ(port.Next()->since, now);
}

TEST_F(RoutingPortTest, GivesTelegramsInTheOrderInWhichTheyCame)
{
    Keep(3);
    EXPECT_EQ(Take(), 0);
    EXPECT_EQ(Take(), 1);
    EXPECT_EQ(Take(), 2);
    EXPECT_EQ(port.Next(), nullptr);
}

TEST_F(RoutingPortTest, SendsATelegramAsADatagram)
{
    EXPECT_TRUE(port.Send(Telegram(0x1234)));
    EXPECT_THAT(sent, ElementsAre("06 10 05 30 00 13 29 00 bc e0 11 01 0a 03 03 00 80 12 34"));
    networkWorks = false;
    EXPECT_FALSE(port.Send(Telegram(0x1234)));
}

TEST_F(RoutingPortTest, AsksForAPauseWhenTenWaitAndAgainOnlyAfterIt)
{
    Keep(9);
    EXPECT_THAT(sent, IsEmpty());
    Keep(1);
    EXPECT_THAT(sent, ElementsAre(Busy));
    Pass(99ms);
    Keep(1);
    EXPECT_THAT(sent, ElementsAre(Busy));
    Pass(1ms);
    Keep(1);
    EXPECT_THAT(sent, ElementsAre(Busy, Busy));
}

TEST_F(RoutingPortTest, AsksForNoPauseWhileNobodySends)
{
    Keep(10);
    Pass(1h);
    EXPECT_THAT(sent, ElementsAre(Busy));
}

TEST_F(RoutingPortTest, WhatFindsNoRoomIsToldOnceThereIsRoomAgain)
{
    Keep(RoutingPort::MaxWaiting);
    sent.clear();
    Keep(2);
    Pass(1h);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_FALSE(port.NextDue());
    Take();
    EXPECT_THAT(sent, ElementsAre("06 10 05 31 00 0a 04 00 00 02"));
    EXPECT_THAT(notes, ElementsAre("lost 2 2"));
    EXPECT_EQ(port.Count().lost, 2U);
}

TEST_F(RoutingPortTest, LossIsToldAtMostOnceASecond)
{
    port.SetLine(false);
    Keep(1);
    EXPECT_EQ(notes.size(), 1U);
    EXPECT_FALSE(port.NextDue());
    Pass(300ms);
    Keep(2);
    EXPECT_EQ(notes.size(), 1U);
    EXPECT_EQ(port.NextDue(), now + 700ms);
    Pass(699ms);
    EXPECT_EQ(notes.size(), 1U);
    Pass(1ms);
    EXPECT_THAT(notes, ElementsAre("lost 1 1", "lost 2 3"));
    EXPECT_FALSE(port.NextDue());
}

TEST_F(RoutingPortTest, MoreLossThanADatagramCanTellIsToldAsTheMost)
{
    port.SetLine(false);
    Keep(1);
    sent.clear();
    Keep(70000);
    Pass(1s);
    EXPECT_THAT(sent, ElementsAre("06 10 05 31 00 0a 04 01 ff ff"));
    EXPECT_EQ(port.Count().lost, 70001U);
}

TEST_F(RoutingPortTest, WhatWaitsForALineThatBreaksIsLostAndTheOthersAreToldWhy)
{
    Keep(3);
    port.SetLine(false);
    port.Advance(now);
    EXPECT_EQ(port.Next(), nullptr);
    EXPECT_THAT(sent, ElementsAre("06 10 05 31 00 0a 04 01 00 03"));
    Keep(1);
    EXPECT_EQ(port.Next(), nullptr);
    EXPECT_EQ(port.Count().lost, 4U);
}

TEST_F(RoutingPortTest, ALineThatWorksAgainTakesTelegrams)
{
    port.SetLine(false);
    port.SetLine(true);
    Keep(1);
    EXPECT_NE(port.Next(), nullptr);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(port.Count().lost, 0U);
}

TEST_F(RoutingPortTest, PausesWhenAnotherRouterIsBusy)
{
    EXPECT_LE(port.PauseEnd(), now);
    EXPECT_EQ(Receive(Routing::Busy{0, 1000, 0}), std::nullopt);
    EXPECT_GE(port.PauseEnd(), now + 1000ms);
    EXPECT_LE(port.PauseEnd(), now + 1050ms);
    EXPECT_THAT(notes, ElementsAre("others busy 1000 1"));
}

TEST_F(RoutingPortTest, WhatOthersCauseIsCountedAndToldTheFirstTheTenthTheHundredthTime)
{
    for (int count = 0; count < 100; ++count)
    {
        Receive(Routing::Busy{0, 20, 0});
    }
    EXPECT_THAT(notes, ElementsAre("others busy 20 1", "others busy 20 10", "others busy 20 100"));
    notes.clear();
    for (int count = 0; count < 100; ++count)
    {
        Receive(Routing::Lost{0, 5});
    }
    EXPECT_THAT(notes, ElementsAre("others lost 5 5", "others lost 5 50", "others lost 5 500"));
    notes.clear();
    for (int count = 0; count < 100; ++count)
    {
        ReceiveBytes({6, 0x10, 5});
    }
    EXPECT_THAT(notes, ElementsAre("malformed 0 1 06 10 05", "malformed 0 10 06 10 05", "malformed 0 100 06 10 05"));
    EXPECT_EQ(port.Count().othersBusy, 100U);
    EXPECT_EQ(port.Count().othersLost, 500U);
    EXPECT_EQ(port.Count().malformed, 100U);
}

TEST_F(RoutingPortTest, ADatagramWithAnythingElseThanATelegramIsMalformed)
{
    for (const char* const cemi : {"", "29", "2b 00 bc e0 11 01 0a 03 01 00 81", "11 00 bc e0 11 01 0a 03 01 00 81",
                                   "2e 00 bc e0 11 01 0a 03 01 00 81", "29 00 bc e0 11 01 0a 03 02 00 81"})
    {
        EXPECT_EQ(Receive(Routing::Indication{FromHex(cemi)}), std::nullopt);
    }
    EXPECT_EQ(port.Count().malformed, 6U);
}

TEST_F(RoutingPortTest, OtherServicesAreIgnored)
{
    EXPECT_EQ(ReceiveBytes(FromHex("06 10 02 01 00 0e 08 01 7f 00 00 01 0e 57")), std::nullopt);
    EXPECT_THAT(notes, IsEmpty());
    EXPECT_EQ(port.Count().ignored, 1U);
}

} // namespace
