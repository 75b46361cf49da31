#pragma once

#include <cstdint>

namespace Nemt
{

/// Receives every message that comes from the co-processor.
///
/// The slot order is the link library's binary interface: OnTopicData is the first and only slot, and there is no virtual
/// destructor. Nobody deletes a listener through this interface.
class ITopicListener
{
public:
    /// Called on the link library's own thread, for every topic. `data` holds `length` bytes and is valid only during the
    /// call. Must not block.
    virtual void OnTopicData(uint16_t topic, const uint8_t* data, uint16_t length) = 0;
};

} // namespace Nemt
