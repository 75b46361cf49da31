#include "Generate.h"

#include "CommandLine.h"
#include "CommonOptions.h"
#include "Failure.h"
#include "FrameSender.h"
#include "GroupOptions.h"
#include "Output.h"
#include "RandomTelegrams.h"

#include <random>

namespace OrvelClient
{

namespace
{

// The groups to which telegrams go, with the types of their values.
std::vector<RandomTelegrams::Group> GroupsOf(const GenerateOptions& options)
{
    const KnownGroups known(ReadNames(options.names).groups);
    GroupPatterns patterns = options.groups;
    patterns.Resolve(known.Addresses());
    const Knx::DatapointType* const type = options.type.empty() ? nullptr : &TypeFrom(options.type);
    std::vector<RandomTelegrams::Group> groups;
    for (const uint16_t address : patterns.Addresses())
    {
        groups.push_back({address, type == nullptr ? known.Type(address) : type});
    }
    if (groups.empty())
    {
        throw Failure(Status::NotUnderstood, "0/0/0 addresses all devices, not a group");
    }
    return groups;
}

Status Generate(const GenerateOptions& options)
{
    using namespace std::chrono;
    const uint32_t seed = options.seed ? *options.seed : std::random_device()();
    const StopSignals stop;
    Output output;
    Notice(output, "seed " + std::to_string(seed) + "; Ctrl-C ends");
    FrameSender sender(options.bus, stop, options.wait);
    RandomTelegrams telegrams(seed, GroupsOf(options));
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
            return Status::Done;
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
    return Status::Done;
}

constexpr std::chrono::milliseconds DefaultWait{1000};

GroupPatterns Groups(const CommandLine& line)
{
    if (!line.Has("group"))
    {
        Reject(
            "generate needs --group, such as 31/7/*: telegrams to random addresses would switch real lamps and drive "
            "real blinds");
    }
    return GroupPatterns(line);
}

double Rate(const CommandLine& line)
{
    return line.NumberOr<double>(10, "rate", 0.001, 100000); // telegrams a second
}

std::optional<uint32_t> Seed(const CommandLine& line)
{
    return line.Has("seed") ? std::optional(line.NumberOr<uint32_t>(0, "seed", 0, UINT32_MAX)) : std::nullopt;
}

} // namespace

GenerateOptions::GenerateOptions(const CommandLine& line)
    : groups(Groups(line))
    , type(line.TextOr("", "dpt"))
    , names(TakeNamesFile(line))
    , rate(Rate(line))
    , number(TakeNumber(line))
    , seed(Seed(line))
    , print(line.Has("print"))
    , wait(TakeWait(line, DefaultWait))
    , bus(TakeBus(line))
{
}

Command GenerateCommand()
{
    return {"generate",
            "",
            "send random telegrams to groups, for load",
            "[OPTION...]",
            "Sends random telegrams to the groups that it is given.",
            WithBusOptions(
                {{"group", "To these groups: 1/2/3, 1/2/*, 1/2/0-9, or a name.", Option::Kind::Values},
                 {"dpt", "Values of this datapoint type; without it those of the group's, or random bytes."},
                 NamesOption(),
                 {"rate", "Send so many telegrams a second, default is: 10"},
                 NumberOption("telegrams"),
                 {"seed", "The same seed gives the same telegrams; without it they differ each time."},
                 {"print", "Show the telegrams, as 'send' reads them, instead of sending them.", Option::Kind::Flag},
                 WaitOption(DefaultWait)}),
            0,
            Prepare<GenerateOptions, Generate>};
}

} // namespace OrvelClient
