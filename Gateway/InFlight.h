#pragma once

#include "Message.h"

#include "Knx/TelegramView.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

namespace OrvelGateway
{

/// The requests that the link has and has not confirmed, in the order in which it took them. Also remembers those that it did
/// not confirm in time, because their confirmations may still come.
class InFlight
{
public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr auto Nobody = static_cast<std::size_t>(-1);

    /// So many at once. More would not make the bus faster: it carries one telegram in 20 ms. But they would wait where no
    /// turns are taken, and their confirmations would come in bursts that the daemon's queue has no room for.
    static constexpr std::size_t Window = 8;

    struct Request
    {
        std::size_t sender = Nobody; ///< or Nobody if it has left
        Time limit;                  ///< until then it is to be confirmed
        Message message{};
    };

    /// Whose request was confirmed.
    struct Match
    {
        std::size_t sender;
        bool isLate; ///< it was taken for unconfirmed
    };

    bool IsFull() const
    {
        return count == Window;
    }

    /// While it is not full. The limits must not go back.
    void Add(std::size_t sender, const Message& message, Time limit);

    /// The first request that this confirmation can belong to, which is then no longer here; nothing if there is none.
    std::optional<Match> Confirm(const Knx::TelegramView& confirmation);

    /// The first request, if its limit has come. It is remembered: its confirmation may still come.
    std::optional<Request> TakeExpired(Time now);

    /// The first request, if there is one. The link has gone: no confirmation comes any more, not even of those remembered.
    std::optional<Request> TakeWithoutLink();

    /// Its requests are Nobody's from now on.
    void Leave(std::size_t sender);

    /// The first limit.
    std::optional<Time> Due() const;

private:
    static constexpr std::size_t Remembered = 64;

    Request Remove(std::size_t index);

    std::array<Request, Window> requests; // as far as `count`
    std::size_t count = 0;
    std::array<Request, Remembered> late; // the message of an unused place is empty
    std::size_t nextLate = 0;             // the oldest one makes room
};

} // namespace OrvelGateway
