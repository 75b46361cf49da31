#include "MessageQueue.h"

#include "Allocations.h"
#include "Applications.h"
#include "ComponentTest.h"
#include "NoStandardInput.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace
{

using namespace UnitTests;

const std::string Name = "/messageQueueTest";
constexpr bool Reading = true;
constexpr bool Writing = false;
constexpr mqd_t Invalid = -1;

// Sets the process's mask for new files while it exists.
class Mask
{
public:
    explicit Mask(mode_t mask)
        : previous(umask(mask))
    {
    }

    ~Mask()
    {
        umask(previous);
    }

    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;

private:
    mode_t previous;
};

mode_t Permissions(mqd_t queue)
{
    struct stat status = {};
    EXPECT_EQ(fstat(queue, &status), 0);
    return status.st_mode & 0777U;
}

class MessageQueue : public ComponentTest
{
protected:
    ~MessageQueue() override
    {
        for (const mqd_t queue : opened)
        {
            Kernel::MqClose.Real(queue);
        }
        Applications::RemoveQueue(Name);
    }

    mqd_t Create(int messageSize, int maxMessages, bool readOnly, log4cplus::Logger* to)
    {
        const mqd_t queue = OrvelDriver::MessageQueue::Create(Name, messageSize, maxMessages, readOnly, to);
        if (queue >= 0)
        {
            opened.push_back(queue);
        }
        return queue;
    }

    // Keeps the arguments of the last mq_open.
    void RecordOpen()
    {
        Kernel::MqOpen.Replace(
            [this](const char* name, int flags, mode_t mode, mq_attr* attributes)
            {
                openName = name;
                openFlags = flags;
                openMode = mode;
                openAttributes = *attributes;
                return Kernel::MqOpen.Real(name, flags, mode, attributes);
            });
    }

    static mq_attr Attributes(mqd_t queue)
    {
        mq_attr attributes{};
        EXPECT_EQ(Kernel::MqGetattr.Real(queue, &attributes), 0);
        return attributes;
    }

    log4cplus::Logger logger = log4cplus::Logger::getInstance("Owner");
    std::vector<mqd_t> opened;
    std::string openName;
    int openFlags = 0;
    mode_t openMode = 0;
    mq_attr openAttributes{};
};

TEST_F(MessageQueue, IsCreatedWithTheCallersAttributes)
{
    const mqd_t queue = Create(261, 14, Writing, nullptr);
    ASSERT_GE(queue, 0);
    EXPECT_EQ(Attributes(queue).mq_msgsize, 261);
    EXPECT_EQ(Attributes(queue).mq_maxmsg, 14);
    EXPECT_EQ(Attributes(queue).mq_curmsgs, 0);
}

TEST_F(MessageQueue, IsOpenedNonBlockingForWriting)
{
    RecordOpen();
    ASSERT_GE(Create(7, 3, Writing, nullptr), 0);
    EXPECT_EQ(openName, Name);
    EXPECT_EQ(openFlags, O_CREAT | O_NONBLOCK | O_WRONLY);
    EXPECT_EQ(openMode, 0644U);
}

TEST_F(MessageQueue, IsOpenedNonBlockingForReading)
{
    RecordOpen();
    ASSERT_GE(Create(7, 3, Reading, nullptr), 0);
    EXPECT_EQ(openFlags, O_CREAT | O_NONBLOCK | O_RDONLY);
    EXPECT_EQ(openMode, 0644U);
}

// The mask of the starting process decides who may use the daemon's queues.
TEST_F(MessageQueue, GetsThePermissionsThatTheProcesssMaskLeaves)
{
    const std::vector<std::pair<mode_t, mode_t>> expected{{0, 0644}, {022, 0644}, {027, 0640}, {0777, 0}};
    for (const auto& [given, left] : expected)
    {
        Applications::RemoveQueue(Name);
        const Mask mask(given);
        EXPECT_EQ(Permissions(Create(7, 3, Writing, nullptr)), left);
        EXPECT_EQ(umask(given), given); // is as it was
    }
}

TEST_F(MessageQueue, KeepsItsPermissionsWhenItExistsAlready)
{
    Applications::CreateQueue(Name, 7, 3); // its owner's alone
    EXPECT_EQ(Permissions(Create(7, 3, Writing, nullptr)), 0600U);
}

TEST_F(MessageQueue, IsAskedForWithNothingButSizeAndCapacity)
{
    RecordOpen();
    ASSERT_GE(Create(7, 3, Reading, nullptr), 0);
    EXPECT_EQ(openAttributes.mq_flags, 0);
    EXPECT_EQ(openAttributes.mq_maxmsg, 3);
    EXPECT_EQ(openAttributes.mq_msgsize, 7);
    EXPECT_EQ(openAttributes.mq_curmsgs, 0);
}

TEST_F(MessageQueue, LogsThatItWasOpened)
{
    ASSERT_GE(Create(7, 3, Writing, &logger), 0);
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Owner Opened message queue /messageQueueTest successfully"});
    EXPECT_EQ(log->Details().at(0).file, "Driver/OrvelDriver/Src/MessageQueue.cpp");
}

TEST_F(MessageQueue, LogsThatItWasOpenedAlsoWhenItsDescriptorIsZero)
{
    const NoStandardInput closed;
    EXPECT_EQ(OrvelDriver::MessageQueue::Create(Name, 7, 3, Writing, &logger), 0);
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Owner Opened message queue /messageQueueTest successfully"});
}

TEST_F(MessageQueue, LogsThatItCouldNotBeOpenedWithoutTheReason)
{
    Kernel::MqOpen.FailAt(1, EACCES);
    EXPECT_EQ(Create(7, 3, Writing, &logger), -1);
    EXPECT_EQ(log->Lines(), Texts{"ERROR Owner Failed to open message queue /messageQueueTest"});
}

TEST_F(MessageQueue, LogsNothingWithoutALogger)
{
    ASSERT_GE(Create(7, 3, Writing, nullptr), 0);
    Kernel::MqOpen.FailAt(1, EACCES);
    EXPECT_EQ(Create(7, 3, Writing, nullptr), -1);
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(MessageQueue, LogsNothingBelowTheLoggersLevel)
{
    logger.setLogLevel(log4cplus::OFF_LOG_LEVEL);
    ASSERT_GE(Create(7, 3, Writing, &logger), 0);
    Kernel::MqOpen.FailAt(1, EACCES);
    EXPECT_EQ(Create(7, 3, Writing, &logger), -1);
    OrvelDriver::MessageQueue::DeletePending(Invalid, 7, &logger);
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(MessageQueue, IsTriedOnceAndNotRemovedBeforehand)
{
    Kernel::MqOpen.FailAlways(EINTR);
    EXPECT_EQ(Create(7, 3, Writing, nullptr), -1);
    EXPECT_EQ(Kernel::MqOpen.Calls(), 1);
    EXPECT_EQ(Kernel::MqUnlink.Calls(), 0);
}

TEST_F(MessageQueue, KeepsItsAttributesAndMessagesWhenItExistsAlready)
{
    Applications::CreateQueue(Name, 20, 5);
    Applications::Send(Name, {1});
    const mqd_t queue = Create(261, 14, Reading, &logger);
    ASSERT_GE(queue, 0);
    EXPECT_EQ(Attributes(queue).mq_msgsize, 20);
    EXPECT_EQ(Attributes(queue).mq_maxmsg, 5);
    EXPECT_EQ(Attributes(queue).mq_curmsgs, 1);
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Owner Opened message queue /messageQueueTest successfully"});
}

TEST_F(MessageQueue, IsEmptyAfterItsPendingMessagesWereDeleted)
{
    const mqd_t queue = Create(8, 5, Reading, nullptr);
    Applications::Send(Name, {1, 2, 3, 4, 5, 6, 7, 8});
    Applications::Send(Name, {});
    Applications::Send(Name, {9});
    OrvelDriver::MessageQueue::DeletePending(queue, 8, &logger);
    EXPECT_EQ(Applications::Pending(Name), 0);
    EXPECT_EQ(Kernel::MqReceive.Calls(), 3);
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(MessageQueue, KeepsMessagesThatArriveWhileTheOthersAreDeleted)
{
    const mqd_t queue = Create(8, 5, Reading, nullptr);
    Applications::Send(Name, {1});
    Applications::Send(Name, {2});
    Kernel::MqReceive.Replace(
        [](mqd_t from, char* buffer, std::size_t size, unsigned int* priority)
        {
            Applications::Send(Name, {7});
            return Kernel::MqReceive.Real(from, buffer, size, priority);
        });
    OrvelDriver::MessageQueue::DeletePending(queue, 8, nullptr);
    EXPECT_EQ(Applications::ReceiveAll(Name), (std::vector<Bytes>{{7}, {7}}));
}

TEST_F(MessageQueue, IsReceivedFromAsOftenAsItHadMessagesHoweverManyTheKernelAllows)
{
    constexpr long Largest = 65536;
    Kernel::MqGetattr.Replace(
        [](mqd_t /*queue*/, mq_attr* attributes)
        {
            attributes->mq_curmsgs = Largest;
            return 0;
        });
    const mqd_t queue = Create(8, 5, Reading, nullptr);
    OrvelDriver::MessageQueue::DeletePending(queue, 8, nullptr);
    EXPECT_EQ(Kernel::MqReceive.Calls(), Largest);
}

TEST_F(MessageQueue, IsEmptiedWithoutAskingForMemory)
{
    const mqd_t queue = Create(261, 5, Reading, nullptr);
    Applications::Send(Name, {1});
    Applications::Send(Name, {2});
    const std::size_t before = allocations;
    OrvelDriver::MessageQueue::DeletePending(queue, 261, nullptr);
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(Applications::Pending(Name), 0);
}

TEST_F(MessageQueue, IsReceivedFromIntoTheCallersSizeAndWithoutPriority)
{
    const mqd_t queue = Create(8, 5, Reading, nullptr);
    Applications::Send(Name, {1});
    Kernel::MqReceive.Replace(
        [queue](mqd_t from, char* buffer, std::size_t size, unsigned int* priority)
        {
            EXPECT_EQ(from, queue);
            EXPECT_EQ(size, 30U);
            EXPECT_EQ(priority, nullptr);
            return Kernel::MqReceive.Real(from, buffer, size, priority);
        });
    OrvelDriver::MessageQueue::DeletePending(queue, 30, nullptr);
    EXPECT_EQ(Kernel::MqReceive.Calls(), 1);
}

TEST_F(MessageQueue, IsNotReceivedFromWhenItIsEmpty)
{
    const mqd_t queue = Create(8, 5, Reading, nullptr);
    OrvelDriver::MessageQueue::DeletePending(queue, 8, &logger);
    EXPECT_EQ(Kernel::MqReceive.Calls(), 0);
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(MessageQueue, KeepsAllMessagesSilentlyWhenTheyMayBeLargerThanTheBuffer)
{
    Applications::CreateQueue(Name, 9, 5);
    const mqd_t queue = Create(8, 5, Reading, nullptr);
    Applications::Send(Name, {1});
    Applications::Send(Name, {2});
    OrvelDriver::MessageQueue::DeletePending(queue, 8, &logger);
    EXPECT_EQ(Applications::Pending(Name), 2);
    EXPECT_EQ(Kernel::MqReceive.Calls(), 2);
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(MessageQueue, LogsThatItsAttributesCannotBeReadAndReceivesNothing)
{
    OrvelDriver::MessageQueue::DeletePending(Invalid, 8, &logger);
    EXPECT_EQ(log->Lines(), Texts{"ERROR Owner Failed to get message queue attributes"});
    EXPECT_EQ(Kernel::MqReceive.Calls(), 0);
}

TEST_F(MessageQueue, DoesNotNeedALoggerWhenItsAttributesCannotBeRead)
{
    OrvelDriver::MessageQueue::DeletePending(Invalid, 8, nullptr);
    EXPECT_EQ(log->Lines(), Texts{});
    EXPECT_EQ(Kernel::MqReceive.Calls(), 0);
}

} // namespace
