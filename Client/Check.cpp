#include "Check.h"

#include "CheckDevices.h"
#include "CheckProgram.h"
#include "CheckQueues.h"
#include "CheckRunning.h"
#include "Output.h"

#include <array>
#include <cstdio>

namespace OrvelClient
{

namespace
{

std::string Line(const Finding& finding)
{
    static const std::array<const char*, 3> levels{"ok", "warn", "fail"};
    std::array<char, 80> begin{};
    std::snprintf(begin.data(), begin.size(), "%-4s  %-22s ", levels.at(static_cast<std::size_t>(finding.level)),
                  finding.subject.substr(0, 60).c_str());
    return begin.data() + finding.text + "\n";
}

} // namespace

bool Check(const CheckOptions& options)
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
        output.Write(Line(finding));
        starts = starts && finding.level != Finding::Level::Failure;
    }
    return starts;
}

} // namespace OrvelClient
