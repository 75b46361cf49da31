#pragma once

#include <sys/types.h>

namespace Simulator
{

/// Moves the calling process, which must have one thread, into user, mount and IPC namespaces of its own, as root
/// there, with mounts that no longer spread to or from the system, and with `fs.mqueue.msg_max` as the package sets it.
/// "/dev" is a copy in which more can be made; "/dev/mqueue" has the queues of the new IPC namespace, and pseudo-terminals are
/// the namespaces' own. "/run" is such a copy too; "/run/orvel" in it is empty, whatever the system has there. Nothing of it
/// outlives the process and its children.
///
/// Also as an ordinary user, where the system allows user namespaces. Root keeps all user numbers, and does without the
/// user namespace where the system allows none.
/// Throws std::runtime_error with one line that says what is missing.
void EnterNamespaces();

/// Moves the calling process, which must have one thread, into the namespaces of the running process `pid`, and keeps
/// the working directory where it exists there. Throws std::runtime_error.
void JoinNamespaces(pid_t pid);

/// Sets how many messages a queue may have (`fs.mqueue.msg_max`) in the namespaces of the calling process.
/// Throws std::runtime_error.
void SetMessageLimit(int messages);

} // namespace Simulator
