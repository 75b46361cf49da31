#pragma once

#include "CoProcessor.h"
#include "Event.h"
#include "Messages.h"

#include "System/WakeUp.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

/// The KNX side of the board: takes requests, and confirms them as their numbers say. OnEvent and what the co-processor calls
/// may come from any thread; all else is called by one.
class KnxBus
{
public:
    using Clock = std::chrono::steady_clock;

    enum class Answer
    {
        Confirms,
        Refuses,
        Late,  ///< confirms when the gateway no longer waits for it
        Silent ///< confirms never
    };

    static Answer AnswerTo(uint32_t request);

    /// The co-processor must go before the bus does.
    void Connect(Simulator::CoProcessor& coProcessor);

    void OnEvent(const Simulator::Event& event);

    /// What has arrived since the last time, in order.
    std::vector<Messages::Item> TakeArrived();

    /// Confirms what is due.
    void Confirm(Clock::time_point now);

    /// Requests that are to be confirmed later.
    std::size_t Waiting() const;

    /// For poll: readable when there may be something to confirm.
    int Descriptor() const
    {
        return wakeUp.Descriptor();
    }

private:
    struct Request
    {
        Clock::time_point due;
        Simulator::CoProcessor::Confirm confirm;
        bool sent;
    };

    void OnRequest(const Bytes& frame, const Simulator::CoProcessor::Confirm& confirm);

    System::WakeUp wakeUp;
    mutable std::mutex mutex; // for all that follows
    std::vector<Request> requests;
    std::vector<Messages::Item> arrived;
};
