#include "BoardState.h"

#include <gmock/gmock.h>

#include <string>

using namespace std::chrono_literals;
using Simulator::BoardState;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

class BoardStateTest : public testing::Test
{
protected:
    void Happen(const std::string& event)
    {
        state.OnEvent(1ms, event);
    }

    std::vector<std::string> Lit() const
    {
        std::vector<std::string> lit;
        const std::array<const char*, BoardState::LedCount> names{"red", "yellow", "green", "orange"};
        for (int led = 0; led < BoardState::LedCount; ++led)
        {
            if (state.IsLit(static_cast<BoardState::LedNumber>(led)))
            {
                lit.emplace_back(names.at(static_cast<std::size_t>(led)));
            }
        }
        return lit;
    }

    static std::vector<std::string> Texts(const std::deque<BoardState::Entry>& entries)
    {
        std::vector<std::string> texts;
        for (const auto& entry : entries)
        {
            texts.push_back(entry.text);
        }
        return texts;
    }

    BoardState state;
};

TEST_F(BoardStateTest, AtFirstNothingIsOnAndTheLinkIsDown)
{
    EXPECT_THAT(Lit(), IsEmpty());
    EXPECT_FALSE(state.IsTerminated());
    EXPECT_FALSE(state.IsButtonPressed());
    EXPECT_TRUE(state.IsPlugged());
    EXPECT_FALSE(state.IsLinkUp());
    EXPECT_EQ(state.CoProcessorState(), "running");
    EXPECT_EQ(state.LastPulse(), "");
    EXPECT_THAT(state.Telegrams(), IsEmpty());
    EXPECT_THAT(state.Log(), IsEmpty());
}

TEST_F(BoardStateTest, EachLedIsOneOfItsOwn)
{
    Happen("LED red KNX on");
    EXPECT_THAT(Lit(), ElementsAre("red"));
    Happen("LED yellow KNX on");
    Happen("LED red KNX off");
    EXPECT_THAT(Lit(), ElementsAre("yellow"));
    Happen("LED green device on");
    Happen("LED orange device on");
    EXPECT_THAT(Lit(), ElementsAre("yellow", "green", "orange"));
    EXPECT_THAT(Texts(state.Log()).back(), "LED orange device on");
}

TEST_F(BoardStateTest, TheTerminationGoesOnAndOff)
{
    Happen("RS485 termination on");
    EXPECT_TRUE(state.IsTerminated());
    Happen("RS485 termination off");
    EXPECT_FALSE(state.IsTerminated());
}

TEST_F(BoardStateTest, PressesOfTheButtonAreCounted)
{
    Happen("button pressed");
    EXPECT_TRUE(state.IsButtonPressed());
    Happen("button released");
    EXPECT_FALSE(state.IsButtonPressed());
    Happen("button pressed");
    EXPECT_EQ(state.Count().presses, 2U);
}

TEST_F(BoardStateTest, AResetTurnsEverythingOffAndEndsTheLink)
{
    Happen("link up");
    Happen("LED red KNX on");
    Happen("RS485 termination on");
    EXPECT_TRUE(state.IsLinkUp());
    Happen("reset line low");
    EXPECT_EQ(state.CoProcessorState(), "held in reset");
    EXPECT_FALSE(state.IsLinkUp());
    EXPECT_THAT(Lit(), IsEmpty());
    EXPECT_FALSE(state.IsTerminated());
    Happen("reset line high after 1.4 ms");
    EXPECT_EQ(state.CoProcessorState(), "booting");
    EXPECT_EQ(state.LastPulse(), "1.4 ms");
    Happen("co-processor booted");
    EXPECT_EQ(state.CoProcessorState(), "running");
    EXPECT_FALSE(state.IsLinkUp());
    Happen("link up");
    EXPECT_TRUE(state.IsLinkUp());
    EXPECT_EQ(state.Count().resets, 1U);
    EXPECT_EQ(state.Count().links, 2U);
}

TEST_F(BoardStateTest, AHangEndsTheLink)
{
    Happen("link up");
    Happen("co-processor hangs");
    EXPECT_EQ(state.CoProcessorState(), "hangs");
    EXPECT_FALSE(state.IsLinkUp());
    EXPECT_EQ(state.Log().back().kind, BoardState::Line::Trouble);
}

TEST_F(BoardStateTest, APulledLineIsALinkThatIsDownUntilItIsPluggedInAgain)
{
    Happen("link up");
    Happen("serial line pulled");
    EXPECT_FALSE(state.IsPlugged());
    EXPECT_FALSE(state.IsLinkUp());
    Happen("serial line plugged in");
    EXPECT_TRUE(state.IsPlugged());
    EXPECT_TRUE(state.IsLinkUp());
}

TEST_F(BoardStateTest, TheLinkEndsWithTheDaemon)
{
    Happen("link up");
    Happen("daemon ended with status 0");
    EXPECT_FALSE(state.IsLinkUp());
}

TEST_F(BoardStateTest, AStartWithoutLedsIsTrouble)
{
    Happen("the LEDs did not come; restart starts the daemon anew");
    EXPECT_EQ(state.Log().back().kind, BoardState::Line::Trouble);
}

TEST_F(BoardStateTest, TelegramsAreDecodedAndCounted)
{
    Happen("telegram to KNX: 11 00 bc e0 00 00 0a 03 01 00 81");
    Happen("telegram confirmed: 2e 00 bc e0 00 00 0a 03 01 00 81");
    Happen("telegram not sent: 2e 00 bd e0 00 00 0a 03 01 00 81");
    Happen("telegram from KNX: 29 00 bc e0 11 01 0a 03 01 00 80");
    Happen("telegram lost: no link to the driver");
    EXPECT_THAT(Texts(state.Telegrams()),
                ElementsAre("to KNX    0.0.0 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x01",
                            "confirmed 0.0.0 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x01",
                            StartsWith("not sent  0.0.0 -> 1/2/3 "),
                            "from KNX  1.1.1 -> 1/2/3 low hops=6 A_GroupValue_Write value=0x00",
                            "lost: no link to the driver"));
    EXPECT_THAT(state.Log(), IsEmpty());
    const auto& count = state.Count();
    EXPECT_EQ(count.toKnx, 1U);
    EXPECT_EQ(count.confirmed, 1U);
    EXPECT_EQ(count.notSent, 1U);
    EXPECT_EQ(count.fromKnx, 1U);
    EXPECT_EQ(count.lost, 1U);
}

TEST_F(BoardStateTest, AnUnusualMessageCodeIsTold)
{
    Happen("telegram from KNX: 2b 00 bc e0 11 01 0a 03 01 00 80");
    EXPECT_THAT(state.Telegrams().back().text, StartsWith("from KNX  L_Busmon.ind"));
}

TEST_F(BoardStateTest, TheDaemonsLinesAreShownWithoutDateAndThread)
{
    state.OnDaemonLine(2s, "03.07.2024 14:05:09.042 [140089525880640] DEBUG Cemi <> - Enqueued 11 cemi bytes");
    state.OnDaemonLine(3s, "03.07.2024 14:05:09.042 [140089525880640] ERROR Reset <> - Failed to export");
    state.OnDaemonLine(4s, "Option 'x' does not exist");
    EXPECT_THAT(Texts(state.Log()), ElementsAre("DEBUG Cemi: Enqueued 11 cemi bytes", "ERROR Reset: Failed to export",
                                                "Option 'x' does not exist"));
    EXPECT_EQ(state.Log()[0].kind, BoardState::Line::Daemon);
    EXPECT_EQ(state.Log()[1].kind, BoardState::Line::Trouble);
    EXPECT_EQ(state.Log()[1].time, 3s);
}

TEST_F(BoardStateTest, AnythingElseIsForTheLog)
{
    Happen("somebody on the bus switches it off");
    Happen("");
    state.OnAnswer(1s, "the button is pressed already");
    EXPECT_THAT(Texts(state.Log()),
                ElementsAre("somebody on the bus switches it off", "", "the button is pressed already"));
}

TEST_F(BoardStateTest, KeepsTheLastLinesOnly)
{
    for (int count = 0; count < 10'000; ++count)
    {
        Happen("event " + std::to_string(count));
        Happen("telegram from KNX: 29 00");
    }
    EXPECT_EQ(state.Log().size(), BoardState::KeptLines);
    EXPECT_EQ(state.Log().back().text, "event 9999");
    EXPECT_EQ(state.Telegrams().size(), BoardState::KeptLines);
    EXPECT_EQ(state.Count().fromKnx, 10'000U);
}

} // namespace
