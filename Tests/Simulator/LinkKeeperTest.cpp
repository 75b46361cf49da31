// The keeper of the link: attempts, losses and reconnections that take seconds, without waiting for one. The test is the line,
// the co-processor and the clock.

#include "LinkKeeper.h"

#include <gmock/gmock.h>

#include <chrono>
#include <deque>
#include <vector>

using namespace std::chrono_literals;
using namespace Simulator;
using testing::ElementsAre;
using testing::IsEmpty;
using Bytes = std::vector<uint8_t>;

namespace
{

constexpr auto OpenLimit = 1s;
constexpr auto ReconnectLimit = 5s;

class Line : public IHostLine
{
public:
    bool IsOpen() const override
    {
        return isOpen;
    }

    bool OpenAgain(bool worthTelling) override
    {
        ++openings;
        failuresTold += !isThere && worthTelling ? 1 : 0;
        isOpen = isThere;
        return isOpen;
    }

    void Send(const Wire::Frame& frame) override
    {
        (moves ? sent : unsent).push_back(frame);
    }

    void SendUnsent() override
    {
        if (moves)
        {
            sent.insert(sent.end(), unsent.begin(), unsent.end());
            unsent.clear();
        }
    }

    bool HasUnsent() const override
    {
        return !unsent.empty();
    }

    void Clear() override
    {
        unsent.clear();
        ++clearings;
    }

    std::vector<Wire::Frame> Sent(Wire::Kind kind) const
    {
        std::vector<Wire::Frame> frames;
        for (const Wire::Frame& frame : sent)
        {
            if (frame.kind == kind)
            {
                frames.push_back(frame);
            }
        }
        return frames;
    }

    bool isOpen = true;
    bool isThere = true; // the device, to be opened again
    bool moves = true;
    int openings = 0;
    int failuresTold = 0;
    int clearings = 0;
    std::vector<Wire::Frame> sent;
    std::vector<Wire::Frame> unsent;
};

class LinkKeeperTest : public testing::Test
{
protected:
    // As the link's thread does it, and a little late each time. Only what the co-processor says in `answer` comes.
    template<typename Answer>
    void Pass(std::chrono::milliseconds time, const Answer& answer)
    {
        const auto end = now + time;
        for (auto next = keeper.NextTime(); next && *next <= end; next = keeper.NextTime())
        {
            ASSERT_TRUE(*next > now || now == end || keeper.IsStarting()) << "it would never sleep";
            now = std::max(*next, now) + 1ms;
            keeper.OnTime(now);
            answer();
        }
        now = std::max(now, end);
    }

    void PassInSilence(std::chrono::milliseconds time)
    {
        Pass(time, [] {});
    }

    void Start(std::chrono::milliseconds limit)
    {
        keeper.Start(now, limit);
        keeper.OnTime(now);
    }

    void Say(const Wire::Frame& frame)
    {
        keeper.OnFrame(frame, now);
        keeper.OnTime(now);
    }

    void Say(const Bytes& payload)
    {
        Say({Wire::Kind::Message, 256, payload});
    }

    void Welcome()
    {
        Say({Wire::Kind::Welcome, 0, line.Sent(Wire::Kind::Hello).back().payload});
    }

    void BringUp()
    {
        Start(OpenLimit);
        Welcome();
        ASSERT_TRUE(keeper.IsUp());
    }

    void Lose()
    {
        PassInSilence(2s);
        ASSERT_FALSE(keeper.IsUp());
    }

    LinkKeeper::Clock::time_point now{1h};
    Line line;
    std::vector<bool> reported; // changes
    std::vector<Bytes> delivered;
    std::deque<Bytes> waiting;
    LinkKeeper keeper{line,
                      {[this]
                       {
                           if (reported.empty() ? keeper.IsUp() : reported.back() != keeper.IsUp())
                           {
                               reported.push_back(keeper.IsUp());
                           }
                       },
                       [this](const Wire::Frame& message) { delivered.push_back(message.payload); },
                       [this]() -> std::optional<Wire::Frame>
                       {
                           if (waiting.empty())
                           {
                               return std::nullopt;
                           }
                           const Wire::Frame message{Wire::Kind::Message, 256, waiting.front()};
                           waiting.pop_front();
                           return message;
                       }}};
};

TEST_F(LinkKeeperTest, OpensWithoutAConnectionWhenTheCoProcessorIsSilent)
{
    Start(OpenLimit);
    PassInSilence(OpenLimit - 10ms);
    EXPECT_TRUE(keeper.IsStarting());
    PassInSilence(20ms);
    EXPECT_FALSE(keeper.IsStarting());
    EXPECT_FALSE(keeper.IsUp());
    EXPECT_FALSE(keeper.NextTime());
    EXPECT_THAT(reported, IsEmpty());
}

TEST_F(LinkKeeperTest, NoticesASilentCoProcessor)
{
    BringUp();
    PassInSilence(2s);
    EXPECT_FALSE(keeper.IsUp());
    EXPECT_FALSE(keeper.IsStarting());
    EXPECT_THAT(reported, ElementsAre(true, false));
}

TEST_F(LinkKeeperTest, TakesGarbageForNoSignOfLife)
{
    BringUp();
    Wire::Decoder decoder;
    const Bytes garbage{0x7E, 1, 2, 3, 0x7E};
    Pass(2s,
         [&] {
             decoder.Feed(garbage.data(), garbage.size(),
                          [this](const Wire::Frame& frame) { keeper.OnFrame(frame, now); });
         });
    EXPECT_FALSE(keeper.IsUp());
    EXPECT_GT(decoder.Rejected(), 0U);
}

TEST_F(LinkKeeperTest, DeliversWhatArrivedBeforeTheLinkWasLost)
{
    BringUp();
    Say(Bytes{1});
    Lose();
    EXPECT_THAT(delivered, ElementsAre(Bytes{1}));
}

TEST_F(LinkKeeperTest, DropsMessagesThatComeWhileTheLinkIsDown)
{
    BringUp();
    Lose();
    Say(Bytes{1});
    Start(ReconnectLimit);
    Say(Bytes{2});
    Welcome();
    Say(Bytes{3});
    EXPECT_THAT(delivered, ElementsAre(Bytes{3}));
}

TEST_F(LinkKeeperTest, ReconnectsToACoProcessorThatRebooted)
{
    BringUp();
    Lose();
    Start(ReconnectLimit);
    EXPECT_TRUE(keeper.IsStarting());
    Welcome();
    EXPECT_TRUE(keeper.IsUp());
    EXPECT_THAT(reported, ElementsAre(true, false, true));
    waiting = {Bytes{1}};
    keeper.OnTime(now);
    EXPECT_EQ(line.Sent(Wire::Kind::Message).size(), 1U);
}

TEST_F(LinkKeeperTest, ReconnectsWhenTheCoProcessorWasSilentSinceTheOpening)
{
    Start(OpenLimit);
    PassInSilence(2s);
    Start(ReconnectLimit);
    Welcome();
    EXPECT_TRUE(keeper.IsUp());
}

TEST_F(LinkKeeperTest, GivesUpReconnectingToASilentCoProcessor)
{
    BringUp();
    line.sent.clear();
    Start(ReconnectLimit);
    PassInSilence(ReconnectLimit - 10ms);
    EXPECT_TRUE(keeper.IsStarting());
    PassInSilence(20ms);
    EXPECT_FALSE(keeper.IsStarting());
    EXPECT_FALSE(keeper.IsUp());
    EXPECT_THAT(reported, ElementsAre(true, false));
    const auto hellos = line.Sent(Wire::Kind::Hello);
    EXPECT_GE(hellos.size(), 90U) << "50 ms apart for 5 s";
    EXPECT_LE(hellos.size(), 100U);
}

TEST_F(LinkKeeperTest, ReconnectsAfterAnAttemptThatFailed)
{
    BringUp();
    Start(ReconnectLimit);
    PassInSilence(2 * ReconnectLimit);
    ASSERT_FALSE(keeper.IsStarting());
    Start(ReconnectLimit);
    Welcome();
    EXPECT_TRUE(keeper.IsUp());
}

TEST_F(LinkKeeperTest, EndsALinkWhoseLineIsGone)
{
    BringUp();
    line.isOpen = false;
    keeper.OnTime(now);
    EXPECT_FALSE(keeper.IsUp());
    EXPECT_THAT(reported, ElementsAre(true, false));
    EXPECT_EQ(line.openings, 0) << "until somebody wants it back";
}

TEST_F(LinkKeeperTest, FailsToReconnectWhileThePortIsGoneAndDoesNotSpin)
{
    BringUp();
    line.isOpen = line.isThere = false;
    keeper.OnTime(now);
    for (int attempt = 1; attempt <= 2; ++attempt)
    {
        line.openings = 0;
        Start(ReconnectLimit);
        PassInSilence(2 * ReconnectLimit);
        EXPECT_FALSE(keeper.IsStarting());
        EXPECT_FALSE(keeper.IsUp());
        EXPECT_GE(line.openings, 90) << "50 ms apart for 5 s";
        EXPECT_LE(line.openings, 100);
        EXPECT_EQ(line.failuresTold, attempt) << "once for each attempt, not for each try";
    }
}

TEST_F(LinkKeeperTest, GoesOnTryingUntilThePortIsBack)
{
    BringUp();
    line.isOpen = line.isThere = false;
    keeper.OnTime(now);
    line.sent.clear();
    Start(ReconnectLimit);
    PassInSilence(1s);
    EXPECT_THAT(line.sent, IsEmpty());
    line.isThere = true;
    PassInSilence(60ms);
    Welcome();
    EXPECT_TRUE(keeper.IsUp());
}

TEST_F(LinkKeeperTest, DoesNotTakeTheLastConnectionOverToTheNextOpening)
{
    BringUp();
    keeper.Stop();
    EXPECT_THAT(reported, ElementsAre(true)) << "an end that was wanted is no loss";
    Start(OpenLimit);
    PassInSilence(2s);
    EXPECT_FALSE(keeper.IsUp());
}

TEST_F(LinkKeeperTest, ClearsTheLineForEachSession)
{
    BringUp();
    EXPECT_EQ(line.clearings, 1);
    Start(ReconnectLimit);
    EXPECT_EQ(line.clearings, 2);
}

TEST_F(LinkKeeperTest, SendsNothingButTheGreetingBeforeTheLinkIsUp)
{
    waiting = {Bytes{1}};
    Start(OpenLimit);
    PassInSilence(500ms);
    EXPECT_THAT(line.Sent(Wire::Kind::Message), IsEmpty());
    Welcome();
    EXPECT_EQ(line.Sent(Wire::Kind::Message).size(), 1U);
}

TEST_F(LinkKeeperTest, LeavesMessagesInTheirQueueWhileTheLineDoesNotMove)
{
    BringUp();
    line.moves = false;
    waiting = {Bytes{1}, Bytes{2}, Bytes{3}};
    keeper.OnTime(now);
    EXPECT_EQ(waiting.size(), 2U);
    line.moves = true;
    keeper.OnTime(now);
    EXPECT_THAT(waiting, IsEmpty());
    EXPECT_EQ(line.Sent(Wire::Kind::Message).size(), 3U);
}

} // namespace
