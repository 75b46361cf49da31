#include "DaemonQueue.h"

#include "BenchKit/MadeQueue.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>

using namespace OrvelGateway;
using Result = DaemonQueue::Result;

namespace
{

constexpr const char* Name = "/cemiFromLL";

class DaemonQueueTest : public testing::Test
{
protected:
    void Make(long messageSize = 261)
    {
        made.emplace(Name, 2, messageSize);
    }

    void Remove()
    {
        made.reset();
    }

    static Result Receive(const DaemonQueue& queue)
    {
        std::array<uint8_t, 261> message{};
        std::size_t size = 0;
        return queue.Receive(message.data(), size);
    }

    std::optional<MadeQueue> made;
    DaemonQueue reader{Name, DaemonQueue::For::Reading, 261};
    DaemonQueue writer{Name, DaemonQueue::For::Writing, 261};
};

TEST_F(DaemonQueueTest, IsNotMade)
{
    EXPECT_EQ(reader.Open(), ENOENT);
    EXPECT_FALSE(reader.IsOpen());
    EXPECT_EQ(reader.Problem(ENOENT), "cannot open /cemiFromLL: No such file or directory");
}

TEST_F(DaemonQueueTest, MustHaveTheDaemonsSize)
{
    Make(260);
    EXPECT_EQ(reader.Open(), EMSGSIZE);
    EXPECT_FALSE(reader.IsOpen());
    EXPECT_EQ(reader.Problem(EMSGSIZE), "/cemiFromLL is not the daemon's: its messages are not of 261 bytes");
}

TEST_F(DaemonQueueTest, CarriesMessagesAndNeverWaits)
{
    Make();
    ASSERT_EQ(reader.Open(), 0);
    ASSERT_EQ(writer.Open(), 0);
    const std::array<uint8_t, 3> sent{2, 0xAA, 0xBB};
    EXPECT_EQ(writer.Send(sent.data(), sent.size()), Result::Done);
    EXPECT_EQ(writer.Send(sent.data(), 0), Result::Done);
    EXPECT_EQ(writer.Send(sent.data(), sent.size()), Result::NotNow);
    std::array<uint8_t, 261> message{};
    std::size_t size = 0;
    EXPECT_EQ(reader.Receive(message.data(), size), Result::Done);
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(std::memcmp(message.data(), sent.data(), 3), 0);
    EXPECT_EQ(reader.Receive(message.data(), size), Result::Done);
    EXPECT_EQ(size, 0U);
    EXPECT_EQ(reader.Receive(message.data(), size), Result::NotNow);
}

TEST_F(DaemonQueueTest, FailsIfItIsUsedTheOtherWay)
{
    Make();
    ASSERT_EQ(reader.Open(), 0);
    ASSERT_EQ(writer.Open(), 0);
    const uint8_t byte = 0;
    EXPECT_EQ(reader.Send(&byte, 1), Result::Failed);
    EXPECT_EQ(Receive(writer), Result::Failed);
}

TEST_F(DaemonQueueTest, KnowsWhenItWasRemoved)
{
    Make();
    ASSERT_EQ(reader.Open(), 0);
    EXPECT_FALSE(reader.IsRemoved());
    Remove();
    EXPECT_TRUE(reader.IsRemoved());
    Make();
    EXPECT_TRUE(reader.IsRemoved()); // the new one is another
    ASSERT_EQ(reader.Open(), 0);
    EXPECT_FALSE(reader.IsRemoved());
}

TEST_F(DaemonQueueTest, IsClaimedOnce)
{
    Make();
    DaemonQueue another(Name, DaemonQueue::For::Reading, 261);
    ASSERT_EQ(reader.Open(), 0);
    ASSERT_EQ(another.Open(), 0);
    EXPECT_TRUE(reader.Claim());
    EXPECT_FALSE(another.Claim());
    reader.Close();
    EXPECT_TRUE(another.Claim());
}

} // namespace
