#include "DaemonSide.h"

#include "Failure.h"

#include "Orvel/Protocol.h"

#include <log4cplus/loggingmacros.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace OrvelGateway
{

namespace
{

// More than the daemon's queue holds.
constexpr int Batch = 32;

// While a daemon is expected: its queue holds 14 telegrams, which the bus carries in 0.3 s.
constexpr std::chrono::milliseconds LookPeriod{100};

// A service manager has started a daemon again by then, also one that ends again and again.
constexpr std::chrono::minutes RestartTime{3};

constexpr const char* NoQueues = "waiting for its queues";

DaemonSide::Time Now()
{
    return std::chrono::steady_clock::now();
}

} // namespace

DaemonSide::DaemonSide(Loop& eventLoop, Hub& servedHub, const std::string& buttonQueue, std::function<void()> onEvent)
    : loop(eventLoop)
    , hub(servedHub)
    , tell(std::move(onEvent))
    , logger(log4cplus::Logger::getInstance("Daemon"))
    , fromLink{{ORVEL_CEMI_FROM_LL_QUEUE, DaemonQueue::For::Reading, ORVEL_CEMI_MESSAGE_SIZE}, {}}
    , toLink{{ORVEL_CEMI_TO_LL_QUEUE, DaemonQueue::For::Writing, ORVEL_CEMI_MESSAGE_SIZE}, {}}
    , button{{buttonQueue, DaemonQueue::For::Reading, ORVEL_PROG_BUTTON_MESSAGE_SIZE}, {}}
    , soon(loop,
           [this]
           {
               Look(Now());
               tell();
           })
    , restartLimit(Now() + RestartTime)
{
    switch (OpenIfThere())
    {
    case 0:
        hub.OnDaemonFound(Now());
        break;
    case EACCES:
        throw Failure(Status::NotAllowed, told);
    case EBUSY:
        throw Failure(Status::InUse, "another gateway reads " ORVEL_CEMI_FROM_LL_QUEUE);
    default:
        break;
    }
    LookSoon(Now());
}

void DaemonSide::LookSoon(Time now)
{
    const bool isExpected = !fromLink.watch || hasStopped;
    if (isExpected && now < restartLimit)
    {
        soon.Set(now + LookPeriod);
    }
}

void DaemonSide::Look(Time now)
{
    if (fromLink.watch && (fromLink.queue.IsRemoved() || toLink.queue.IsRemoved()))
    {
        StopDaemon(now);
        told = NoQueues; // goes without saying
        Leave(now);
    }
    if (!fromLink.watch)
    {
        switch (OpenIfThere())
        {
        case 0:
            if (std::exchange(hasFailed, false))
            {
                hub.OnDaemonFound(now);
            }
            Read(now);
            break;
        case ENOENT:
            hasFailed = false; // the daemon has gone after all, and the next one tells of its link
            break;
        case EBUSY:
            TellOnce("another program has locked " ORVEL_CEMI_FROM_LL_QUEUE); // anybody who may read it can
            break;
        default:
            break;
        }
    }
    else if (!button.watch || button.queue.IsRemoved())
    {
        OpenButton();
    }
    LookSoon(now);
}

// 0, or why they cannot be opened. All but EBUSY, another gateway's claim, has been told.
int DaemonSide::OpenIfThere()
{
    for (DaemonQueue* const queue : {&fromLink.queue, &toLink.queue})
    {
        if (const int error = queue->Open(); error != 0)
        {
            fromLink.queue.Close();
            TellOnce(error == ENOENT ? NoQueues : queue->Problem(error));
            return error;
        }
    }
    if (!fromLink.queue.Claim())
    {
        fromLink.queue.Close();
        toLink.queue.Close();
        return EBUSY;
    }
    fromLink.watch.emplace(loop, fromLink.queue.Descriptor(), [this] { OnLinkReadable(); });
    toLink.watch.emplace(
        loop, toLink.queue.Descriptor(), [] {}, [this] { tell(); });
    fromLink.watch->AwaitReadable();
    AwaitWriterEnd();
    told.clear();
    hasStopped = false;
    LOG4CPLUS_INFO(logger, "Opened the queues of the daemon");
    OpenButton();
    return 0;
}

void DaemonSide::OpenButton()
{
    button.watch.reset();
    std::string why;
    if (const int error = button.queue.Open(); error != 0)
    {
        why = "No programming button: " + button.queue.Problem(error);
    }
    else
    {
        button.watch.emplace(loop, button.queue.Descriptor(), [this] { OnButtonReadable(); });
        AwaitButton();
    }
    if (why != toldButton)
    {
        LOG4CPLUS_WARN(logger, (why.empty() ? "The programming button is there" : why));
        toldButton = why;
    }
}

void DaemonSide::AwaitWriterEnd()
{
    if (const int error = writerEnd.Watch(fromLink.queue.Descriptor()); error != 0)
    {
        LOG4CPLUS_WARN(logger, "A daemon that is killed will not be noticed: " << strerror(error));
        return;
    }
    writerEndWatch.emplace(loop, writerEnd.Descriptor(), [this] { OnWriterEnd(); });
    writerEndWatch->AwaitReadable();
}

// One that is killed leaves its queues. The next one goes on with them.
void DaemonSide::StopDaemon(Time now)
{
    Read(now); // the last that it said
    if (!hasStopped)
    {
        LOG4CPLUS_WARN(logger, "The daemon has stopped");
        hasStopped = true;
        restartLimit = now + RestartTime;
    }
    hub.OnDaemonGone(now);
}

void DaemonSide::Leave(Time now)
{
    writerEndWatch.reset();
    writerEnd.Close();
    for (Source* const source : {&fromLink, &toLink, &button})
    {
        source->watch.reset(); // before the descriptor
        source->queue.Close();
    }
    hub.OnDaemonGone(now);
}

// The daemon has not gone, and does not tell again that its link is usable.
void DaemonSide::LeaveFailed(Time now)
{
    hasFailed = hub.State() == Hub::Link::Usable;
    Leave(now);
}

void DaemonSide::TellOnce(std::string why)
{
    if (why != told)
    {
        LOG4CPLUS_WARN(logger, "No daemon: " << why);
        told = std::move(why);
    }
}

void DaemonSide::Read(Time now)
{
    for (int count = 0; count < Batch && ReadOne(now); ++count)
    {
    }
}

// False if there is no more.
bool DaemonSide::ReadOne(Time now)
{
    if (!fromLink.watch)
    {
        return false;
    }
    std::array<uint8_t, ORVEL_CEMI_MESSAGE_SIZE> message;
    std::size_t size = 0;
    switch (fromLink.queue.Receive(message.data(), size))
    {
    case DaemonQueue::Result::Done:
        hasStopped = false;
        hub.OnMessage(message.data(), size, now);
        return true;
    case DaemonQueue::Result::NotNow:
        return false;
    case DaemonQueue::Result::Failed:
        LOG4CPLUS_ERROR(logger, "Cannot read " ORVEL_CEMI_FROM_LL_QUEUE ": " << strerror(errno));
        LeaveFailed(now);
        return false;
    }
    return false;
}

void DaemonSide::Write(Time now)
{
    const Message* message = hub.NextToLink();
    // Where the end of the daemon is told, what it leaves unread is refused then.
    if (message != nullptr && (!toLink.watch || (!writerEndWatch && toLink.queue.IsRemoved())))
    {
        Look(now); // the hub has nothing for the link any more unless there is a new daemon
        message = hub.NextToLink();
    }
    for (; message != nullptr && toLink.watch; message = hub.NextToLink())
    {
        switch (toLink.queue.Send(message->Data(), message->Size()))
        {
        case DaemonQueue::Result::Done:
            hub.TakenByLink(now);
            break;
        case DaemonQueue::Result::NotNow:
            toLink.watch->AwaitWritable();
            return;
        case DaemonQueue::Result::Failed:
            LOG4CPLUS_ERROR(logger, "Cannot write to " ORVEL_CEMI_TO_LL_QUEUE ": " << strerror(errno));
            LeaveFailed(now);
            return;
        }
    }
}

// The bus has seldom a second telegram at once, and to find none costs as much as to find one.
void DaemonSide::OnLinkReadable()
{
    ReadOne(Now());
    tell();
    if (fromLink.watch)
    {
        fromLink.watch->AwaitReadable();
    }
}

void DaemonSide::OnWriterEnd()
{
    if (writerEnd.Take())
    {
        StopDaemon(Now());
        LookSoon(Now());
    }
    tell();
    if (writerEndWatch)
    {
        writerEndWatch->AwaitReadable();
    }
}

void DaemonSide::OnButtonReadable()
{
    if (!hub.TakesButton())
    {
        return; // until AwaitButton
    }
    uint8_t state = 0;
    std::size_t size = 0;
    const auto result = button.queue.Receive(&state, size);
    if (result == DaemonQueue::Result::Done && size == ORVEL_PROG_BUTTON_MESSAGE_SIZE)
    {
        hub.OnButton(state);
    }
    if (result == DaemonQueue::Result::Failed)
    {
        LOG4CPLUS_ERROR(logger, "Cannot read " << button.queue.Name() << ": " << strerror(errno));
        button.watch.reset(); // until Look: waiting would only fail again at once
    }
    tell();
    AwaitButton();
}

void DaemonSide::AwaitButton()
{
    if (button.watch && hub.TakesButton())
    {
        button.watch->AwaitReadable();
    }
}

} // namespace OrvelGateway
