#pragma once

namespace Nemt
{

/// Learns whenever the link to the co-processor is established or lost.
///
/// The slot order is the link library's binary interface: OnConnectionChanged is the first and only slot, and there is no
/// virtual destructor. Nobody deletes a listener through this interface.
class IConnectionListener
{
public:
    /// Called on the link library's own thread. Must not block.
    virtual void OnConnectionChanged(bool connected) = 0;
};

} // namespace Nemt
