#include "LoggedDaemon.h"

#include "BenchKit/Paths.h"

#include <utility>

namespace
{

System::Process::Start StartOf(const std::vector<std::string>& options)
{
    System::Process::Start start;
    start.command = options;
    start.command.insert(start.command.begin(), Paths::Driver());
    start.environment = {{"LD_LIBRARY_PATH", Paths::StandInLibrary()}};
    return start;
}

} // namespace

LoggedDaemon::LoggedDaemon(const std::vector<std::string>& options, OnLine onLine)
    : PipedProcess(StartOf(options), std::move(onLine))
{
}
