#pragma once

#include "Frame.h"
#include "FramePort.h"
#include "LinkKeeper.h"
#include "ListenerList.h"
#include "Nemt/IConnectionListener.h"
#include "Nemt/ITopicListener.h"

#include "System/WakeUp.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace Simulator
{

/// The link to the simulated co-processor over a serial line: what stands behind the hub of the stand-in library.
///
/// A thread of its own, the link's thread, exists from Open to Close. It alone uses the port and calls the listeners.
/// Listeners may call Transmit, IsConnected and the register operations, but not Open, Close or Reconnect, which wait
/// for the thread that would be calling them.
class Link
{
public:
    Link() = default;

    /// Closes. No other thread may be in a call any more.
    ~Link();

    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    /// Opens the serial device `name` and tries for up to 1 s to reach the co-processor. False when the device cannot
    /// be opened or set up, or a link is open already; true otherwise, connected or not. Any thread. `flags` is not
    /// used.
    bool Open(const char* name, unsigned int flags);

    /// Ends the link's thread and closes the device; Open and Reconnect in other threads return at once. What was not
    /// sent yet is dropped. The listeners stay registered and are not told, as the link was not lost. No effect when
    /// closed.
    void Close();

    /// Any thread.
    bool IsConnected() const;

    /// Starts a new session with the co-processor, also when the link is up: it was reset and has forgotten the old
    /// one. A device whose other end had gone is opened anew by its name. Waits for up to 5 s; true when the link is up
    /// again and the listeners have been told so. Any thread.
    bool Reconnect();

    /// Queues one message; `length` is in bytes and may be 0, `data` is copied. False when the link is not up, the
    /// queue is full or the message is longer than Wire::MaxPayload. Any thread, also several at once.
    bool Transmit(uint16_t topic, const uint8_t* data, uint16_t length);

    /// As the hub's operations of these names. Any thread. Registering twice is the same as once.
    void RegisterTopicListener(Nemt::ITopicListener* listener);
    void UnregisterTopicListener(const Nemt::ITopicListener* listener);
    void RegisterConnectionListener(Nemt::IConnectionListener* listener);
    void UnregisterConnectionListener(const Nemt::IConnectionListener* listener);

private:
    using Clock = LinkKeeper::Clock;

    // Nothing when the system has no descriptor to give.
    static std::optional<System::WakeUp> MakeWakeUp();

    // Any thread.
    bool Start(const std::string& name);
    bool Connect(Clock::duration limit);
    const char* Enqueue(Wire::Frame message);

    // The link's thread.
    void ThreadFunction();
    bool TakeRequest();
    int PollTimeout() const;
    void WaitAndReceive();
    void Deliver(const Wire::Frame& message);
    std::optional<Wire::Frame> Dequeue();
    void ReportState();
    void SetConnected(bool nowConnected);
    void EndAttempt();

    ListenerList<Nemt::ITopicListener> topicListeners;
    ListenerList<Nemt::IConnectionListener> connectionListeners;

    std::mutex lifecycle; // held while the thread is started or ended
    FramePort port;       // used by the thread alone while that runs
    std::optional<System::WakeUp> wakeUp = MakeWakeUp();

    mutable std::mutex mutex; // for the following, never held while anything outside is called
    bool running = false;
    bool connected = false; // only set to true by the link's thread
    std::deque<Wire::Frame> outbound;
    uint64_t requested = 0;           // number of the newest connection attempt
    Clock::duration requestedLimit{}; // the time it may take
    uint64_t ended = 0;               // number of the last attempt that came to its end
    bool succeeded = false;           // its result
    std::condition_variable attemptEnded;

    // The link's thread's own.
    uint64_t attempt = 0; // the one that the keeper serves
    LinkKeeper keeper{port,
                      {[this] { ReportState(); }, [this](const Wire::Frame& message) { Deliver(message); },
                       [this] { return Dequeue(); }}};

    std::thread thread;
};

} // namespace Simulator
