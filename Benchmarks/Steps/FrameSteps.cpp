// Measures a frame from an application to the link, a frame from the link to an application, and messages that do not
// concern a listener.

#include "Buttons.h"
#include "Cemi.h"
#include "Orvel/Protocol.h"
#include "Steps.h"
#include "Topics.h"

#include "System/MessageQueue.h"

#include <benchmark/benchmark.h>

#include <mqueue.h>
#include <poll.h>

#include <array>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

using System::OwnMessageQueue;

namespace
{

const std::string FromLl = "/stepsFromLL";
const std::string ToLl = "/stepsToLL";

constexpr std::chrono::seconds Patience{20}; // long: the machine may be busy

class Queue : public OwnMessageQueue
{
public:
    Queue(const std::string& queueName, For access)
        : OwnMessageQueue(queueName, access, ORVEL_CEMI_QUEUE_CAPACITY, ORVEL_CEMI_MESSAGE_SIZE)
    {
    }

    // Returns the size of the next message, without the cost of memory for it.
    ssize_t Take() const
    {
        std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message;
        return mq_receive(Descriptor(), message.data(), message.size(), nullptr);
    }
};

Queue::Message Message(const benchmark::State& state)
{
    Queue::Message message(static_cast<std::size_t>(state.range(0)) + 1, 0x29);
    message[0] = static_cast<uint8_t>(state.range(0));
    return message;
}

// The bridge, ready for frames.
class Bridge
{
public:
    Bridge()
        : cemi(nullptr, FromLl, ToLl)
    {
        Transmitted().Await();
    }

    OrvelDriver::Cemi cemi;
};

void FrameToLink(benchmark::State& state)
{
    LogFrom(log4cplus::WARN_LOG_LEVEL);
    const Queue queue(ToLl, Queue::For::Writing);
    Bridge bridge;
    const Queue::Message message = Message(state);
    for (auto _ : state)
    {
        queue.Send(message);
        Transmitted().Await();
    }
}

void FrameToLinkFloor(benchmark::State& state)
{
    const Queue queue(ToLl, Queue::For::Both);
    std::thread worker(
        [&]
        {
            pollfd entry{queue.Descriptor(), POLLIN, 0};
            while (poll(&entry, 1, -1) > 0 && queue.Take() > 0)
            {
                Transmitted().Give();
            }
        });
    const Queue::Message message = Message(state);
    for (auto _ : state)
    {
        queue.Send(message);
        Transmitted().Await();
    }
    queue.Send({}); // ends the worker
    worker.join();
}

// Fills the queue again and again; only the filling is measured.
template<typename Function>
void FillQueue(benchmark::State& state, const Queue& queue, const Function& send)
{
    for (auto _ : state)
    {
        const std::chrono::nanoseconds begin = ProcessorTime();
        for (int frame = 0; frame < ORVEL_CEMI_QUEUE_CAPACITY; ++frame)
        {
            send();
        }
        const std::chrono::duration<double> duration = ProcessorTime() - begin;
        state.SetIterationTime(duration.count() / ORVEL_CEMI_QUEUE_CAPACITY);
        for (int frame = 0; frame < ORVEL_CEMI_QUEUE_CAPACITY; ++frame)
        {
            queue.Take();
        }
    }
}

void FrameFromLink(benchmark::State& state, log4cplus::LogLevel level)
{
    LogFrom(level);
    const Queue queue(FromLl, Queue::For::Reading);
    Bridge bridge;
    queue.ReceiveWithin(Patience); // the link state
    const std::vector<uint8_t> frame(static_cast<std::size_t>(state.range(0)), 0x29);
    FillQueue(state, queue,
              [&]
              { bridge.cemi.OnTopicData(OrvelDriver::TopicCemi, frame.data(), static_cast<uint16_t>(frame.size())); });
}

void FrameFromLinkFloor(benchmark::State& state)
{
    const Queue queue(FromLl, Queue::For::Both);
    const Queue::Message message = Message(state);
    FillQueue(state, queue, [&] { queue.Send(message); });
}

void FrameAtButtons(benchmark::State& state)
{
    OrvelDriver::Buttons buttons(nullptr, {});
    Transmitted().Await();
    Transmitted().Await();
    const std::vector<uint8_t> frame(11, 0x29);
    for (auto _ : state)
    {
        buttons.OnTopicData(OrvelDriver::TopicCemi, frame.data(), static_cast<uint16_t>(frame.size()));
    }
}

void ButtonEventAtBridge(benchmark::State& state)
{
    Bridge bridge;
    const std::vector<uint8_t> event{0x07, 0x01, 0x01};
    for (auto _ : state)
    {
        bridge.cemi.OnTopicData(OrvelDriver::TopicDevice, event.data(), static_cast<uint16_t>(event.size()));
    }
}

BENCHMARK(FrameToLink)->Name("frame/to-link")->Arg(11)->Arg(254)->MeasureProcessCPUTime();
BENCHMARK(FrameToLinkFloor)->Name("frame/to-link-floor")->Arg(11)->Arg(254)->MeasureProcessCPUTime();
BENCHMARK_CAPTURE(FrameFromLink, warn, log4cplus::WARN_LOG_LEVEL)
    ->Name("frame/from-link")
    ->Arg(11)
    ->Arg(254)
    ->UseManualTime();
BENCHMARK_CAPTURE(FrameFromLink, debug, log4cplus::DEBUG_LOG_LEVEL)
    ->Name("frame/from-link-debug")
    ->Arg(11)
    ->Arg(254)
    ->UseManualTime();
BENCHMARK(FrameFromLinkFloor)->Name("frame/from-link-floor")->Arg(11)->Arg(254)->UseManualTime();
BENCHMARK(FrameAtButtons)->Name("frame/at-buttons");
BENCHMARK(ButtonEventAtBridge)->Name("button/at-bridge");

} // namespace
