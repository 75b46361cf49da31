#pragma once

#include "DaemonQueue.h"
#include "Hub.h"
#include "Loop.h"
#include "WriterEnd.h"

#include <log4cplus/logger.h>

#include <functional>
#include <optional>
#include <string>

namespace OrvelGateway
{

/// Carries messages between the hub and the daemon's queues, and notices when the daemon comes and goes.
class DaemonSide
{
public:
    using Time = Hub::Time;

    /// Opens the queues if they are there, and reads nothing yet. `onEvent` is called after the hub has been given something.
    /// Throws Failure: NotAllowed, InUse.
    DaemonSide(Loop& eventLoop, Hub& servedHub, const std::string& buttonQueue, std::function<void()> onEvent);

    /// Nobody tells when a daemon comes or is started anew, so this has to look. To be called once in a second; while a restart is
    /// likely, it also looks by itself.
    void Look(Time now);

    /// Gives the hub what the link has sent.
    void Read(Time now);

    /// Sends what the hub has for the link.
    void Write(Time now);

    /// To be called when the hub may have begun to take the button's messages: until then they wait in their queue.
    void AwaitButton();

private:
    // A queue that is read, and what waits for it.
    struct Source
    {
        DaemonQueue queue;
        std::optional<Watch> watch;
    };

    int OpenIfThere();
    void OpenButton();
    void AwaitWriterEnd();
    void LookSoon(Time now);
    void StopDaemon(Time now);
    void Leave(Time now);
    void LeaveFailed(Time now);
    void TellOnce(std::string why);
    bool ReadOne(Time now);
    void OnLinkReadable();
    void OnWriterEnd();
    void OnButtonReadable();

    Loop& loop;
    Hub& hub;
    const std::function<void()> tell;
    log4cplus::Logger logger;
    Source fromLink;
    Source toLink; // its watch waits for room
    Source button;
    WriterEnd writerEnd; // of "/cemiFromLL", where only the daemon writes
    std::optional<Watch> writerEndWatch;
    Timer soon;              // for the next look
    Time restartLimit;       // until then a restart is likely
    bool hasStopped = false; // the daemon, and nothing has come from the next one yet
    bool hasFailed = false;  // a queue, while the link was usable
    std::string told;        // why there is no daemon; empty while there is one
    std::string toldButton;  // the same about the button's queue
};

} // namespace OrvelGateway
