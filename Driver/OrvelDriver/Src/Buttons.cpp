#include "Buttons.h"

#include "MessageQueue.h"
#include "Orvel/Protocol.h"
#include "Topics.h"

#include <log4cplus/loggingmacros.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace OrvelDriver
{

namespace
{

enum MessageType : uint8_t
{
    ProgButtonStateChanged = 0x07,
    ProgButtonSinceBootRequest = 0x08,
    ProgButtonSinceBootAnswer = 0x09
};

constexpr uint8_t ProgButton = 0x01; // the only button number that there is
constexpr uint16_t StateLength = 3;  // bytes: message type, button number, state

const char* StateText(bool pressed)
{
    return pressed ? "pressed" : "released";
}

} // namespace

Buttons::Buttons(Nemt::CommHub* commHub, std::vector<std::string> names)
    : hub(commHub)
    , queueNames(std::move(names))
    , queues(queueNames.size(), -1)
    , logger(log4cplus::Logger::getInstance("Buttons"))
{
    if (!OpenQueues())
    {
        failed = true;
    }
    else if (!RequestPressedSinceBoot())
    {
        LOG4CPLUS_ERROR(logger, "Failed to enqueue request for programming button pressed since boot");
    }
    // In every case: the queues that did open get their events until the main thread ends the daemon.
    hub->RegisterTopicListener(this);
}

Buttons::~Buttons()
{
    hub->UnregisterTopicListener(this);
    for (std::size_t index = 0; index < queues.size(); ++index)
    {
        if (queues[index] >= 0)
        {
            mq_close(queues[index]);
            mq_unlink(queueNames[index].c_str());
        }
    }
}

bool Buttons::OpenQueues()
{
    bool allOpen = true;
    for (std::size_t index = 0; index < queues.size(); ++index)
    {
        queues[index] = MessageQueue::Create(queueNames[index], ORVEL_PROG_BUTTON_MESSAGE_SIZE,
                                             ORVEL_PROG_BUTTON_QUEUE_CAPACITY, false, &logger);
        allOpen = allOpen && queues[index] >= 0;
    }
    return allOpen;
}

bool Buttons::RequestPressedSinceBoot()
{
    constexpr std::array<uint8_t, 2> Request{ProgButtonSinceBootRequest, ProgButton};
    return hub->Transmit(TopicDevice, Request.data(), static_cast<uint16_t>(Request.size()));
}

void Buttons::OnTopicData(uint16_t topic, const uint8_t* data, uint16_t length)
{
    if (topic != TopicDevice || length != StateLength || data[1] != ProgButton)
    {
        return;
    }
    const bool pressed = data[2] != 0;
    if (data[0] == ProgButtonStateChanged)
    {
        LOG4CPLUS_DEBUG_FMT(logger, "Programming button state changed to: %s", StateText(pressed));
        EnqueueProgButtonState(pressed);
    }
    else if (data[0] == ProgButtonSinceBootAnswer)
    {
        LOG4CPLUS_DEBUG_FMT(logger, "Programming button since boot was: %s", StateText(pressed));
        if (pressed)
        {
            // Three times: applications tell a press made before the daemon ran by this repetition.
            EnqueueProgButtonState(true);
            EnqueueProgButtonState(true);
            EnqueueProgButtonState(true);
        }
    }
}

void Buttons::EnqueueProgButtonState(bool pressed)
{
    const char state = pressed ? ORVEL_PROG_BUTTON_PRESSED : ORVEL_PROG_BUTTON_RELEASED;
    for (std::size_t index = 0; index < queues.size(); ++index)
    {
        // A queue that never opened is not skipped: its line in the log tells that its readers miss the event.
        if (mq_send(queues[index], &state, sizeof(state), 0) == -1)
        {
            const int error = errno;
            LOG4CPLUS_ERROR(logger, "Failed to write programming button state to queue " << queueNames[index] << ": "
                                                                                         << strerror(error));
            // Not EBADF, which a queue that never opened gives: the flag is set for a queue that broke while in use. The
            // text names the other error; log watchers look for it as it is.
            if (error == EBADFD)
            {
                failed = true;
                LOG4CPLUS_FATAL(logger, "File handle for programming button queue is broken (EBADF)");
            }
        }
    }
}

} // namespace OrvelDriver
