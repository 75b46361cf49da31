#pragma once

#include "Nemt/IConnectionListener.h"
#include "Nemt/ITopicListener.h"

#include <cstdint>

namespace Nemt
{

/// The process-wide hub of the link library: tagged messages to and from the co-processor.
///
/// Only the member functions are the library's binary interface; they are not virtual, and the object's contents are the
/// library's own. The hub is never constructed, copied or deleted by its users.
class CommHub
{
public:
    /// The same hub every time, never null. Any thread.
    static CommHub* Instance();

    /// Opens the serial device `port` and starts the link. The second argument is always 0.
    /// Returns false when the link cannot be started. Main thread, once.
    bool Open(const char* port, unsigned int flags);

    /// Stops the link. Main thread, once; listeners may still be registered and are unregistered afterwards.
    void Close();

    /// Whether the link is up at this moment. Any thread.
    bool IsConnected() const;

    /// Establishes the link anew after the co-processor was reset. Blocks; true when the link is up again, in which case
    /// the connection listeners are told so too. Main thread.
    bool Reconnect();

    /// Queues one message for the co-processor. `data` is copied before the call returns.
    /// Returns false when the message was not accepted. Any thread, also several at once.
    bool Transmit(uint16_t topic, const uint8_t* data, uint16_t length);

    /// From now on `listener` is called for every received message, whatever its topic. Any thread.
    void RegisterTopicListener(ITopicListener* listener);

    /// When this returns, no call into `listener` is running or will be made. Accepted after Close too. Any thread.
    void UnregisterTopicListener(const ITopicListener* listener);

    /// From now on `listener` is told of each change of the link. Any thread.
    void RegisterConnectionListener(IConnectionListener* listener);

    /// When this returns, no call into `listener` is running or will be made. Accepted after Close too. Any thread.
    void UnregisterConnectionListener(const IConnectionListener* listener);

private:
    CommHub() = default;
};

} // namespace Nemt
