#include "Router.h"

#include "Knx/Telegram.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace Simulator;
namespace Routing = Knx::Routing;
namespace Telegram = Knx::Telegram;
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

Bytes Hex(const std::string& text)
{
    return Knx::FromHex(text);
}

// A router with a clock that the test moves.
class RouterTest : public testing::Test
{
protected:
    // A telegram with a number, of 11 characters on the line.
    static Bytes Request(int number)
    {
        Bytes request = Hex("11 00 bc e0 11 01 0a 03 03 00 80 00 00");
        request[11] = static_cast<uint8_t>(number >> 8);
        request[12] = static_cast<uint8_t>(number & 0xFF);
        return request;
    }

    static Bytes Telegram(int number)
    {
        Bytes telegram = Request(number);
        telegram[0] = 0x29;
        return telegram;
    }

    static std::chrono::nanoseconds Time()
    {
        return Telegram::TimeOnLine(Request(0));
    }

    void Ask(int number)
    {
        router.FromApplication(
            Request(number), [this, number](bool done) { confirmed.push_back(done ? number : -number); }, now);
        router.Advance(now);
    }

    void Hear(int number)
    {
        HearDatagram(Routing::Encode(Routing::Indication{Telegram(number)}));
    }

    void HearDatagram(const Bytes& datagram)
    {
        router.FromNetwork(datagram, now);
        router.Advance(now);
    }

    // As a thread does it: never too early, and a little late each time.
    void Pass(std::chrono::nanoseconds time)
    {
        const auto end = now + time;
        for (auto due = router.NextDue(); due && *due <= end; due = router.NextDue())
        {
            ASSERT_GE(*due, now) << "due already, and not done";
            now = std::min(*due + 1us, end);
            router.Advance(now);
        }
        now = end;
    }

    void Expect(const KnxIpCounters& wanted) const
    {
        const auto& count = router.Count();
        EXPECT_EQ(count.sent, wanted.sent);
        EXPECT_EQ(count.received, wanted.received);
        EXPECT_EQ(count.refused, wanted.refused);
        EXPECT_EQ(count.dropped, wanted.dropped);
        EXPECT_EQ(count.lost, wanted.lost);
        EXPECT_EQ(count.busy, wanted.busy);
        EXPECT_EQ(count.malformed, wanted.malformed);
        EXPECT_EQ(count.ignored, wanted.ignored);
    }

    Router::Outside Outside()
    {
        return {[this](const Bytes& datagram)
                {
                    if (networkWorks)
                    {
                        sent.push_back(Knx::ToHex(datagram));
                    }
                    return networkWorks;
                },
                [this](const Bytes& cemi) { delivered.push_back(cemi.at(11) << 8U | cemi.at(12)); },
                [this](const Event& event) { events.push_back(event); }};
    }

    Router::Clock::time_point now{1h};
    bool networkWorks = true;
    std::vector<std::string> sent;
    std::vector<int> delivered; // numbers of the telegrams
    std::vector<int> confirmed; // negative when not sent
    std::vector<Event> events;
    Router router{BusSpeed::Tp1, Outside(), 1};
};

TEST_F(RouterTest, ARequestBecomesADatagramAndIsConfirmed)
{
    Ask(0x1234);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(confirmed, IsEmpty());
    Pass(Time());
    EXPECT_THAT(sent, ElementsAre("06 10 05 30 00 13 29 00 bc e0 11 01 0a 03 03 00 80 12 34"));
    EXPECT_THAT(confirmed, ElementsAre(0x1234));
    Expect({1, 0, 0, 0, 0, 0, 0, 0});
}

TEST_F(RouterTest, ADatagramBecomesATelegram)
{
    Hear(0x1234);
    EXPECT_THAT(delivered, IsEmpty());
    Pass(Time());
    EXPECT_THAT(delivered, ElementsAre(0x1234));
    EXPECT_THAT(sent, IsEmpty());
    Expect({0, 1, 0, 0, 0, 0, 0, 0});
}

TEST_F(RouterTest, TheLineCarriesOneTelegramAtATimeInTheOrderInWhichTheyCame)
{
    Ask(1);
    Pass(1ms);
    Hear(2);
    Pass(1ms);
    Ask(3);
    Pass(Time() - 2ms);
    EXPECT_THAT(confirmed, ElementsAre(1));
    EXPECT_THAT(delivered, IsEmpty());
    Pass(Time() - 1ms);
    EXPECT_THAT(delivered, IsEmpty());
    Pass(1ms);
    EXPECT_THAT(delivered, ElementsAre(2));
    EXPECT_THAT(confirmed, ElementsAre(1));
    Pass(Time());
    EXPECT_THAT(confirmed, ElementsAre(1, 3));
}

TEST_F(RouterTest, ManyTelegramsTakeAsLongAsTheLineNeedsEvenIfItsThreadIsAlwaysLate)
{
    constexpr int Count = 500;
    for (int number = 1; number <= Count; ++number)
    {
        Ask(number);
    }
    Pass(Count * Time() - 1ms);
    EXPECT_EQ(confirmed.size(), Count - 1U);
    Pass(1ms);
    EXPECT_EQ(confirmed.size(), std::size_t{Count});
    EXPECT_TRUE(std::is_sorted(confirmed.begin(), confirmed.end()));
    EXPECT_EQ(sent.size(), std::size_t{Count});
}

TEST_F(RouterTest, AnIdleLineSavesNoTime)
{
    Ask(1);
    Pass(1s);
    Ask(2);
    Ask(3);
    EXPECT_THAT(confirmed, ElementsAre(1));
    Pass(2 * Time() - 1ms);
    EXPECT_THAT(confirmed, ElementsAre(1, 2));
}

TEST_F(RouterTest, WithoutASpeedLimitTelegramsTakeNoTime)
{
    Router unlimited(BusSpeed::Unlimited, Outside(), 1);
    for (int number = 1; number <= 500; ++number)
    {
        unlimited.FromApplication(
            Request(number), [this](bool done) { confirmed.push_back(done ? 1 : -1); }, now);
        unlimited.FromNetwork(Routing::Encode(Routing::Indication{Telegram(number)}), now);
    }
    unlimited.Advance(now);
    EXPECT_EQ(std::count(confirmed.begin(), confirmed.end(), 1), 500);
    EXPECT_EQ(delivered.size(), 500U);
}

TEST_F(RouterTest, NothingIsDueWhileNothingWaits)
{
    EXPECT_FALSE(router.NextDue());
    Ask(1);
    EXPECT_TRUE(router.NextDue());
    Pass(1s);
    EXPECT_FALSE(router.NextDue());
}

TEST_F(RouterTest, AnIncompleteRequestIsRefused)
{
    router.FromApplication(
        Hex("11 00 bc e0 11 01 0a 03 03 00 80"), [this](bool done) { confirmed.push_back(done ? 1 : -1); }, now);
    EXPECT_THAT(confirmed, ElementsAre(-1));
    Pass(1s);
    EXPECT_THAT(sent, IsEmpty());
    Expect({0, 0, 1, 0, 0, 0, 0, 0});
}

TEST_F(RouterTest, ARequestThatTheNetworkDoesNotTakeIsRefused)
{
    networkWorks = false;
    Ask(1);
    Pass(1s);
    EXPECT_THAT(confirmed, ElementsAre(-1));
    Expect({0, 0, 1, 0, 0, 0, 0, 0});
}

TEST_F(RouterTest, MoreRequestsThanThereIsRoomForAreRefused)
{
    // One is on the line, and so many wait.
    for (int number = 1; number <= static_cast<int>(Router::MaxWaiting) + 1; ++number)
    {
        Ask(number);
    }
    EXPECT_THAT(confirmed, IsEmpty());
    Ask(7777);
    EXPECT_THAT(confirmed, ElementsAre(-7777));
    Pass(Time());
    Ask(8888);
    Pass(1h);
    EXPECT_EQ(confirmed.back(), 8888);
    EXPECT_EQ(confirmed.size(), Router::MaxWaiting + 3);
}

TEST_F(RouterTest, OthersAreAskedToPauseOncePerPauseWhenTelegramsPileUp)
{
    const std::string busy = "06 10 05 32 00 0c 06 00 00 64 00 00"; // 100 ms, everybody
    for (int number = 0; number < 10; ++number)
    {
        Hear(number); // one is on the line
    }
    EXPECT_THAT(sent, IsEmpty());
    Hear(10);
    EXPECT_THAT(sent, ElementsAre(busy));
    Hear(11);
    EXPECT_THAT(sent, ElementsAre(busy));
    Pass(100ms); // four have passed
    Hear(12);
    EXPECT_THAT(sent, ElementsAre(busy));
    Hear(13);
    Hear(14);
    EXPECT_THAT(sent, ElementsAre(busy, busy));
}

TEST_F(RouterTest, TelegramsFromTheNetworkThatFindNoRoomAreToldOnceThereIsRoomAgain)
{
    for (int number = 0; number <= static_cast<int>(Router::MaxWaiting); ++number)
    {
        Hear(number);
    }
    sent.clear(); // others were asked to pause
    Hear(7777);
    Hear(8888);
    EXPECT_EQ(router.Count().dropped, 2U);
    EXPECT_THAT(sent, IsEmpty());
    Pass(Time());
    EXPECT_THAT(sent, ElementsAre("06 10 05 31 00 0a 04 00 00 02"));
    EXPECT_THAT(events, ElementsAre(Event(Event::KnxIpNoRoom, 2)));
    Pass(1h);
    EXPECT_EQ(delivered.size(), Router::MaxWaiting + 1);
    EXPECT_EQ(sent.size(), 1U);
}

TEST_F(RouterTest, NothingIsSentWhileAnotherRouterIsBusy)
{
    HearDatagram(Routing::Encode(Routing::Busy{0, 1000, 0}));
    Ask(1);
    Pass(999ms);
    EXPECT_THAT(confirmed, IsEmpty());
    EXPECT_THAT(sent, IsEmpty());
    Pass(100ms);
    EXPECT_THAT(confirmed, ElementsAre(1));
    EXPECT_THAT(events, ElementsAre(Event(Event::KnxIpRouterBusy, 1000, 1)));
    Expect({1, 0, 0, 0, 0, 1, 0, 0});
}

TEST_F(RouterTest, ATelegramOnTheLineLeavesOnlyAfterAPauseThatBeganMeanwhile)
{
    Ask(1);
    Pass(1ms);
    HearDatagram(Routing::Encode(Routing::Busy{0, 1000, 0}));
    Pass(998ms);
    EXPECT_THAT(sent, IsEmpty());
    EXPECT_THAT(confirmed, IsEmpty());
    Pass(100ms);
    EXPECT_THAT(confirmed, ElementsAre(1));
}

TEST_F(RouterTest, APauseDoesNotHoldUpWhatComesFromTheNetwork)
{
    Ask(1);
    Pass(1ms);
    HearDatagram(Routing::Encode(Routing::Busy{0, 1000, 0}));
    Ask(2);
    Hear(3);
    Hear(4);
    Pass(3 * Time());
    EXPECT_THAT(delivered, ElementsAre(3, 4));
    EXPECT_THAT(confirmed, IsEmpty());
    Pass(2s);
    EXPECT_THAT(confirmed, ElementsAre(1, 2));
}

TEST_F(RouterTest, AfterAPauseTheLineIsNoFasterThanBefore)
{
    HearDatagram(Routing::Encode(Routing::Busy{0, 1000, 0}));
    for (int number = 1; number <= 20; ++number)
    {
        Ask(number);
    }
    Pass(1100ms); // with the random time, at most 1050 ms
    EXPECT_LE(confirmed.size(), 4U);
    Pass(20 * Time());
    EXPECT_EQ(confirmed.size(), 20U);
}

TEST_F(RouterTest, TelegramsThatOthersLostAreCountedAndSeldomTold)
{
    HearDatagram(Routing::Encode(Routing::Lost{0, 5}));
    for (int count = 1; count < 100; ++count)
    {
        HearDatagram(Routing::Encode(Routing::Lost{0, 65535}));
    }
    EXPECT_THAT(events, ElementsAre(Event(Event::KnxIpRouterLost, 5, 5), Event(Event::KnxIpRouterLost, 65535, 589820),
                                    Event(Event::KnxIpRouterLost, 65535, 6487970)));
    Expect({0, 0, 0, 0, 6487970, 0, 0, 0});
}

TEST_F(RouterTest, ThatOthersAreBusyIsCountedAndSeldomTold)
{
    for (int count = 0; count < 100; ++count)
    {
        HearDatagram(Routing::Encode(Routing::Busy{0, 1000, 0}));
    }
    EXPECT_THAT(events, ElementsAre(Event(Event::KnxIpRouterBusy, 1000, 1), Event(Event::KnxIpRouterBusy, 1000, 10),
                                    Event(Event::KnxIpRouterBusy, 1000, 100)));
    Expect({0, 0, 0, 0, 0, 100, 0, 0});
}

TEST_F(RouterTest, OtherServicesAreIgnored)
{
    HearDatagram(Hex("06 10 02 01 00 0e 08 01 7f 00 00 01 0e 57"));
    EXPECT_THAT(events, IsEmpty());
    Expect({0, 0, 0, 0, 0, 0, 0, 1});
}

TEST_F(RouterTest, MalformedDatagramsAreCountedAndSeldomTold)
{
    const Bytes malformed = Hex("06 10 05 30 00 07");
    for (int count = 0; count < 1000; ++count)
    {
        HearDatagram(malformed);
    }
    Pass(1s);
    EXPECT_THAT(delivered, IsEmpty());
    EXPECT_THAT(events, ElementsAre(Event(Event::MalformedDatagram, malformed, 1),
                                    Event(Event::MalformedDatagram, malformed, 10),
                                    Event(Event::MalformedDatagram, malformed, 100),
                                    Event(Event::MalformedDatagram, malformed, 1000)));
    Expect({0, 0, 0, 0, 0, 0, 1000, 0});
}

TEST_F(RouterTest, ADatagramWithAnythingElseThanATelegramIsMalformed)
{
    for (const char* const cemi : {"", "29", "2b 00 bc e0 11 01 0a 03 01 00 81", "11 00 bc e0 11 01 0a 03 01 00 81",
                                   "2e 00 bc e0 11 01 0a 03 01 00 81", "29 00 bc e0 11 01 0a 03 02 00 81"})
    {
        HearDatagram(Routing::Encode(Routing::Indication{Hex(cemi)}));
    }
    Pass(1s);
    EXPECT_THAT(delivered, IsEmpty());
    Expect({0, 0, 0, 0, 0, 0, 6, 0});
}

} // namespace
