#pragma once

#include "Counters.h"

#include <string>
#include <vector>

namespace OrvelGateway
{

/// What the log says of a program, by what its counters were the last time and are now: one line for each kind of trouble,
/// however much there was of it. Without trouble, no line.
std::vector<std::string> TroubleOf(const std::string& program, const ParticipantCounters& before,
                                   const ParticipantCounters& now);

/// The same of what belongs to no program.
std::vector<std::string> Trouble(const Counters& before, const Counters& now);

} // namespace OrvelGateway
