#include "Bus.h"

#include "BenchKit/MadeQueue.h"
#include "BenchKit/ScriptedGateway.h"
#include "Rejection.h"

#include <unistd.h>

#include <csignal>
#include <memory>
#include <optional>
#include <thread>

using Knx::ToHex;
using OrvelClient::Bus;
using OrvelClient::BusOptions;
using OrvelClient::Status;
using OrvelClient::StopSignals;

namespace
{

class TheBus : public testing::Test
{
protected:
    BusOptions Options(const std::string& socket) const
    {
        BusOptions options;
        options.socket = socket;
        options.buttonQueue = "/busButton";
        return options;
    }

    // Opens it while a gateway greets it.
    std::optional<Bus> OpenAt(const ScriptedGateway& gateway, Bus::For use)
    {
        std::optional<Bus> bus;
        std::thread client([&] { bus.emplace(Options(gateway.Path()), use, stop); });
        program.emplace(gateway.Greet());
        client.join();
        return bus;
    }

    const StopSignals stop{};
    std::optional<PacketConnection> program;
    const std::string none = "/no/gateway";
};

std::string Received(Bus& bus)
{
    const auto message = bus.Receive();
    return message ? ToHex(*message) : "nothing";
}

TEST_F(TheBus, IsTheDaemonsQueueWhereNoGatewayRuns)
{
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue button("/busButton", 6, 1);
    fromLink.PutFrame("f0");
    button.Put({0x00});
    Bus messages(Options(none), Bus::For::Messages, stop);
    EXPECT_EQ(Received(messages), "01 f0");
    EXPECT_EQ(messages.Name(), "/cemiFromLL");
    Bus presses(Options(none), Bus::For::Button, stop);
    EXPECT_EQ(Received(presses), "00");
    EXPECT_EQ(presses.Name(), "/busButton");
    EXPECT_REJECTED(Bus(Options(none), Bus::For::Requests, stop), Status::NotThere,
                    "there is no queue /cemiToLL: does the daemon run?");
}

TEST_F(TheBus, IsTheGatewayWhereOneRuns)
{
    const MadeQueue fromLink("/cemiFromLL");
    fromLink.PutFrame("f0");
    const ScriptedGateway gateway;
    auto messages = OpenAt(gateway, Bus::For::Messages);
    EXPECT_EQ(Received(*messages), "03 b9 00 01");
    EXPECT_EQ(Received(*messages), "nothing");
    EXPECT_EQ(messages->Name(), "the gateway");
}

TEST_F(TheBus, OfTheButtonHasItsBytesAlsoThroughTheGateway)
{
    const ScriptedGateway gateway;
    auto presses = OpenAt(gateway, Bus::For::Button);
    program->Send("29 00");
    program->Send("ba 00");
    EXPECT_EQ(Received(*presses), "00");
}

TEST_F(TheBus, IsTheQueueIfThePersonWantsIt)
{
    const MadeQueue fromLink("/cemiFromLL");
    fromLink.PutFrame("f0");
    const ScriptedGateway gateway;
    BusOptions options = Options(gateway.Path());
    options.direct = true;
    Bus messages(options, Bus::For::Messages, stop);
    EXPECT_EQ(Received(messages), "01 f0");
}

TEST_F(TheBus, IsNothingElseThanTheGatewayThatThePersonNames)
{
    const MadeQueue fromLink("/cemiFromLL");
    BusOptions options = Options(none);
    options.named = true;
    EXPECT_REJECTED(Bus(options, Bus::For::Messages, stop), Status::NotThere,
                    "no gateway listens at /no/gateway: does orvel-gateway run?");
}

TEST_F(TheBus, IsNotTheQueueWhereAGatewayHasNoRoom)
{
    const MadeQueue fromLink("/cemiFromLL");
    const ScriptedGateway gateway;
    std::thread other([&] { gateway.Accept().Close(); });
    EXPECT_REJECTED(Bus(Options(gateway.Path()), Bus::For::Messages, stop), Status::NoRoom,
                    "the gateway has no room for one more program, or has just ended");
    other.join();
}

TEST_F(TheBus, OpensTheSameWayAgain)
{
    auto gateway = std::make_unique<ScriptedGateway>();
    auto messages = OpenAt(*gateway, Bus::For::Messages);
    const MadeQueue fromLink("/cemiFromLL");
    const std::string path = gateway->Path();
    gateway.reset();
    messages->Close();
    EXPECT_REJECTED(messages->Open(), Status::NotThere, "no gateway listens at " + path + ": does orvel-gateway run?");
    EXPECT_FALSE(messages->IsOpen());
    EXPECT_EQ(messages->Descriptor(), -1);
}

TEST_F(TheBus, ASignalEndsTheWaitForAGatewayThatSaysNothing)
{
    const ScriptedGateway gateway;
    std::thread person(
        [&]
        {
            const auto silent = gateway.Accept();
            kill(getpid(), SIGTERM);
            EXPECT_EQ(silent.Receive(), "end");
        });
    EXPECT_REJECTED(Bus(Options(gateway.Path()), Bus::For::Messages, stop), Status::Interrupted,
                    "stopped before the gateway answered");
    person.join();
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    EXPECT_EQ(sigwaitinfo(&signals, nullptr), SIGTERM); // or it would end the next test's wait too
}

} // namespace
