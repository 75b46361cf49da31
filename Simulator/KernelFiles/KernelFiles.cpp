#include "KernelFiles.h"

#include "System/Deadline.h"
#include "System/WakeUp.h"

#include "FileRequests.h"
#include "FuseSession.h"

#include <poll.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <csignal>
#include <thread>

namespace Simulator
{

class KernelFiles::Implementation
{
public:
    Implementation(const std::filesystem::path& mountPoint, const Listeners& listeners)
        : faults([this] { wakeUp.Signal(); })
        , gpio(listeners.onPin)
        , uleds(listeners.onLed, [this] { wakeUp.Signal(); })
        , requests(gpio, uleds, faults)
        , session(mountPoint, FileRequests::Operations(), &requests)
        , thread(WithoutSignals([this] { Answer(); }))
    {
    }

    ~Implementation()
    {
        stopping = true;
        wakeUp.Signal();
        thread.join();
    }

    Implementation(const Implementation&) = delete;
    Implementation& operator=(const Implementation&) = delete;

private:
    // The other threads of the process handle its signals.
    template<typename Function>
    static std::thread WithoutSignals(Function function)
    {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
        std::thread started(function);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return started;
    }

    void Answer()
    {
        std::array<pollfd, 2> set{pollfd{session.Descriptor(), POLLIN, 0}, pollfd{wakeUp.Descriptor(), POLLIN, 0}};
        bool connected = true;
        while (connected && !stopping)
        {
            poll(set.data(), set.size(), System::PollTimeout(requests.NextDue().value_or(System::NoDeadline)));
            if (set[1].revents != 0)
            {
                wakeUp.Clear();
                requests.WakePollers();
            }
            if (set[0].revents != 0)
            {
                connected = session.HandleRequest();
            }
            requests.AnswerWaiting();
        }
        requests.Abort();
    }

    System::WakeUp wakeUp;

public:
    FaultPlan faults;
    Gpio gpio;
    Uleds uleds;

private:
    FileRequests requests;
    FuseSession session;
    std::atomic<bool> stopping{false};
    std::thread thread; // last: it uses all of the above from its first moment
};

KernelFiles::KernelFiles(const std::filesystem::path& mountPoint, const Listeners& listeners)
    : implementation(std::make_unique<Implementation>(mountPoint, listeners))
{
}

KernelFiles::~KernelFiles() = default;

Gpio& KernelFiles::TheGpio()
{
    return implementation->gpio;
}

Uleds& KernelFiles::TheUleds()
{
    return implementation->uleds;
}

FaultPlan& KernelFiles::TheFaults()
{
    return implementation->faults;
}

} // namespace Simulator
