#pragma once

#include "Nemt/CommHub.h"
#include "Nemt/ITopicListener.h"

#include <log4cplus/logger.h>

#include <mqueue.h>

#include <cstdint>
#include <string>
#include <vector>

namespace OrvelDriver
{

/// Publishes the programming button, which the co-processor reads, on the applications' message queues.
class Buttons : public Nemt::ITopicListener
{
public:
    /// Opens the queues, asks the co-processor for a press since it booted, and registers with the hub. Main thread.
    Buttons(Nemt::CommHub* hub, std::vector<std::string> queueNames);

    /// Removes the opened queues from the system. Main thread.
    ~Buttons();

    Buttons(const Buttons&) = delete;
    Buttons& operator=(const Buttons&) = delete;

    /// Link library's thread.
    void OnTopicData(uint16_t topic, const uint8_t* data, uint16_t length) override;

    /// Sends one byte to each queue; a full or broken queue does not keep it from the others. Link library's thread.
    void EnqueueProgButtonState(bool pressed);

    /// False when the link did not accept the request. Main thread.
    bool RequestPressedSinceBoot();

    /// True once a queue could not be opened or its descriptor is broken; never cleared. Polled by the main thread.
    bool HasFailed() const
    {
        return failed;
    }

private:
    bool OpenQueues();

    Nemt::CommHub* hub;
    bool failed = false; // plain: changes once, whoever sets it, and is polled by the main thread
    std::vector<std::string> queueNames;
    std::vector<mqd_t> queues; // one for each name; -1 where the queue could not be opened
    log4cplus::Logger logger;
};

} // namespace OrvelDriver
