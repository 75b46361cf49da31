#pragma once

#include "Counters.h"
#include "InFlight.h"
#include "Message.h"
#include "Participant.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace OrvelGateway
{

/// One bus for many: carries requests of the participants to the link one by one, tells each what became of its requests, and
/// gives everybody what comes from the link. Participants are the programs, and the network, which is one more.
///
/// Without sockets, queues and clock: the caller hands in what comes, takes out what goes, and tells the time, which must not
/// go back. It calls, after anything that it has handed in:
/// - NextToLink and TakenByLink until nothing is left or the daemon's queue is full,
/// - NextWithNews until it gives nothing. For each participant that it gives: Next and Taken until nothing is left or its
///   socket is full, and CanSend if its packets are not read at the moment,
/// - Due, to know when OnTime is to be called although nothing comes.
///
/// All memory is taken when a participant connects: 310 KB of addresses for each, of which those pages are used that its
/// backlog has needed; one that reads what it gets uses about 16 KB. With 64 programs it is 20 MB at the very most, and as much
/// again if as many have left and their requests wait. Nothing else here uses the heap.
class Hub
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// A participant, from Connect to Disconnect. Then the number is given to another one.
    using Id = std::size_t;

    struct Settings
    {
        std::size_t programs = 64;                      ///< as many may be connected
        std::chrono::milliseconds confirmTimeout{3000}; ///< from when the link takes a request
    };

    enum class Link
    {
        Lost,     ///< also while no daemon runs
        Settling, ///< a daemon's queues were found, and nothing has come from them yet: requests wait
        Usable
    };

    /// So long the link is settling at most. A daemon that was found running has told others before.
    static constexpr std::chrono::milliseconds SettleTime{1000};

    explicit Hub(const Settings& hubSettings);

    // Participants.

    /// Nothing if there are as many as may be, or if as many have left and their requests still wait. The first message that
    /// waits for a program is the state of the link, as soon as that is known.
    std::optional<Id> ConnectProgram();

    /// Once, besides the programs. The network gets the same messages as a program: each L_Data.ind is for it to send on,
    /// unless it filters them, and each L_Data.con answers the first of its own requests that are not answered yet with the
    /// same destination and data. Its own requests do not come back to it. All other messages are to be skipped.
    Id ConnectNetwork();

    /// The requests that wait are still sent.
    void Disconnect(Id id);

    /// It is not here for a question only. What waits in the button's queue, such as a press since boot, is for programs that stay.
    void Stay(Id id);

    /// Whether the next packet of this participant should be read. False while too many of its requests wait, or while it
    /// leaves its confirmations unread. When it becomes true again, the participant has news.
    bool CanSend(Id id) const;

    /// A packet of this participant, while CanSend: a message as for "/cemiToLL". False if it is invalid; then it is counted,
    /// and nothing else comes of it.
    bool Send(Id id, const uint8_t* packet, std::size_t size, Time now);

    /// The next message for this participant; it may be too late for it if it is not taken. Null if none waits.
    const Message* Next(Id id);

    /// What Next gave has gone out.
    void Taken(Id id);

    /// What Next gave finds nobody any more.
    void Dropped(Id id);

    /// A participant whose messages have become some, or that can send again; each once until there is news again.
    std::optional<Id> NextWithNews();

    // The daemon.

    /// There are queues that are older than the gateway. Their daemon may have told somebody else that the link is usable. With
    /// newer ones there is nothing to say: what comes from them tells that a daemon runs.
    void OnDaemonFound(Time now);
    void OnDaemonGone(Time now);

    /// A message from "/cemiFromLL". Any bytes will do.
    void OnMessage(const uint8_t* bytes, std::size_t size, Time now);

    /// Whether the button's queue should be read: a program stays to hear of it, and has been told the state of the link.
    bool TakesButton() const
    {
        return link != Link::Settling && staying > 0;
    }

    /// A message from the button's queue.
    void OnButton(uint8_t state);

    /// The message that is to go to "/cemiToLL"; the same until TakenByLink or anything that is handed in. Null if there is
    /// none, or if the link has so much to confirm that the next one has to wait.
    const Message* NextToLink();
    void TakenByLink(Time now);

    // Time.

    /// When OnTime has something to do; nothing if no time will change anything.
    std::optional<Time> Due() const;
    void OnTime(Time now);

    // What is to be known.

    Link State() const
    {
        return link;
    }

    std::size_t Programs() const
    {
        return programs;
    }

    /// All numbers of programs are below this one, which is the network's.
    std::size_t Places() const
    {
        return participants.size() - 1;
    }

    const Counters& Count() const
    {
        return counters;
    }

    /// Of a participant that is connected.
    const ParticipantCounters& Count(Id id) const;

private:
    static constexpr Id Nobody = InFlight::Nobody;

    void Connect(Id id);
    void Remove(Id id, bool isDelivered);
    void SetLink(Link state, Time now);
    void TellState(Id id, bool hasChanged = false);
    Time LimitOfFront(const Participant& participant) const;
    void RefuseAll();
    void RefuseFront(Id id, uint64_t& why);
    void Refuse(Message message, Id sender, bool wasAdded, uint64_t& why);
    void OnLinkState(const Message& message, Time now);
    void OnConfirmation(const Message& message, Time now);
    void CountOnLine(const Message& telegram);
    void ToAllBut(Id sender, const Message& message);
    bool Give(Id id, const Message& message);
    void News(Id id);
    void PopRequest(Id id);

    const Settings settings;
    Link link = Link::Lost;
    Link announced = Link::Lost; // the last state that the participants were told; settling is none
    bool isDaemonSilent = true;  // has told nothing about its link yet
    Time settledAt;              // when settling ends
    Time confirmedAt;            // by the link for the last time, or when its state changed
    Time takenAt;                // the same for what it takes
    Counters counters;
    std::vector<std::unique_ptr<Participant>> participants; // by id, the network last; null where there is none
    std::vector<Id> news;                                   // has room for all from the beginning
    std::size_t end = 1; // behind the last place that was ever used; the network's is the last of all
    std::size_t programs = 0;
    std::size_t staying = 0; // programs
    std::size_t waiting = 0; // requests of all, not counting those in flight
    InFlight inFlight;
    Id turn = 0; // whose request goes next, if it has one
};

} // namespace OrvelGateway
