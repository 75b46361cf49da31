#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace Knx
{

/// A complete L_Data message where it lies, for programs that forward frames and may neither copy nor allocate.
class TelegramView
{
public:
    /// Nothing unless the bytes are a complete L_Data.req, .con or .ind, no byte too short or too long.
    static std::optional<TelegramView> Of(uint8_t* frame, std::size_t size);

    /// Whether both are the same telegram on its way to the bus and back: same destination, transport and application data.
    /// The link may change all else.
    bool IsSameTelegramAs(const TelegramView& other) const;

    /// Whether a confirmation says that the telegram was not sent.
    bool HasFailed() const;

    bool IsGroupAddressed() const;

    // These change the message. Its size stays.

    /// Makes the answer for the sender of a request that was not sent.
    void BecomeFailedConfirmation();

    /// Makes what the other participants see of a request. Without a source address it bears that of a device to which none
    /// has been given, 15.15.255: a telegram from nobody is dropped.
    void BecomeIndication();

private:
    TelegramView(uint8_t* frame, std::size_t frameSize, std::size_t control1At);

    uint8_t* bytes;
    std::size_t size;
    std::size_t control; // where control field 1 is
};

} // namespace Knx
