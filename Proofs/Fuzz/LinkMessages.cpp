// Fuzzes what the link brings to the bridge and to the button, through real queues that applications read now and then.
//
// The input is a row of messages: a byte that chooses the topic, or lets the applications read, then the length (two bytes,
// little endian) and so many bytes.

#include "Buttons.h"
#include "Cemi.h"

#include "Applications.h"
#include "CapturedLog.h"
#include "Expect.h"
#include "Input.h"
#include "ScriptedHub.h"

#include <memory>

using namespace UnitTests;

namespace
{

const std::string FromLl = "/fuzzFromLl";
const std::vector<std::string> ButtonQueues{"/fuzzButton1", "/fuzzButton2"};
constexpr std::size_t FramesWaiting = 14;
constexpr std::size_t ButtonEventsWaiting = 6;
constexpr std::size_t MaxLength = 1024; // of the input; the longest that anybody listens to is 260
constexpr unsigned int ReadQueues = 3;  // of the byte that chooses
constexpr const char* Full = "Resource temporarily unavailable";

struct Listeners
{
    ScriptedHub& hub = ScriptedHub::Instance();
    const log4cplus::helpers::SharedObjectPtr<CapturedLog> log = CapturedLog::Attach();
    OrvelDriver::Buttons buttons{ScriptedHub::Hub(), ButtonQueues};
    OrvelDriver::Cemi cemi{ScriptedHub::Hub(), FromLl, "/fuzzToLl"};
};

Listeners& TheListeners()
{
    static Listeners listeners;
    static const bool listen = listeners.hub.Await("RegisterTopicListener", 2);
    Fuzz::Expect("both listen", listen);
    return listeners;
}

// What the queues must hold and what the log must say.
class Expected
{
public:
    void Receive(uint16_t topic, const Bytes& message)
    {
        if (topic == 256 && !message.empty() && message.size() <= 260)
        {
            Frame(message);
        }
        else if (topic == 257 && message.size() == 3 && message[1] == 1)
        {
            Device(message[0], message[2] != 0);
        }
    }

    void Read()
    {
        frames.clear();
        buttonEvents.clear();
    }

    std::vector<Bytes> frames;
    std::vector<Bytes> buttonEvents; // in each of the queues
    std::vector<std::string> lines;

private:
    void Frame(Bytes frame)
    {
        if (frames.size() == FramesWaiting)
        {
            lines.push_back("ERROR Cemi Failed to send cemi message from LL to user message queue: " +
                            std::string(Full));
            return;
        }
        frame.insert(frame.begin(), static_cast<uint8_t>(frame.size() & 0xFFU));
        lines.push_back("DEBUG Cemi Sended cemi message with size " + std::to_string(frame.size()) +
                        " from LL to user message queue");
        frames.push_back(frame);
    }

    void Device(uint8_t type, bool pressed)
    {
        const std::string state = pressed ? "pressed" : "released";
        if (type == 7)
        {
            lines.push_back("DEBUG Buttons Programming button state changed to: " + state);
            Event(pressed);
        }
        else if (type == 9)
        {
            lines.push_back("DEBUG Buttons Programming button since boot was: " + state);
            for (int times = pressed ? 3 : 0; times > 0; --times)
            {
                Event(true);
            }
        }
    }

    void Event(bool pressed)
    {
        if (buttonEvents.size() < ButtonEventsWaiting)
        {
            buttonEvents.push_back({static_cast<uint8_t>(pressed ? 0 : 1)});
            return;
        }
        for (const std::string& queue : ButtonQueues)
        {
            lines.push_back("ERROR Buttons Failed to write programming button state to queue " + queue + ": " + Full);
        }
    }
};

void ExpectQueues(const Expected& expected)
{
    Fuzz::ExpectEqual("frames", UnitTests::Applications::ReceiveAll(FromLl), expected.frames);
    for (const std::string& queue : ButtonQueues)
    {
        Fuzz::ExpectEqual("button events", UnitTests::Applications::ReceiveAll(queue), expected.buttonEvents);
    }
}

uint16_t TakeTopic(uint8_t choice, Fuzz::Input& input)
{
    switch (choice % 4)
    {
    case 0:
        return 256;
    case 1:
        return 257;
    default:
        return input.TakeNumber();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Listeners& listeners = TheListeners();
    UnitTests::Applications::ReceiveAll(FromLl); // the first message of all: the link is usable
    listeners.log->Clear();
    Expected expected;
    for (Fuzz::Input input(data, size); !input.IsEmpty();)
    {
        const uint8_t choice = input.TakeByte();
        if (choice % 4 == ReadQueues)
        {
            ExpectQueues(expected);
            expected.Read();
            continue;
        }
        const uint16_t topic = TakeTopic(choice, input);
        const Bytes message = input.TakeBytes(input.TakeNumber() % (MaxLength + 1));
        const auto passing = std::make_unique<Bytes>(message); // gone after the calls, and without a byte to spare
        listeners.buttons.OnTopicData(topic, passing->data(), static_cast<uint16_t>(passing->size()));
        listeners.cemi.OnTopicData(topic, passing->data(), static_cast<uint16_t>(passing->size()));
        expected.Receive(topic, message);
    }
    ExpectQueues(expected);
    Fuzz::ExpectEqual("the lines", listeners.log->Lines(), expected.lines);
    Fuzz::Expect("both go on", !listeners.cemi.HasFailed() && !listeners.buttons.HasFailed());
    return 0;
}
