#include "Connection.h"

namespace OrvelDriver
{

Connection::Connection(Nemt::CommHub* hub)
    : commHub(hub)
{
    commHub->RegisterConnectionListener(this);
    // After registering, so that no change is missed: a report that came in between is overwritten by the newer state.
    connected = commHub->IsConnected();
}

Connection::~Connection()
{
    commHub->UnregisterConnectionListener(this);
}

void Connection::OnConnectionChanged(bool nowConnected)
{
    connected = nowConnected;
}

bool Connection::Reconnect()
{
    return commHub->Reconnect();
}

} // namespace OrvelDriver
