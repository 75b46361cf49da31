#include "Logging.h"

#include <log4cplus/configurator.h>
#include <log4cplus/helpers/property.h>

#include <cstdio>

namespace OrvelGateway
{

void ConfigureLogging(const std::string& configFile)
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    log4cplus::Hierarchy& hierarchy = log4cplus::Logger::getDefaultHierarchy();
    if (!configFile.empty())
    {
        log4cplus::PropertyConfigurator(configFile, hierarchy, 0).configure();
        return;
    }
    log4cplus::helpers::Properties console;
    console.setProperty("log4cplus.rootLogger", "INFO,A1");
    console.setProperty("log4cplus.appender.A1", "log4cplus::ConsoleAppender");
    console.setProperty("log4cplus.appender.A1.layout", "log4cplus::TTCCLayout");
    console.setProperty("log4cplus.appender.A1.layout.DateFormat", "%d.%m.%Y %H:%M:%S.%q");
    log4cplus::PropertyConfigurator(console, hierarchy, 0).configure();
}

} // namespace OrvelGateway
