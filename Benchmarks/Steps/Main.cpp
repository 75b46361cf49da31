// Measures by itself each step that a frame, a brightness and a button event take in the daemon. Steps that wait for
// another thread or pass a queue have their floor beside them: the same system calls and nothing else. The figures are
// times of the processor, so that they mean something on a busy machine too.
//   steps [OPTION OF GOOGLE BENCHMARK...]

#include "Steps.h"

#include "Logging.h"
#include "Nemt/CommHub.h"

#include <benchmark/benchmark.h>

#include <sys/eventfd.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>

namespace Nemt
{

// The hub accepts each message and says so.
bool CommHub::Transmit(uint16_t /*topic*/, const uint8_t* /*data*/, uint16_t /*length*/)
{
    Transmitted().Give();
    return true;
}

void CommHub::RegisterTopicListener(ITopicListener* /*listener*/)
{
    Transmitted().Give(); // the worker is ready
}

void CommHub::UnregisterTopicListener(const ITopicListener* /*listener*/) {}

void CommHub::RegisterConnectionListener(IConnectionListener* /*listener*/) {}

void CommHub::UnregisterConnectionListener(const IConnectionListener* /*listener*/) {}

bool CommHub::IsConnected() const
{
    return true;
}

bool CommHub::Reconnect()
{
    return true;
}

} // namespace Nemt

Signal::Signal()
    : descriptor(eventfd(0, EFD_CLOEXEC | EFD_SEMAPHORE))
{
}

void Signal::Give() const
{
    eventfd_write(descriptor.Number(), 1);
}

void Signal::Await() const
{
    eventfd_t ignored = 0;
    eventfd_read(descriptor.Number(), &ignored);
}

const Signal& Transmitted()
{
    static const Signal signal;
    return signal;
}

std::chrono::nanoseconds ProcessorTime()
{
    timespec used{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

void LogFrom(log4cplus::LogLevel level)
{
    log4cplus::Logger::getRoot().setLogLevel(level);
}

int main(int argc, char** argv)
{
    // Log lines are written as the daemon writes them, but nobody sees them; the results go to standard error.
    if (std::freopen("/dev/null", "w", stdout) == nullptr)
    {
        std::perror("steps: /dev/null");
        return EXIT_FAILURE;
    }
    OrvelDriver::WriteOutputByLine();
    OrvelDriver::ConfigureLogging("");

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
    {
        return EXIT_FAILURE;
    }
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&std::cerr);
    reporter.SetErrorStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return EXIT_SUCCESS;
}
