#pragma once

#include "DaemonQueue.h"
#include "Hub.h"
#include "Loop.h"

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

    /// Opens the queues if a daemon runs. `onEvent` is called after the hub has been given something. Throws Failure:
    /// NotAllowed, InUse.
    DaemonSide(Loop& eventLoop, Hub& servedHub, const std::string& buttonQueue, std::function<void()> onEvent);

    /// Nobody tells when a daemon comes, goes or is started anew, so this has to look. To be called once in a second. Throws
    /// Failure (InUse).
    void Look(Time now);

    /// Gives the hub what the link has sent.
    void Read(Time now);

    /// Sends what the hub has for the link.
    void Write(Time now);

    /// To be called when a program has connected: a press since boot waits in its queue for the first one.
    void AwaitButton();

private:
    // A queue that is read, and what waits for it.
    struct Source
    {
        DaemonQueue queue;
        std::optional<Watch> watch;
    };

    int OpenIfThere(Time now);
    void OpenButton();
    void Leave(Time now);
    void TellOnce(std::string why);
    void OnLinkReadable();
    void OnButtonReadable();

    Loop& loop;
    Hub& hub;
    const std::function<void()> tell;
    log4cplus::Logger logger;
    Source fromLink;
    Source toLink; // its watch waits for room
    Source button;
    std::string told;       // why there is no daemon; empty while there is one
    std::string toldButton; // the same about the button's queue
};

} // namespace OrvelGateway
