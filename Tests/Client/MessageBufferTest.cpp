#include "MessageBuffer.h"

#include "Description.h"
#include "Rejection.h"

#include <thread>

using namespace std::chrono_literals;
using OrvelClient::Failure;
using OrvelClient::Message;
using OrvelClient::MessageBuffer;
using OrvelClient::Status;

namespace
{

const auto Later = [] { return std::chrono::steady_clock::now() + 60s; };

Message Numbered(uint8_t number)
{
    Message message;
    message.frame = {0x29, number};
    message.time = std::chrono::microseconds(number);
    return message;
}

// The number of the next message.
int NextOf(MessageBuffer& buffer)
{
    const auto entry = buffer.Take(Later());
    return entry && entry->notice.empty() ? entry->message.frame.at(1) : -1;
}

std::string NoticeOf(MessageBuffer& buffer)
{
    const auto entry = buffer.Take(Later());
    return entry ? entry->notice : "nothing";
}

TEST(MessageBuffer, GivesMessagesInTheirOrder)
{
    MessageBuffer buffer(3);
    EXPECT_TRUE(buffer.IsEmpty());
    buffer.Put(Numbered(1));
    buffer.Put(Numbered(2));
    EXPECT_FALSE(buffer.IsEmpty());
    EXPECT_EQ(NextOf(buffer), 1);
    EXPECT_EQ(NextOf(buffer), 2);
    EXPECT_TRUE(buffer.IsEmpty());
    EXPECT_FALSE(buffer.HasEnded());
}

TEST(MessageBuffer, WaitsForAMessageOfAnotherThread)
{
    MessageBuffer buffer(3);
    std::thread other([&buffer] { buffer.Put(Numbered(1)); });
    EXPECT_EQ(NextOf(buffer), 1);
    other.join();
}

TEST(MessageBuffer, WaitsNoLongerThanItIsTold)
{
    MessageBuffer buffer(3);
    EXPECT_FALSE(buffer.Take(std::chrono::steady_clock::now() + 1ms));
    EXPECT_FALSE(buffer.HasEnded());
}

TEST(MessageBuffer, SaysInTheirPlaceHowManyHadNoRoom)
{
    MessageBuffer buffer(2);
    for (const int number : {1, 2, 3, 4, 5})
    {
        buffer.Put(Numbered(static_cast<uint8_t>(number)));
    }
    EXPECT_EQ(NextOf(buffer), 1);
    buffer.Put(Numbered(6));
    EXPECT_EQ(NextOf(buffer), 2);
    const auto dropped = buffer.Take(Later());
    EXPECT_EQ(Describe(dropped->message), "dropped 3");
    EXPECT_EQ(dropped->message.time, 6us);
    EXPECT_EQ(NextOf(buffer), 6);
}

TEST(MessageBuffer, SaysAtTheEndToo)
{
    MessageBuffer buffer(1);
    buffer.Put(Numbered(1));
    buffer.Put(Numbered(2));
    buffer.End(nullptr);
    EXPECT_FALSE(buffer.HasEnded());
    EXPECT_EQ(NextOf(buffer), 1);
    EXPECT_EQ(Describe(buffer.Take(Later())->message), "dropped 1");
    EXPECT_TRUE(buffer.HasEnded());
    EXPECT_FALSE(buffer.Take(Later()));
}

TEST(MessageBuffer, GivesNoticesInTheirPlaceWhateverRoomThereIs)
{
    MessageBuffer buffer(1);
    buffer.Put(Numbered(1));
    buffer.Put(Numbered(2));
    buffer.PutNotice("gone");
    buffer.PutNotice("there again");
    EXPECT_EQ(NextOf(buffer), 1);
    const auto dropped = buffer.Take(Later());
    EXPECT_EQ(Describe(dropped->message), "dropped 1");
    EXPECT_EQ(dropped->message.time, 2us);
    EXPECT_EQ(NoticeOf(buffer), "gone");
    EXPECT_EQ(NoticeOf(buffer), "there again");
    buffer.Put(Numbered(3));
    EXPECT_EQ(NextOf(buffer), 3);
}

TEST(MessageBuffer, GivesTheReasonOfItsEndBehindTheLastMessage)
{
    MessageBuffer buffer(1);
    buffer.Put(Numbered(1));
    buffer.End(std::make_exception_ptr(Failure(Status::NotAllowed, "reason")));
    EXPECT_TRUE(buffer.Take(Later()));
    EXPECT_REJECTED(buffer.Take(Later()), Status::NotAllowed, "reason");
}

} // namespace
