// orvel-gateway: owns the daemon's queues and gives the bus to many programs.

#include "Failure.h"
#include "ListeningSocket.h"
#include "Logging.h"
#include "Loop.h"
#include "Options.h"
#include "Server.h"

#include <log4cplus/loggingmacros.h>

#include <csignal>
#include <cstdio>
#include <exception>

using namespace OrvelGateway;

namespace
{

const char* NameOf(int stopSignal)
{
    return stopSignal == SIGINT ? "SIGINT" : stopSignal == SIGTERM ? "SIGTERM" : "SIGHUP";
}

void Run(const Options& options)
{
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN)); // a log that nobody reads any more does not end the gateway
    Loop loop;                                        // before the threads of the log
    ConfigureLogging(options.logConfigFile);
    const auto logger = log4cplus::Logger::getInstance("Gateway");
    const ListeningSocket listening(options.socket);
    // cppcheck-suppress unreadVariable ; it serves while the loop runs
    Server server(loop, options, listening);
    LOG4CPLUS_INFO(logger, "Serving programs on " << listening.Place());
    const char* const reason =
        NameOf(loop.Run()); // first: the line would be begun, and the lines meanwhile written into it
    LOG4CPLUS_INFO(logger, "Stopped by " << reason);
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        const Options options = ParseOptions(argc, argv);
        if (options.print.empty())
        {
            Run(options);
        }
        std::fputs(options.print.c_str(), stdout);
        return static_cast<int>(Status::Done);
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "orvel-gateway: %s\n", failure.what());
        return static_cast<int>(failure.ExitStatus());
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "orvel-gateway: %s\n", failure.what());
        return static_cast<int>(Status::Failed);
    }
}
