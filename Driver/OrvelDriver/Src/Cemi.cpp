#include "Cemi.h"

#include "MessageQueue.h"
#include "Orvel/Protocol.h"
#include "Topics.h"

#include <log4cplus/loggingmacros.h>

#include <poll.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace OrvelDriver
{

namespace
{

constexpr int PollTimeout = 250;         // ms; bounds how long stopping the worker takes
constexpr std::size_t ReceiveSize = 280; // bytes; more than the queue's messages have
constexpr short ReadEvents = POLLIN | POLLPRI | POLLRDBAND;

} // namespace

Cemi::Cemi(Nemt::CommHub* hub, const std::string& fromLl, const std::string& toLl)
    : commHub(hub)
    , fromLlQueueName(fromLl)
    , toLlQueueName(toLl)
    , logger(log4cplus::Logger::getInstance("Cemi"))
    , thread(&Cemi::ThreadFunction, this)
{
}

Cemi::~Cemi()
{
    commHub->UnregisterTopicListener(this);
    if (thread.joinable())
    {
        running = false;
        thread.join();
    }
    if (fromLlQueue >= 0)
    {
        mq_close(fromLlQueue);
        mq_unlink(fromLlQueueName.c_str());
    }
    if (toLlQueue >= 0)
    {
        mq_close(toLlQueue);
        mq_unlink(toLlQueueName.c_str());
    }
}

void Cemi::ThreadFunction()
{
    fromLlQueue =
        MessageQueue::Create(fromLlQueueName, ORVEL_CEMI_MESSAGE_SIZE, ORVEL_CEMI_QUEUE_CAPACITY, false, &logger);
    if (fromLlQueue < 0)
    {
        failed = true;
        return;
    }
    toLlQueue = MessageQueue::Create(toLlQueueName, ORVEL_CEMI_MESSAGE_SIZE, ORVEL_CEMI_QUEUE_CAPACITY, true, &logger);
    if (toLlQueue < 0)
    {
        failed = true;
        return;
    }
    // What applications left while no daemon was running is stale: a switch must not turn when the daemon starts.
    MessageQueue::DeletePending(toLlQueue, ORVEL_CEMI_MESSAGE_SIZE, &logger);
    SendLinkState(ORVEL_LINK_STATE_USABLE);
    commHub->RegisterTopicListener(this);

    pollfd entry{toLlQueue, ReadEvents, 0};
    while (running)
    {
        if (poll(&entry, 1, PollTimeout) <= 0)
        {
            continue;
        }

        // Whatever the event is: a bad descriptor shows itself by the error of the receive.
        std::array<uint8_t, ReceiveSize> message;
        const ssize_t received =
            mq_receive(toLlQueue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
        if (received <= 0)
        {
            const int error = errno;
            LOG4CPLUS_ERROR(logger, "Failed to read from queue " << toLlQueueName << ": " << strerror(error));
            if (error == EBADF)
            {
                LOG4CPLUS_FATAL(logger, "Queue to LL reports bad file descriptor.");
                failed = true; // the worker goes on until the main thread has seen this
            }
            continue;
        }

        const uint8_t size = message[0];
        if (size == 0 || size + 1 != received)
        {
            LOG4CPLUS_ERROR_FMT(logger,
                                "Received invalid cemi message with size byte %d and message size %d, dropping message",
                                size, static_cast<int>(received));
            continue;
        }

        if (!commHub->Transmit(TopicCemi, &message[1], size))
        {
            LOG4CPLUS_ERROR_FMT(logger, "Failed to enqueue cemi message with size byte %d for LL, dropping message",
                                size);
            continue;
        }
        LOG4CPLUS_DEBUG_FMT(logger, "Enqueued %d cemi bytes from message queue to LL", size);
    }
}

void Cemi::OnTopicData(uint16_t topic, const uint8_t* data, uint16_t length)
{
    if (topic == TopicCemi && length >= 1 && length <= ORVEL_CEMI_MAX_FRAME_FROM_LL)
    {
        SendCemiToUser(data, length);
    }
}

void Cemi::SendCemiToUser(const uint8_t* data, uint16_t length)
{
    // The size byte overflows to 0 to 4 for frames of 256 to 260 bytes. Readers know: they go by the message's length.
    std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message;
    message[0] = static_cast<char>(length & 0xFFU);
    std::memcpy(&message[1], data, length);
    SendToUser(message.data(), static_cast<uint16_t>(length + 1));
}

void Cemi::SendLinkState(uint16_t state)
{
    const std::array<char, ORVEL_LINK_STATE_MESSAGE_SIZE> message{
        ORVEL_LINK_STATE_MESSAGE_SIZE - 1,
        static_cast<char>(ORVEL_LINK_STATE_CODE),
        static_cast<char>(state >> 8U),
        static_cast<char>(state & 0xFFU),
    };
    SendToUser(message.data(), ORVEL_LINK_STATE_MESSAGE_SIZE);
}

void Cemi::SendToUser(const char* data, uint16_t length)
{
    if (mq_send(fromLlQueue, data, length, 0) == -1)
    {
        const int error = errno;
        LOG4CPLUS_ERROR_FMT(logger, "Failed to send cemi message from LL to user message queue: %s", strerror(error));
        if (error == EBADF)
        {
            LOG4CPLUS_FATAL_FMT(logger, "Message queue %s reports bad file descriptor", fromLlQueueName.c_str());
            failed = true;
        }
        return;
    }
    LOG4CPLUS_DEBUG_FMT(logger, "Sended cemi message with size %d from LL to user message queue", length);
}

} // namespace OrvelDriver
