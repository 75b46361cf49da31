#include "Generate.h"

#include "CommonOptions.h"
#include "Failure.h"
#include "FrameSender.h"
#include "GroupOptions.h"
#include "Output.h"
#include "Pace.h"
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
    const uint32_t seed = options.seed ? *options.seed : std::random_device()();
    const StopSignals stop;
    Output output;
    Notice(output, "seed " + std::to_string(seed) + "; Ctrl-C ends");
    FrameSender sender(options.bus, stop, options.wait);
    RandomTelegrams telegrams(seed, GroupsOf(options));
    Pace pace(options.rate);
    const auto start = std::chrono::steady_clock::now(); // all are ready: those that went late are caught up with
    for (uint64_t count = 0; options.number == 0 || count < options.number; ++count)
    {
        if (stop.AwaitUntil(pace.Due(start)))
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

} // namespace

void GenerateOptions::AddTo(Arguments::Parser& parser)
{
    groups.AddTo(parser, "To these groups: 1/2/3, 1/2/*, 1/2/0-9, or a name. There is no default, because telegrams to "
                         "random addresses would switch real lamps and drive real blinds.");
    parser.Check(
        [this]
        {
            if (groups.IsEmpty())
            {
                throw Arguments::Wrong("--group is required: telegrams to random addresses would switch real lamps and "
                                       "drive real blinds");
            }
        });
    parser.Option("--dpt", type, "Values of this datapoint type; without it those of the group's, or random bytes.");
    names.AddTo(parser);
    parser.Number<double>("--rate", rate, Pace::Slowest, Pace::Fastest,
                          "Send so many telegrams a second, default is: 10");
    AddNumber(parser, number, "telegrams");
    parser.Number<uint32_t>("--seed", seed, 0, UINT32_MAX,
                            "The same seed gives the same telegrams; without it they differ each time.");
    parser.Flag("--print", print, "Show the telegrams, as 'send' reads them, instead of sending them.");
    AddWait(parser, wait);
    AddBus(parser, bus);
}

Command GenerateCommand()
{
    return {"generate",
            "",
            "send random telegrams to groups, for load",
            "[OPTION...]",
            "Sends random telegrams to the groups that it is given.\n"
            "\n"
            "  orvelctl generate --group 1/2/0-9 --rate 20 -n 100\n"
            "  orvelctl generate --group 1/2/4 --dpt 9.001 --print",
            Define<GenerateOptions, Generate>};
}

} // namespace OrvelClient
