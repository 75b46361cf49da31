#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace System
{

/// Leaves the terminal as it is now, however the program ends: even when it is killed.
///
/// If the child is killed, says so after `ending`: "orvel-board: the board was killed".
///
/// Goes on in a child of the calling process, which must have one thread. Returns nothing there. In the calling process it
/// returns when the child has ended, with its exit status, or 128 and the number of the signal that killed it. Until then
/// signals that stop a program are passed on to the child, and it is stopped and continued with the child.
/// Throws std::runtime_error.
std::optional<int> GuardTerminal(const std::string& ending);

/// For the child, to be called when its rights do not change any more: it is stopped when `guard`, the process that called
/// GuardTerminal, is killed.
void EndWithGuard(pid_t guard);

/// For the child, before it leaves the terminal as it was: where `guard` was killed, the shell has the terminal back already,
/// and the kernel is not to mind.
void LeaveTerminalWithout(pid_t guard);

} // namespace System
