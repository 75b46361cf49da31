// The simulated co-processor, with the test as the driver at the other end of its line.

#include "CoProcessor.h"

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

constexpr std::chrono::milliseconds Patience{10'000};

const Bytes PressedSinceBoot{0x09, 0x01, 0x01};
const Bytes NotPressedSinceBoot{0x09, 0x01, 0x00};

class CoProcessorTest : public testing::Test
{
protected:
    CoProcessorTest()
    {
        Greet();
    }

    ~CoProcessorTest() override
    {
        close(driver);
    }

    void Reset()
    {
        const std::size_t before = events.Count();
        coProcessor.SetResetLine(false);
        coProcessor.SetResetLine(true);
        EXPECT_NE(events.Await(Event::CoProcessorBooted, before, Patience), 0U);
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

    Bytes AskForPressSinceBoot()
    {
        Send({Wire::Kind::Message, 0x101, {0x08, 0x01}});
        return ReceiveMessage();
    }

    Bytes ReceiveMessage()
    {
        const auto frame = Receive();
        EXPECT_TRUE(frame && frame->kind == Wire::Kind::Message && frame->topic == 0x101);
        return frame ? frame->payload : Bytes{};
    }

    EventLog events;
    SerialLine line;
    CoProcessor coProcessor{line, events};

private:
    void Send(const Wire::Frame& frame)
    {
        const Bytes bytes = Wire::Encode(frame);
        EXPECT_EQ(write(driver, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }

    // Nothing when nothing came in time.
    std::optional<Wire::Frame> Receive()
    {
        pollfd entry{driver, POLLIN, 0};
        while (frames.empty() && poll(&entry, 1, static_cast<int>(Patience.count())) == 1)
        {
            std::array<uint8_t, 256> buffer{};
            const ssize_t size = read(driver, buffer.data(), buffer.size());
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

    const int driver = open(line.Device().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    Wire::Decoder decoder;
    std::deque<Wire::Frame> frames;
    Bytes session{0, 1, 2, 3};
};

TEST_F(CoProcessorTest, KnowsOfNoPressAfterItsBoot)
{
    Reset();
    EXPECT_EQ(AskForPressSinceBoot(), NotPressedSinceBoot);
}

TEST_F(CoProcessorTest, RemembersAPressSinceItsBootAlsoWhenTheButtonWasReleased)
{
    Reset();
    coProcessor.SetButton(true);
    EXPECT_EQ(ReceiveMessage(), (Bytes{0x07, 0x01, 0x01}));
    coProcessor.SetButton(false);
    EXPECT_EQ(ReceiveMessage(), (Bytes{0x07, 0x01, 0x00}));
    EXPECT_EQ(AskForPressSinceBoot(), PressedSinceBoot);
}

TEST_F(CoProcessorTest, TakesAButtonThatIsHeldWhileItBootsForPressedSinceBoot)
{
    coProcessor.SetButton(true);
    EXPECT_EQ(ReceiveMessage(), (Bytes{0x07, 0x01, 0x01}));
    Reset();
    EXPECT_EQ(AskForPressSinceBoot(), PressedSinceBoot); // and nothing before it: the press is not reported again
    coProcessor.SetButton(false);
    EXPECT_EQ(ReceiveMessage(), (Bytes{0x07, 0x01, 0x00}));
    EXPECT_EQ(AskForPressSinceBoot(), PressedSinceBoot);
}

TEST_F(CoProcessorTest, TakesAButtonThatIsPressedWhileItIsHeldInResetForPressedSinceBoot)
{
    coProcessor.SetResetLine(false);
    coProcessor.SetButton(true);
    Reset();
    EXPECT_EQ(AskForPressSinceBoot(), PressedSinceBoot);
}

TEST_F(CoProcessorTest, ForgetsAPressThatWasOverBeforeItsReset)
{
    coProcessor.SetButton(true);
    EXPECT_EQ(ReceiveMessage(), (Bytes{0x07, 0x01, 0x01}));
    coProcessor.SetButton(false);
    EXPECT_EQ(ReceiveMessage(), (Bytes{0x07, 0x01, 0x00}));
    Reset();
    EXPECT_EQ(AskForPressSinceBoot(), NotPressedSinceBoot);
}

} // namespace
