#pragma once

#include "Bytes.h"

#include "Nemt/CommHub.h"

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace UnitTests
{

/// One call of the link library by a component.
struct HubCall
{
    std::string text; ///< the operation's name; for Transmit also "Transmit TOPIC: BYTES", with the bytes as "08 01"
    const void* listener;     ///< the argument of the register and unregister operations
    const Nemt::CommHub* hub; ///< which of the two was called
    std::thread::id thread;
};

/// The link library of the unit tests: it only records its calls, and gives the answers that a test wants.
class ScriptedHub
{
public:
    static ScriptedHub& Instance();

    /// The hub that the components get.
    static Nemt::CommHub* Hub();

    /// Another hub than the process-wide one. It shows that a component talks to the hub that it was given.
    static Nemt::CommHub* OtherHub();

    /// Forgets the calls and the listeners. Then accepts every message, is not connected, and reconnects.
    void Reset();

    void AnswerTransmit(bool accepted);
    void AnswerIsConnected(bool connected);
    void AnswerReconnect(bool succeeds);

    /// `observer` runs inside each call, in the calling thread, before the answer is chosen.
    void Observe(std::function<void(const HubCall&)> observer);

    std::vector<HubCall> Calls() const;
    std::vector<std::string> Texts() const;

    /// The number of calls that went to this one of the two hubs.
    std::size_t CallsOf(const Nemt::CommHub* hub) const;

    /// Waits for the `count`th call with this text.
    bool Await(const std::string& text, int count = 1);

    /// Gives a message to all registered topic listeners, in the calling thread.
    void Receive(uint16_t topic, const Bytes& payload);

    /// Tells all registered connection listeners, in the calling thread.
    void Report(bool connected);

private:
    friend class Nemt::CommHub;

    void Record(const Nemt::CommHub* asked, std::string text, const void* listener = nullptr);
    bool Answer(const bool& answer) const;

    mutable std::mutex mutex;
    std::condition_variable called;
    std::vector<HubCall> calls;
    std::vector<Nemt::ITopicListener*> topicListeners;
    std::vector<Nemt::IConnectionListener*> connectionListeners;
    std::function<void(const HubCall&)> observe;
    bool transmitAnswer = true;
    bool isConnectedAnswer = false;
    bool reconnectAnswer = true;
};

} // namespace UnitTests
