#include "Programs.h"

#include "Orvel/Protocol.h"

#include <filesystem>
#include <fstream>

namespace
{

const std::vector<std::pair<std::string, std::string>> WithEchoLink{{"LD_LIBRARY_PATH", ECHO_LIBRARY}};

} // namespace

Program Daemon()
{
    return {{DRIVER}, ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_TO_LL_QUEUE, WithEchoLink};
}

Program Daemon(const std::string& level)
{
    const std::filesystem::path file = std::filesystem::current_path() / (level + ".properties");
    std::ofstream(file) << "log4cplus.rootLogger=" << level << ",A1\n"
                        << "log4cplus.appender.A1=log4cplus::ConsoleAppender\n"
                        << "log4cplus.appender.A1.layout=log4cplus::TTCCLayout\n"
                        << "log4cplus.appender.A1.layout.DateFormat=%d.%m.%Y %H:%M:%S.%q\n";
    Program program = Daemon();
    program.command.insert(program.command.end(), {"--log_config_file", file});
    return program;
}

Program Relay(const std::string& more)
{
    // Each has queues of its own, so that both can run side by side.
    const std::string fromLl = "/relayFromLL";
    const std::string toLl = "/relayToLL";
    Program program{{RELAY, fromLl, toLl}, fromLl, toLl, WithEchoLink};
    if (!more.empty())
    {
        program.command.push_back(more);
    }
    return program;
}

Program RelayWithLogLibrary()
{
    Program program = Relay();
    program.environment.emplace_back("LD_PRELOAD", LOG_LIBRARY);
    return program;
}
