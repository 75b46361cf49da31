// The words of the events. Beside their source, only this test has them.

#include "Event.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>

using namespace std::chrono_literals;
using namespace Simulator;
using testing::AllOf;
using testing::EndsWith;
using testing::SizeIs;

namespace
{

const Bytes Telegram{0x29, 0x00, 0xbc};

TEST(Event, TellsWhatTheCoProcessorDoes)
{
    EXPECT_EQ(TextOf(Event::ResetLineLow), "reset line low");
    EXPECT_EQ(TextOf({Event::ResetLineHigh, 1'449'999}), "reset line high after 1.4 ms");
    EXPECT_EQ(TextOf(Event::CoProcessorBooted), "co-processor booted");
    EXPECT_EQ(TextOf(Event::CoProcessorHangs), "co-processor hangs");
    EXPECT_EQ(TextOf(Event::LinkUp), "link up");
    EXPECT_EQ(TextOf(Event::ButtonPressed), "button pressed");
    EXPECT_EQ(TextOf(Event::ButtonReleased), "button released");
    EXPECT_EQ(TextOf(Event::SerialLinePulled), "serial line pulled");
    EXPECT_EQ(TextOf(Event::SerialLinePluggedIn), "serial line plugged in");
}

TEST(Event, NamesEachLed)
{
    EXPECT_EQ(TextOf({Event::LedOn, OrangeDeviceLed}), "LED orange device on");
    EXPECT_EQ(TextOf({Event::LedOff, GreenDeviceLed}), "LED green device off");
    EXPECT_EQ(TextOf({Event::LedOn, RedKnxLed}), "LED red KNX on");
    EXPECT_EQ(TextOf({Event::LedOff, YellowKnxLed}), "LED yellow KNX off");
    EXPECT_EQ(TextOf(Event::TerminationOn), "RS485 termination on");
    EXPECT_EQ(TextOf(Event::TerminationOff), "RS485 termination off");
}

TEST(Event, TellsEachMessageInHexadecimal)
{
    EXPECT_EQ(TextOf({Event::TelegramToKnx, Telegram}), "telegram to KNX: 29 00 bc");
    EXPECT_EQ(TextOf({Event::TelegramConfirmed, Telegram}), "telegram confirmed: 29 00 bc");
    EXPECT_EQ(TextOf({Event::TelegramNotSent, Telegram}), "telegram not sent: 29 00 bc");
    EXPECT_EQ(TextOf({Event::TelegramFromKnx, Telegram}), "telegram from KNX: 29 00 bc");
    EXPECT_EQ(TextOf(Event::TelegramLost), "telegram lost: no link to the driver");
    EXPECT_EQ(TextOf({Event::MessageOfUnknownTopic, Telegram, 258}), "message of unknown topic 258: 29 00 bc");
    EXPECT_EQ(TextOf({Event::UnknownDeviceMessage, Telegram}), "device message not understood: 29 00 bc");
}

TEST(Event, TellsOfKnxIp)
{
    EXPECT_EQ(TextOf({Event::KnxIpJoined, "224.0.23.12 on lo"}), "KNXnet/IP: joined 224.0.23.12 on lo");
    EXPECT_EQ(
        TextOf({Event::KnxIpCounted, KnxIpCounters{1, 2, 3, 4, 5, 6, 7, 8}}),
        "KNXnet/IP: 1 sent, 2 received, 3 refused, 4 dropped, 5 lost by others, 6 times others busy, 7 malformed, "
        "8 of other services");
    EXPECT_EQ(TextOf({Event::KnxIpRouterLost, 5, 12}), "KNXnet/IP: a router lost 5 telegrams; 12 were lost so far");
    EXPECT_EQ(TextOf({Event::KnxIpRouterBusy, 1000, 10}),
              "KNXnet/IP: a router is busy and asks for 1000 ms, number 10");
    EXPECT_EQ(TextOf({Event::KnxIpNoRoom, 2}), "KNXnet/IP: 2 telegrams from the network found no room");
    EXPECT_EQ(TextOf({Event::MalformedDatagram, Telegram, 100}),
              "KNXnet/IP: malformed datagram dropped, number 100: 29 00 bc");
}

TEST(Event, OnlyTheBeginOfALongMalformedDatagramIsTold)
{
    EXPECT_THAT(TextOf({Event::MalformedDatagram, Bytes(1024, 0xFF), 1}),
                AllOf(SizeIs(testing::Lt(150U)), EndsWith(" ff ff ...")));
}

TEST(Event, TellsOfTheDaemon)
{
    EXPECT_EQ(TextOf(Event::DaemonStarted), "daemon started");
    EXPECT_EQ(TextOf({Event::DaemonEnded, 137}), "daemon ended with status 137");
    EXPECT_EQ(TextOf({Event::DaemonStartsLater, 3600}), "daemon starts again in 3600 s");
    EXPECT_EQ(TextOf({Event::DaemonCannotStart, "cannot start it"}), "cannot start it; restart tries again");
    EXPECT_EQ(TextOf({Event::DaemonKilled, 15}), "daemon has not ended in 15 s and is killed");
    EXPECT_EQ(TextOf({Event::DaemonAtOrdinaryPriority, EPERM}),
              "daemon starts at ordinary priority (Operation not permitted): on a busy machine its LEDs may not come");
    EXPECT_EQ(TextOf(Event::LedsDidNotCome), "the LEDs did not come; restart starts the daemon anew");
}

TEST(Event, TellsOfTheDemonstration)
{
    EXPECT_EQ(TextOf(Event::DemonstrationEnded), "that was all; the daemon goes on, and 'help' lists what you can do");
    EXPECT_EQ(TextOf({Event::DemonstrationFailed, "it rained"}), "the demonstration failed: it rained");
    EXPECT_EQ(TextOf({Event::Note, "the co-processor hangs"}), "the co-processor hangs");
}

TEST(Event, TellsOfTheGateway)
{
    EXPECT_EQ(TextOf(Event::GatewayStarted), "gateway started");
    EXPECT_EQ(TextOf({Event::GatewayEnded, 9}), "gateway ended with status 9");
    EXPECT_EQ(TextOf({Event::ProgramConnected, "1234 orvelctl"}), "program 1234 orvelctl connected to the gateway");
    EXPECT_EQ(TextOf({Event::ProgramLeft, "1234 orvelctl"}), "program 1234 orvelctl left the gateway");
}

TEST(Event, RoundsAPulseToATenthOfAMillisecond)
{
    EXPECT_EQ(TextOf(1449us), "1.4 ms");
    EXPECT_EQ(TextOf(1551us), "1.6 ms");
    EXPECT_EQ(TextOf(2s), "2000.0 ms");
}

} // namespace
