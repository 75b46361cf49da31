#pragma once

#include "Command.h"

#include <optional>
#include <string>

namespace OrvelClient
{

struct LedOptions
{
    void AddTo(Arguments::Parser& parser);

    std::string name;              ///< empty: all are listed
    std::optional<int> brightness; ///< none: it is shown
    bool full = false;             ///< as bright as it can be, instead of `brightness`
};

/// Lists the LEDs of this machine, shows one, or sets one.
Command LedCommand();

} // namespace OrvelClient
