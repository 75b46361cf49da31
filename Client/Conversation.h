#pragma once

#include "FrameSender.h"
#include "Message.h"

#include <chrono>
#include <deque>
#include <functional>
#include <optional>

namespace OrvelClient
{

/// Sends requests and hears what comes back. Where no gateway runs, this takes from the daemon's queue what other programs may
/// wait for, and what waited there before.
class Conversation
{
public:
    /// Opens the bus both ways; `wait` is how long each request waits for room. Throws Failure.
    Conversation(const BusOptions& bus, const StopSignals& stopSignals, std::chrono::milliseconds wait);

    /// Sends the request. Throws Failure.
    void Send(const Bytes& request);

    /// Sends the L_Data.req and waits until it is confirmed, or a message `proves` that it was sent. Throws Failure; NotConfirmed
    /// when it was not sent, or nobody says so in time.
    void SendConfirmed(const Bytes& request, const std::function<bool(const Message&)>& proves = {});

    /// The next message until `time`, nothing when none comes until then. Throws Failure; Interrupted when the program is to stop.
    std::optional<Message> Next(std::chrono::steady_clock::time_point time);

    /// Calls `talk` again and again, until it returns false or the program is to stop. When the other side has gone, this goes on
    /// once it is there again, the same way as before. Throws what `talk` throws otherwise.
    void GoOn(const std::function<bool()>& talk);

private:
    void OpenAgain();
    Bus& Listened();
    std::optional<Message> Receive(std::chrono::steady_clock::time_point time);

    const StopSignals& stop;
    FrameSender sender;
    std::optional<Bus> listener; // where what comes back comes on a way of its own
    std::deque<Message> heard;   // meanwhile
};

/// Whether `message` confirms the request, also that it was not sent.
bool Confirms(const Bytes& message, const Bytes& request);

} // namespace OrvelClient
