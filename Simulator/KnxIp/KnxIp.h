#pragma once

#include "CoProcessor.h"
#include "EventLog.h"
#include "Router.h"

#include "Knx/MulticastSocket.h"
#include "System/WakeUp.h"

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

    /// As End, unless that was called.
    ~KnxIp();

    KnxIp(const KnxIp&) = delete;
    KnxIp& operator=(const KnxIp&) = delete;

    /// A telegram of a device on the line, as an indication: the network hears it, and the application.
    void SendTelegram(const Bytes& indication);

    /// Leaves the network; what still waits is not sent. Returns the event that tells what was counted. Once.
    Event End();

private:
    using Request = std::pair<Bytes, Router::Confirm>;

    Router::Outside Outside();
    void Put(const Bytes& request, const Router::Confirm& confirm);
    void ThreadFunction();
    int PollTimeout() const;
    void TakeRequests();

    CoProcessor& coProcessor;
    EventLog& events;
    Knx::MulticastSocket socket;
    Router router;    // of the thread
    std::mutex mutex; // for the two that follow
    std::vector<Request> requests;
    bool running = true;
    System::WakeUp wakeUp;
    std::thread thread;
};

} // namespace Simulator
