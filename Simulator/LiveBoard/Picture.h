#pragma once

#include "BoardState.h"

#include "System/Terminal/Picture.h"

#include <optional>
#include <string>

namespace Simulator
{

using System::Picture;
using System::Style;

/// What else is on the screen.
struct View
{
    std::string name; ///< of the board
    bool help = false;
    std::optional<std::string> prompt;       ///< the telegram that is being typed
    std::optional<int> pause = std::nullopt; ///< seconds that have been typed, for the next restart
};

/// The board on a screen of this size, however small.
Picture Draw(const BoardState& state, const View& view, int rows, int columns);

} // namespace Simulator
