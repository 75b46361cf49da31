#include "Buttons.h"
#include "Cemi.h"
#include "CommandLine.h"
#include "Connection.h"
#include "Leds.h"
#include "Logging.h"
#include "Nemt/CommHub.h"
#include "Orvel/Protocol.h"
#include "Reset.h"
#include "Sleep.h"

#include <log4cplus/logger.h>
#include <log4cplus/loggingmacros.h>

#include <atomic>
#include <csignal>

using namespace OrvelDriver;
using namespace std::chrono_literals;

namespace
{

constexpr auto SupervisionPeriod = 250ms; // a failed component or a lost link is noticed within this

// A signal handler reaches nothing but globals.
std::atomic<bool> stopRequested; // NOLINT(cppcoreguidelines-avoid-non-const-global-variables)

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): gets its name in main, once logging is configured
log4cplus::Logger logger;

void HandleSignal(int signal)
{
    if (signal == SIGINT)
    {
        stopRequested = true;
    }
}

} // namespace

int main(int argc, char** argv)
{
    WriteOutputByLine();

    CommandLine commandLine;
    if (!commandLine.Parse(argc, argv))
    {
        return -1;
    }
    if (commandLine.help)
    {
        commandLine.PrintHelp();
        return 0;
    }
    if (commandLine.version)
    {
        commandLine.PrintVersion(); // and goes on: services print it into their log at each start
    }

    ConfigureLogging(commandLine.logConfigFile);
    logger = log4cplus::Logger::getInstance("Main");
    std::signal(SIGINT, HandleSignal);

    Reset reset(commandLine.resetGpio);
    if (reset.HasFailed())
    {
        return -1;
    }
    reset.ResetStm32(); // a failure of this first pulse is seen after the first period, as that of any later one

    if (!Nemt::CommHub::Instance()->Open(commandLine.device.c_str(), 0))
    {
        LOG4CPLUS_ERROR_FMT(logger, "Failed to open port %s for NEMT communication, aborting.",
                            commandLine.device.c_str());
        return -1;
    }

    Leds leds(Nemt::CommHub::Instance(), commandLine.ledNames, commandLine.enableRs485);
    Buttons buttons(Nemt::CommHub::Instance(), commandLine.progButtonQueues);
    Cemi cemi(Nemt::CommHub::Instance(), ORVEL_CEMI_FROM_LL_QUEUE, ORVEL_CEMI_TO_LL_QUEUE);
    Connection connection(Nemt::CommHub::Instance());

    int result = 0;
    while (!stopRequested)
    {
        Sleep(SupervisionPeriod);
        if (leds.HasFailed() || buttons.HasFailed() || cemi.HasFailed() || reset.HasFailed())
        {
            result = -1;
            break;
        }
        if (connection.IsConnected())
        {
            continue;
        }

        LOG4CPLUS_ERROR(logger, "Lost connection to STM32, resetting and trying to reconnect.");
        reset.ResetStm32();
        if (!connection.Reconnect())
        {
            LOG4CPLUS_ERROR(logger, "Failed to reconnect to STM32, aborting.");
            cemi.SendLinkState(ORVEL_LINK_STATE_LOST);
            result = -1;
            break;
        }
        cemi.SendLinkState(ORVEL_LINK_STATE_USABLE);
    }

    // The hub is closed first, while every component is still registered; the components then go in the reverse order of
    // their construction. The hub accepts their unregistration afterwards.
    Nemt::CommHub::Instance()->Close();
    return result;
}
