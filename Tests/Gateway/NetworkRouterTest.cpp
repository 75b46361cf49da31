#include "NetworkRouter.h"

#include "Knx/Telegram.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

using namespace OrvelGateway;
using namespace std::chrono_literals;
using Knx::RoutingPort;
using testing::ElementsAre;
using testing::IsEmpty;
namespace Routing = Knx::Routing;

namespace
{

Bytes Hex(const std::string& text)
{
    return Knx::FromHex(text);
}

// A router with a clock that the test moves.
class NetworkRouterTest : public testing::Test
{
protected:
    // A telegram with a number, to 1/2/3.
    static Bytes Telegram(int number)
    {
        Bytes telegram = Hex("29 00 bc e0 11 01 0a 03 03 00 80 00 00");
        telegram[11] = static_cast<uint8_t>(number >> 8);
        telegram[12] = static_cast<uint8_t>(number & 0xFF);
        return telegram;
    }

    static int NumberOf(const Bytes& cemi)
    {
        return cemi.at(cemi.size() - 2) << 8U | cemi.back();
    }

    void Make(NetworkRouter::Settings settings)
    {
        router.emplace(std::move(settings), Outside(), 1);
    }

    void FromBus(const Bytes& cemi)
    {
        router->FromBus(cemi);
        router->Advance(now);
    }

    void FromNetwork(const Bytes& cemi)
    {
        HearDatagram(Routing::Indication{cemi});
    }

    void HearDatagram(const Routing::Datagram& datagram)
    {
        router->FromNetwork(Routing::Encode(datagram), now);
        router->Advance(now);
    }

    void Confirm(bool isSent = true)
    {
        router->OnConfirmation(isSent);
        router->Advance(now);
    }

    void SetLink(bool up)
    {
        router->OnLink(up);
        router->Advance(now);
    }

    // As a thread does it: never too early, and a little late each time.
    void Pass(std::chrono::nanoseconds time)
    {
        const auto end = now + time;
        for (auto due = router->NextDue(); due && *due <= end; due = router->NextDue())
        {
            ASSERT_GT(*due, now) << "due already, and not done";
            now = std::min(*due + 1us, end);
            router->Advance(now);
        }
        now = end;
    }

    // What becomes of a telegram whose second control field and addresses are given.
    bool ReachesNetwork(const std::string& middle)
    {
        sent.clear();
        FromBus(Hex("29 00 bc " + middle + " 01 00 81"));
        Pass(1s);
        return !sent.empty();
    }

    bool ReachesBus(const std::string& middle)
    {
        requested.clear();
        FromNetwork(Hex("29 00 bc " + middle + " 01 00 81"));
        if (!requested.empty())
        {
            Confirm();
        }
        return !requested.empty();
    }

    std::vector<int> NumbersSent() const
    {
        std::vector<int> numbers;
        std::transform(sent.begin(), sent.end(), std::back_inserter(numbers),
                       [](const std::string& datagram) { return NumberOf(Hex(datagram)); });
        return numbers;
    }

    std::vector<int> NumbersRequested() const
    {
        std::vector<int> numbers;
        std::transform(requested.begin(), requested.end(), std::back_inserter(numbers), NumberOf);
        return numbers;
    }

    NetworkRouter::Outside Outside()
    {
        return {[this](const Bytes& datagram)
                {
                    if (networkWorks)
                    {
                        sent.push_back(Knx::ToHex(datagram));
                    }
                    return networkWorks;
                },
                [this](const Bytes& cemi)
                {
                    requested.push_back(cemi);
                    if (busRefusesAtOnce)
                    {
                        router->OnConfirmation(false);
                    }
                },
                [this](const RoutingPort::Note& note) { notes.push_back(note.kind); }};
    }

    NetworkRouter::Clock::time_point now{1h};
    bool networkWorks = true;
    bool busRefusesAtOnce = false;
    std::vector<std::string> sent;
    std::vector<Bytes> requested;
    std::vector<RoutingPort::Note::Kind> notes;
    std::optional<NetworkRouter> router{std::in_place, NetworkRouter::Settings{}, Outside(), 1};
};

TEST_F(NetworkRouterTest, ATelegramOfTheBusBecomesADatagramWithOneHopLess)
{
    FromBus(Telegram(0x1234));
    EXPECT_THAT(sent, ElementsAre("06 10 05 30 00 13 29 00 bc d0 11 01 0a 03 03 00 80 12 34"));
    EXPECT_THAT(requested, IsEmpty());
    EXPECT_EQ(router->Count().toNetwork, 1U);
}

TEST_F(NetworkRouterTest, ADatagramBecomesARequestInTheNameOfItsSenderWithOneHopLess)
{
    FromNetwork(Hex("29 04 03 02 12 34 9c e0 11 01 0a 03 01 00 81"));
    EXPECT_THAT(requested, ElementsAre(Hex("11 00 bc d0 11 01 0a 03 01 00 81")));
    EXPECT_EQ(router->Count().fromNetwork, 0U);
    Confirm();
    EXPECT_EQ(router->Count().fromNetwork, 1U);
    Pass(1h);
    EXPECT_THAT(sent, IsEmpty()); // and is not sent back
}

TEST_F(NetworkRouterTest, ATelegramWithoutAHopLeftGoesNoFurther)
{
    EXPECT_FALSE(ReachesNetwork("80 11 01 0a 03"));
    EXPECT_FALSE(ReachesBus("80 11 01 0a 03"));
    EXPECT_EQ(router->Count().stoppedToNetwork, 1U);
    EXPECT_EQ(router->Count().stoppedFromNetwork, 1U);
    EXPECT_TRUE(ReachesNetwork("90 11 01 0a 03"));
    EXPECT_TRUE(ReachesBus("90 11 01 0a 03"));
}

TEST_F(NetworkRouterTest, SevenHopsStaySeven)
{
    FromBus(Hex("29 00 bc f0 11 01 0a 03 01 00 81"));
    EXPECT_THAT(sent, ElementsAre("06 10 05 30 00 11 29 00 bc f0 11 01 0a 03 01 00 81"));
    FromNetwork(Hex("29 00 bc f0 11 01 0a 03 01 00 81"));
    EXPECT_THAT(requested, ElementsAre(Hex("11 00 bc f0 11 01 0a 03 01 00 81")));
}

TEST_F(NetworkRouterTest, TelegramsToOneDeviceAndBroadcastsDoNotPass)
{
    EXPECT_FALSE(ReachesNetwork("60 11 01 11 02"));
    EXPECT_FALSE(ReachesBus("60 11 01 11 02"));
    EXPECT_FALSE(ReachesNetwork("e0 11 01 00 00"));
    EXPECT_FALSE(ReachesBus("e0 11 01 00 00"));
    EXPECT_FALSE(ReachesNetwork("e4 11 01 0a 03")); // addresses a zone
    EXPECT_FALSE(ReachesBus("e4 11 01 0a 03"));
    EXPECT_EQ(router->Count().stoppedToNetwork, 3U);
    EXPECT_EQ(router->Count().stoppedFromNetwork, 3U);
}

TEST_F(NetworkRouterTest, ForProgrammingTelegramsToOneDeviceAndBroadcastsPass)
{
    NetworkRouter::Settings settings;
    settings.programming = true;
    Make(settings);
    EXPECT_TRUE(ReachesNetwork("60 11 01 11 02"));
    EXPECT_TRUE(ReachesBus("60 11 01 11 02"));
    EXPECT_TRUE(ReachesNetwork("e0 11 01 00 00"));
    EXPECT_TRUE(ReachesBus("e0 11 01 00 00"));
    EXPECT_TRUE(ReachesNetwork("e4 11 01 0a 03"));
    EXPECT_TRUE(ReachesBus("e4 11 01 0a 03"));
    EXPECT_FALSE(ReachesBus("00 11 01 11 02")); // no hop left
}

TEST_F(NetworkRouterTest, ASystemBroadcastPassesAsABroadcastDoes)
{
    const Bytes telegram = Hex("29 00 ac e0 11 01 00 00 01 01 00");
    FromNetwork(telegram);
    EXPECT_THAT(requested, IsEmpty());
    NetworkRouter::Settings settings;
    settings.programming = true;
    Make(settings);
    FromNetwork(telegram);
    EXPECT_THAT(requested, ElementsAre(Hex("11 00 ac d0 11 01 00 00 01 01 00")));
}

TEST_F(NetworkRouterTest, OnlyTheGroupsThatWereChosenPassEachWay)
{
    NetworkRouter::Settings settings;
    settings.fromNetwork = Knx::GroupRanges("1/2/0-9");
    settings.toNetwork = Knx::GroupRanges("1/3/0-9");
    Make(settings);
    EXPECT_TRUE(ReachesBus("e0 11 01 0a 09"));
    EXPECT_FALSE(ReachesBus("e0 11 01 0a 0a"));
    EXPECT_FALSE(ReachesBus("e0 11 01 0b 09"));
    EXPECT_TRUE(ReachesNetwork("e0 11 01 0b 09"));
    EXPECT_FALSE(ReachesNetwork("e0 11 01 0b 0a"));
    EXPECT_FALSE(ReachesNetwork("e0 11 01 0a 09"));
    EXPECT_FALSE(ReachesBus("e0 11 01 00 00")); // a broadcast is in no range
    EXPECT_FALSE(ReachesBus("60 11 01 0a 09")); // nor is a device
}

TEST_F(NetworkRouterTest, TheRangesDoNotConcernProgramming)
{
    NetworkRouter::Settings settings;
    settings.programming = true;
    settings.fromNetwork = Knx::GroupRanges("1/2/0-9");
    Make(settings);
    EXPECT_TRUE(ReachesBus("60 11 01 11 02"));
    EXPECT_TRUE(ReachesBus("e0 11 01 00 00"));
    EXPECT_FALSE(ReachesBus("e0 11 01 0b 09"));
}

TEST_F(NetworkRouterTest, WhatIsNoTelegramStaysOnTheBus)
{
    for (const char* const cemi : {"", "2e 00 bc e0 11 01 0a 03 01 00 81", "fb 00 00 01 34 10 01 02",
                                   "29 00 bc e0 11 01 0a 03 02 00 81", "b9 00 01", "2b 00 bc e0 11 01 0a 03 01 00 81"})
    {
        FromBus(Hex(cemi));
    }
    Pass(1s);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_EQ(router->Count().stoppedToNetwork, 0U);
}

TEST_F(NetworkRouterTest, ATelegramThatIsTooLongForTheDaemonStaysOnTheNetwork)
{
    const auto telegramOf = [](std::size_t size)
    {
        Bytes telegram = Hex("29 00 3c e0 11 01 0a 03 00 00 80");
        telegram[8] = static_cast<uint8_t>(size - 10);
        telegram.resize(size);
        return telegram;
    };
    FromNetwork(telegramOf(256));
    EXPECT_THAT(requested, IsEmpty());
    EXPECT_EQ(router->Count().stoppedFromNetwork, 1U);
    FromNetwork(telegramOf(255));
    EXPECT_EQ(requested.size(), 1U);
    FromBus(telegramOf(260)); // from the daemon they may be longer
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(NetworkRouterTest, FourTelegramsAreUnderWayToTheBusAndEachConfirmationLetsAnotherFollow)
{
    for (int number = 0; number < 7; ++number)
    {
        FromNetwork(Telegram(number));
    }
    EXPECT_THAT(NumbersRequested(), ElementsAre(0, 1, 2, 3));
    Pass(1h);
    EXPECT_EQ(requested.size(), 4U);
    Confirm();
    EXPECT_THAT(NumbersRequested(), ElementsAre(0, 1, 2, 3, 4));
    Confirm(false);
    Confirm();
    EXPECT_THAT(NumbersRequested(), ElementsAre(0, 1, 2, 3, 4, 5, 6));
    for (int left = 0; left < 4; ++left)
    {
        Confirm();
    }
    EXPECT_EQ(router->Count().fromNetwork, 6U);
    EXPECT_EQ(router->Count().refused, 1U);
}

TEST_F(NetworkRouterTest, ABusThatRefusesAtOnceIsAskedForEachTelegram)
{
    busRefusesAtOnce = true;
    for (int number = 0; number < 100; ++number)
    {
        FromNetwork(Telegram(number));
    }
    EXPECT_EQ(requested.size(), 100U);
    EXPECT_EQ(router->Count().refused, 100U);
}

TEST_F(NetworkRouterTest, OthersAreAskedToPauseLongBeforeThereIsNoRoom)
{
    // Four are under way.
    for (int number = 0; number < 13; ++number)
    {
        FromNetwork(Telegram(number));
    }
    EXPECT_THAT(sent, IsEmpty());
    FromNetwork(Telegram(13));
    EXPECT_THAT(sent, ElementsAre("06 10 05 32 00 0c 06 00 00 64 00 00"));
}

TEST_F(NetworkRouterTest, WhatDoesNotPassMakesNobodyPause)
{
    for (int number = 0; number < 100; ++number)
    {
        FromNetwork(Hex("29 00 b0 60 11 01 11 02 00 80"));
    }
    EXPECT_THAT(sent, IsEmpty());
}

TEST_F(NetworkRouterTest, WhatFindsNoRoomIsLostCountedAndToldToTheOthers)
{
    for (std::size_t number = 0; number < NetworkRouter::MaxUnconfirmed + NetworkRouter::MaxWaiting; ++number)
    {
        FromNetwork(Telegram(static_cast<int>(number)));
    }
    EXPECT_EQ(router->Count().port.lost, 0U);
    FromNetwork(Telegram(7777));
    EXPECT_EQ(router->Count().port.lost, 1U);
    sent.clear();
    Confirm();
    EXPECT_THAT(sent, ElementsAre("06 10 05 31 00 0a 04 00 00 01"));
    EXPECT_THAT(notes, ElementsAre(RoutingPort::Note::Lost));
}

TEST_F(NetworkRouterTest, WhileTheLinkIsLostTelegramsFromTheNetworkAreLostTooAndTheOthersAreToldWhy)
{
    for (int number = 0; number < 6; ++number)
    {
        FromNetwork(Telegram(number));
    }
    SetLink(false);
    EXPECT_THAT(sent, ElementsAre("06 10 05 31 00 0a 04 01 00 02"));
    for (int number = 0; number < 4; ++number)
    {
        Confirm(false); // the gateway answers what was under way
    }
    FromNetwork(Telegram(6));
    EXPECT_EQ(requested.size(), 4U);
    EXPECT_EQ(router->Count().port.lost, 3U);
    SetLink(true);
    FromNetwork(Telegram(7));
    EXPECT_THAT(NumbersRequested(), ElementsAre(0, 1, 2, 3, 7));
}

TEST_F(NetworkRouterTest, NothingIsSentWhileAnotherRouterIsBusy)
{
    HearDatagram(Routing::Busy{0, 1000, 0});
    FromBus(Telegram(1));
    FromBus(Telegram(2));
    Pass(999ms);
    EXPECT_THAT(sent, IsEmpty());
    FromNetwork(Telegram(3)); // the other way goes on
    EXPECT_THAT(NumbersRequested(), ElementsAre(3));
    Pass(100ms);
    EXPECT_THAT(NumbersSent(), ElementsAre(1, 2));
}

TEST_F(NetworkRouterTest, WhatHasWaitedIsNotSentAllAtOnce)
{
    HearDatagram(Routing::Busy{0, 1000, 0});
    for (int number = 0; number < 20; ++number)
    {
        FromBus(Telegram(number));
    }
    ASSERT_TRUE(router->NextDue());
    Pass(*router->NextDue() - now);
    EXPECT_THAT(NumbersSent(), ElementsAre(0));
    Pass(NetworkRouter::Gap - 1ms);
    EXPECT_THAT(NumbersSent(), ElementsAre(0));
    Pass(1ms);
    EXPECT_THAT(NumbersSent(), ElementsAre(0, 1));
    Pass(20 * (NetworkRouter::Gap + 1ms));
    EXPECT_EQ(router->Count().toNetwork, 20U);
}

TEST_F(NetworkRouterTest, MoreThanThereIsRoomForIsNotSentToTheNetwork)
{
    HearDatagram(Routing::Busy{0, 1000, 0});
    for (std::size_t number = 0; number <= NetworkRouter::MaxWaiting; ++number)
    {
        FromBus(Telegram(static_cast<int>(number)));
    }
    EXPECT_EQ(router->Count().notSent, 1U);
    Pass(1h);
    EXPECT_EQ(router->Count().toNetwork, NetworkRouter::MaxWaiting);
    EXPECT_EQ(NumbersSent().back(), static_cast<int>(NetworkRouter::MaxWaiting) - 1); // the newest was dropped
}

TEST_F(NetworkRouterTest, WhatTheNetworkDoesNotTakeIsCounted)
{
    networkWorks = false;
    FromBus(Telegram(1));
    EXPECT_EQ(router->Count().notSent, 1U);
    EXPECT_EQ(router->Count().toNetwork, 0U);
}

TEST_F(NetworkRouterTest, NothingIsDueWhileNothingWaits)
{
    EXPECT_FALSE(router->NextDue());
    FromBus(Telegram(1));
    FromBus(Telegram(2));
    EXPECT_EQ(router->NextDue(), now + NetworkRouter::Gap);
    Pass(1s);
    EXPECT_FALSE(router->NextDue());
    FromNetwork(Telegram(3));
    EXPECT_FALSE(router->NextDue());
}

} // namespace
