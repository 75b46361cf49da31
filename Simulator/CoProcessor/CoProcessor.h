#pragma once

#include "EventLog.h"
#include "Firmware.h"
#include "SerialLine.h"

#include "System/WakeUp.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

namespace Simulator
{

/// The STM32 at the other end of the serial line: the firmware with a thread, a clock and the line.
///
/// All operations may be called by any thread and do not wait for the line. Whatever happens is told to the event log.
class CoProcessor
{
public:
    /// Reports whether a request was sent. Any thread, but not from inside the call of the bus itself.
    using Confirm = std::function<void(bool sent)>;

    /// Takes an L_Data.req of the driver and returns at once; must not use the co-processor. `confirm` is called later, once,
    /// and only while the co-processor exists.
    using Bus = std::function<void(const Bytes& request, const Confirm& confirm)>;

    CoProcessor(SerialLine& serialLine, EventLog& eventLog);
    ~CoProcessor();

    CoProcessor(const CoProcessor&) = delete;
    CoProcessor& operator=(const CoProcessor&) = delete;

    /// Pulls or plugs its serial line; false when it is so already.
    bool SetPlugged(bool plugged);

    /// A frame from the KNX side, as it is.
    void InjectTelegram(const Bytes& cemi);

    /// What becomes of the driver's requests: without a bus each is confirmed at once.
    void ConnectBus(Bus theBus);

    // As the firmware's operations of these names.
    void SetResetLine(bool high);
    bool SetButton(bool pressed);
    void Hang();
    void SetDead(bool dead);
    void SetDelay(std::chrono::milliseconds delay);
    void Flood(uint16_t topic, const Bytes& payload, int count);
    void SendGarbage(const Bytes& garbage);
    int LedState(uint8_t number) const;
    int Rs485TerminationState() const;

private:
    using Clock = Firmware::Clock;

    Firmware::Outside Outside();
    bool SendToBus(const Firmware::Request& request);
    void ThreadFunction();
    int PollTimeout(Clock::time_point now) const;
    void SendWhatIsDue(Clock::time_point now);

    template<typename Operation>
    auto WithFirmware(const Operation& operation);

    SerialLine& line;
    EventLog& events;
    mutable std::mutex mutex; // for all that follows
    Firmware firmware;
    Bus bus;
    bool running = true;
    System::WakeUp wakeUp;
    std::thread thread;
};

} // namespace Simulator
