#pragma once

#include "User.h"

namespace OrvelPrepare
{

/// Exports the pin unless it is exported, and gives the user what the daemon opens: the pin's direction and value, and the
/// export file, which it writes to at every start although the pin is exported. The group gets none of them. Throws Failure.
void GiveResetPin(int pin, const User& user);

} // namespace OrvelPrepare
