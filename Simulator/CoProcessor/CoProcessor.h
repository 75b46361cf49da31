#pragma once

#include "EventLog.h"
#include "Frame.h"
#include "SerialLine.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace Simulator
{

/// The STM32 at the other end of the serial line: its reset input, its LEDs, its button and its KNX side.
///
/// Runs on a thread of its own. All operations may be called by any thread and do not wait for the line. Whatever happens
/// is told to the event log.
class CoProcessor
{
public:
    static constexpr std::chrono::milliseconds BootTime{5}; ///< from the release of its reset to its first answer
    /// From the request for a press since boot to its answer: about what both take on a real serial line. A
    /// pseudo-terminal takes no time, and the daemon listens a moment after it has asked only.
    static constexpr std::chrono::milliseconds SinceBootAnswerTime{5};

    /// Told whether a request was sent. Any thread but the bus's caller, meanwhile.
    using Confirm = std::function<void(bool sent)>;

    /// Takes an L_Data.req of the driver and returns at once; must not use the co-processor. `confirm` is called later, once,
    /// and only while the co-processor exists.
    using Bus = std::function<void(const Bytes& request, const Confirm& confirm)>;

    CoProcessor(SerialLine& serialLine, EventLog& eventLog);
    ~CoProcessor();

    CoProcessor(const CoProcessor&) = delete;
    CoProcessor& operator=(const CoProcessor&) = delete;

    /// While the line is low it is held in reset. When it goes high it boots and has forgotten its LEDs, the presses of the
    /// button and the session with the driver, and a hang is over.
    void SetResetLine(bool high);

    /// A press is reported, and counts as one since boot until the next reset. A button that is held while it boots counts
    /// as well, and is not reported. False when the button was so already.
    bool SetButton(bool pressed);

    /// Pulls or plugs its serial line; false when it is so already.
    bool SetPlugged(bool plugged);

    /// A frame from the KNX side, as it is.
    void InjectTelegram(const Bytes& cemi);

    /// What becomes of the driver's requests: without a bus each is confirmed at once.
    void ConnectBus(Bus theBus);

    /// Hangs until the next reset: answers nothing, takes nothing in.
    void Hang();

    // What follows makes it misbehave, for tests. A reset does not mend it.

    /// Never answers again while `dead` is true.
    void SetDead(bool dead);
    /// Everything that it sends leaves it so much later.
    void SetDelay(std::chrono::milliseconds delay);
    /// Sends the message `count` times at once.
    void Flood(uint16_t topic, const Bytes& payload, int count);
    /// Sends bytes that are no frame.
    void SendGarbage(const Bytes& garbage);

    /// 0 or 1; outputs of the LEDs have the numbers 1 to 4.
    int LedState(uint8_t number) const;
    int Rs485TerminationState() const;

private:
    using Clock = std::chrono::steady_clock;

    enum class State
    {
        HeldInReset,
        Booting,
        Running
    };

    struct Outgoing
    {
        Clock::time_point due;
        Bytes bytes;
    };

    void ThreadFunction();
    int PollTimeout(Clock::time_point now) const;
    void BootWhenDue();
    void TakeIn(const Bytes& bytes);
    void SendWhenDue();
    void OnFrame(const Wire::Frame& frame);
    void OnCemi(const Bytes& cemi);
    void ConfirmRequest(const Bytes& request, bool sent);
    void OnDeviceMessage(const Bytes& message);
    bool SendMessage(uint16_t topic, const Bytes& payload);
    void Send(const Wire::Frame& frame, std::chrono::milliseconds after = {});
    void Queue(Bytes bytes, std::chrono::milliseconds after = {});
    void Wake() const;

    SerialLine& line;
    EventLog& events;
    mutable std::mutex mutex;     // for all that follows
    State state = State::Running; // it has booted long before Linux comes up
    Clock::time_point bootsAt;
    Clock::time_point lowSince;
    Wire::Decoder decoder;
    Bytes session; // of the driver, empty when there is none
    std::deque<Outgoing> outgoing;
    std::chrono::milliseconds sendDelay{0};
    Bus bus;
    uint64_t resets = 0;
    bool hung = false;
    bool isDead = false;
    bool buttonPressed = false;
    bool pressedSinceBoot = false;
    std::array<uint8_t, 5> leds{};
    uint8_t rs485Termination = 0;
    bool running = true;
    int wakeUp = -1;
    std::thread thread;
};

} // namespace Simulator
