#include "BoardState.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

using namespace std::chrono_literals;
using namespace Simulator;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

class BoardStateTest : public testing::Test
{
protected:
    void Happen(const Event& event)
    {
        state.OnEvent(1ms, event);
    }

    std::vector<Led> Lit() const
    {
        std::vector<Led> lit;
        for (const Led led : {RedKnxLed, YellowKnxLed, GreenDeviceLed, OrangeDeviceLed})
        {
            if (state.IsLit(led))
            {
                lit.push_back(led);
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
    EXPECT_EQ(state.CoProcessorPhase(), BoardState::Phase::Running);
    EXPECT_FALSE(state.LastPulse());
    EXPECT_THAT(state.Telegrams(), IsEmpty());
    EXPECT_THAT(state.Log(), IsEmpty());
}

TEST_F(BoardStateTest, EachLedIsOneOfItsOwn)
{
    Happen({Event::LedOn, RedKnxLed});
    EXPECT_THAT(Lit(), ElementsAre(RedKnxLed));
    Happen({Event::LedOn, YellowKnxLed});
    Happen({Event::LedOff, RedKnxLed});
    EXPECT_THAT(Lit(), ElementsAre(YellowKnxLed));
    Happen({Event::LedOn, GreenDeviceLed});
    Happen({Event::LedOn, OrangeDeviceLed});
    EXPECT_THAT(Lit(), ElementsAre(YellowKnxLed, GreenDeviceLed, OrangeDeviceLed));
    EXPECT_EQ(Texts(state.Log()).back(), TextOf({Event::LedOn, OrangeDeviceLed}));
}

TEST_F(BoardStateTest, TheTerminationGoesOnAndOff)
{
    Happen(Event::TerminationOn);
    EXPECT_TRUE(state.IsTerminated());
    Happen(Event::TerminationOff);
    EXPECT_FALSE(state.IsTerminated());
}

TEST_F(BoardStateTest, PressesOfTheButtonAreCounted)
{
    Happen(Event::ButtonPressed);
    EXPECT_TRUE(state.IsButtonPressed());
    Happen(Event::ButtonReleased);
    EXPECT_FALSE(state.IsButtonPressed());
    Happen(Event::ButtonPressed);
    EXPECT_EQ(state.Count().presses, 2U);
}

TEST_F(BoardStateTest, AResetTurnsEverythingOffAndEndsTheLink)
{
    Happen(Event::LinkUp);
    Happen({Event::LedOn, RedKnxLed});
    Happen(Event::TerminationOn);
    EXPECT_TRUE(state.IsLinkUp());
    Happen(Event::ResetLineLow);
    EXPECT_EQ(state.CoProcessorPhase(), BoardState::Phase::HeldInReset);
    EXPECT_FALSE(state.IsLinkUp());
    EXPECT_THAT(Lit(), IsEmpty());
    EXPECT_FALSE(state.IsTerminated());
    Happen({Event::ResetLineHigh, 1'400'000});
    EXPECT_EQ(state.CoProcessorPhase(), BoardState::Phase::Booting);
    EXPECT_EQ(state.LastPulse(), 1400us);
    Happen(Event::CoProcessorBooted);
    EXPECT_EQ(state.CoProcessorPhase(), BoardState::Phase::Running);
    EXPECT_FALSE(state.IsLinkUp());
    Happen(Event::LinkUp);
    EXPECT_TRUE(state.IsLinkUp());
    EXPECT_EQ(state.Count().resets, 1U);
    EXPECT_EQ(state.Count().links, 2U);
}

TEST_F(BoardStateTest, AHangEndsTheLink)
{
    Happen(Event::LinkUp);
    Happen(Event::CoProcessorHangs);
    EXPECT_EQ(state.CoProcessorPhase(), BoardState::Phase::Hanging);
    EXPECT_FALSE(state.IsLinkUp());
    EXPECT_EQ(state.Log().back().kind, BoardState::Line::Trouble);
}

TEST_F(BoardStateTest, APulledLineIsALinkThatIsDownUntilItIsPluggedInAgain)
{
    Happen(Event::LinkUp);
    Happen(Event::SerialLinePulled);
    EXPECT_FALSE(state.IsPlugged());
    EXPECT_FALSE(state.IsLinkUp());
    Happen(Event::SerialLinePluggedIn);
    EXPECT_TRUE(state.IsPlugged());
    EXPECT_TRUE(state.IsLinkUp());
}

TEST_F(BoardStateTest, TheLinkEndsWithTheDaemon)
{
    Happen(Event::LinkUp);
    Happen({Event::DaemonEnded, 0});
    EXPECT_FALSE(state.IsLinkUp());
}

TEST_F(BoardStateTest, AStartWithoutLedsIsTrouble)
{
    Happen(Event::LedsDidNotCome);
    EXPECT_EQ(state.Log().back().kind, BoardState::Line::Trouble);
}

TEST_F(BoardStateTest, TelegramsAreDecodedAndCounted)
{
    Happen({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 81")});
    Happen({Event::TelegramConfirmed, Knx::FromHex("2e 00 bc e0 00 00 0a 03 01 00 81")});
    Happen({Event::TelegramNotSent, Knx::FromHex("2e 00 bd e0 00 00 0a 03 01 00 81")});
    Happen({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 03 01 00 80")});
    Happen(Event::TelegramLost);
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

TEST_F(BoardStateTest, TelegramsOfKnownGroupsHaveNamesAndValues)
{
    state = BoardState(Knx::KnownGroups(
        Knx::GroupAddresses({{0x0A03, "Lights/Ceiling", "1.001", ""}, {0x0A04, "Temperature", "9.001", ""}})));
    Happen({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 81")});
    Happen({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 04 03 00 40 0c 1a")});
    Happen({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 04 01 00 00")});
    Happen({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 04 01 00 81")});
    Happen({Event::TelegramFromKnx, Knx::FromHex("29 00 bc e0 11 01 0a 05 01 00 81")});
    EXPECT_THAT(Texts(state.Telegrams()),
                ElementsAre("to KNX    0.0.0 -> 1/2/3 A_GroupValue_Write On  Lights/Ceiling",
                            "from KNX  1.1.1 -> 1/2/4 A_GroupValue_Response 21 \u00b0C  Temperature",
                            "from KNX  1.1.1 -> 1/2/4 A_GroupValue_Read  Temperature",
                            "from KNX  1.1.1 -> 1/2/4 A_GroupValue_Write value=0x01  Temperature"
                            " ! no value of the type 9.001",
                            "from KNX  1.1.1 -> 1/2/5 low hops=6 A_GroupValue_Write value=0x01"));
}

TEST_F(BoardStateTest, AnUnusualMessageCodeIsTold)
{
    Happen({Event::TelegramFromKnx, Knx::FromHex("2b 00 bc e0 11 01 0a 03 01 00 80")});
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
    Happen({Event::Note, "somebody on the bus switches it off"});
    Happen({Event::Note, ""});
    state.OnAnswer(1s, "the button is pressed already");
    EXPECT_THAT(Texts(state.Log()),
                ElementsAre("somebody on the bus switches it off", "", "the button is pressed already"));
}

TEST_F(BoardStateTest, KnowsWhoIsConnectedToTheGateway)
{
    Happen({Event::ProgramLeft, "1 early"}); // nobody knows of a gateway
    EXPECT_FALSE(state.TheGateway());
    Happen(Event::GatewayStarted);
    ASSERT_TRUE(state.TheGateway());
    EXPECT_TRUE(state.TheGateway()->runs);
    EXPECT_THAT(state.TheGateway()->programs, IsEmpty());
    for (const char* const program : {"7 monitor", "8 python3", "7 monitor"})
    {
        Happen({Event::ProgramConnected, program});
    }
    Happen({Event::ProgramLeft, "7 monitor"}); // one of its connections
    Happen({Event::ProgramLeft, "9 never came"});
    EXPECT_THAT(state.TheGateway()->programs, ElementsAre("8 python3", "7 monitor"));
}

TEST_F(BoardStateTest, WhereTheGatewayHasEndedNobodyIsConnected)
{
    Happen(Event::GatewayStarted);
    Happen({Event::ProgramConnected, "7 monitor"});
    Happen({Event::GatewayEnded, 9});
    EXPECT_FALSE(state.TheGateway()->runs);
    EXPECT_THAT(state.TheGateway()->programs, IsEmpty());
    EXPECT_EQ(state.Log().back().kind, BoardState::Line::Trouble);
    Happen({Event::GatewayEnded, 0});
    EXPECT_EQ(state.Log().back().kind, BoardState::Line::Board);
}

TEST_F(BoardStateTest, KeepsTheLastLinesOnly)
{
    for (int count = 0; count < 10'000; ++count)
    {
        Happen({Event::Note, "event " + std::to_string(count)});
        Happen({Event::TelegramFromKnx, Knx::FromHex("29 00")});
    }
    EXPECT_EQ(state.Log().size(), BoardState::KeptLines);
    EXPECT_EQ(state.Log().back().text, "event 9999");
    EXPECT_EQ(state.Telegrams().size(), BoardState::KeptLines);
    EXPECT_EQ(state.Count().fromKnx, 10'000U);
}

} // namespace
