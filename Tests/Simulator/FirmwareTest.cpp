// The firmware of the simulated co-processor: what it answers, when, and how it fails. The test is the driver, the bus and the
// clock.

#include "Firmware.h"

#include "FrameEquality.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <vector>

using namespace std::chrono_literals;
using namespace Simulator;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace
{

constexpr uint16_t Cemi = 0x100;
constexpr uint16_t Device = 0x101;

const Bytes Session{1, 2, 3, 4};
const Wire::Frame Pressed{Wire::Kind::Message, Device, {0x07, 0x01, 0x01}};
const Wire::Frame Released{Wire::Kind::Message, Device, {0x07, 0x01, 0x00}};
const Wire::Frame PressedSinceBoot{Wire::Kind::Message, Device, {0x09, 0x01, 0x01}};
const Wire::Frame NotPressedSinceBoot{Wire::Kind::Message, Device, {0x09, 0x01, 0x00}};

class FirmwareTest : public testing::Test
{
protected:
    FirmwareTest()
    {
        Greet();
    }

    void Hear(const Wire::Frame& frame)
    {
        firmware.TakeIn(Wire::Encode(frame), now);
    }

    void Hear(uint16_t topic, const Bytes& payload)
    {
        Hear({Wire::Kind::Message, topic, payload});
    }

    // All that is due now.
    std::vector<Wire::Frame> Said()
    {
        std::vector<Wire::Frame> frames;
        for (Bytes due = firmware.Due(now); !due.empty(); due = firmware.Due(now))
        {
            decoder.Feed(due.data(), due.size(), [&frames](const Wire::Frame& frame) { frames.push_back(frame); });
            firmware.OnSent(due.size());
        }
        return frames;
    }

    void Pass(Firmware::Clock::duration time)
    {
        now += time;
        firmware.OnTime(now);
    }

    void Greet()
    {
        Hear({Wire::Kind::Hello, 0, Session});
        EXPECT_THAT(Said(), ElementsAre(Wire::Frame{Wire::Kind::Welcome, 0, Session}));
        happened.clear();
    }

    void Reset()
    {
        firmware.SetResetLine(false, now);
        Pass(2ms);
        firmware.SetResetLine(true, now);
        Pass(Firmware::BootTime);
    }

    std::vector<Wire::Frame> SaidOfAPressSinceBoot()
    {
        Hear(Device, {0x08, 0x01});
        Pass(Firmware::SinceBootAnswerTime);
        return Said();
    }

    std::vector<Event> happened;
    std::vector<Firmware::Request> requests;
    bool hasBus = false;
    Firmware::Clock::time_point now{1h};
    Wire::Decoder decoder;
    Firmware firmware{{[this](const Event& event) { happened.push_back(event); },
                       [this](const Firmware::Request& request)
                       {
                           requests.push_back(request);
                           return hasBus;
                       }}};
};

// --- The conversation with the driver

TEST_F(FirmwareTest, WelcomesASessionEachTimeAndTellsOfItOnce)
{
    const Bytes another{5, 6, 7, 8};
    for (int count = 0; count < 3; ++count)
    {
        Hear({Wire::Kind::Hello, 0, another});
        EXPECT_THAT(Said(), ElementsAre(Wire::Frame{Wire::Kind::Welcome, 0, another}));
    }
    EXPECT_THAT(happened, ElementsAre(Event::LinkUp));
}

TEST_F(FirmwareTest, AnswersAPingOfItsSessionOnly)
{
    Hear({Wire::Kind::Ping, 0, Session});
    EXPECT_THAT(Said(), ElementsAre(Wire::Frame{Wire::Kind::Pong, 0, Session}));
    Hear({Wire::Kind::Ping, 0, {1, 2, 3, 5}});
    EXPECT_THAT(Said(), IsEmpty());
}

TEST_F(FirmwareTest, AnswersNoPingOfASessionFromBeforeItsReset)
{
    Reset();
    Hear({Wire::Kind::Ping, 0, Session});
    EXPECT_THAT(Said(), IsEmpty());
}

TEST_F(FirmwareTest, TakesNoMessageOfASessionFromBeforeItsReset)
{
    Reset();
    happened.clear();
    Hear(Cemi, {0x11, 0x00, 0xbc});
    Hear(Device, {0x02, 0x01, 0x01});
    EXPECT_THAT(happened, IsEmpty());
    EXPECT_FALSE(firmware.SendTelegram({0x29, 0x00}, now));
    EXPECT_THAT(Said(), IsEmpty());
}

TEST_F(FirmwareTest, TakesNoAnswerForAQuestion)
{
    Hear({Wire::Kind::Welcome, 0, Session});
    Hear({Wire::Kind::Pong, 0, Session});
    EXPECT_THAT(Said(), IsEmpty());
    EXPECT_THAT(happened, IsEmpty());
}

TEST_F(FirmwareTest, FindsAFrameThatComesInPieces)
{
    for (const uint8_t byte : Wire::Encode({Wire::Kind::Ping, 0, Session}))
    {
        EXPECT_THAT(Said(), IsEmpty());
        firmware.TakeIn({byte}, now);
    }
    EXPECT_THAT(Said(), SizeIs(1));
}

TEST_F(FirmwareTest, ForgetsWhatItHasHeardInPartWhenItIsReset)
{
    const Bytes message = Wire::Encode({Wire::Kind::Hello, 0, Session});
    firmware.TakeIn({message.begin(), message.end() - 1}, now);
    Reset();
    firmware.TakeIn({message.back()}, now);
    EXPECT_THAT(Said(), IsEmpty());
}

TEST_F(FirmwareTest, GoesOnWhereTheLineStoppedWithinAFrame)
{
    ASSERT_TRUE(firmware.SendTelegram({0x29, 0x00}, now));
    const Bytes whole = firmware.Due(now);
    firmware.OnSent(3);
    EXPECT_EQ(firmware.Due(now), Bytes(whole.begin() + 3, whole.end()));
    EXPECT_FALSE(firmware.NextTime(now)) << "it is due already";
}

// --- Its reset line

TEST_F(FirmwareTest, BootsFiveMillisecondsAfterItsReset)
{
    firmware.SetResetLine(false, now);
    Pass(1ms);
    EXPECT_FALSE(firmware.NextTime(now)) << "held in reset it waits for nothing";
    Pass(400us);
    firmware.SetResetLine(true, now);
    EXPECT_EQ(firmware.NextTime(now), now + 5ms);
    Pass(4999us);
    EXPECT_THAT(happened, ElementsAre(Event::ResetLineLow, Event(Event::ResetLineHigh, 1'400'000)));
    Pass(1us);
    EXPECT_EQ(happened.back(), Event::CoProcessorBooted);
    EXPECT_FALSE(firmware.NextTime(now));
}

TEST_F(FirmwareTest, HearsNothingBeforeItHasBooted)
{
    firmware.SetResetLine(false, now);
    Hear({Wire::Kind::Hello, 0, Session});
    firmware.SetResetLine(true, now);
    Hear({Wire::Kind::Hello, 0, Session});
    Pass(Firmware::BootTime);
    EXPECT_THAT(Said(), IsEmpty());
    Greet();
}

TEST_F(FirmwareTest, TakesALevelThatItHasAlreadyForNoChange)
{
    firmware.SetResetLine(true, now);
    EXPECT_THAT(happened, IsEmpty());
    firmware.SetResetLine(false, now);
    Pass(1ms);
    firmware.SetResetLine(false, now);
    Pass(1ms);
    firmware.SetResetLine(true, now);
    EXPECT_THAT(happened, ElementsAre(Event::ResetLineLow, Event(Event::ResetLineHigh, 2'000'000)));
}

TEST_F(FirmwareTest, ForgetsWhatItHadToSayWhenItIsReset)
{
    ASSERT_TRUE(firmware.SendTelegram({0x29, 0x00}, now));
    Reset();
    EXPECT_THAT(Said(), IsEmpty());
}

// --- Its outputs

TEST_F(FirmwareTest, EachMessageSetsItsOutput)
{
    for (const Led led : {OrangeDeviceLed, GreenDeviceLed, RedKnxLed, YellowKnxLed})
    {
        happened.clear();
        Hear(Device, {0x02, led, 0x01});
        EXPECT_EQ(firmware.LedState(led), 1);
        Hear(Device, {0x02, led, 0x00});
        EXPECT_EQ(firmware.LedState(led), 0);
        EXPECT_THAT(happened, ElementsAre(Event(Event::LedOn, led), Event(Event::LedOff, led)));
    }
    happened.clear();
    Hear(Device, {0x0E, 0x01, 0x01});
    EXPECT_EQ(firmware.Rs485TerminationState(), 1);
    Hear(Device, {0x0E, 0x01, 0x00});
    EXPECT_EQ(firmware.Rs485TerminationState(), 0);
    EXPECT_THAT(happened, ElementsAre(Event::TerminationOn, Event::TerminationOff));
}

TEST_F(FirmwareTest, AResetTurnsEveryOutputOff)
{
    Hear(Device, {0x02, RedKnxLed, 0x01});
    Hear(Device, {0x0E, 0x01, 0x01});
    Reset();
    EXPECT_EQ(firmware.LedState(RedKnxLed), 0);
    EXPECT_EQ(firmware.Rs485TerminationState(), 0);
}

TEST_F(FirmwareTest, SaysWhatItDoesNotUnderstand)
{
    for (const Bytes& message :
         {Bytes{}, Bytes{0x02}, Bytes{0x02, 0x00, 0x01}, Bytes{0x02, 0x05, 0x01}, Bytes{0x02, 0x01, 0x01, 0x00},
          Bytes{0x0E, 0x02, 0x01}, Bytes{0x08, 0x02}, Bytes{0xFF}})
    {
        happened.clear();
        Hear(Device, message);
        EXPECT_THAT(happened, ElementsAre(Event(Event::UnknownDeviceMessage, message)));
    }
    happened.clear();
    Hear(0x102, {0x01});
    EXPECT_THAT(happened, ElementsAre(Event(Event::MessageOfUnknownTopic, Bytes{0x01}, 0x102)));
    EXPECT_THAT(Said(), IsEmpty());
}

// --- Its button

TEST_F(FirmwareTest, ReportsEachChangeOfTheButton)
{
    EXPECT_TRUE(firmware.SetButton(true, now));
    EXPECT_FALSE(firmware.SetButton(true, now));
    EXPECT_TRUE(firmware.SetButton(false, now));
    EXPECT_THAT(Said(), ElementsAre(Pressed, Released));
    EXPECT_THAT(happened, ElementsAre(Event::ButtonPressed, Event::ButtonReleased));
}

TEST_F(FirmwareTest, KnowsOfNoPressAfterItsBoot)
{
    Reset();
    Greet();
    EXPECT_THAT(SaidOfAPressSinceBoot(), ElementsAre(NotPressedSinceBoot));
}

TEST_F(FirmwareTest, RemembersAPressSinceItsBootAlsoWhenTheButtonWasReleased)
{
    Reset();
    Greet();
    firmware.SetButton(true, now);
    firmware.SetButton(false, now);
    EXPECT_THAT(Said(), ElementsAre(Pressed, Released));
    EXPECT_THAT(SaidOfAPressSinceBoot(), ElementsAre(PressedSinceBoot));
}

TEST_F(FirmwareTest, TakesAButtonThatIsHeldWhileItBootsForPressedSinceBoot)
{
    firmware.SetButton(true, now);
    EXPECT_THAT(Said(), ElementsAre(Pressed));
    Reset();
    Greet();
    EXPECT_THAT(SaidOfAPressSinceBoot(), ElementsAre(PressedSinceBoot)); // the press is not reported again
    firmware.SetButton(false, now);
    EXPECT_THAT(Said(), ElementsAre(Released));
    EXPECT_THAT(SaidOfAPressSinceBoot(), ElementsAre(PressedSinceBoot));
}

TEST_F(FirmwareTest, TakesAButtonThatIsPressedWhileItIsHeldInResetForPressedSinceBoot)
{
    firmware.SetResetLine(false, now);
    firmware.SetButton(true, now);
    Reset();
    Greet();
    EXPECT_THAT(SaidOfAPressSinceBoot(), ElementsAre(PressedSinceBoot));
}

TEST_F(FirmwareTest, ForgetsAPressThatWasOverBeforeItsReset)
{
    firmware.SetButton(true, now);
    firmware.SetButton(false, now);
    EXPECT_THAT(Said(), ElementsAre(Pressed, Released));
    Reset();
    Greet();
    EXPECT_THAT(SaidOfAPressSinceBoot(), ElementsAre(NotPressedSinceBoot));
}

TEST_F(FirmwareTest, TakesItsTimeToAnswerWhetherTheButtonWasPressed)
{
    Hear(Device, {0x08, 0x01});
    EXPECT_EQ(firmware.NextTime(now), now + 5ms);
    Pass(4999us);
    EXPECT_THAT(Said(), IsEmpty());
    Pass(1us);
    EXPECT_THAT(Said(), ElementsAre(NotPressedSinceBoot));
}

// --- Its KNX side

TEST_F(FirmwareTest, SendsATelegramAsItIs)
{
    EXPECT_TRUE(firmware.SendTelegram({0x29, 0x00}, now));
    EXPECT_THAT(Said(), ElementsAre(Wire::Frame{Wire::Kind::Message, Cemi, {0x29, 0x00}}));
}

TEST_F(FirmwareTest, ConfirmsARequestWhereThereIsNoBus)
{
    Hear(Cemi, {0x11, 0x00, 0xbd, 0xe0});
    EXPECT_THAT(Said(), ElementsAre(Wire::Frame{Wire::Kind::Message, Cemi, {0x2E, 0x00, 0xbc, 0xe0}}));
    EXPECT_THAT(happened, ElementsAre(Event(Event::TelegramToKnx, Bytes{0x11, 0x00, 0xbd, 0xe0}),
                                      Event(Event::TelegramConfirmed, Bytes{0x2E, 0x00, 0xbc, 0xe0})));
}

TEST_F(FirmwareTest, ConfirmsWhenTheBusHasAnswered)
{
    hasBus = true;
    Hear(Cemi, {0x11, 0x01, 0xEE, 0xbc});
    Hear(Cemi, {0x11, 0x00, 0xbc});
    ASSERT_THAT(requests, SizeIs(2));
    EXPECT_THAT(Said(), IsEmpty());
    firmware.Confirm(requests[1], true, now);
    firmware.Confirm(requests[0], false, now);
    EXPECT_THAT(Said(), ElementsAre(Wire::Frame{Wire::Kind::Message, Cemi, {0x2E, 0x00, 0xbc}},
                                    Wire::Frame{Wire::Kind::Message, Cemi, {0x2E, 0x01, 0xEE, 0xbd}}));
    EXPECT_EQ(happened.back(), Event(Event::TelegramNotSent, Bytes{0x2E, 0x01, 0xEE, 0xbd}));
}

TEST_F(FirmwareTest, ConfirmsNothingFromBeforeAReset)
{
    hasBus = true;
    Hear(Cemi, {0x11, 0x00, 0xbc});
    Reset();
    Greet();
    firmware.Confirm(requests.at(0), true, now);
    EXPECT_THAT(Said(), IsEmpty());
    EXPECT_THAT(happened, IsEmpty());
}

TEST_F(FirmwareTest, ConfirmsNothingElseThanARequest)
{
    for (const Bytes& cemi : {Bytes{}, Bytes{0x11}, Bytes{0x11, 0x00}, Bytes{0x11, 0x02, 0x00, 0x00},
                              Bytes{0x29, 0x00, 0xbc}, Bytes{0x2E, 0x00, 0xbc}})
    {
        happened.clear();
        Hear(Cemi, cemi);
        EXPECT_THAT(happened, ElementsAre(Event(Event::TelegramToKnx, cemi)));
    }
    EXPECT_THAT(requests, IsEmpty());
    EXPECT_THAT(Said(), IsEmpty());
}

// --- How it fails

TEST_F(FirmwareTest, HangsUntilItIsReset)
{
    hasBus = true;
    Hear(Cemi, {0x11, 0x00, 0xbc});
    firmware.Hang();
    happened.clear();
    Hear({Wire::Kind::Ping, 0, Session});
    Hear({Wire::Kind::Hello, 0, Session});
    firmware.SetButton(true, now);
    firmware.Confirm(requests.at(0), true, now);
    EXPECT_FALSE(firmware.SendTelegram({0x29, 0x00}, now));
    EXPECT_THAT(Said(), IsEmpty());
    EXPECT_THAT(happened, ElementsAre(Event::ButtonPressed));
    Reset();
    Greet();
}

TEST_F(FirmwareTest, RunsAfterAResetInWhichItWasToldToHang)
{
    firmware.SetResetLine(false, now);
    firmware.Hang();
    firmware.SetResetLine(true, now);
    Pass(Firmware::BootTime);
    EXPECT_EQ(happened.back(), Event::CoProcessorBooted);
    Greet();
}

TEST_F(FirmwareTest, DoesNotFinishBootingWhenItHangsMeanwhile)
{
    firmware.SetResetLine(false, now);
    firmware.SetResetLine(true, now);
    firmware.Hang();
    EXPECT_FALSE(firmware.NextTime(now));
    Pass(Firmware::BootTime);
    EXPECT_EQ(happened.back(), Event::CoProcessorHangs);
    Hear({Wire::Kind::Hello, 0, Session});
    EXPECT_THAT(Said(), IsEmpty());
    Reset();
    Greet();
}

TEST_F(FirmwareTest, StaysDeadAfterAReset)
{
    firmware.SetDead(true);
    Hear({Wire::Kind::Ping, 0, Session});
    Reset();
    Hear({Wire::Kind::Hello, 0, Session});
    EXPECT_THAT(Said(), IsEmpty());
    firmware.SetDead(false);
    Greet();
}

TEST_F(FirmwareTest, SaysEverythingLaterWhenItIsDelayed)
{
    firmware.SetDelay(300ms);
    Hear({Wire::Kind::Ping, 0, Session});
    EXPECT_EQ(firmware.NextTime(now), now + 300ms);
    Pass(299ms);
    EXPECT_THAT(Said(), IsEmpty());
    Pass(1ms);
    EXPECT_THAT(Said(), SizeIs(1));
}

TEST_F(FirmwareTest, FloodsWithAMessageAndHasRoomForSoManyOnly)
{
    const Wire::Frame message{Wire::Kind::Message, Cemi, {0x29, 0x01}};
    firmware.Flood(Cemi, message.payload, 16, now);
    EXPECT_THAT(Said(), testing::AllOf(SizeIs(16), testing::Each(message)));
    firmware.Flood(Cemi, message.payload, 30'000, now);
    EXPECT_THAT(Said(), SizeIs(20'000));
}

TEST_F(FirmwareTest, SendsGarbageAsItIs)
{
    const Bytes garbage(100, 0xA5);
    firmware.SendGarbage(garbage, now);
    EXPECT_EQ(firmware.Due(now), garbage);
    EXPECT_THAT(Said(), IsEmpty());
    Hear({Wire::Kind::Ping, 0, Session});
    EXPECT_THAT(Said(), SizeIs(1)) << "what follows is a frame again";
}

TEST_F(FirmwareTest, IsNotHeldUpByGarbageOfNoBytes)
{
    firmware.SendGarbage({}, now);
    Hear({Wire::Kind::Ping, 0, Session});
    EXPECT_THAT(Said(), SizeIs(1));
}

} // namespace
