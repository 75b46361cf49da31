#include "StopSignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>
#include <initializer_list>

namespace Simulator
{

StopSignals::StopSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
    {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

StopSignals::~StopSignals()
{
    close(descriptor);
}

void StopSignals::Take() const
{
    signalfd_siginfo ignored{};
    static_cast<void>(read(descriptor, &ignored, sizeof(ignored)) == -1);
}

} // namespace Simulator
