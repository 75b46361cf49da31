// The simulated co-processor with its thread and its line, with the test as the driver at the other end. What it says and when
// is the firmware's matter.

#include "CoProcessor.h"

#include "BenchKit/Await.h"
#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <deque>
#include <optional>

using namespace Simulator;

namespace
{

const Bytes NotPressedSinceBoot{0x09, 0x01, 0x00};

class CoProcessorTest : public testing::Test
{
protected:
    CoProcessorTest()
    {
        Greet();
    }

    // With a number of its own each time, as a driver does.
    void Greet()
    {
        ++session[0];
        Send({Wire::Kind::Hello, 0, session});
        while (const auto frame = Receive())
        {
            if (frame->kind == Wire::Kind::Welcome && frame->payload == session)
            {
                return;
            }
        }
        ADD_FAILURE() << "no welcome";
    }

    void Send(const Wire::Frame& frame)
    {
        const Bytes bytes = Wire::Encode(frame);
        EXPECT_EQ(write(driver.Number(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    Bytes ReceiveMessage(uint16_t topic)
    {
        const auto frame = Receive();
        EXPECT_TRUE(frame && frame->kind == Wire::Kind::Message && frame->topic == topic);
        return frame ? frame->payload : Bytes{};
    }

    EventLog events;
    SerialLine line;
    CoProcessor coProcessor{line, events};

private:
    // Nothing when nothing came in time.
    std::optional<Wire::Frame> Receive()
    {
        pollfd entry{driver.Number(), POLLIN, 0};
        while (frames.empty() && poll(&entry, 1, PatienceMilliseconds) == 1)
        {
            std::array<uint8_t, 256> buffer{};
            const ssize_t size = read(driver.Number(), buffer.data(), buffer.size());
            decoder.Feed(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0,
                         [this](const Wire::Frame& frame) { frames.push_back(frame); });
        }
        if (frames.empty())
        {
            return std::nullopt;
        }
        const Wire::Frame frame = frames.front();
        frames.pop_front();
        return frame;
    }

    const System::Descriptor driver{open(line.Device().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC)};
    Wire::Decoder decoder;
    std::deque<Wire::Frame> frames;
    Bytes session{0, 1, 2, 3};
};

TEST_F(CoProcessorTest, BootsByItselfWhenItsTimeHasCome)
{
    coProcessor.SetResetLine(false);
    coProcessor.SetResetLine(true);
    EXPECT_NE(events.Await(Event::CoProcessorBooted, 0, Patience), 0U);
    Greet();
}

TEST_F(CoProcessorTest, AnswersLaterByItself)
{
    Send({Wire::Kind::Message, 0x101, {0x08, 0x01}});
    EXPECT_EQ(ReceiveMessage(0x101), NotPressedSinceBoot);
}

TEST_F(CoProcessorTest, SendsMoreThanTheLineTakesAtOnce)
{
    constexpr int Count = 500;
    const Bytes payload(300, 0x29);
    coProcessor.Flood(0x100, payload, Count);
    for (int count = 0; count < Count; ++count)
    {
        ASSERT_EQ(ReceiveMessage(0x100), payload) << count;
    }
}

TEST_F(CoProcessorTest, ConfirmsWhatTheBusHasSentLater)
{
    CoProcessor::Confirm confirm;
    coProcessor.ConnectBus([&confirm](const Bytes&, const CoProcessor::Confirm& later) { confirm = later; });
    Send({Wire::Kind::Message, 0x100, {0x11, 0x00, 0xbc}});
    ASSERT_NE(events.Await(Event::TelegramToKnx, 0, Patience), 0U);
    coProcessor.ConnectBus({}); // waits for the call of the bus
    confirm(false);
    EXPECT_EQ(ReceiveMessage(0x100), (Bytes{0x2E, 0x00, 0xbd}));
}

TEST_F(CoProcessorTest, ATelegramIsLostWhileTheLineIsPulled)
{
    EXPECT_TRUE(coProcessor.SetPlugged(false));
    EXPECT_FALSE(coProcessor.SetPlugged(false));
    coProcessor.InjectTelegram({0x29, 0x00});
    EXPECT_TRUE(coProcessor.SetPlugged(true));
    const std::vector<Event> wanted{Event::LinkUp,
                                    Event::SerialLinePulled,
                                    {Event::TelegramFromKnx, Bytes{0x29, 0x00}},
                                    Event::TelegramLost,
                                    Event::SerialLinePluggedIn};
    EXPECT_TRUE(events.Events() == wanted) << events.Text();
}

} // namespace
