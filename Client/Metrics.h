#pragma once

#include <iosfwd>
#include <map>
#include <string>

namespace OrvelClient
{

/// Values by name: that of the sample, without what all of the gateway's have in common, and the values of its labels, all
/// with dots in between: "programs", "frames.from_bus".
using Metrics = std::map<std::string, double>;

/// Reads the OpenMetrics text of the gateway. What is not understood is left out.
Metrics ReadMetrics(std::istream& text);

} // namespace OrvelClient
