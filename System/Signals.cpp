#include "System/Signals.h"

#include "System/ThrowErrno.h"

#include <sys/signalfd.h>
#include <unistd.h>

#include <csignal>

namespace System
{

namespace
{

sigset_t SetOf(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
    {
        sigaddset(&set, signal);
    }
    return set;
}

} // namespace

void BlockSignals(std::initializer_list<int> signals)
{
    const sigset_t set = SetOf(signals);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

Signals::Signals(std::initializer_list<int> signals)
{
    BlockSignals(signals);
    const sigset_t set = SetOf(signals);
    descriptor = System::Descriptor(signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!descriptor.IsOpen())
    {
        ThrowErrno("cannot make a descriptor of signals");
    }
}

int Signals::Take() const
{
    signalfd_siginfo signal{};
    return read(Descriptor(), &signal, sizeof(signal)) == sizeof(signal) ? static_cast<int>(signal.ssi_signo) : 0;
}

StopSignals::StopSignals()
    : Signals({SIGINT, SIGTERM, SIGHUP})
{
}

} // namespace System
