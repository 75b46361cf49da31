#pragma once

#include "BenchKit/PipedProcess.h"

#include <string>
#include <vector>

/// The daemon as a process whose output is too long to keep.
class LoggedDaemon : public PipedProcess
{
public:
    LoggedDaemon(const std::vector<std::string>& options, OnLine onLine);
};
