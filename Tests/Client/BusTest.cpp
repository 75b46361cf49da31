#include "Bus.h"

#include "Rejection.h"
#include "ScriptedGateway.h"

#include <fcntl.h>
#include <mqueue.h>

#include <csignal>
#include <memory>
#include <optional>
#include <thread>

using Knx::Bytes;
using Knx::FromHex;
using Knx::ToHex;
using OrvelClient::Bus;
using OrvelClient::BusOptions;
using OrvelClient::Status;
using OrvelClient::StopSignals;

namespace
{

// A queue that the test makes in the daemon's place.
class Queue
{
public:
    Queue(std::string queueName, long size)
        : name(std::move(queueName))
    {
        mq_attr attributes{};
        attributes.mq_maxmsg = 4;
        attributes.mq_msgsize = size;
        queue = mq_open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NONBLOCK | O_CLOEXEC, 0600, &attributes);
        EXPECT_NE(queue, -1) << name;
    }

    ~Queue()
    {
        mq_close(queue);
        mq_unlink(name.c_str());
    }

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    void Put(const std::string& hex) const
    {
        const Bytes message = FromHex(hex);
        EXPECT_EQ(mq_send(queue, reinterpret_cast<const char*>(message.data()), message.size(), 0), 0);
    }

private:
    std::string name;
    mqd_t queue;
};

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
    std::optional<ScriptedGateway::Program> program;
    const std::string none = "/no/gateway";
};

std::string Received(Bus& bus)
{
    const auto message = bus.Receive();
    return message ? ToHex(*message) : "nothing";
}

TEST_F(TheBus, IsTheDaemonsQueueWhereNoGatewayRuns)
{
    const Queue fromLink("/cemiFromLL", 261);
    const Queue button("/busButton", 1);
    fromLink.Put("01 f0");
    button.Put("00");
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
    const Queue fromLink("/cemiFromLL", 261);
    fromLink.Put("01 f0");
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
    program->Put("29 00");
    program->Put("ba 00");
    EXPECT_EQ(Received(*presses), "00");
}

TEST_F(TheBus, IsTheQueueIfThePersonWantsIt)
{
    const Queue fromLink("/cemiFromLL", 261);
    fromLink.Put("01 f0");
    const ScriptedGateway gateway;
    BusOptions options = Options(gateway.Path());
    options.direct = true;
    Bus messages(options, Bus::For::Messages, stop);
    EXPECT_EQ(Received(messages), "01 f0");
}

TEST_F(TheBus, IsNothingElseThanTheGatewayThatThePersonNames)
{
    const Queue fromLink("/cemiFromLL", 261);
    BusOptions options = Options(none);
    options.named = true;
    EXPECT_REJECTED(Bus(options, Bus::For::Messages, stop), Status::NotThere,
                    "no gateway listens at /no/gateway: does orvel-gateway run?");
}

TEST_F(TheBus, IsNotTheQueueWhereAGatewayHasNoRoom)
{
    const Queue fromLink("/cemiFromLL", 261);
    const ScriptedGateway gateway;
    std::thread other([&] { gateway.Accept().End(); });
    EXPECT_REJECTED(Bus(Options(gateway.Path()), Bus::For::Messages, stop), Status::NoRoom,
                    "the gateway has no room for one more program, or has just ended");
    other.join();
}

TEST_F(TheBus, OpensTheSameWayAgain)
{
    auto gateway = std::make_unique<ScriptedGateway>();
    auto messages = OpenAt(*gateway, Bus::For::Messages);
    const Queue fromLink("/cemiFromLL", 261);
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
            EXPECT_EQ(silent.Take(), "end");
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
