#pragma once

#include "Nemt/CommHub.h"
#include "Nemt/ITopicListener.h"

#include <log4cplus/logger.h>

#include <mqueue.h>

#include <cstdint>
#include <string>
#include <thread>

namespace OrvelDriver
{

/// Carries cEMI frames between the applications' message queues and the link, and tells the applications the link's
/// state. Looks at lengths only, never into a frame.
class Cemi : public Nemt::ITopicListener
{
public:
    /// Starts the worker and returns; the queues exist once the worker has opened them. Main thread.
    Cemi(Nemt::CommHub* commHub, const std::string& fromLlQueueName, const std::string& toLlQueueName);

    /// Blocks for at most one poll period, then removes both queues from the system. Main thread.
    ~Cemi();

    Cemi(const Cemi&) = delete;
    Cemi& operator=(const Cemi&) = delete;

    /// Link library's thread.
    void OnTopicData(uint16_t topic, const uint8_t* data, uint16_t length) override;

    /// Sends a link state message to the applications. Main thread. Before the worker has opened its queues this fails
    /// as on any bad descriptor: with the failure flag set.
    void SendLinkState(uint16_t state);

    /// True once a queue could not be opened or its descriptor is bad; never cleared. Polled by the main thread.
    bool HasFailed() const
    {
        return failed;
    }

private:
    void ThreadFunction();
    void SendCemiToUser(const uint8_t* data, uint16_t length);
    void SendToUser(const char* data, uint16_t length);

    // The flags are plain bytes: each changes once, whoever sets it, and is polled.
    Nemt::CommHub* commHub;
    bool failed = false;
    bool running = true;
    mqd_t fromLlQueue = -1; // written by the worker before it registers, hence seen by the link library's thread
    std::string fromLlQueueName;
    mqd_t toLlQueue = -1;
    std::string toLlQueueName;
    log4cplus::Logger logger;
    std::thread thread; // last: it uses all of the above from its first moment
};

} // namespace OrvelDriver
