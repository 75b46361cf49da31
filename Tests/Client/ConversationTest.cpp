#include "Conversation.h"

#include "BenchKit/Await.h"
#include "BenchKit/MadeQueue.h"
#include "BenchKit/ProcessFiles.h"
#include "BenchKit/ScriptedGateway.h"
#include "Rejection.h"

#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

using Knx::ToHex;
using OrvelClient::BusOptions;
using OrvelClient::Conversation;
using OrvelClient::Failure;
using OrvelClient::Status;
using OrvelClient::StopSignals;

namespace
{

const std::string Frame = "29 00 bc e0 11 02 0a 04 01 00 00";
const std::string LastFrame = "29 00 bc e0 11 02 0a 04 01 00 81";
const std::string LinkUsable = "b9 00 01";

// What it hears while it goes on, until the last frame.
std::vector<std::string> Heard(const BusOptions& options)
{
    const StopSignals stop;
    Conversation conversation(options, stop, std::chrono::milliseconds(0));
    std::vector<std::string> heard;
    conversation.GoOn(
        [&]
        {
            if (const auto message = conversation.Next(std::chrono::steady_clock::now() + std::chrono::hours(1)))
            {
                heard.push_back(ToHex(message->frame));
            }
            return heard.empty() || heard.back() != LastFrame;
        });
    return heard;
}

TEST(Conversation, GoesOnWithTheNextGatewayAndNotWithTheQueueOfTheDaemon)
{
    const MadeQueue toLink("/cemiToLL");
    const MadeQueue fromLink("/cemiFromLL");
    fromLink.PutFrame(LastFrame);
    ScriptedGateway gateway;
    BusOptions options;
    options.socket = gateway.Path();
    std::vector<std::string> heard;
    std::atomic<pid_t> clientThread = 0;
    std::thread client(
        [&]
        {
            clientThread = gettid();
            heard = Heard(options);
        });
    {
        const PacketConnection program = gateway.Greet();
        program.Send(Frame);
        gateway.Die();
        std::filesystem::remove(gateway.Path());
    }
    // It sleeps between two looks for a gateway.
    const auto sleeps = [&] { return std::stol(StatusOf(clientThread, "voluntary_ctxt_switches")); };
    const long before = sleeps();
    EXPECT_TRUE(Await([&] { return sleeps() > before + 3; }));
    const ScriptedGateway next(options.socket);
    static_cast<void>(next.Accept()); // starts, and does not serve yet
    next.Greet().Send(LastFrame);
    client.join();
    EXPECT_EQ(heard, (std::vector<std::string>{LinkUsable, Frame, LinkUsable, LastFrame}));
    EXPECT_EQ(fromLink.Waiting(), 1);
}

TEST(Conversation, EndsForWhateverElseGoesWrong)
{
    const MadeQueue toLink("/cemiToLL");
    const MadeQueue fromLink("/cemiFromLL");
    BusOptions options;
    options.direct = true;
    const StopSignals stop;
    Conversation conversation(options, stop, std::chrono::milliseconds(0));
    EXPECT_REJECTED(conversation.GoOn([]() -> bool { throw Failure(Status::NotUnderstood, "no value"); }),
                    Status::NotUnderstood, "no value");
}

} // namespace
