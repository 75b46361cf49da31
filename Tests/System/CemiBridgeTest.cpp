// cEMI frames between the applications' queues and the co-processor.

#include "BenchKit/OnBoard.h"

#include <gmock/gmock.h>

#include <numeric>

using Knx::Bytes;
using Simulator::Event;
using testing::ElementsAre;

namespace
{

class CemiBridge : public OnBoard
{
protected:
    CemiBridge()
    {
        EXPECT_TRUE(running);
        EXPECT_EQ(fromLink.Receive(), (Bytes{0x03, 0xB9, 0x00, 0x01})); // the first message after each start
    }

    ~CemiBridge() override
    {
        EXPECT_EQ(daemon.Stop(), 0);
    }

    static Bytes Frame(std::size_t size)
    {
        Bytes frame(size);
        std::iota(frame.begin(), frame.end(), static_cast<uint8_t>(0x30));
        return frame;
    }

    Daemon daemon;
    testing::AssertionResult running = AwaitRunning(daemon); // before the queues, which a restart would make anew
    Queue fromLink{"/cemiFromLL", Queue::For::Reading};
    Queue toLink{"/cemiToLL", Queue::For::Writing};
};

TEST_F(CemiBridge, ARequestReachesTheBusAndItsConfirmationComesBack)
{
    const Bytes request{0x11, 0x00, 0xbc, 0xe0, 0x00, 0x00, 0x0a, 0x03, 0x01, 0x00, 0x81};
    Bytes message = request;
    message.insert(message.begin(), 0x0b);
    EXPECT_TRUE(toLink.Send(message));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("11 00 bc e0 00 00 0a 03 01 00 81")}));
    message[1] = 0x2e;
    EXPECT_EQ(fromLink.Receive(), message);
    EXPECT_TRUE(daemon.AwaitLine("DEBUG Cemi <> - Enqueued 11 cemi bytes from message queue to LL"));
}

TEST_F(CemiBridge, ATelegramFromTheBusReachesTheApplication)
{
    TheCoProcessor().InjectTelegram({0x29, 0x00, 0xbc, 0xe0, 0x11, 0x01, 0x0a, 0x03, 0x01, 0x00, 0x80});
    EXPECT_EQ(fromLink.Receive(), (Bytes{0x0b, 0x29, 0x00, 0xbc, 0xe0, 0x11, 0x01, 0x0a, 0x03, 0x01, 0x00, 0x80}));
}

TEST_F(CemiBridge, CarriesTheLongestFrameOfEachDirection)
{
    Bytes message = Frame(255);
    message.insert(message.begin(), 255);
    EXPECT_TRUE(toLink.Send(message));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Frame(255)}));

    TheCoProcessor().InjectTelegram(Frame(260));
    message = Frame(260);
    message.insert(message.begin(), 4);
    EXPECT_EQ(fromLink.Receive(), message);
}

TEST_F(CemiBridge, TheSizeByteOfAFrameOf256BytesFromTheLinkIs0)
{
    TheCoProcessor().InjectTelegram(Frame(256));
    Bytes message = Frame(256);
    message.insert(message.begin(), 0);
    EXPECT_EQ(fromLink.Receive(), message);
}

TEST_F(CemiBridge, DropsLinkMessagesOfOtherLengthsAndTopicsWithoutALine)
{
    const auto before = daemon.Count("DEBUG Cemi Sended cemi message with size 4 from LL to user message queue");
    TheCoProcessor().Flood(0x100, {}, 1);
    TheCoProcessor().Flood(0x100, Frame(261), 1);
    TheCoProcessor().Flood(0x102, {0x07, 0x01, 0x01}, 1); // on the topic of devices it would be the button
    TheCoProcessor().Flood(0x101, {0x42, 0x01, 0x01}, 1);
    TheCoProcessor().InjectTelegram({0x29, 0x77});
    EXPECT_EQ(fromLink.Receive(), (Bytes{0x02, 0x29, 0x77}));
    EXPECT_EQ(Queue("/progButton", Queue::For::Reading).Pending(), 0);
    EXPECT_EQ(before, daemon.Count("DEBUG Cemi Sended cemi message with size 4 from LL to user message queue"));
    for (const std::string& line : daemon.LogLines())
    {
        EXPECT_EQ(line.find("ERROR"), std::string::npos) << line;
    }
}

TEST_F(CemiBridge, DropsAMessageWhoseSizeByteDisagreesWithItsLength)
{
    EXPECT_TRUE(toLink.Send({0x03, 0xAA, 0xBB}));
    EXPECT_TRUE(toLink.Send({0x00}));
    EXPECT_TRUE(toLink.Send({0x00, 0xAA}));
    EXPECT_TRUE(toLink.Send({0x02, 0xAA, 0xBB}));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("aa bb")}));
    EXPECT_TRUE(daemon.AwaitLine(
        "ERROR Cemi <> - Received invalid cemi message with size byte 3 and message size 3, dropping message"));
    EXPECT_TRUE(daemon.AwaitLine(
        "ERROR Cemi <> - Received invalid cemi message with size byte 0 and message size 1, dropping message"));
    EXPECT_TRUE(daemon.AwaitLine(
        "ERROR Cemi <> - Received invalid cemi message with size byte 0 and message size 2, dropping message"));
    EXPECT_THAT(ToKnx(), ElementsAre(Bytes{0xAA, 0xBB}));
}

TEST_F(CemiBridge, AFullQueueDropsFurtherFramesWithALineEach)
{
    TheCoProcessor().Flood(0x100, {0x29, 0x01}, 16);
    EXPECT_TRUE(Await(
        [&]
        {
            return daemon.Count("ERROR Cemi Failed to send cemi message from LL to user message queue: "
                                "Resource temporarily unavailable") == 2;
        }));
    EXPECT_EQ(fromLink.Pending(), 14);
}

TEST_F(CemiBridge, ManyFramesKeepTheirOrder)
{
    for (uint8_t number = 0; number < 200; ++number)
    {
        EXPECT_TRUE(Await([&] { return toLink.Send({0x02, 0xF0, number}); }));
        EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Bytes{0xF0, number}}));
        TheCoProcessor().InjectTelegram({0x29, number});
        EXPECT_EQ(fromLink.Receive(), (Bytes{0x02, 0x29, number}));
    }
}

using CemiStart = OnBoard;

TEST_F(CemiStart, WhatWaitedInTheQueueBeforeTheStartIsDiscardedAndNeverTransmitted)
{
    const System::OwnMessageQueue early("/cemiToLL", Queue::For::Writing, 14, 261);
    EXPECT_TRUE(early.Send({0x02, 0x01, 0x02}));

    Daemon daemon;
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue toLink("/cemiToLL", Queue::For::Writing);
    EXPECT_TRUE(toLink.Send({0x02, 0xAA, 0xBB}));
    EXPECT_TRUE(AwaitEvent({Event::TelegramToKnx, Knx::FromHex("aa bb")}));
    EXPECT_THAT(ToKnx(), ElementsAre(Bytes{0xAA, 0xBB}));
    EXPECT_EQ(daemon.Stop(), 0);
}

TEST_F(CemiStart, AnApplicationThatHoldsAQueueOverARestartKeepsTheRemovedOneAndTheNewOneIsFresh)
{
    auto first = std::make_unique<Daemon>();
    ASSERT_TRUE(AwaitRunning(*first));
    const Queue held("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(first->Stop(), 0);
    Daemon second;
    ASSERT_TRUE(AwaitRunning(second));
    const Queue fresh("/cemiFromLL", Queue::For::Reading);
    EXPECT_EQ(held.Pending(), 1);
    EXPECT_EQ(fresh.Pending(), 1);
    TheCoProcessor().InjectTelegram({0x29, 0x05});
    EXPECT_TRUE(Await([&] { return fresh.Pending() == 2; }));
    EXPECT_EQ(held.Pending(), 1);
    EXPECT_EQ(second.Stop(), 0);
}

TEST_F(CemiStart, AFrameThatTheLinkRefusesIsDroppedWithItsLine)
{
    auto daemon = Daemon::OnTraceLibrary({}, {{"TRACE_TRANSMIT", "0"}});
    ASSERT_TRUE(AwaitRunning(daemon));
    const Queue toLink("/cemiToLL", Queue::For::Writing);
    EXPECT_TRUE(toLink.Send({0x02, 0xAA, 0xBB}));
    EXPECT_TRUE(
        daemon.AwaitLine("ERROR Cemi <> - Failed to enqueue cemi message with size byte 2 for LL, dropping message"));
    EXPECT_EQ(daemon.Stop(), 0);
}

} // namespace
