#pragma once

#include "User.h"

#include <string>
#include <vector>

namespace OrvelPrepare
{

/// Makes the queues that the daemon opens: the two for frames, and one for each name of `buttonQueues`. Each is the user's
/// and the group's, with its mode and sizes, from its first moment on, so that no other program gets one that is not yet
/// right. One that is right is kept, with what is in it: applications may have it open. Whatever else has the name is removed,
/// as often as somebody makes it anew, and told on standard error in one line. Throws Failure.
void MakeQueues(const std::vector<std::string>& buttonQueues, const User& user);

} // namespace OrvelPrepare
