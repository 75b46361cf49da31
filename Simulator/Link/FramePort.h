#pragma once

#include "Frame.h"
#include "LinkKeeper.h"
#include "SerialPort.h"

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace Simulator
{

/// Frames over a serial device. It closes itself when the other end is gone, so that poll does not report that without
/// end. Nothing here blocks. One thread at a time.
class FramePort : public IHostLine
{
public:
    /// Opens the device; what is under way in both directions is dropped. False, with errno, when it cannot be opened
    /// or set up. The port must be closed.
    bool Open(const std::string& deviceName);

    bool OpenAgain(bool worthTelling) override;

    /// Also of a closed port.
    void Close();

    bool IsOpen() const override
    {
        return port.IsOpen();
    }

    /// Of the device last opened.
    const std::string& Name() const
    {
        return name;
    }

    /// What to wait for. poll ignores the entry of a closed port.
    pollfd PollEntry() const;

    /// Receives what has arrived, according to the events of the poll entry, and calls `onFrame` for each frame.
    void Receive(short events, const Wire::Decoder::Handler& onFrame);

    /// Sends a frame after those that still wait to be sent. They are few: see HasUnsent.
    void Send(const Wire::Frame& frame) override;

    void SendUnsent() override;

    /// Whether something waits until the device takes it.
    bool HasUnsent() const override
    {
        return !unsent.empty();
    }

    void Clear() override;

private:
    void OnGone();
    void ReportDamage();

    std::string name;
    SerialPort port;
    Wire::Decoder decoder;
    std::vector<uint8_t> unsent;
    uint64_t damageReported = 0;
    std::chrono::steady_clock::time_point nextDamageReport{};
};

} // namespace Simulator
