// Fuzzes what applications write into "/cemiToLL", through a real queue.
//
// The input is a row of messages: a number (two bytes, little endian), and then so many bytes. The number's highest bit
// says whether the link refuses the frame; the rest is the length.

#include "Cemi.h"

#include "Applications.h"
#include "CapturedLog.h"
#include "Expect.h"
#include "Input.h"
#include "Knx/HexDigits.h"
#include "ScriptedHub.h"

#include <csignal>

using namespace UnitTests;

namespace
{

const std::string ToLl = "/fuzzToLl";
constexpr std::size_t MaxMessage = 261;
constexpr unsigned int RefusedBit = 0x8000;

// A thread that starts while this exists gets no signals: the fuzzer's alarm would interrupt the worker's poll, and
// errno is part of one of the lines.
class SignalsBlocked
{
public:
    SignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &previous);
    }

    ~SignalsBlocked()
    {
        pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    }

    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t previous{};
};

struct Bridge
{
    ScriptedHub& hub = ScriptedHub::Instance();
    const log4cplus::helpers::SharedObjectPtr<CapturedLog> log = CapturedLog::Attach();
    OrvelDriver::Cemi cemi{ScriptedHub::Hub(), "/fuzzFromLl", ToLl};
};

Bridge& TheBridge()
{
    const SignalsBlocked blocked;
    static Bridge bridge;
    static const bool listens = bridge.hub.Await("RegisterTopicListener");
    Fuzz::Expect("the bridge listens", listens);
    return bridge;
}

std::string LineFor(const Bytes& message, bool refused)
{
    if (message.empty())
    {
        return "ERROR Cemi Failed to read from queue " + ToLl + ": Success";
    }
    const std::string size = std::to_string(message[0]);
    if (message[0] == 0 || message[0] + 1U != message.size())
    {
        return "ERROR Cemi Received invalid cemi message with size byte " + size + " and message size " +
               std::to_string(message.size()) + ", dropping message";
    }
    return refused ? "ERROR Cemi Failed to enqueue cemi message with size byte " + size + " for LL, dropping message"
                   : "DEBUG Cemi Enqueued " + size + " cemi bytes from message queue to LL";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Bridge& bridge = TheBridge();
    bridge.hub.Reset();
    std::vector<std::string> frames;
    for (Fuzz::Input input(data, size); !input.IsEmpty();)
    {
        const uint16_t number = input.TakeNumber();
        const bool refused = (number & RefusedBit) != 0;
        const Bytes message = input.TakeBytes((number & ~RefusedBit) % (MaxMessage + 1));
        if (message.size() > 1 && message[0] + 1U == message.size())
        {
            frames.push_back("Transmit 256: " + Knx::ToHex({message.begin() + 1, message.end()}));
        }

        bridge.log->Clear();
        bridge.hub.AnswerTransmit(!refused);
        UnitTests::Applications::Send(ToLl, message);

        const std::string line = LineFor(message, refused);
        bridge.log->Await(line);
        Fuzz::ExpectEqual("the line", bridge.log->Lines(), std::vector<std::string>{line});
    }
    Fuzz::ExpectEqual("the frames for the link", bridge.hub.Texts(), frames);
    Fuzz::Expect("the bridge goes on", !bridge.cemi.HasFailed());
    return 0;
}
