#include "Check.h"

#include "CheckDevices.h"
#include "CheckProgram.h"
#include "CheckQueues.h"
#include "CheckRunning.h"
#include "CommandLine.h"
#include "Output.h"

#include "Orvel/Protocol.h"

#include <cstdint>

namespace OrvelClient
{

namespace
{

Status Check(const CheckOptions& options)
{
    // The checks come in the order in which the daemon needs things.
    Findings findings = CheckProgram(options.driver);
    for (const Findings& more : {CheckDevices(options.resetGpio), CheckQueues(options.buttonQueues), CheckRunning()})
    {
        findings.insert(findings.end(), more.begin(), more.end());
    }
    Output output;
    bool starts = true;
    for (const Finding& finding : findings)
    {
        output.Write(LineOf(finding));
        starts = starts && finding.level != Finding::Level::Failure;
    }
    return starts ? Status::Done : Status::Failed;
}

} // namespace

CheckOptions::CheckOptions(const CommandLine& line)
    : driver(line.TextOr("", "driver"))
    , resetGpio(line.NumberOr<int>(3, "reset_gpio", 0, INT32_MAX))
    , buttonQueues(line.TextsOr({ORVEL_PROG_BUTTON_QUEUE}, "prog_button_message_queue"))
{
}

Command CheckCommand()
{
    return {
        "check",
        "",
        "say whether the daemon would start on this machine",
        "[OPTION...]",
        "Says whether the daemon would start on this machine for this user, and what to do about it.",
        {{"driver", "The daemon to look at, default is the one installed or built beside this program."},
         {"reset_gpio", "As the daemon's option, default is: 3"},
         {"prog_button_message_queue",
          "As the daemon's option, repeat for multiple, default is: " ORVEL_PROG_BUTTON_QUEUE, Option::Kind::Values}},
        0,
        Prepare<CheckOptions, Check>};
}

} // namespace OrvelClient
