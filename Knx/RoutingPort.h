#pragma once

#include "Knx/BusyPause.h"
#include "Knx/Datagram.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>

namespace Knx
{

/// True of the first, the tenth, the hundredth time...: what others cause at will is not to fill the log.
bool IsWorthTelling(uint64_t count);

/// A router's side towards KNXnet/IP routing. Telegrams from the network wait here until the router's line takes them. When
/// they pile up, the other routers are asked to pause; when one is lost, they are told.
///
/// Without a thread and without a clock: the caller tells the time, which must not go back. Not for several threads at once.
class RoutingPort
{
public:
    using Clock = std::chrono::steady_clock;

    static constexpr std::size_t MaxWaiting = 1000;           ///< telegrams from the network
    static constexpr std::size_t BusyFrom = 10;               ///< so many of them wait: others are asked to pause
    static constexpr std::chrono::milliseconds BusyTime{100}; ///< so long
    static constexpr std::chrono::seconds LostPeriod{1};      ///< others are told at most once in it

    /// Something that a person may want to know. What the network can cause at will is told the first, the tenth, the
    /// hundredth time...: a flood is not to fill the log.
    struct Note
    {
        enum Kind
        {
            Lost,       ///< others were told that `number` telegrams from the network were lost here
            OthersLost, ///< another router lost `number` telegrams, all of them `total`
            OthersBusy, ///< another router asked for a pause of `number` ms, for the time `total`
            Malformed   ///< `datagram` was not understood, one of `total`
        };

        Kind kind;
        uint64_t number = 0;
        uint64_t total = 0;
        Bytes datagram;
    };

    /// What the port uses. None of it may use the port.
    struct Outside
    {
        std::function<bool(const Bytes& datagram)> send; ///< to the network; false when that failed
        std::function<void(const Note& note)> tell;
    };

    struct Counters
    {
        uint64_t lost = 0;       ///< telegrams from the network for which there was no room, or no line
        uint64_t othersLost = 0; ///< telegrams that other routers lost, as they say
        uint64_t othersBusy = 0; ///< times that another router was busy
        uint64_t malformed = 0;  ///< datagrams that were not understood
        uint64_t ignored = 0;    ///< datagrams of other services
    };

    /// A telegram from the network.
    struct Waiting
    {
        Bytes cemi;
        Clock::time_point since;
    };

    RoutingPort(Outside outsideWorld, unsigned seed);

    /// Any bytes from the network, except for what was sent by this port. Returns the telegram in it; whether that is kept is
    /// up to the caller.
    std::optional<Bytes> Receive(const Bytes& datagram, Clock::time_point now);

    /// Keeps a telegram from the network, in the order of arrival. If there is no room or the line is broken, it is lost.
    void Keep(Bytes cemi, Clock::time_point now);

    /// What has waited longest; null when nothing waits.
    const Waiting* Next() const
    {
        return waiting.empty() ? nullptr : &waiting.front();
    }

    /// Next, which there must be, is the caller's now.
    Waiting Take();

    /// Sends a telegram of the line, an L_Data.ind. False when the network does not take it.
    bool Send(const Bytes& cemi) const;

    /// No telegram should be sent before: another router is busy.
    Clock::time_point PauseEnd() const
    {
        return pause.End();
    }

    /// At first the line works. When it breaks, everything that waits is lost.
    void SetLine(bool works);

    /// Does what is due. To be called after each of the above, and when the time comes that NextDue tells.
    void Advance(Clock::time_point now);

    /// Nothing while nothing waits for its time. What waits for the line is none of it.
    std::optional<Clock::time_point> NextDue() const;

    const Counters& Count() const
    {
        return counters;
    }

private:
    void OnLost(const Routing::Lost& lost);
    void OnBusy(const Routing::Busy& busy, Clock::time_point now);
    void OnMalformed(const Bytes& datagram);
    void Lose(std::size_t telegrams);
    void TellIfBusy(Clock::time_point now);
    bool HasLossToTell() const;

    const Outside outside;
    BusyPause pause;
    Counters counters;
    std::deque<Waiting> waiting;
    bool lineWorks = true;
    Clock::time_point toldBusyAt;
    Clock::time_point toldLostAt;
    uint16_t untoldLost = 0;
    uint64_t lostMessages = 0; // datagrams that tell of counters.othersLost
};

} // namespace Knx
