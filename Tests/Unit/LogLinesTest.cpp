// Every line that the daemon can write, with its source, function, level, logger and text. Log watchers and property
// files rely on all of them.

#include "Applications.h"
#include "Await.h"
#include "BenchKit/Paths.h"
#include "Buttons.h"
#include "Cemi.h"
#include "ComponentTest.h"
#include "GpioDirectory.h"
#include "Leds.h"
#include "MessageQueue.h"
#include "Reset.h"
#include "ScriptedPoll.h"
#include "ScriptedUleds.h"
#include "Workers.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>

namespace
{

using namespace UnitTests;
using testing::Pair;
using testing::UnorderedElementsAre;

using LedNames = std::map<int, std::string>;

const std::string FromLl = "/logLinesTestFromLl";
const std::string ToLl = "/logLinesTestToLl";
const std::string Button = "/logLinesTestButton";
constexpr uint16_t TopicCemi = 256;
constexpr uint16_t TopicDevice = 257;

std::filesystem::path Sources()
{
    return Paths::InSourceTree("Driver/OrvelDriver/Src");
}

// How many lines a source can write.
std::size_t LinesIn(const std::filesystem::path& source)
{
    std::ifstream file(source);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    const std::regex macro(R"(LOG4CPLUS_[A-Z_]+\()");
    return static_cast<std::size_t>(
        std::distance(std::sregex_iterator(text.begin(), text.end(), macro), std::sregex_iterator()));
}

// Uses one spelling for all compilers, without types of the standard library, which each version of them calls
// differently.
std::string Spelled(std::string signature)
{
    signature = std::regex_replace(signature, std::regex(" ([*&])"), "$1");
    return std::regex_replace(signature, std::regex(R"(\(.*(string|vector).*\))"), "(...)");
}

// Each test makes a component write all of its lines, each of them with one text only.
class LogLines : public ComponentTest
{
protected:
    ~LogLines() override
    {
        for (const std::string& queue : {FromLl, ToLl, Button})
        {
            Applications::RemoveQueue(queue);
        }
    }

    // The lines that a source logged, as "SIGNATURE: LEVEL Logger text".
    std::set<std::string> From(const std::string& source) const
    {
        std::set<std::string> lines;
        for (const LogLine& line : log->Details())
        {
            if (line.file == "Driver/OrvelDriver/Src/" + source)
            {
                lines.insert(Spelled(line.function) + ": " + line.text);
            }
        }
        EXPECT_EQ(lines.size(), LinesIn(Sources() / source)) << "a line is missing";
        return lines;
    }

    ScriptedPoll polls;
};

TEST_F(LogLines, OfTheBridgeComeFromTheseFunctions)
{
    {
        OrvelDriver::Cemi cemi(ScriptedHub::Hub(), FromLl, ToLl);
        ASSERT_TRUE(hub.Await("RegisterTopicListener"));
        Kernel::MqReceive.FailAt(1, EBADF);
        Applications::Send(ToLl, {0x01, 0x77});
        ASSERT_TRUE(log->Await("DEBUG Cemi Enqueued 1 cemi bytes from message queue to LL"));
        Applications::Send(ToLl, {0x03, 0x77});
        hub.AnswerTransmit(false);
        Applications::Send(ToLl, {0x01, 0x77});
        ASSERT_TRUE(hub.Await("Transmit 256: 77", 2));
        Kernel::MqSend.FailAt(1, EBADF);
        hub.Receive(TopicCemi, {0x29});
    }
    const std::string worker = "void OrvelDriver::Cemi::ThreadFunction(): ";
    const std::string sender = "void OrvelDriver::Cemi::SendToUser(const char*, uint16_t): ";
    EXPECT_THAT(
        From("Cemi.cpp"),
        UnorderedElementsAre(
            worker + "ERROR Cemi Failed to read from queue /logLinesTestToLl: Bad file descriptor",
            worker + "FATAL Cemi Queue to LL reports bad file descriptor.",
            worker + "ERROR Cemi Received invalid cemi message with size byte 3 and message size 2, dropping message",
            worker + "DEBUG Cemi Enqueued 1 cemi bytes from message queue to LL",
            worker + "ERROR Cemi Failed to enqueue cemi message with size byte 1 for LL, dropping message",
            sender + "DEBUG Cemi Sended cemi message with size 4 from LL to user message queue",
            sender + "ERROR Cemi Failed to send cemi message from LL to user message queue: Bad file descriptor",
            sender + "FATAL Cemi Message queue /logLinesTestFromLl reports bad file descriptor"));
}

TEST_F(LogLines, OfTheLedsComeFromTheseFunctions)
{
    const LedNames names{{0, "led"}, {1, "led"}, {2, "led"}, {3, "led"}};
    const auto build = [&](std::optional<OrvelDriver::Leds>& leds)
    {
        const HeldWorkers held; // until the table is complete
        leds.emplace(ScriptedHub::Hub(), names, false);
    };
    const auto buildFailing = [&]
    {
        std::optional<OrvelDriver::Leds> leds;
        build(leds);
        ASSERT_TRUE(Await([&] { return leds->HasFailed(); }));
    };
    Kernel::Open.FailAlways(ENODEV);
    buildFailing();
    ScriptedUleds uleds;
    Kernel::Write.FailAt(1, EINVAL);
    buildFailing();

    const std::size_t before = uleds.Opened();
    polls.OnlyAnswer();
    std::optional<OrvelDriver::Leds> leds;
    build(leds);
    ASSERT_TRUE(polls.Answer({{0, POLLERR}}));
    Kernel::Read.FailAt(1, EBADF);
    uleds.Report(before, 60);
    ASSERT_TRUE(polls.Answer({{0, POLLIN}})); // fails
    ASSERT_TRUE(polls.Answer({{0, POLLIN}}));
    ASSERT_TRUE(log->Await("DEBUG Leds Set brightness of led led to 60"));
    hub.AnswerTransmit(false);
    uleds.Report(before, 0);
    ASSERT_TRUE(polls.Answer({{0, POLLIN}}));
    leds.reset();

    const std::string registration = "bool OrvelDriver::Leds::OpenVirtualLedDevice(OrvelDriver::VirtualLedDevice&): ";
    const std::string worker = "void OrvelDriver::Leds::ThreadFunction(): ";
    EXPECT_THAT(
        From("Leds.cpp"),
        UnorderedElementsAre(
            registration + "ERROR Leds Failed to open /dev/uleds: No such device",
            registration + "ERROR Leds Failed to write to /dev/uleds for virtual led device led: Invalid argument",
            registration + "DEBUG Leds Created virtual led device led",
            worker + "ERROR Leds Return events in poll signalled virtual led error, aborting.",
            worker + "ERROR Leds Failed to read from /dev/uleds for led led: Bad file descriptor",
            worker + "FATAL Leds Read reported bad file descriptor (EBADFD)",
            worker + "DEBUG Leds Set brightness of led led to 60",
            worker + "ERROR Leds Failed to transmit LED state for led led"));
}

TEST_F(LogLines, OfTheButtonComeFromTheseFunctions)
{
    hub.AnswerTransmit(false);
    {
        const OrvelDriver::Buttons buttons(ScriptedHub::Hub(), {Button});
        Kernel::MqSend.FailAt(1, EBADFD);
        hub.Receive(TopicDevice, {0x07, 0x01, 0x01});
        hub.Receive(TopicDevice, {0x09, 0x01, 0x00});
    }
    const std::string construction = "OrvelDriver::Buttons::Buttons(...): ";
    const std::string listener = "virtual void OrvelDriver::Buttons::OnTopicData(uint16_t, const uint8_t*, uint16_t): ";
    const std::string sender = "void OrvelDriver::Buttons::EnqueueProgButtonState(bool): ";
    EXPECT_THAT(From("Buttons.cpp"),
                UnorderedElementsAre(
                    construction + "ERROR Buttons Failed to enqueue request for programming button pressed since boot",
                    listener + "DEBUG Buttons Programming button state changed to: pressed",
                    listener + "DEBUG Buttons Programming button since boot was: released",
                    sender + "ERROR Buttons Failed to write programming button state to queue /logLinesTestButton: "
                             "File descriptor in bad state",
                    sender + "FATAL Buttons File handle for programming button queue is broken (EBADF)"));
}

TEST_F(LogLines, OfTheQueuesComeFromTheseFunctionsUnderTheLoggerOfTheirOwner)
{
    log4cplus::Logger owner = log4cplus::Logger::getInstance("Owner");
    const mqd_t queue = OrvelDriver::MessageQueue::Create(Button, 1, 6, false, &owner);
    EXPECT_EQ(mq_close(queue), 0);
    EXPECT_LT(OrvelDriver::MessageQueue::Create("without slash", 1, 6, false, &owner), 0);
    OrvelDriver::MessageQueue::DeletePending(-1, 1, &owner);
    const std::string creation = "static mqd_t OrvelDriver::MessageQueue::Create(...): ";
    EXPECT_THAT(
        From("MessageQueue.cpp"),
        UnorderedElementsAre(creation + "DEBUG Owner Opened message queue /logLinesTestButton successfully",
                             creation + "ERROR Owner Failed to open message queue without slash",
                             "static void OrvelDriver::MessageQueue::DeletePending(mqd_t, int, log4cplus::Logger*): "
                             "ERROR Owner Failed to get message queue attributes"));
}

TEST_F(LogLines, OfTheResetComeFromTheseFunctions)
{
    const GpioDirectory gpio(3);
    OrvelDriver::Reset reset(3);
    GpioDirectory::MakeDirectory("gpio3/direction");
    GpioDirectory::MakeDirectory("gpio3/value");
    reset.ResetStm32();
    GpioDirectory::MakeDirectory("export");
    EXPECT_FALSE(reset.Export());
    EXPECT_THAT(From("Reset.cpp"),
                UnorderedElementsAre("void OrvelDriver::Reset::ResetStm32(): DEBUG Reset Resetting STM32 using GPIO 3",
                                     "void OrvelDriver::Reset::ResetStm32(): "
                                     "ERROR Reset Cannot set value of STM32 reset GPIO 3: Is a directory",
                                     "bool OrvelDriver::Reset::SetDirection(Direction): "
                                     "ERROR Reset Cannot set direction of STM32 reset GPIO 3: Is a directory",
                                     "bool OrvelDriver::Reset::Export(): "
                                     "ERROR Reset Failed to export STM32 reset GPIO 3: Is a directory"));
}

// The tests above miss none of their sources' lines. A source that begins to log needs a test like them.
TEST_F(LogLines, ComeFromNoOtherSources)
{
    std::map<std::string, std::size_t> sources;
    for (const auto& entry : std::filesystem::directory_iterator(Sources()))
    {
        if (const std::size_t lines = LinesIn(entry.path()); lines != 0)
        {
            sources.emplace(entry.path().filename(), lines);
        }
    }
    EXPECT_THAT(sources, UnorderedElementsAre(Pair("Buttons.cpp", 5), Pair("Cemi.cpp", 8), Pair("Leds.cpp", 8),
                                              Pair("MessageQueue.cpp", 3), Pair("Reset.cpp", 4),
                                              Pair("NemtLogAdapter.cpp", 7), // of which NemtLogAdapterTest tells
                                              Pair("Main.cpp", 3)));         // of which the system tests tell
}

} // namespace
