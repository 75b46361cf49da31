#pragma once

#include "Knx/Datapoint.h"

#include <random>

namespace Knx
{

/// A value of the type, as whoever keeps to its limits sends it.
GroupValue RandomValue(const DatapointType& type, std::mt19937& random);

/// Anything that has the size of one.
GroupValue RandomBytes(const DatapointType& type, std::mt19937& random);

/// Whether a number is not always the same bytes, or the same bytes not always one number.
bool HasSeveralFormsOfANumber(const DatapointType& type);

} // namespace Knx
