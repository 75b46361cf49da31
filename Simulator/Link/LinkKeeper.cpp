#include "LinkKeeper.h"

#include <utility>

namespace Simulator
{

LinkKeeper::LinkKeeper(IHostLine& hostLine, Outside outsideWorld)
    : line(hostLine)
    , outside(std::move(outsideWorld))
{
}

void LinkKeeper::Start(Clock::time_point now, Clock::duration limit)
{
    line.Clear();
    openFailureTold = false;
    session.Start(now, limit);
}

void LinkKeeper::Stop()
{
    session.Stop();
}

void LinkKeeper::OnFrame(const Wire::Frame& frame, Clock::time_point now)
{
    session.OnFrame(frame, now);
    outside.report(); // the listeners learn of the link before they get its first message
    if (frame.kind == Wire::Kind::Message && session.IsUp())
    {
        outside.deliver(frame);
    }
}

void LinkKeeper::OnTime(Clock::time_point now)
{
    KeepTime(now);
    SendMessages();
    if (!line.IsOpen() && session.IsUp()) // a session that is starting goes on trying until its time is over
    {
        session.Stop();
    }
    outside.report();
}

void LinkKeeper::KeepTime(Clock::time_point now)
{
    const std::optional<Wire::Frame> frame = session.OnTime(now);
    if (!frame)
    {
        return;
    }
    if (!line.IsOpen() && !session.IsUp()) // one that was up ends with its line
    {
        openFailureTold = !line.OpenAgain(!openFailureTold) || openFailureTold;
    }
    if (line.IsOpen())
    {
        line.Send(*frame);
    }
}

// One message at a time goes to the line, so that one that does not move leaves the others in the bounded queue.
void LinkKeeper::SendMessages()
{
    line.SendUnsent();
    while (session.IsUp() && line.IsOpen() && !line.HasUnsent())
    {
        const std::optional<Wire::Frame> message = outside.next();
        if (!message)
        {
            return;
        }
        line.Send(*message);
    }
}

} // namespace Simulator
