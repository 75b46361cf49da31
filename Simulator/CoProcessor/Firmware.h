#pragma once

#include "Event.h"
#include "Frame.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace Simulator
{

/// What the STM32 does: its LEDs, its button, its end of the conversation with the driver.
///
/// It has no thread, no line and no clock. The caller hands in bytes and time, which must not go back, and takes out bytes.
/// Not for several threads at once.
class Firmware
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::chrono::milliseconds BootTime{5}; ///< from the release of its reset to its first answer
    /// From the request for a press since boot to its answer: about what both take on a real serial line. A
    /// pseudo-terminal takes no time, and the daemon listens only a moment after it has asked.
    static constexpr std::chrono::milliseconds SinceBootAnswerTime{5};

    /// An L_Data.req of the driver that waits for its confirmation.
    struct Request
    {
        Bytes cemi;
        uint64_t resets; ///< that were before it
    };

    /// What the firmware uses. None of it may use the firmware.
    struct Outside
    {
        std::function<void(const Event& event)> tell;
        /// Sends a request to the bus and returns at once; Confirm ends it later. False when there is no bus: the request
        /// is confirmed at once then.
        std::function<bool(const Request& request)> send;
    };

    explicit Firmware(Outside outsideWorld);

    /// While the line is low it is held in reset. When it goes high it boots and has forgotten its LEDs, the presses of the
    /// button and the session with the driver, and a hang is over.
    void SetResetLine(bool high, Clock::time_point now);

    /// A press is reported, and counts as one since boot until the next reset. A button that is held while it boots counts
    /// as well, and is not reported. False when the button was so already.
    bool SetButton(bool pressed, Clock::time_point now);

    /// Hangs until its reset line goes high the next time: answers nothing, takes nothing in, does not finish booting.
    void Hang();

    /// A telegram from the KNX side. False when there is no session with a driver to send it to.
    bool SendTelegram(const Bytes& cemi, Clock::time_point now);

    /// The answer of the bus. One from before a reset is forgotten.
    void Confirm(const Request& request, bool sent, Clock::time_point now);

    /// Takes in what has come over the line.
    void TakeIn(const Bytes& bytes, Clock::time_point now);

    /// Boots when that is due. To be called at NextTime() or later.
    void OnTime(Clock::time_point now);

    /// The bytes that the line is to carry next; empty when none are due.
    Bytes Due(Clock::time_point now) const;

    /// So many of the bytes that were due have left.
    void OnSent(std::size_t count);

    /// When the next thing is due after `now`; nothing when nothing is.
    std::optional<Clock::time_point> NextTime(Clock::time_point now) const;

    // What follows makes it misbehave, for tests. A reset does not mend it.

    /// Never answers again while `dead` is true.
    void SetDead(bool dead);
    /// Everything that it sends leaves it so much later.
    void SetDelay(std::chrono::milliseconds delay);
    /// Sends the message `count` times at once.
    void Flood(uint16_t topic, const Bytes& payload, int count, Clock::time_point now);
    /// Sends bytes that are no frame.
    void SendGarbage(const Bytes& garbage, Clock::time_point now);

    /// 0 or 1; outputs of the LEDs have the numbers 1 to 4.
    int LedState(uint8_t number) const;
    int Rs485TerminationState() const;

private:
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

    // One that hangs meanwhile does not finish.
    bool IsBooting() const
    {
        return state == State::Booting && !hung;
    }

    void Reset(Clock::time_point now);
    void OnFrame(const Wire::Frame& frame, Clock::time_point now);
    void OnHello(const Bytes& number, Clock::time_point now);
    void OnMessage(const Wire::Frame& frame, Clock::time_point now);
    void OnCemi(const Bytes& cemi, Clock::time_point now);
    void OnDeviceMessage(const Bytes& message, Clock::time_point now);
    bool SendMessage(uint16_t topic, const Bytes& payload, Clock::time_point now);
    void Send(const Wire::Frame& frame, Clock::time_point due);
    void Queue(Bytes bytes, Clock::time_point due);

    const Outside outside;
    State state = State::Running; // it has booted long before Linux comes up
    Clock::time_point bootsAt;
    Clock::time_point lowSince;
    Wire::Decoder decoder;
    Bytes session; // of the driver, empty when there is none
    std::deque<Outgoing> outgoing;
    std::chrono::milliseconds sendDelay{0};
    uint64_t resets = 0;
    bool hung = false;
    bool isDead = false;
    bool buttonPressed = false;
    bool pressedSinceBoot = false;
    std::array<uint8_t, 5> leds{};
    uint8_t rs485Termination = 0;
};

} // namespace Simulator
