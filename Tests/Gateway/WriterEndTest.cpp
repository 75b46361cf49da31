#include "WriterEnd.h"

#include "System/MessageQueue.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

using namespace OrvelGateway;

namespace
{

constexpr const char* Name = "/written";

class WriterEndTest : public testing::Test
{
protected:
    static System::Descriptor Open(int access)
    {
        return System::Descriptor(mq_open(Name, access | O_CLOEXEC));
    }

    bool IsReadable() const
    {
        pollfd entry{end.Descriptor(), POLLIN, 0};
        return poll(&entry, 1, 0) == 1;
    }

    const System::OwnMessageQueue made{Name, System::MessageQueue::For::Reading, 2, 8, 0600};
    const System::Descriptor queue = Open(O_RDONLY);
    WriterEnd end;
};

TEST_F(WriterEndTest, IsNoticedWhenTheQueueIsClosed)
{
    System::Descriptor writer = Open(O_WRONLY);
    ASSERT_EQ(end.Watch(queue.Number()), 0);
    EXPECT_FALSE(IsReadable());
    EXPECT_FALSE(end.Take());
    writer.Close();
    EXPECT_TRUE(IsReadable());
    EXPECT_TRUE(end.Take());
    EXPECT_FALSE(IsReadable());
    EXPECT_FALSE(end.Take());
}

TEST_F(WriterEndTest, IsNoticedWhenTheProcessEnds)
{
    ASSERT_EQ(end.Watch(queue.Number()), 0);
    const pid_t child = fork();
    if (child == 0)
    {
        const System::Descriptor writer = Open(O_WRONLY);
        std::raise(SIGKILL);
    }
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
    EXPECT_TRUE(end.Take());
}

TEST_F(WriterEndTest, IsNotThatOfAReader)
{
    ASSERT_EQ(end.Watch(queue.Number()), 0);
    Open(O_RDONLY).Close();
    EXPECT_FALSE(end.Take());
}

TEST_F(WriterEndTest, IsNotLookedForAnyMoreOnceItIsClosed)
{
    ASSERT_EQ(end.Watch(queue.Number()), 0);
    end.Close();
    Open(O_WRONLY).Close();
    EXPECT_EQ(end.Descriptor(), -1);
    EXPECT_FALSE(end.Take());
}

TEST_F(WriterEndTest, CannotBeNoticedOfWhatIsNoQueue)
{
    EXPECT_EQ(end.Watch(-1), ENOENT);
    EXPECT_EQ(end.Descriptor(), -1);
}

} // namespace
