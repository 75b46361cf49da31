#pragma once

#include "Interception.h"

#include <mqueue.h>
#include <poll.h>
#include <sys/types.h>

#include <ctime>

/// The kernel as the components see it. The linker's option --wrap leads their calls through these objects, but not the
/// calls from inside shared libraries.
namespace UnitTests::Kernel
{

extern Interception<int(const timespec*, timespec*)> Nanosleep;
extern Interception<mqd_t(const char*, int, mode_t, mq_attr*)> MqOpen;
extern Interception<int(mqd_t, const char*, std::size_t, unsigned int)> MqSend;
extern Interception<ssize_t(mqd_t, char*, std::size_t, unsigned int*)> MqReceive;
extern Interception<int(mqd_t, mq_attr*)> MqGetattr;
extern Interception<int(mqd_t)> MqClose;
extern Interception<int(const char*)> MqUnlink;
extern Interception<int(pollfd*, nfds_t, int)> Poll;
extern Interception<int(const char*, int, mode_t)> Open;
extern Interception<ssize_t(int, void*, std::size_t)> Read;
extern Interception<ssize_t(int, const void*, std::size_t)> Write;
extern Interception<int(int)> Close;

/// All calls are real again.
void Restore();

} // namespace UnitTests::Kernel
