#include "FrameSender.h"

#include "BenchKit/ScriptedGateway.h"
#include "Rejection.h"

#include "System/MessageQueue.h"

#include <filesystem>
#include <thread>

using Knx::FromHex;
using OrvelClient::BusOptions;
using OrvelClient::FrameSender;
using OrvelClient::Status;
using OrvelClient::StopSignals;

namespace
{

const Knx::Bytes Frame = FromHex("11 00 bc e0 00 00 0a 03 01 00 81");

TEST(FrameSender, GoesOnTheWayThatItHasBegun)
{
    const System::OwnMessageQueue toLink("/cemiToLL", System::MessageQueue::For::Both, 4, 261, 0600);
    ScriptedGateway gateway;
    BusOptions options;
    options.socket = gateway.Path();
    const StopSignals stop;
    FrameSender sender(options, stop, std::chrono::milliseconds(0));
    const auto sendTo = [&sender](const ScriptedGateway& listening)
    {
        std::thread client([&sender] { sender.Send(Frame); });
        EXPECT_EQ(listening.Greet().Receive(), "0b " + Knx::ToHex(Frame));
        client.join();
    };
    sendTo(gateway);
    gateway.Die();
    std::filesystem::remove(gateway.Path());
    EXPECT_REJECTED(sender.Send(Frame), Status::NotThere,
                    "no gateway listens at " + gateway.Path() + ": does orvel-gateway run?");
    EXPECT_EQ(toLink.Pending(), 0);
    const ScriptedGateway next(gateway.Path());
    sendTo(next);
}

} // namespace
