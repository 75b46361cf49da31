#include "Write.h"

#include "CommonOptions.h"
#include "Conversation.h"
#include "GroupRequest.h"
#include "Output.h"

namespace OrvelClient
{

namespace
{

Status Write(const WriteOptions& options)
{
    const ChosenGroup group(options.group);
    const Bytes request = GroupRequest(GroupService::Write, group.address, group.ValueFrom(options.value));
    if (options.print)
    {
        Output().Write(Knx::ToHex(request) + "\n");
        return Status::Done;
    }
    const StopSignals stop;
    Conversation(options.bus, stop, options.wait).SendConfirmed(request);
    return Status::Done;
}

} // namespace

void WriteOptions::AddTo(Arguments::Parser& parser)
{
    group.AddTo(parser);
    AddValue(parser, value);
    AddPrint(parser, print);
    AddWait(parser, wait);
    AddBus(parser, bus);
}

Command WriteCommand()
{
    return {"write",
            "GROUP VALUE",
            "write the value of a group",
            "[OPTION...] GROUP VALUE...",
            "Writes the value of a group, and waits until the telegram is confirmed.\n"
            "\n"
            "  orvelctl write 1/2/3 on --dpt 1.001\n"
            "  orvelctl write 1/2/4 -5.5 --dpt 9.001\n"
            "  orvelctl write \"Living room/Ceiling\" on\n"
            "  orvelctl write 1/2/5 red=255 green=0 blue=0 --dpt 232.600",
            Define<WriteOptions, Write>};
}

} // namespace OrvelClient
