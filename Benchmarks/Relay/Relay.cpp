// The floor: a program with the daemon's hops and nothing else. It polls for a frame, receives it, hands it to the
// link, and sends it back on the link's thread. It has no log, no supervision, no LEDs, no button and no end, and
// handles no failure.
//   relay FROM_LL_QUEUE TO_LL_QUEUE [limit | lines]
// With one of these it also does what the daemon must, to show what that costs by itself:
//   limit  poll ends after 250 ms
//   lines  that, and each hop writes a line that is ready-made

#include "Nemt/CommHub.h"
#include "Orvel/Protocol.h"

#include <fcntl.h>
#include <mqueue.h>
#include <poll.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{

constexpr uint16_t TopicCemi = 256;

// This is as long as the daemon's own.
constexpr char EnqueuedLine[] =
    "01.01.2024 12:00:00.000 [140737353971392] DEBUG Cemi <> - Enqueued 11 cemi bytes from message queue to LL\n";
constexpr char SentLine[] =
    "01.01.2024 12:00:00.000 [140737353971392] DEBUG Cemi <> - Sended cemi message with size 12 "
    "from LL to user message queue\n";

mqd_t OpenQueue(const char* name, int access)
{
    mq_attr attributes{};
    attributes.mq_maxmsg = ORVEL_CEMI_QUEUE_CAPACITY;
    attributes.mq_msgsize = ORVEL_CEMI_MESSAGE_SIZE;
    return mq_open(name, O_CREAT | O_NONBLOCK | access, 0644, &attributes);
}

template<std::size_t Size>
void Write(const char (&line)[Size])
{
    static_cast<void>(write(STDOUT_FILENO, line, Size - 1) == -1);
}

class ToApplications : public Nemt::ITopicListener
{
public:
    ToApplications(mqd_t fromLlQueue, bool withLines)
        : queue(fromLlQueue)
        , lines(withLines)
    {
    }

    void OnTopicData(uint16_t /*topic*/, const uint8_t* data, uint16_t length) override
    {
        std::array<char, ORVEL_CEMI_MESSAGE_SIZE> message;
        message[0] = static_cast<char>(length);
        std::memcpy(&message[1], data, length);
        mq_send(queue, message.data(), length + 1U, 0);
        if (lines)
        {
            Write(SentLine);
        }
    }

private:
    mqd_t queue;
    bool lines;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
    {
        return EXIT_FAILURE;
    }
    const std::string more = argc > 3 ? argv[3] : "";
    const bool lines = more == "lines";
    const int limit = more.empty() ? -1 : 250;

    Nemt::CommHub* const hub = Nemt::CommHub::Instance();
    hub->Open("", 0);
    const mqd_t fromLlQueue = OpenQueue(argv[1], O_WRONLY);
    const mqd_t toLlQueue = OpenQueue(argv[2], O_RDONLY);
    ToApplications toApplications(fromLlQueue, lines);
    hub->RegisterTopicListener(&toApplications);
    const std::array<char, ORVEL_LINK_STATE_MESSAGE_SIZE> usable{3, static_cast<char>(ORVEL_LINK_STATE_CODE), 0, 1};
    mq_send(fromLlQueue, usable.data(), usable.size(), 0);

    pollfd entry{toLlQueue, POLLIN, 0};
    std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> message;
    while (true)
    {
        if (poll(&entry, 1, limit) > 0)
        {
            const ssize_t size =
                mq_receive(toLlQueue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
            hub->Transmit(TopicCemi, &message[1], static_cast<uint16_t>(size - 1));
            if (lines)
            {
                Write(EnqueuedLine);
            }
        }
    }
}
