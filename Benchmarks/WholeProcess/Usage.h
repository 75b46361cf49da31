#pragma once

#include <sys/types.h>

#include <chrono>

// What a process has used so far. These throw std::runtime_error when it has ended.

/// By its threads, in user and in system mode.
std::chrono::nanoseconds ProcessorTimeOf(pid_t process);

/// How often its threads went to sleep.
long SleepsOf(pid_t process);

/// The KiB that it has in memory, and its share of them if several processes use the same.
long ResidentMemoryOf(pid_t process);
long ProportionalMemoryOf(pid_t process);
