#include "Generate.h"

#include "Failure.h"
#include "FrameSender.h"
#include "Output.h"
#include "RandomTelegrams.h"

#include <random>

namespace OrvelClient
{

void Generate(const GenerateOptions& options)
{
    using namespace std::chrono;
    const uint32_t seed = options.seed ? *options.seed : std::random_device()();
    const StopSignals stop;
    Output output;
    Notice(output, "seed " + std::to_string(seed) + "; Ctrl-C ends");
    FrameSender sender(stop, options.wait);
    RandomTelegrams telegrams(seed);
    const auto start = steady_clock::now();
    for (uint64_t count = 0; options.number == 0 || count < options.number; ++count)
    {
        const auto due = duration<double>(static_cast<double>(count) / options.rate);
        if (stop.AwaitUntil(start + duration_cast<steady_clock::duration>(due)))
        {
            if (options.number != 0)
            {
                throw Failure(Status::Interrupted, "stopped after " + std::to_string(count) + " of " +
                                                       std::to_string(options.number) + " telegrams");
            }
            return;
        }
        const Bytes telegram = telegrams.Next();
        if (options.print)
        {
            output.Write(Knx::ToHex(telegram) + "\n");
        }
        else
        {
            sender.Send(telegram);
        }
    }
}

} // namespace OrvelClient
