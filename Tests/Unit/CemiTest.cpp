#include "Cemi.h"

#include "Allocations.h"
#include "Applications.h"
#include "Await.h"
#include "ComponentTest.h"
#include "NoStandardInput.h"
#include "ScriptedPoll.h"
#include "VirtualSlots.h"
#include "Workers.h"

#include <fcntl.h>

#include <array>
#include <cstddef>
#include <memory>
#include <new>
#include <optional>
#include <type_traits>

namespace
{

using namespace UnitTests;

static_assert(!std::has_virtual_destructor_v<Nemt::ITopicListener>, "the library's interface has one slot only");

const std::string FromLl = "/cemiTestFromLl";
const std::string ToLl = "/cemiTestToLl";
constexpr uint16_t TopicCemi = 256;
constexpr short PollEvents = 0x83; // POLLIN, POLLPRI and POLLRDBAND

const Bytes LinkUsable{0x03, 0xB9, 0x00, 0x01};

Bytes Frame(std::size_t length)
{
    Bytes frame(length);
    for (std::size_t index = 0; index < length; ++index)
    {
        frame[index] = static_cast<uint8_t>(index + 0x11);
    }
    return frame;
}

Bytes Prefixed(uint8_t sizeByte, Bytes frame)
{
    frame.insert(frame.begin(), sizeByte);
    return frame;
}

// It is final, so that it may be destroyed without a virtual destructor.
class TestedCemi final : public OrvelDriver::Cemi
{
public:
    using OrvelDriver::Cemi::Cemi;
};

class Cemi : public ComponentTest
{
protected:
    ~Cemi() override
    {
        cemi.reset();
        Applications::RemoveQueue(FromLl);
        Applications::RemoveQueue(ToLl);
    }

    void Start()
    {
        cemi.emplace(ScriptedHub::Hub(), FromLl, ToLl);
    }

    // Waits until the worker listens on both sides, and discards what it has sent and logged so far.
    void StartCompletely()
    {
        Start();
        ASSERT_TRUE(hub.Await("RegisterTopicListener"));
        ASSERT_TRUE(polls.AwaitCalls(1));
        Applications::ReceiveAll(FromLl);
        log->Clear();
    }

    bool AwaitFailure() const
    {
        return Await([this] { return cemi->HasFailed(); });
    }

    // Sends a valid message after one that is dropped: once it is through, the worker is done with the first.
    void ExpectDropped(const Bytes& message, const std::string& line)
    {
        StartCompletely();
        Applications::Send(ToLl, message);
        Applications::Send(ToLl, {0x01, 0x77});
        EXPECT_TRUE(hub.Await("Transmit 256: 77"));
        EXPECT_EQ(hub.Texts(), (Texts{"RegisterTopicListener", "Transmit 256: 77"}));
        EXPECT_EQ(log->Failures(), Texts{line});
        EXPECT_FALSE(cemi->HasFailed());
    }

    ScriptedPoll polls;
    std::optional<TestedCemi> cemi;
};

TEST_F(Cemi, HasNoVirtualFunctionButTheListeners)
{
    EXPECT_EQ(VirtualSlots<OrvelDriver::Cemi>(), 1U);
}

// Start

TEST_F(Cemi, OpensAndRegistersNothingInItsConstructor)
{
    const HeldWorkers held;
    Start();
    EXPECT_EQ(Kernel::MqOpen.Calls(), 0);
    EXPECT_EQ(hub.Texts(), Texts{});
    EXPECT_EQ(log->Lines(), Texts{});
    EXPECT_FALSE(cemi->HasFailed());
    EXPECT_FALSE(Applications::Exists(FromLl));
    EXPECT_FALSE(Applications::Exists(ToLl));
}

TEST_F(Cemi, OpensTheQueueTowardsTheApplicationsFirstAndBothWithTheSameSize)
{
    struct Opening
    {
        std::string name;
        int flags;
        mode_t mode;
        long messageSize;
        long maxMessages;
    };
    std::vector<Opening> openings;
    Kernel::MqOpen.Replace(
        [&openings](const char* name, int flags, mode_t mode, mq_attr* attributes)
        {
            openings.push_back({name, flags, mode, attributes->mq_msgsize, attributes->mq_maxmsg});
            return Kernel::MqOpen.Real(name, flags, mode, attributes);
        });
    StartCompletely();
    ASSERT_EQ(openings.size(), 2U);
    EXPECT_EQ(openings[0].name, FromLl);
    EXPECT_EQ(openings[0].flags, O_CREAT | O_NONBLOCK | O_WRONLY);
    EXPECT_EQ(openings[1].name, ToLl);
    EXPECT_EQ(openings[1].flags, O_CREAT | O_NONBLOCK | O_RDONLY);
    for (const Opening& opening : openings)
    {
        EXPECT_EQ(opening.mode, 0644U);
        EXPECT_EQ(opening.messageSize, 261);
        EXPECT_EQ(opening.maxMessages, 14);
    }
}

TEST_F(Cemi, LogsItsStart)
{
    Start();
    ASSERT_TRUE(hub.Await("RegisterTopicListener"));
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Cemi Opened message queue /cemiTestFromLl successfully",
                                   "DEBUG Cemi Opened message queue /cemiTestToLl successfully",
                                   "DEBUG Cemi Sended cemi message with size 4 from LL to user message queue"}));
    EXPECT_FALSE(cemi->HasFailed());
}

TEST_F(Cemi, TellsTheApplicationsThatTheLinkIsUsableBeforeItRegisters)
{
    std::vector<Bytes> sent;
    hub.Observe(
        [&sent](const HubCall& call)
        {
            if (call.text == "RegisterTopicListener")
            {
                sent = Applications::ReceiveAll(FromLl);
            }
        });
    StartCompletely();
    EXPECT_EQ(sent, std::vector<Bytes>{LinkUsable});
}

TEST_F(Cemi, RegistersItselfOnItsWorker)
{
    StartCompletely();
    const HubCall call = hub.Calls().at(0);
    EXPECT_EQ(call.text, "RegisterTopicListener");
    EXPECT_EQ(call.listener, static_cast<Nemt::ITopicListener*>(&*cemi));
    EXPECT_NE(call.thread, std::this_thread::get_id());
}

TEST_F(Cemi, CallsTheHubThatItWasGiven)
{
    cemi.emplace(ScriptedHub::OtherHub(), FromLl, ToLl);
    ASSERT_TRUE(hub.Await("RegisterTopicListener"));
    Applications::Send(ToLl, {0x01, 0x77});
    ASSERT_TRUE(hub.Await("Transmit 256: 77"));
    cemi.reset();
    EXPECT_EQ(hub.CallsOf(ScriptedHub::OtherHub()), 3U);
}

TEST_F(Cemi, DiscardsWhatApplicationsLeftBeforeItStarted)
{
    Applications::CreateQueue(ToLl, 261, 14);
    Applications::Send(ToLl, {0x01, 0xAA});
    Applications::Send(ToLl, {0x01, 0xBB});
    StartCompletely();
    Applications::Send(ToLl, {0x01, 0xCC});
    EXPECT_TRUE(hub.Await("Transmit 256: cc"));
    EXPECT_EQ(hub.Texts(), (Texts{"RegisterTopicListener", "Transmit 256: cc"}));
}

TEST_F(Cemi, DiscardsBeforeItTellsThatTheLinkIsUsable)
{
    Applications::CreateQueue(ToLl, 261, 14);
    Applications::Send(ToLl, {0x01, 0xAA});
    std::optional<long> pending;
    Kernel::MqSend.Replace(
        [&pending](mqd_t queue, const char* data, std::size_t length, unsigned int priority)
        {
            pending = Applications::Pending(ToLl);
            return Kernel::MqSend.Real(queue, data, length, priority);
        });
    StartCompletely();
    EXPECT_EQ(pending, 0);
}

TEST_F(Cemi, CannotDiscardFromAQueueThatSomebodyCreatedWithLargerMessages)
{
    Applications::CreateQueue(ToLl, 262, 14);
    Applications::Send(ToLl, {0x01, 0xAA});
    Start();
    EXPECT_TRUE(hub.Await("Transmit 256: aa"));
}

TEST_F(Cemi, GoesOnWhenItCannotAskForMessagesToDiscard)
{
    Kernel::MqGetattr.FailAlways(EBADF);
    Start();
    EXPECT_TRUE(hub.Await("RegisterTopicListener"));
    EXPECT_EQ(log->Failures(), Texts{"ERROR Cemi Failed to get message queue attributes"});
    EXPECT_FALSE(cemi->HasFailed());
}

TEST_F(Cemi, HasAllThatItsWorkerUsesBeforeItStartsIt)
{
    // The memory is zeroed: used memory could still contain what the worker looks for.
    alignas(TestedCemi) static std::array<std::byte, sizeof(TestedCemi)> room;
    room.fill(std::byte{0});
    const PauseAfterThreadStart pause([this] { EXPECT_TRUE(polls.AwaitCalls(1)); });
    auto* const early = new (room.data()) TestedCemi(ScriptedHub::Hub(), FromLl, ToLl);
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Cemi Opened message queue /cemiTestFromLl successfully",
                                   "DEBUG Cemi Opened message queue /cemiTestToLl successfully",
                                   "DEBUG Cemi Sended cemi message with size 4 from LL to user message queue"}));
    EXPECT_FALSE(early->HasFailed());
    std::destroy_at(early);
}

TEST_F(Cemi, FailsWhenTheQueueTowardsTheApplicationsCannotBeOpened)
{
    Kernel::MqOpen.FailAt(1, EACCES);
    Start();
    EXPECT_TRUE(AwaitFailure());
    cemi.reset();
    EXPECT_EQ(log->Lines(), Texts{"ERROR Cemi Failed to open message queue /cemiTestFromLl"});
    EXPECT_EQ(Kernel::MqOpen.Calls(), 1);
    EXPECT_EQ(polls.Calls().size(), 0U); // the worker has ended
    EXPECT_EQ(hub.Texts(), Texts{"UnregisterTopicListener"});
    EXPECT_EQ(Kernel::MqClose.Calls(), 0);
    EXPECT_EQ(Kernel::MqUnlink.Calls(), 0);
}

TEST_F(Cemi, FailsWhenTheQueueFromTheApplicationsCannotBeOpened)
{
    Kernel::MqOpen.FailAt(2, EACCES);
    Start();
    EXPECT_TRUE(AwaitFailure());
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Cemi Opened message queue /cemiTestFromLl successfully",
                                   "ERROR Cemi Failed to open message queue /cemiTestToLl"}));
    EXPECT_EQ(Applications::ReceiveAll(FromLl), std::vector<Bytes>{});
}

TEST_F(Cemi, KeepsTheFirstQueueUntilItEndsWhenTheSecondCannotBeOpened)
{
    Kernel::MqOpen.FailAt(2, EACCES);
    Start();
    ASSERT_TRUE(AwaitFailure());
    EXPECT_TRUE(Applications::Exists(FromLl));
    EXPECT_EQ(Kernel::MqClose.Calls(), 0);
    cemi.reset();
    EXPECT_FALSE(Applications::Exists(FromLl));
    EXPECT_EQ(Kernel::MqClose.Calls(), 1);
    EXPECT_EQ(Kernel::MqUnlink.Calls(), 1);
    EXPECT_EQ(polls.Calls().size(), 0U);
    EXPECT_EQ(hub.Texts(), Texts{"UnregisterTopicListener"});
}

TEST_F(Cemi, ServesAndRemovesAQueueTowardsTheApplicationsWhoseDescriptorIsZero)
{
    const NoStandardInput closed;
    StartCompletely();
    EXPECT_NE(fcntl(0, F_GETFD), -1);
    EXPECT_FALSE(cemi->HasFailed());
    cemi.reset();
    EXPECT_FALSE(Applications::Exists(FromLl));
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

TEST_F(Cemi, ServesAndRemovesAQueueFromTheApplicationsWhoseDescriptorIsZero)
{
    std::optional<NoStandardInput> closed;
    Kernel::MqOpen.Replace(
        [&closed](const char* name, int flags, mode_t mode, mq_attr* attributes)
        {
            if (name == ToLl)
            {
                closed.emplace();
            }
            return Kernel::MqOpen.Real(name, flags, mode, attributes);
        });
    StartCompletely();
    EXPECT_NE(fcntl(0, F_GETFD), -1);
    EXPECT_FALSE(cemi->HasFailed());
    cemi.reset();
    EXPECT_FALSE(Applications::Exists(ToLl));
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

// From the applications to the link

TEST_F(Cemi, TransmitsTheBytesAfterTheSizeByte)
{
    StartCompletely();
    Applications::Send(ToLl, {0x02, 0xAA, 0xBB});
    EXPECT_TRUE(hub.Await("Transmit 256: aa bb"));
    EXPECT_TRUE(log->Await("DEBUG Cemi Enqueued 2 cemi bytes from message queue to LL"));
    EXPECT_EQ(log->Lines().size(), 1U);
    EXPECT_NE(hub.Calls().at(1).thread, std::this_thread::get_id());
}

TEST_F(Cemi, TransmitsMessagesInTheirOrder)
{
    StartCompletely();
    for (uint8_t number = 1; number <= 5; ++number)
    {
        Applications::Send(ToLl, {0x01, number});
    }
    EXPECT_TRUE(hub.Await("Transmit 256: 05"));
    EXPECT_EQ(hub.Texts(), (Texts{"RegisterTopicListener", "Transmit 256: 01", "Transmit 256: 02", "Transmit 256: 03",
                                  "Transmit 256: 04", "Transmit 256: 05"}));
}

TEST_F(Cemi, TransmitsTheLongestFrame)
{
    StartCompletely();
    Applications::Send(ToLl, Prefixed(255, Bytes(255, 0x5A)));
    std::string expected = "Transmit 256:";
    for (int index = 0; index < 255; ++index)
    {
        expected += " 5a";
    }
    EXPECT_TRUE(hub.Await(expected));
    EXPECT_TRUE(log->Await("DEBUG Cemi Enqueued 255 cemi bytes from message queue to LL"));
}

TEST_F(Cemi, DropsAMessageThatIsNothingButASizeByteOfZero)
{
    ExpectDropped({0x00}, "ERROR Cemi Received invalid cemi message with size byte 0 and message size 1, "
                          "dropping message");
}

TEST_F(Cemi, DropsAMessageWhoseSizeByteIsZero)
{
    ExpectDropped({0x00, 0xAA, 0xBB}, "ERROR Cemi Received invalid cemi message with size byte 0 and message size 3, "
                                      "dropping message");
}

TEST_F(Cemi, DropsAMessageWhoseSizeByteIsTooLarge)
{
    ExpectDropped({0x03, 0xAA, 0xBB}, "ERROR Cemi Received invalid cemi message with size byte 3 and message size 3, "
                                      "dropping message");
}

TEST_F(Cemi, DropsAMessageWhoseSizeByteIsTooSmall)
{
    ExpectDropped({0x01, 0xAA, 0xBB}, "ERROR Cemi Received invalid cemi message with size byte 1 and message size 3, "
                                      "dropping message");
}

TEST_F(Cemi, DropsAMessageWithASizeByteAbove127ThatDisagrees)
{
    ExpectDropped({0xFF, 0xAA}, "ERROR Cemi Received invalid cemi message with size byte 255 and message size 2, "
                                "dropping message");
}

TEST_F(Cemi, DropsEveryMessageThatIsLongerThanASizeByteCanTell)
{
    StartCompletely();
    for (std::size_t length = 257; length <= 261; ++length)
    {
        const std::size_t overflown = (length - 1) % 256;
        Applications::Send(ToLl, Prefixed(static_cast<uint8_t>(overflown), Frame(length - 1)));
        EXPECT_TRUE(log->Await("ERROR Cemi Received invalid cemi message with size byte " + std::to_string(overflown) +
                               " and message size " + std::to_string(length) + ", dropping message"));
    }
    EXPECT_EQ(hub.Texts(), Texts{"RegisterTopicListener"});
}

TEST_F(Cemi, ReportsAnEmptyMessageAsAFailedReadWithWhateverErrnoHolds)
{
    StartCompletely();
    Kernel::MqReceive.Replace(
        [](mqd_t queue, char* buffer, std::size_t size, unsigned int* priority)
        {
            const ssize_t length = Kernel::MqReceive.Real(queue, buffer, size, priority);
            errno = ENOENT;
            return length;
        });
    Applications::Send(ToLl, {});
    EXPECT_TRUE(log->Await("ERROR Cemi Failed to read from queue /cemiTestToLl: No such file or directory"));
    EXPECT_FALSE(cemi->HasFailed());
}

TEST_F(Cemi, TakesAnEmptyMessageForABadDescriptorWhenErrnoHappensToSaySo)
{
    StartCompletely();
    Kernel::MqReceive.Replace(
        [](mqd_t queue, char* buffer, std::size_t size, unsigned int* priority)
        {
            const ssize_t length = Kernel::MqReceive.Real(queue, buffer, size, priority);
            errno = EBADF;
            return length;
        });
    Applications::Send(ToLl, {});
    EXPECT_TRUE(log->Await("FATAL Cemi Queue to LL reports bad file descriptor."));
    EXPECT_TRUE(AwaitFailure());
}

TEST_F(Cemi, SkipsAMessageThatCannotBeRead)
{
    StartCompletely();
    log->LeaveErrno(EBADF); // the reason must be known before the line is logged
    Kernel::MqReceive.FailAt(1, EAGAIN);
    Applications::Send(ToLl, {0x01, 0x77});
    EXPECT_TRUE(hub.Await("Transmit 256: 77"));
    EXPECT_EQ(log->Failures(),
              Texts{"ERROR Cemi Failed to read from queue /cemiTestToLl: Resource temporarily unavailable"});
    EXPECT_FALSE(cemi->HasFailed());
}

TEST_F(Cemi, FailsWhenItsQueueReportsABadDescriptor)
{
    StartCompletely();
    log->LeaveErrno(0); // the reason must be known before the line is logged
    Kernel::MqReceive.FailAt(1, EBADF);
    Applications::Send(ToLl, {0x01, 0x77});
    EXPECT_TRUE(hub.Await("Transmit 256: 77"));
    EXPECT_EQ(log->Failures(), (Texts{"ERROR Cemi Failed to read from queue /cemiTestToLl: Bad file descriptor",
                                      "FATAL Cemi Queue to LL reports bad file descriptor."}));
    EXPECT_TRUE(cemi->HasFailed());
}

TEST_F(Cemi, FailsOnABadDescriptorAlsoWhenNothingIsLogged)
{
    StartCompletely();
    log4cplus::Logger::getInstance("Cemi").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Kernel::MqReceive.FailAt(1, EBADF);
    Applications::Send(ToLl, {0x01, 0x77});
    EXPECT_TRUE(hub.Await("Transmit 256: 77"));
    EXPECT_TRUE(cemi->HasFailed());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Cemi, KeepsReadingFromABadDescriptorUntilItEnds)
{
    StartCompletely();
    Kernel::MqReceive.FailAlways(EBADF);
    Applications::Send(ToLl, {0x01, 0x77}); // stays in the queue, so that poll returns at once
    EXPECT_TRUE(log->Await("ERROR Cemi Failed to read from queue /cemiTestToLl: Bad file descriptor", 3));
    EXPECT_TRUE(log->Await("FATAL Cemi Queue to LL reports bad file descriptor.", 3));
    cemi.reset();
    const int calls = Kernel::MqReceive.Calls();
    EXPECT_GE(calls, 3);
    EXPECT_EQ(log->Lines().size(), 2 * static_cast<std::size_t>(calls));
}

TEST_F(Cemi, DropsAMessageThatTheLinkRefusesWithoutTryingAgain)
{
    StartCompletely();
    hub.AnswerTransmit(false);
    Applications::Send(ToLl, {0x02, 0xAA, 0xBB});
    ASSERT_TRUE(log->Await("ERROR Cemi Failed to enqueue cemi message with size byte 2 for LL, dropping message"));
    hub.AnswerTransmit(true);
    Applications::Send(ToLl, {0x01, 0x77});
    EXPECT_TRUE(log->Await("DEBUG Cemi Enqueued 1 cemi bytes from message queue to LL"));
    EXPECT_EQ(hub.Texts(), (Texts{"RegisterTopicListener", "Transmit 256: aa bb", "Transmit 256: 77"}));
    EXPECT_EQ(log->Lines().size(), 2U);
    EXPECT_FALSE(cemi->HasFailed());
}

TEST_F(Cemi, PollsItsQueueForIncomingMessagesFourTimesASecond)
{
    mqd_t queue = -1;
    Kernel::MqOpen.Replace(
        [&queue](const char* name, int flags, mode_t mode, mq_attr* attributes)
        {
            queue = Kernel::MqOpen.Real(name, flags, mode, attributes); // the second call's remains
            return queue;
        });
    StartCompletely();
    const PollCall poll = polls.Calls().at(0);
    ASSERT_EQ(poll.set.size(), 1U);
    EXPECT_EQ(poll.set[0].fd, queue);
    EXPECT_EQ(poll.set[0].events, PollEvents);
    EXPECT_EQ(poll.timeout, 250);
}

TEST_F(Cemi, ReceivesOnlyWhenPollReportsSomething)
{
    polls.OnlyAnswer();
    StartCompletely();
    Kernel::MqReceive.Restore(); // counts from here
    Applications::Send(ToLl, {0x01, 0x77});
    EXPECT_TRUE(polls.Answer({}));
    EXPECT_TRUE(polls.Fail(EINTR));
    EXPECT_TRUE(polls.Fail(EBADF));
    ASSERT_TRUE(polls.AwaitCalls(polls.Calls().size() + 1)); // the worker is done with the failure
    EXPECT_EQ(Kernel::MqReceive.Calls(), 0);
    EXPECT_TRUE(polls.Answer({{0, POLLPRI}}));
    EXPECT_TRUE(hub.Await("Transmit 256: 77"));
    EXPECT_EQ(log->Failures(), Texts{});
    EXPECT_FALSE(cemi->HasFailed());
}

// The worker does not look at the events: only receiving shows that the descriptor is bad.
TEST_F(Cemi, FailsWhenPollReportsThatItsDescriptorIsBad)
{
    polls.OnlyAnswer();
    StartCompletely();
    Kernel::MqReceive.FailAlways(EBADF); // as on a descriptor that is closed
    EXPECT_TRUE(polls.Answer({{0, POLLNVAL}}));
    EXPECT_TRUE(log->Await("FATAL Cemi Queue to LL reports bad file descriptor."));
    EXPECT_TRUE(AwaitFailure());
    EXPECT_EQ(log->Failures(), (Texts{"ERROR Cemi Failed to read from queue /cemiTestToLl: Bad file descriptor",
                                      "FATAL Cemi Queue to LL reports bad file descriptor."}));
}

TEST_F(Cemi, ReceivesWhateverEventPollReports)
{
    polls.OnlyAnswer();
    StartCompletely();
    uint8_t number = 0x10;
    for (const short event : std::vector<short>{POLLIN, POLLPRI, POLLRDBAND, POLLERR, POLLHUP, POLLNVAL})
    {
        Applications::Send(ToLl, {0x01, ++number});
        EXPECT_TRUE(polls.Answer({{0, event}}));
        EXPECT_TRUE(hub.Await("Transmit 256: 1" + std::to_string(number - 0x10)));
    }
    EXPECT_EQ(log->Failures(), Texts{});
}

TEST_F(Cemi, AsksForNoMemoryOnItsWorker)
{
    log4cplus::Logger::getInstance("Cemi").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Applications::CreateQueue(ToLl, 261, 14);
    Applications::Send(ToLl, {0x01, 0xAA}); // stale
    StartCompletely();
    Applications::Send(ToLl, Prefixed(255, Frame(255)));
    Applications::Send(ToLl, {0x00});
    Applications::Send(ToLl, {0x01, 0x77});
    ASSERT_TRUE(hub.Await("Transmit 256: 77"));
    ASSERT_TRUE(polls.AwaitCalls(polls.Calls().size() + 1));
    EXPECT_EQ(polls.Calls().front().allocations, 0U);
    EXPECT_EQ(polls.Calls().back().allocations, 0U);
}

TEST_F(Cemi, ReceivesIntoABufferThatIsLargerThanAnyMessageAndIgnoresThePriority)
{
    StartCompletely();
    std::size_t bufferSize = 0;
    bool wantsPriority = true;
    Kernel::MqReceive.Replace(
        [&](mqd_t queue, char* buffer, std::size_t size, unsigned int* priority)
        {
            bufferSize = size;
            wantsPriority = priority != nullptr;
            return Kernel::MqReceive.Real(queue, buffer, size, priority);
        });
    Applications::Send(ToLl, {0x01, 0x77});
    ASSERT_TRUE(hub.Await("Transmit 256: 77"));
    EXPECT_EQ(bufferSize, 280U);
    EXPECT_FALSE(wantsPriority);
}

TEST_F(Cemi, DropsMessagesOfAQueueThatSomebodyCreatedWithLargerOnes)
{
    Applications::CreateQueue(ToLl, 280, 14);
    ExpectDropped(Prefixed(0x17, Frame(279)), "ERROR Cemi Received invalid cemi message with size byte 23 and message "
                                              "size 280, dropping message");
}

// From the link to the applications

TEST_F(Cemi, PutsTheSizeByteBeforeAFrame)
{
    StartCompletely();
    hub.Receive(TopicCemi, {0x29, 0x00, 0xBC});
    EXPECT_EQ(Applications::ReceiveAll(FromLl), (std::vector<Bytes>{{0x03, 0x29, 0x00, 0xBC}}));
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Cemi Sended cemi message with size 4 from LL to user message queue"});
}

TEST_F(Cemi, ForwardsFramesOfOneTo255BytesWithTheirSize)
{
    StartCompletely();
    for (const std::size_t length : std::vector<std::size_t>{1, 2, 127, 128, 254, 255})
    {
        hub.Receive(TopicCemi, Frame(length));
        EXPECT_EQ(Applications::ReceiveAll(FromLl),
                  std::vector<Bytes>{Prefixed(static_cast<uint8_t>(length), Frame(length))});
    }
}

// Readers use the length of the message, because the size byte ends at 255.
TEST_F(Cemi, LetsTheSizeByteOverflowForFramesOf256To260Bytes)
{
    StartCompletely();
    for (std::size_t length = 256; length <= 260; ++length)
    {
        hub.Receive(TopicCemi, Frame(length));
        EXPECT_EQ(Applications::ReceiveAll(FromLl),
                  std::vector<Bytes>{Prefixed(static_cast<uint8_t>(length - 256), Frame(length))});
    }
    EXPECT_EQ(log->Lines().back(), "DEBUG Cemi Sended cemi message with size 261 from LL to user message queue");
    EXPECT_EQ(log->Failures(), Texts{});
}

TEST_F(Cemi, IgnoresOtherLengthsAndTopicsSilently)
{
    StartCompletely();
    hub.Receive(TopicCemi, {});
    hub.Receive(TopicCemi, Frame(261));
    hub.Receive(TopicCemi, Frame(65535));
    for (const uint16_t topic : std::vector<uint16_t>{0, 1, 255, 257, 512, 65535})
    {
        hub.Receive(topic, {0x07, 0x01, 0x01});
    }
    EXPECT_EQ(Applications::ReceiveAll(FromLl), std::vector<Bytes>{});
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Cemi, SendsWithoutPriority)
{
    StartCompletely();
    std::vector<unsigned int> priorities;
    Kernel::MqSend.Replace(
        [&priorities](mqd_t queue, const char* data, std::size_t length, unsigned int priority)
        {
            priorities.push_back(priority);
            return Kernel::MqSend.Real(queue, data, length, priority);
        });
    hub.Receive(TopicCemi, {0x29});
    cemi->SendLinkState(1);
    EXPECT_EQ(priorities, (std::vector<unsigned int>{0, 0}));
}

TEST_F(Cemi, DropsFramesWhileTheApplicationsQueueIsFull)
{
    StartCompletely();
    log->LeaveErrno(EBADF); // the reason must be known before the line is logged
    std::vector<Bytes> expected;
    for (uint8_t number = 0; number < 14; ++number)
    {
        hub.Receive(TopicCemi, {number});
        expected.push_back({0x01, number});
    }
    EXPECT_EQ(log->Failures(), Texts{});
    hub.Receive(TopicCemi, {0x50});
    hub.Receive(TopicCemi, {0x51});
    const std::string line =
        "ERROR Cemi Failed to send cemi message from LL to user message queue: Resource temporarily unavailable";
    EXPECT_EQ(log->Failures(), (Texts{line, line}));
    EXPECT_FALSE(cemi->HasFailed());
    EXPECT_EQ(Applications::ReceiveAll(FromLl), expected);
    EXPECT_EQ(hub.Texts(), Texts{"RegisterTopicListener"}); // the link is not told
}

TEST_F(Cemi, FailsWhenTheApplicationsQueueReportsABadDescriptor)
{
    StartCompletely();
    log->LeaveErrno(0); // the reason must be known before the line is logged
    Kernel::MqSend.FailAt(1, EBADF);
    hub.Receive(TopicCemi, {0x29});
    EXPECT_EQ(log->Lines(),
              (Texts{"ERROR Cemi Failed to send cemi message from LL to user message queue: Bad file descriptor",
                     "FATAL Cemi Message queue /cemiTestFromLl reports bad file descriptor"}));
    EXPECT_TRUE(cemi->HasFailed());
    EXPECT_EQ(Kernel::MqSend.Calls(), 2); // the link state at the start, and this one once
}

TEST_F(Cemi, FailsOnABadDescriptorTowardsTheApplicationsAlsoWhenNothingIsLogged)
{
    StartCompletely();
    log4cplus::Logger::getInstance("Cemi").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Kernel::MqSend.FailAt(1, EBADF);
    hub.Receive(TopicCemi, {0x29});
    EXPECT_TRUE(cemi->HasFailed());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Cemi, StaysFailedWhenLaterMessagesSucceed)
{
    StartCompletely();
    Kernel::MqSend.FailAt(1, EBADF);
    hub.Receive(TopicCemi, {0x29});
    hub.Receive(TopicCemi, {0x30});
    EXPECT_EQ(Applications::ReceiveAll(FromLl), (std::vector<Bytes>{{0x01, 0x30}}));
    EXPECT_TRUE(cemi->HasFailed());
}

TEST_F(Cemi, SendsTheLinkStateWithItsHighByteFirst)
{
    StartCompletely();
    cemi->SendLinkState(0x0001);
    cemi->SendLinkState(0xFFFF);
    cemi->SendLinkState(0x12AB);
    EXPECT_EQ(Applications::ReceiveAll(FromLl),
              (std::vector<Bytes>{{0x03, 0xB9, 0x00, 0x01}, {0x03, 0xB9, 0xFF, 0xFF}, {0x03, 0xB9, 0x12, 0xAB}}));
    const std::string line = "DEBUG Cemi Sended cemi message with size 4 from LL to user message queue";
    EXPECT_EQ(log->Lines(), (Texts{line, line, line}));
}

TEST_F(Cemi, FailsWhenALinkStateIsSentBeforeItsQueuesAreOpen)
{
    {
        const HeldWorkers held;
        Start();
        cemi->SendLinkState(1);
        EXPECT_TRUE(cemi->HasFailed());
        EXPECT_EQ(log->Lines(),
                  (Texts{"ERROR Cemi Failed to send cemi message from LL to user message queue: Bad file descriptor",
                         "FATAL Cemi Message queue /cemiTestFromLl reports bad file descriptor"}));
    }
    EXPECT_TRUE(hub.Await("RegisterTopicListener")); // the worker starts as usual
    EXPECT_TRUE(cemi->HasFailed());
}

TEST_F(Cemi, SendsALinkStateToNoQueueAtAllBeforeItsOwnAreOpen)
{
    const HeldWorkers held;
    Start();
    const auto queue = std::make_shared<mqd_t>(0); // the worker sends too, when it is let go
    Kernel::MqSend.Replace(
        [queue](mqd_t to, const char* data, std::size_t length, unsigned int priority)
        {
            *queue = to;
            return Kernel::MqSend.Real(to, data, length, priority);
        });
    cemi->SendLinkState(1);
    EXPECT_EQ(*queue, -1);
}

TEST_F(Cemi, AsksForNoMemoryForWhatItSendsToTheApplications)
{
    StartCompletely();
    log4cplus::Logger::getInstance("Cemi").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    const Bytes frame = Frame(260);
    const std::size_t before = allocations;
    cemi->OnTopicData(TopicCemi, frame.data(), static_cast<uint16_t>(frame.size()));
    cemi->SendLinkState(1);
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(Applications::ReceiveAll(FromLl), (std::vector<Bytes>{Prefixed(4, frame), LinkUsable}));
}

TEST_F(Cemi, SendsFramesAndLinkStatesFromTwoThreadsAtOnce)
{
    StartCompletely();
    std::thread library(
        [this]
        {
            for (uint8_t number = 0; number < 7; ++number)
            {
                hub.Receive(TopicCemi, {number, number});
            }
        });
    for (int count = 0; count < 7; ++count)
    {
        cemi->SendLinkState(1);
    }
    library.join();
    std::vector<Bytes> frames;
    int linkStates = 0;
    for (const Bytes& message : Applications::ReceiveAll(FromLl))
    {
        if (message == LinkUsable)
        {
            ++linkStates;
        }
        else
        {
            frames.push_back(message);
        }
    }
    EXPECT_EQ(linkStates, 7);
    EXPECT_EQ(frames,
              (std::vector<Bytes>{{2, 0, 0}, {2, 1, 1}, {2, 2, 2}, {2, 3, 3}, {2, 4, 4}, {2, 5, 5}, {2, 6, 6}}));
}

TEST_F(Cemi, GivesItsLinesTheirFileAndFunction)
{
    StartCompletely();
    cemi->SendLinkState(1);
    EXPECT_EQ(log->Details().at(0).file, "Driver/OrvelDriver/Src/Cemi.cpp");
    EXPECT_NE(log->Details().at(0).function.find("OrvelDriver::Cemi::SendToUser("), std::string::npos);
}

TEST_F(Cemi, WorksTheSameBelowItsLoggersLevel)
{
    log4cplus::Logger::getInstance("Cemi").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    hub.AnswerTransmit(false);
    StartCompletely();
    Applications::Send(ToLl, {0x00});
    Applications::Send(ToLl, {0x02, 0xAA, 0xBB});
    EXPECT_TRUE(hub.Await("Transmit 256: aa bb"));
    hub.Receive(TopicCemi, {0x29});
    EXPECT_EQ(Applications::ReceiveAll(FromLl), (std::vector<Bytes>{{0x01, 0x29}}));
    EXPECT_FALSE(cemi->HasFailed());
    EXPECT_EQ(log->Lines(), Texts{});
}

// End

TEST_F(Cemi, UnregistersFirstAndThenClosesAndRemovesEachQueue)
{
    std::vector<std::pair<std::string, mqd_t>> opened;
    Kernel::MqOpen.Replace(
        [&opened](const char* name, int flags, mode_t mode, mq_attr* attributes)
        {
            opened.emplace_back(name, Kernel::MqOpen.Real(name, flags, mode, attributes));
            return opened.back().second;
        });
    StartCompletely();
    Texts steps;
    hub.Observe([&steps](const HubCall& call) { steps.push_back(call.text); });
    Kernel::MqClose.Replace(
        [&](mqd_t queue)
        {
            steps.push_back("close " + (queue == opened.at(0).second ? opened.at(0).first : opened.at(1).first));
            return Kernel::MqClose.Real(queue);
        });
    Kernel::MqUnlink.Replace(
        [&steps](const char* name)
        {
            steps.push_back(std::string("unlink ") + name);
            return Kernel::MqUnlink.Real(name);
        });
    cemi.reset();
    EXPECT_EQ(steps, (Texts{"UnregisterTopicListener", "close " + FromLl, "unlink " + FromLl, "close " + ToLl,
                            "unlink " + ToLl}));
    EXPECT_EQ(hub.Calls().back().listener, hub.Calls().front().listener);
}

TEST_F(Cemi, UnregistersWhileItsWorkerStillWorks)
{
    StartCompletely();
    bool worked = false;
    hub.Observe(
        [&](const HubCall& call)
        {
            if (call.text == "UnregisterTopicListener")
            {
                Applications::Send(ToLl, {0x01, 0x77});
                worked = hub.Await("Transmit 256: 77");
            }
        });
    cemi.reset();
    EXPECT_TRUE(worked);
}

TEST_F(Cemi, EndsItsWorkerBeforeItClosesAQueue)
{
    StartCompletely();
    std::size_t pollsAtClose = 0;
    Kernel::MqClose.Replace(
        [&](mqd_t queue)
        {
            // A worker that still runs would poll again within one of the test's short periods.
            pollsAtClose = polls.Calls().size();
            EXPECT_EQ(Kernel::Poll.Real(nullptr, 0, 50), 0);
            EXPECT_EQ(polls.Calls().size(), pollsAtClose);
            return Kernel::MqClose.Real(queue);
        });
    cemi.reset();
    EXPECT_GT(pollsAtClose, 0U);
}

TEST_F(Cemi, RemovesBothQueuesFromTheSystem)
{
    StartCompletely();
    EXPECT_TRUE(Applications::Exists(FromLl));
    EXPECT_TRUE(Applications::Exists(ToLl));
    cemi.reset();
    EXPECT_FALSE(Applications::Exists(FromLl));
    EXPECT_FALSE(Applications::Exists(ToLl));
}

TEST_F(Cemi, LogsNothingWhenItEnds)
{
    StartCompletely();
    cemi.reset();
    EXPECT_EQ(log->Lines(), Texts{});
}

} // namespace
