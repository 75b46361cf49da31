#include "Check.h"

#include "CheckDevices.h"
#include "CheckProgram.h"
#include "CheckQueues.h"
#include "CheckRunning.h"
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
    const auto& queues = options.buttonQueues;
    for (const Findings& more :
         {CheckDevices(options.resetGpio),
          CheckQueues(queues.empty() ? std::vector<std::string>{ORVEL_PROG_BUTTON_QUEUE} : queues), CheckRunning()})
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

void CheckOptions::AddTo(Arguments::Parser& parser)
{
    parser.Option("--driver", driver,
                  "The daemon to look at, default is the one installed or built beside this program.");
    parser.Number<int>("--reset_gpio", resetGpio, 0, INT32_MAX, "As the daemon's option, default is: 3");
    parser.List(
        "--prog_button_message_queue", [this](const std::string& name) { buttonQueues.push_back(name); },
        "As the daemon's option, repeat for multiple, default is: " ORVEL_PROG_BUTTON_QUEUE);
}

Command CheckCommand()
{
    return {"check",
            "",
            "say whether the daemon would start on this machine",
            "[OPTION...]",
            "Says whether the daemon would start on this machine for this user, and what to do about it.\n"
            "\n"
            "  orvelctl check\n"
            "  orvelctl check --reset_gpio 17",
            Define<CheckOptions, Check>};
}

} // namespace OrvelClient
