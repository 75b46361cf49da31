#pragma once

#include "Counters.h"
#include "InFlight.h"
#include "Mailbox.h"
#include "MessageRing.h"

#include "Orvel/Gateway.h"

#include <array>
#include <chrono>
#include <cstdint>

namespace OrvelGateway
{

/// What the hub keeps of a program, or of the network: what waits for the link, and what waits for the participant.
class Participant
{
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr std::size_t Requests = ORVEL_GATEWAY_REQUESTS;

    /// No answer to a request is ever lost: there is room for that of each request, also where the participant reads none.
    bool CanSend() const
    {
        return !requests.IsFull() && mailbox.Count() + unanswered < Mailbox::Messages + MaxUnanswered;
    }

    void AddRequest(const Message& request, bool isAnswered, Time now)
    {
        since[requests.BackPlace()] = now;
        requests.Push(request);
        unanswered += isAnswered ? 1U : 0U;
    }

    bool HasRequest() const
    {
        return !requests.IsEmpty();
    }

    const Message& FrontRequest() const
    {
        return requests.Front();
    }

    Time FrontSince() const
    {
        return since[requests.FrontPlace()];
    }

    void PopRequest()
    {
        requests.Pop();
    }

    /// The answer to a request that was added, or to one that is not going to be.
    void Answer(const Message& confirmation, bool wasAdded)
    {
        unanswered -= wasAdded ? 1U : 0U;
        mailbox.PutConfirmation(confirmation);
    }

    Mailbox& Messages()
    {
        return mailbox;
    }

    ParticipantCounters counters;
    uint16_t toldState = 0; ///< of the link; 0: none yet
    bool isNetwork = false;
    bool stays = false; ///< as Hub::Stay says
    bool hasNews = false;
    bool isLeaving = false; ///< has disconnected, and requests of it still wait

private:
    static constexpr std::size_t MaxUnanswered = Requests + InFlight::Window;

    MessageRing requests{Requests};
    std::array<Time, Requests> since; // beside each request in the ring
    Mailbox mailbox{MaxUnanswered};
    std::size_t unanswered = 0; // requests that wait for the link or for its confirmation
};

} // namespace OrvelGateway
