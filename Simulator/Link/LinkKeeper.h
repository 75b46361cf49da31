#pragma once

#include "Frame.h"
#include "HostSession.h"

#include <functional>
#include <optional>

namespace Simulator
{

/// The serial line as the keeper of the link needs it. Nothing here blocks.
class IHostLine
{
public:
    virtual bool IsOpen() const = 0;

    /// Opens the device of the last time anew. A failure is logged when it is `worthTelling`.
    virtual bool OpenAgain(bool worthTelling) = 0;

    virtual void Send(const Wire::Frame& frame) = 0;

    /// Goes on with what the line did not take yet.
    virtual void SendUnsent() = 0;
    virtual bool HasUnsent() const = 0;

    /// Drops what is not sent yet and what is received in part.
    virtual void Clear() = 0;

protected:
    ~IHostLine() = default;
};

/// Keeps the link to the co-processor: brings it up, notices its loss, sends and delivers messages while it is up.
///
/// It has no thread, no device and no clock. The caller hands in frames and time. Not for several threads at once.
class LinkKeeper
{
public:
    using Clock = HostSession::Clock;

    /// What the keeper uses.
    struct Outside
    {
        /// The link may be up, down or starting now. Called before the first message and after the last one.
        std::function<void()> report;
        /// A message of the co-processor.
        std::function<void(const Wire::Frame& message)> deliver;
        /// The next message that waits to be sent, if any. It is taken only when the line takes it at once.
        std::function<std::optional<Wire::Frame>()> next;
    };

    LinkKeeper(IHostLine& hostLine, Outside outsideWorld);

    /// Begins a new session, also while one is up. The co-processor has the time `limit` to answer.
    void Start(Clock::time_point now, Clock::duration limit);

    /// Ends the session without a report.
    void Stop();

    /// A frame has come over the line.
    void OnFrame(const Wire::Frame& frame, Clock::time_point now);

    /// To be called at NextTime() or later, and whenever the line may take something or is gone. All frames that had come by
    /// `now` must have been handed in; later ones may have been.
    void OnTime(Clock::time_point now);

    /// Nothing while there is no session.
    std::optional<Clock::time_point> NextTime() const
    {
        return session.NextTime();
    }

    /// The co-processor has not answered yet, but still has time to.
    bool IsStarting() const
    {
        return session.IsStarting();
    }

    bool IsUp() const
    {
        return session.IsUp();
    }

private:
    void KeepTime(Clock::time_point now);
    void SendMessages();

    IHostLine& line;
    const Outside outside;
    HostSession session;
    bool openFailureTold = false; // in this session
};

} // namespace Simulator
