#include "Nemt/CommHub.h"

#include "Link.h"

namespace
{

// The hub itself has no members to keep it in.
Simulator::Link& ProcessLink()
{
    static Simulator::Link link;
    return link;
}

} // namespace

namespace Nemt
{

CommHub* CommHub::Instance()
{
    static CommHub hub;
    return &hub;
}

bool CommHub::Open(const char* port, unsigned int flags)
{
    return ProcessLink().Open(port, flags);
}

void CommHub::Close()
{
    ProcessLink().Close();
}

bool CommHub::IsConnected() const
{
    return ProcessLink().IsConnected();
}

bool CommHub::Reconnect()
{
    return ProcessLink().Reconnect();
}

bool CommHub::Transmit(uint16_t topic, const uint8_t* data, uint16_t length)
{
    return ProcessLink().Transmit(topic, data, length);
}

void CommHub::RegisterTopicListener(ITopicListener* listener)
{
    ProcessLink().RegisterTopicListener(listener);
}

void CommHub::UnregisterTopicListener(const ITopicListener* listener)
{
    ProcessLink().UnregisterTopicListener(listener);
}

void CommHub::RegisterConnectionListener(IConnectionListener* listener)
{
    ProcessLink().RegisterConnectionListener(listener);
}

void CommHub::UnregisterConnectionListener(const IConnectionListener* listener)
{
    ProcessLink().UnregisterConnectionListener(listener);
}

} // namespace Nemt
