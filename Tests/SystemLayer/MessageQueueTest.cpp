#include "System/MessageQueue.h"

#include "BenchKit/Await.h"

#include <gmock/gmock.h>

#include <poll.h>

#include <chrono>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

using System::MessageQueue;
using System::OwnMessageQueue;
using testing::Optional;
using testing::ThrowsMessage;
using namespace std::chrono_literals;

namespace
{

using For = MessageQueue::For;
using Message = MessageQueue::Message;

constexpr const char* Name = "/messages";

bool IsReadable(const MessageQueue& queue)
{
    pollfd entry{queue.Descriptor(), POLLIN, 0};
    return poll(&entry, 1, 0) == 1;
}

TEST(MessageQueue, HandsOverMessagesInOrderAndWhole)
{
    const OwnMessageQueue own(Name, For::Writing, 3, 16);
    const MessageQueue reader(Name, For::Reading);
    EXPECT_FALSE(IsReadable(reader));
    for (const Message& message : {Message{0x01, 0x00, 0xFF}, Message{}, Message(16, 0xAA)})
    {
        EXPECT_TRUE(own.Send(message));
    }
    EXPECT_EQ(reader.Pending(), 3);
    EXPECT_TRUE(IsReadable(reader));
    EXPECT_THAT(reader.Receive(), Optional(Message{0x01, 0x00, 0xFF}));
    EXPECT_THAT(reader.Receive(), Optional(Message{}));
    EXPECT_THAT(reader.Receive(), Optional(Message(16, 0xAA)));
}

TEST(MessageQueue, DoesNotWaitForRoomOrForAMessage)
{
    const OwnMessageQueue queue(Name, For::Both, 1, 1);
    EXPECT_EQ(queue.Receive(), std::nullopt);
    EXPECT_TRUE(queue.Send({0x01}));
    EXPECT_FALSE(queue.Send({0x02}));
    EXPECT_THAT(queue.Receive(), Optional(Message{0x01}));
}

TEST(MessageQueue, WaitsForAMessageIfThatIsWanted)
{
    const OwnMessageQueue queue(Name, For::Both, 1, 1);
    std::thread sender([&queue] { queue.Send({0x01}); });
    EXPECT_THAT(queue.ReceiveWithin(Patience), Optional(Message{0x01}));
    sender.join();
    EXPECT_EQ(queue.ReceiveWithin(1ms), std::nullopt);
}

TEST(MessageQueue, SaysHowMuchItHolds)
{
    const OwnMessageQueue own(Name, For::Writing, 3, 16);
    const MessageQueue queue(Name, For::Reading);
    EXPECT_EQ(queue.Capacity(), 3);
    EXPECT_EQ(queue.MessageSize(), 16);
}

TEST(MessageQueue, IsOfTheWholeMachineUntilItsOwnerRemovesIt)
{
    std::optional<OwnMessageQueue> own(std::in_place, Name, For::Writing, 1, 1);
    const std::optional<MessageQueue> held = MessageQueue::TryOpen(Name, For::Reading);
    ASSERT_TRUE(held);
    EXPECT_FALSE(held->IsRemoved());
    EXPECT_TRUE(own->Send({0x01}));
    own.reset();
    EXPECT_TRUE(held->IsRemoved());
    EXPECT_FALSE(MessageQueue::TryOpen(Name, For::Reading));
    EXPECT_THAT(held->Receive(), Optional(Message{0x01}));
}

TEST(MessageQueue, CanBeMoved)
{
    const OwnMessageQueue own(Name, For::Both, 1, 1);
    std::optional<MessageQueue> first(std::in_place, Name, For::Reading);
    const MessageQueue second = std::move(*first);
    first.reset();
    EXPECT_TRUE(own.Send({0x01}));
    EXPECT_THAT(second.Receive(), Optional(Message{0x01}));
}

TEST(MessageQueue, SaysWhatIsNotPossible)
{
    EXPECT_THAT([] { const MessageQueue queue(Name, For::Reading); },
                ThrowsMessage<std::system_error>("cannot open /messages: No such file or directory"));
    const OwnMessageQueue own(Name, For::Writing, 1, 1);
    EXPECT_THAT([] { const OwnMessageQueue second(Name, For::Writing, 1, 1); },
                ThrowsMessage<std::system_error>("cannot make the queue /messages: File exists"));
    EXPECT_THAT(
        [&] {
            own.Send({0x01, 0x02});
        },
        ThrowsMessage<std::system_error>("cannot write to /messages: Message too long"));
    EXPECT_THAT([&] { own.Receive(); },
                ThrowsMessage<std::system_error>("cannot read from /messages: Bad file descriptor"));
}

} // namespace
