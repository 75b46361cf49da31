#include "BenchKit/MadeQueue.h"

#include "BenchKit/Await.h"
#include "BenchKit/Messages.h"

#include <gtest/gtest.h>

void MadeQueue::Put(const Knx::Bytes& message) const
{
    EXPECT_TRUE(queue.Send(message)) << Knx::ToHex(message);
}

void MadeQueue::PutFrame(const std::string& frame) const
{
    Put(WithSize(Knx::FromHex(frame)));
}

std::string MadeQueue::Take() const
{
    const auto message = queue.Receive();
    return message ? Knx::ToHex(*message) : "nothing";
}

std::string MadeQueue::AwaitMessage() const
{
    const auto message = queue.ReceiveWithin(Patience);
    return message ? Knx::ToHex(*message) : "nothing";
}
