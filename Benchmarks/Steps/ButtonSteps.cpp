// Measures a button event on its way to its queues, of which there may be many.

#include "Buttons.h"
#include "Orvel/Protocol.h"
#include "Steps.h"
#include "Topics.h"

#include "System/MessageQueue.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace
{

std::vector<std::string> Names(int64_t count)
{
    std::vector<std::string> names;
    for (int64_t number = 0; number < count; ++number)
    {
        names.push_back("/steps" + std::to_string(number));
    }
    return names;
}

// Sends as many events as a queue takes, then reads them; only the events are measured.
void Events(benchmark::State& state, uint8_t type, int messagesPerEvent)
{
    LogFrom(log4cplus::WARN_LOG_LEVEL);
    const std::vector<std::string> names = Names(state.range(0));
    OrvelDriver::Buttons buttons(nullptr, names);
    Transmitted().Await(); // the request
    Transmitted().Await(); // the registration
    std::vector<System::MessageQueue> queues;
    queues.reserve(names.size());
    for (const std::string& name : names)
    {
        queues.emplace_back(name, System::MessageQueue::For::Reading);
    }
    const std::array<uint8_t, 3> event{type, 0x01, 0x01};
    const int events = ORVEL_PROG_BUTTON_QUEUE_CAPACITY / messagesPerEvent;
    for (auto _ : state)
    {
        const std::chrono::nanoseconds begin = ProcessorTime();
        for (int number = 0; number < events; ++number)
        {
            buttons.OnTopicData(OrvelDriver::TopicDevice, event.data(), static_cast<uint16_t>(event.size()));
        }
        const std::chrono::duration<double> duration = ProcessorTime() - begin;
        state.SetIterationTime(duration.count() / events);
        for (const System::MessageQueue& queue : queues)
        {
            while (queue.Receive())
            {
            }
        }
    }
}

BENCHMARK_CAPTURE(Events, changed, 0x07, 1)->Name("button/queues")->Arg(1)->Arg(10)->Arg(100)->UseManualTime();
BENCHMARK_CAPTURE(Events, sinceBoot, 0x09, 3)->Name("button/since-boot")->Arg(1)->UseManualTime();

} // namespace
