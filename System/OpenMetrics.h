#pragma once

#include <iosfwd>
#include <map>
#include <string>

namespace System
{

/// Values by name: that of the sample, without what all of a program's have in common and without "_total", and the values of
/// its labels, with dots in between: "programs", "frames.from_bus".
using Samples = std::map<std::string, double>;

/// Reads OpenMetrics text in which no value of a label has a quotation mark. All names begin with `prefix`, which is left out.
/// So is what is not understood.
Samples ReadOpenMetrics(std::istream& text, const std::string& prefix);

} // namespace System
