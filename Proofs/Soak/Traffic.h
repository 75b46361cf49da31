#pragma once

#include <cstdint>
#include <map>
#include <string>

/// How much traffic of each kind there must be.
struct Amounts
{
    long losses = 0; ///< of the link, with recovery
    long frames = 0; ///< each way
    long buttons = 0;
    long brightness = 0;
};

/// Figures by name. Those of several boards are added; of figures whose name begins with "most", the largest counts.
using Figures = std::map<std::string, long>;

/// Runs daemons on a board of its own, one after the other, until there was enough of everything. The seed chooses at
/// random what happens; the same seed makes the same choices. Throws std::runtime_error with everything that is wrong
/// in an account.
Figures RunTraffic(uint32_t seed, const Amounts& amounts);
