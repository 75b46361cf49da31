#include "Buttons.h"

#include "Applications.h"
#include "Await.h"
#include "ComponentTest.h"
#include "NoStandardInput.h"
#include "VirtualSlots.h"

#include <fcntl.h>

#include <map>
#include <optional>

namespace
{

using namespace UnitTests;

const std::string First = "/buttonsTestFirst";
const std::string Second = "/buttonsTestSecond";
const std::string Unopenable = "/buttons/test"; // a queue's name has no second slash
constexpr uint16_t TopicDevice = 257;

const Bytes Pressed{0x00}; // inverted
const Bytes Released{0x01};

// It is final, so that it may be destroyed without a virtual destructor.
class TestedButtons final : public OrvelDriver::Buttons
{
public:
    using OrvelDriver::Buttons::Buttons;
};

class Buttons : public ComponentTest
{
protected:
    ~Buttons() override
    {
        buttons.reset();
        Applications::RemoveQueue(First);
        Applications::RemoveQueue(Second);
    }

    void Start(std::vector<std::string> names)
    {
        buttons.emplace(ScriptedHub::Hub(), std::move(names));
    }

    // Has one queue. Discards what was logged so far.
    void StartWithFirst()
    {
        Start({First});
        log->Clear();
    }

    // From now on `opened` records the name of each queue.
    void NoteOpenedQueues()
    {
        Kernel::MqOpen.Replace(
            [this](const char* name, int flags, mode_t mode, mq_attr* attributes)
            {
                const mqd_t queue = Kernel::MqOpen.Real(name, flags, mode, attributes);
                opened[queue] = name;
                return queue;
            });
    }

    std::map<mqd_t, std::string> opened;
    std::optional<TestedButtons> buttons;
};

TEST_F(Buttons, HasNoVirtualFunctionButTheListeners)
{
    EXPECT_EQ(VirtualSlots<OrvelDriver::Buttons>(), 1U);
}

// Start

TEST_F(Buttons, AsksForAPressSinceBootAndOnlyThenRegisters)
{
    Start({First});
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 08 01", "RegisterTopicListener"}));
    EXPECT_EQ(hub.Calls().at(1).listener, static_cast<Nemt::ITopicListener*>(&*buttons));
    EXPECT_EQ(hub.Calls().at(0).thread, std::this_thread::get_id());
    EXPECT_FALSE(buttons->HasFailed());
}

TEST_F(Buttons, CallsTheHubThatItWasGiven)
{
    buttons.emplace(ScriptedHub::OtherHub(), std::vector<std::string>{});
    buttons.reset();
    EXPECT_EQ(hub.CallsOf(ScriptedHub::OtherHub()), 3U);
}

TEST_F(Buttons, OpensItsQueuesBeforeItAsks)
{
    bool existed = false;
    hub.Observe(
        [&existed](const HubCall& call)
        {
            if (call.text == "Transmit 257: 08 01")
            {
                existed = Applications::Exists(First) && Applications::Exists(Second);
            }
        });
    Start({First, Second});
    EXPECT_TRUE(existed);
}

TEST_F(Buttons, OpensEachQueueInOrderForWritingSixMessagesOfOneByte)
{
    Texts names;
    Kernel::MqOpen.Replace(
        [&names](const char* name, int flags, mode_t mode, mq_attr* attributes)
        {
            names.emplace_back(name);
            EXPECT_EQ(flags, O_CREAT | O_NONBLOCK | O_WRONLY);
            EXPECT_EQ(mode, 0644U);
            EXPECT_EQ(attributes->mq_msgsize, 1);
            EXPECT_EQ(attributes->mq_maxmsg, 6);
            return Kernel::MqOpen.Real(name, flags, mode, attributes);
        });
    Start({Second, First});
    EXPECT_EQ(names, (Texts{Second, First}));
}

TEST_F(Buttons, LogsEachQueueThatItOpens)
{
    Start({First, Second});
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Buttons Opened message queue /buttonsTestFirst successfully",
                                   "DEBUG Buttons Opened message queue /buttonsTestSecond successfully"}));
}

TEST_F(Buttons, AsksAlsoWithoutAnyQueue)
{
    Start({});
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 08 01", "RegisterTopicListener"}));
    EXPECT_FALSE(buttons->HasFailed());
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Buttons Programming button state changed to: pressed"});
}

TEST_F(Buttons, GoesOnWhenTheLinkRefusesItsQuestion)
{
    hub.AnswerTransmit(false);
    Start({First});
    EXPECT_EQ(log->Failures(),
              Texts{"ERROR Buttons Failed to enqueue request for programming button pressed since boot"});
    EXPECT_EQ(hub.Texts(), (Texts{"Transmit 257: 08 01", "RegisterTopicListener"}));
    EXPECT_FALSE(buttons->HasFailed());
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Pressed});
}

TEST_F(Buttons, FailsAndDoesNotAskButRegistersWhenAQueueCannotBeOpened)
{
    Start({Unopenable});
    EXPECT_TRUE(buttons->HasFailed());
    EXPECT_EQ(hub.Texts(), Texts{"RegisterTopicListener"});
    EXPECT_EQ(log->Lines(), Texts{"ERROR Buttons Failed to open message queue /buttons/test"});
}

TEST_F(Buttons, OpensTheOtherQueuesWhenOneCannotBeOpened)
{
    Start({First, Unopenable, Second});
    EXPECT_TRUE(buttons->HasFailed());
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Buttons Opened message queue /buttonsTestFirst successfully",
                                   "ERROR Buttons Failed to open message queue /buttons/test",
                                   "DEBUG Buttons Opened message queue /buttonsTestSecond successfully"}));
    EXPECT_EQ(hub.Texts(), Texts{"RegisterTopicListener"});
}

TEST_F(Buttons, ServesTheQueuesThatDidOpenAndReportsTheOneThatDidNot)
{
    Start({Unopenable, First});
    log->Clear();
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Pressed});
    EXPECT_EQ(Kernel::MqSend.Calls(), 2); // the queue that never opened is not skipped
    EXPECT_EQ(log->Failures(), Texts{"ERROR Buttons Failed to write programming button state to queue /buttons/test: "
                                     "Bad file descriptor"});
}

TEST_F(Buttons, RepeatsItsQuestionAndReturnsWhetherTheLinkTookIt)
{
    StartWithFirst();
    EXPECT_TRUE(buttons->RequestPressedSinceBoot());
    hub.AnswerTransmit(false);
    EXPECT_FALSE(buttons->RequestPressedSinceBoot());
    EXPECT_EQ(hub.Texts(),
              (Texts{"Transmit 257: 08 01", "RegisterTopicListener", "Transmit 257: 08 01", "Transmit 257: 08 01"}));
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Buttons, ServesAndRemovesAQueueWhoseDescriptorIsZero)
{
    const NoStandardInput closed;
    Start({First});
    EXPECT_NE(fcntl(0, F_GETFD), -1);
    EXPECT_FALSE(buttons->HasFailed());
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Pressed});
    buttons.reset();
    EXPECT_FALSE(Applications::Exists(First));
    EXPECT_EQ(fcntl(0, F_GETFD), -1);
}

// Events

TEST_F(Buttons, SendsOneInvertedByteToEveryQueueWhenTheButtonIsPressed)
{
    Start({First, Second});
    log->Clear();
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Pressed});
    EXPECT_EQ(Applications::ReceiveAll(Second), std::vector<Bytes>{Pressed});
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Buttons Programming button state changed to: pressed"});
}

TEST_F(Buttons, SendsOneInvertedByteToEveryQueueWhenTheButtonIsReleased)
{
    Start({First, Second});
    log->Clear();
    hub.Receive(TopicDevice, {0x07, 0x01, 0x00});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Released});
    EXPECT_EQ(Applications::ReceiveAll(Second), std::vector<Bytes>{Released});
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Buttons Programming button state changed to: released"});
}

TEST_F(Buttons, TakesEveryStateButZeroForPressed)
{
    StartWithFirst();
    for (const uint8_t state : Bytes{0x02, 0x7F, 0x80, 0xFF})
    {
        hub.Receive(TopicDevice, {0x07, 0x01, state});
        EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Pressed});
    }
}

// The repetition tells applications that the press was made before the daemon ran.
TEST_F(Buttons, SendsAPressSinceBootThreeTimesToEveryQueue)
{
    Start({First, Second});
    log->Clear();
    hub.Receive(TopicDevice, {0x09, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), (std::vector<Bytes>{Pressed, Pressed, Pressed}));
    EXPECT_EQ(Applications::ReceiveAll(Second), (std::vector<Bytes>{Pressed, Pressed, Pressed}));
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Buttons Programming button since boot was: pressed"});
}

TEST_F(Buttons, SendsAPressSinceBootInThreeRoundsOverItsQueues)
{
    NoteOpenedQueues();
    Start({First, Second});
    Texts sent;
    Kernel::MqSend.Replace(
        [&](mqd_t queue, const char* data, std::size_t length, unsigned int priority)
        {
            sent.push_back(opened.at(queue));
            return Kernel::MqSend.Real(queue, data, length, priority);
        });
    hub.Receive(TopicDevice, {0x09, 0x01, 0x01});
    EXPECT_EQ(sent, (Texts{First, Second, First, Second, First, Second}));
}

TEST_F(Buttons, LogsAPressSinceBootBeforeItSends)
{
    Start({Unopenable});
    log->Clear();
    hub.Receive(TopicDevice, {0x09, 0x01, 0x01});
    const std::string line = "ERROR Buttons Failed to write programming button state to queue /buttons/test: "
                             "Bad file descriptor";
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Buttons Programming button since boot was: pressed", line, line, line}));
}

TEST_F(Buttons, TakesEveryAnswerButZeroForAPressSinceBoot)
{
    StartWithFirst();
    hub.Receive(TopicDevice, {0x09, 0x01, 0xFF});
    EXPECT_EQ(Applications::ReceiveAll(First), (std::vector<Bytes>{Pressed, Pressed, Pressed}));
}

TEST_F(Buttons, SendsNothingWhenTheButtonWasNotPressedSinceBoot)
{
    StartWithFirst();
    hub.Receive(TopicDevice, {0x09, 0x01, 0x00});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{});
    EXPECT_EQ(log->Lines(), Texts{"DEBUG Buttons Programming button since boot was: released"});
}

TEST_F(Buttons, IgnoresEverythingElseSilently)
{
    StartWithFirst();
    const std::vector<Bytes> others{
        {},                       // no byte at all
        {0x07},                   // too short
        {0x07, 0x01},             //
        {0x09},                   //
        {0x09, 0x01},             //
        {0x07, 0x01, 0x01, 0x00}, // too long
        {0x09, 0x01, 0x01, 0x00}, //
        {0x07, 0x02, 0x01},       // another button
        {0x07, 0x00, 0x01},       //
        {0x09, 0x02, 0x01},       //
        {0x02, 0x01, 0x01},       // an LED
        {0x0E, 0x01, 0x01},       // the RS485 termination
        {0x08, 0x01, 0x01},       // the daemon's own question
        {0x00, 0x01, 0x01},       // unknown
        {0xFF, 0x01, 0x01},       //
    };
    for (const Bytes& message : others)
    {
        hub.Receive(TopicDevice, message);
    }
    for (const uint16_t topic : std::vector<uint16_t>{0, 1, 256, 258, 65535})
    {
        hub.Receive(topic, {0x07, 0x01, 0x01});
        hub.Receive(topic, {0x09, 0x01, 0x01});
    }
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{});
    EXPECT_EQ(log->Lines(), Texts{});
    EXPECT_FALSE(buttons->HasFailed());
}

TEST_F(Buttons, SendsAStateWhenAskedDirectly)
{
    StartWithFirst();
    buttons->EnqueueProgButtonState(true);
    buttons->EnqueueProgButtonState(false);
    EXPECT_EQ(Applications::ReceiveAll(First), (std::vector<Bytes>{Pressed, Released}));
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Buttons, SendsWithoutPriority)
{
    StartWithFirst();
    Kernel::MqSend.Replace(
        [](mqd_t queue, const char* data, std::size_t length, unsigned int priority)
        {
            EXPECT_EQ(length, 1U);
            EXPECT_EQ(priority, 0U);
            return Kernel::MqSend.Real(queue, data, length, priority);
        });
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Kernel::MqSend.Calls(), 1);
}

// Failing sends

TEST_F(Buttons, ReachesTheSecondQueueWhenTheFirstFails)
{
    Start({First, Second});
    Kernel::MqSend.FailAt(1, EIO);
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{});
    EXPECT_EQ(Applications::ReceiveAll(Second), std::vector<Bytes>{Pressed});
    EXPECT_EQ(log->Failures(), Texts{"ERROR Buttons Failed to write programming button state to queue "
                                     "/buttonsTestFirst: Input/output error"});
    EXPECT_FALSE(buttons->HasFailed());
}

TEST_F(Buttons, ReachesTheSecondQueueWhenTheFirstIsFull)
{
    Start({First, Second});
    for (int count = 0; count < 6; ++count)
    {
        Applications::Send(First, Released);
    }
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>(6, Released));
    EXPECT_EQ(Applications::ReceiveAll(Second), std::vector<Bytes>{Pressed});
    EXPECT_EQ(log->Failures(), Texts{"ERROR Buttons Failed to write programming button state to queue "
                                     "/buttonsTestFirst: Resource temporarily unavailable"});
}

TEST_F(Buttons, DropsEventsWhileAQueueIsFull)
{
    StartWithFirst();
    for (int count = 0; count < 6; ++count)
    {
        hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    }
    EXPECT_EQ(log->Failures(), Texts{});
    log->LeaveErrno(EBADFD); // the reason must be known before the line is logged
    hub.Receive(TopicDevice, {0x07, 0x01, 0x00});
    EXPECT_EQ(log->Failures(), Texts{"ERROR Buttons Failed to write programming button state to queue "
                                     "/buttonsTestFirst: Resource temporarily unavailable"});
    EXPECT_FALSE(buttons->HasFailed());
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>(6, Pressed));
}

// The flag is set for EBADFD although the text of the line names EBADF.
TEST_F(Buttons, FailsWhenAQueueReportsABrokenDescriptor)
{
    Start({First, Second});
    log->Clear();
    log->LeaveErrno(0); // the reason must be known before the line is logged
    Kernel::MqSend.FailAt(1, EBADFD);
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_TRUE(buttons->HasFailed());
    EXPECT_EQ(log->Lines(), (Texts{"DEBUG Buttons Programming button state changed to: pressed",
                                   "ERROR Buttons Failed to write programming button state to queue "
                                   "/buttonsTestFirst: File descriptor in bad state",
                                   "FATAL Buttons File handle for programming button queue is broken (EBADF)"}));
    EXPECT_EQ(Applications::ReceiveAll(Second), std::vector<Bytes>{Pressed});
}

TEST_F(Buttons, FailsOnABrokenDescriptorAlsoWhenNothingIsLogged)
{
    StartWithFirst();
    log4cplus::Logger::getInstance("Buttons").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    Kernel::MqSend.FailAt(1, EBADFD);
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_TRUE(buttons->HasFailed());
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Buttons, DoesNotFailWhenAQueueReportsABadDescriptor)
{
    StartWithFirst();
    Kernel::MqSend.FailAt(1, EBADF);
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_FALSE(buttons->HasFailed());
    EXPECT_EQ(log->Failures(), Texts{"ERROR Buttons Failed to write programming button state to queue "
                                     "/buttonsTestFirst: Bad file descriptor"});
}

TEST_F(Buttons, StaysFailedWhenLaterSendsSucceed)
{
    StartWithFirst();
    Kernel::MqSend.FailAt(1, EBADFD);
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    hub.Receive(TopicDevice, {0x07, 0x01, 0x00});
    EXPECT_EQ(Applications::ReceiveAll(First), std::vector<Bytes>{Released});
    EXPECT_TRUE(buttons->HasFailed());
}

TEST_F(Buttons, WorksTheSameBelowItsLoggersLevel)
{
    log4cplus::Logger::getInstance("Buttons").setLogLevel(log4cplus::OFF_LOG_LEVEL);
    hub.AnswerTransmit(false);
    Start({First});
    hub.Receive(TopicDevice, {0x07, 0x01, 0x00});
    hub.Receive(TopicDevice, {0x09, 0x01, 0x01});
    EXPECT_EQ(Applications::ReceiveAll(First), (std::vector<Bytes>{Released, Pressed, Pressed, Pressed}));
    EXPECT_EQ(log->Lines(), Texts{});
}

TEST_F(Buttons, ShowsAFailureOnTheLibrarysThreadToTheMainThread)
{
    StartWithFirst();
    Kernel::MqSend.FailAt(1, EBADFD);
    std::thread library([this] { hub.Receive(TopicDevice, {0x07, 0x01, 0x01}); });
    EXPECT_TRUE(Await([this] { return buttons->HasFailed(); })); // polled, as the main thread does it
    library.join();
}

TEST_F(Buttons, GivesItsLinesTheirFileAndFunction)
{
    StartWithFirst();
    hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
    EXPECT_EQ(log->Details().at(0).file, "Driver/OrvelDriver/Src/Buttons.cpp");
    EXPECT_NE(log->Details().at(0).function.find("OrvelDriver::Buttons::OnTopicData("), std::string::npos);
}

// End

TEST_F(Buttons, UnregistersFirstAndThenClosesAndRemovesEachOpenedQueue)
{
    NoteOpenedQueues();
    Start({First, Unopenable, Second});
    Texts steps;
    hub.Observe([&steps](const HubCall& call) { steps.push_back(call.text); });
    Kernel::MqClose.Replace(
        [&](mqd_t queue)
        {
            steps.push_back("close " + opened[queue]);
            return Kernel::MqClose.Real(queue);
        });
    Kernel::MqUnlink.Replace(
        [&steps](const char* name)
        {
            steps.push_back(std::string("unlink ") + name);
            return Kernel::MqUnlink.Real(name);
        });
    buttons.reset();
    EXPECT_EQ(steps, (Texts{"UnregisterTopicListener", "close " + First, "unlink " + First, "close " + Second,
                            "unlink " + Second}));
    EXPECT_EQ(hub.Calls().back().listener, hub.Calls().front().listener);
}

TEST_F(Buttons, RemovesItsQueuesFromTheSystem)
{
    Start({First, Second});
    EXPECT_TRUE(Applications::Exists(First));
    EXPECT_TRUE(Applications::Exists(Second));
    buttons.reset();
    EXPECT_FALSE(Applications::Exists(First));
    EXPECT_FALSE(Applications::Exists(Second));
}

TEST_F(Buttons, LogsNothingWhenItEnds)
{
    StartWithFirst();
    buttons.reset();
    EXPECT_EQ(log->Lines(), Texts{});
}

} // namespace
