#pragma once

#include "CoProcessor.h"
#include "EventLog.h"
#include "MulticastSocket.h"
#include "Router.h"

#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Simulator
{

/// The KNX side of a co-processor, joined to KNXnet/IP routing. Runs on a thread of its own.
class KnxIp
{
public:
    struct Settings
    {
        std::string interface = "lo";
        BusSpeed speed = BusSpeed::Tp1;
    };

    /// Throws std::runtime_error with one line when the interface cannot be used.
    KnxIp(const Settings& settings, CoProcessor& theCoProcessor, EventLog& eventLog);

    /// What still waits is not sent.
    ~KnxIp();

    KnxIp(const KnxIp&) = delete;
    KnxIp& operator=(const KnxIp&) = delete;

private:
    using Request = std::pair<Bytes, Router::Confirm>;

    Router::Outside Outside();
    void ThreadFunction();
    int PollTimeout() const;
    void TakeRequests();
    void TellCounters();
    void Wake() const;

    CoProcessor& coProcessor;
    EventLog& events;
    MulticastSocket socket;
    Router router;    // of the thread
    std::mutex mutex; // for the two that follow
    std::vector<Request> requests;
    bool running = true;
    int wakeUp = -1;
    std::thread thread;
};

} // namespace Simulator
