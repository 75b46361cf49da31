#pragma once

#include "Nemt/CommHub.h"
#include "Nemt/IConnectionListener.h"

namespace OrvelDriver
{

/// Keeps the last link state that the link library reported.
class Connection : public Nemt::IConnectionListener
{
public:
    /// Registers with the hub. Main thread.
    explicit Connection(Nemt::CommHub* commHub);

    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Link library's thread.
    void OnConnectionChanged(bool connected) override;

    /// Unregisters from the hub. Main thread.
    virtual ~Connection();

    /// Blocks until the link is up (true) or the library gives up (false). Does not set the connected flag: only the
    /// library's report does. Main thread.
    bool Reconnect();

    /// Polled by the main thread once per supervision period.
    bool IsConnected() const
    {
        return connected;
    }

private:
    Nemt::CommHub* commHub;
    bool connected = false; // plain: a stale read delays the reaction by one period
};

} // namespace OrvelDriver
