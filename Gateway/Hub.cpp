#include "Hub.h"

#include "Knx/CemiMessage.h"
#include "Knx/Telegram.h"
#include "Knx/TelegramView.h"

#include "Orvel/Gateway.h"

#include <algorithm>
#include <array>
#include <utility>

namespace OrvelGateway
{

namespace
{

constexpr auto Request = static_cast<uint8_t>(Knx::MessageCode::LDataReq);
constexpr auto Confirmation = static_cast<uint8_t>(Knx::MessageCode::LDataCon);
constexpr auto Indication = static_cast<uint8_t>(Knx::MessageCode::LDataInd);

std::optional<Knx::TelegramView> TelegramIn(Message& message)
{
    return Knx::TelegramView::Of(message.Frame(), message.FrameSize());
}

bool IsLinkState(const Message& message)
{
    return message.HasCode(ORVEL_LINK_STATE_CODE) && message.Size() == ORVEL_LINK_STATE_MESSAGE_SIZE;
}

Message LinkStateMessage(uint16_t state)
{
    const std::array<uint8_t, ORVEL_LINK_STATE_MESSAGE_SIZE> bytes{
        ORVEL_LINK_STATE_MESSAGE_SIZE - 1, ORVEL_LINK_STATE_CODE, static_cast<uint8_t>(state >> 8U),
        static_cast<uint8_t>(state & 0xFFU)};
    return {bytes.data(), bytes.size()};
}

bool HasRightSize(const uint8_t* packet, std::size_t size)
{
    return size > 1 && size <= 1 + ORVEL_CEMI_MAX_FRAME_TO_LL && packet[0] == size - 1;
}

} // namespace

Hub::Hub(const Settings& hubSettings)
    : settings(hubSettings)
    , participants(2 * hubSettings.programs + 1) // also for those that leave; the last one is the network
{
    news.reserve(participants.size());
}

std::optional<Hub::Id> Hub::ConnectProgram()
{
    const auto noPlace = participants.end() - 1;
    const auto place = std::find(participants.begin(), noPlace, nullptr);
    if (place == noPlace || programs == settings.programs)
    {
        ++counters.programsRefused;
        return std::nullopt;
    }
    const auto id = static_cast<Id>(place - participants.begin());
    Connect(id);
    ++programs;
    return id;
}

Hub::Id Hub::ConnectNetwork()
{
    const Id id = participants.size() - 1;
    Connect(id);
    participants[id]->isNetwork = true;
    return id;
}

void Hub::Connect(Id id)
{
    participants[id] = std::make_unique<Participant>();
    end = std::max(end, id + 1);
    TellState(id);
}

void Hub::Disconnect(Id id)
{
    Participant& participant = *participants[id];
    programs -= participant.isNetwork ? 0U : 1U;
    staying -= participant.stays ? 1U : 0U;
    inFlight.Leave(id);
    news.erase(std::remove(news.begin(), news.end(), id), news.end());
    participant.isLeaving = true;
    if (!participant.HasRequest())
    {
        participants[id].reset();
    }
}

void Hub::Stay(Id id)
{
    staying += participants[id]->stays ? 0U : 1U;
    participants[id]->stays = true;
}

bool Hub::CanSend(Id id) const
{
    return participants[id]->CanSend();
}

bool Hub::Send(Id id, const uint8_t* packet, std::size_t size, Time now)
{
    Participant& sender = *participants[id];
    Message message(packet, size);
    const bool isRequest = message.HasCode(Request);
    if (!HasRightSize(packet, size) || (isRequest && !TelegramIn(message)))
    {
        ++sender.counters.invalid;
        ++counters.invalid;
        return false;
    }
    ++(isRequest ? sender.counters.requests : sender.counters.otherFrames);
    if (link == Link::Lost)
    {
        Refuse(message, id, false, counters.refusedAtOnce);
        return true;
    }
    sender.AddRequest(message, isRequest, now);
    ++waiting;
    return true;
}

const Message* Hub::Next(Id id)
{
    return participants[id]->Messages().Next();
}

void Hub::Taken(Id id)
{
    Remove(id, true);
}

void Hub::Dropped(Id id)
{
    Remove(id, false);
}

void Hub::Remove(Id id, bool isDelivered)
{
    Participant& participant = *participants[id];
    const bool couldSend = participant.CanSend();
    if (participant.Messages().Take())
    {
        participant.counters.delivered += isDelivered ? 1U : 0U;
        counters.delivered += isDelivered ? 1U : 0U;
        TellState(id); // there may have been no room when it changed
    }
    if (!couldSend)
    {
        News(id);
    }
}

std::optional<Hub::Id> Hub::NextWithNews()
{
    if (news.empty())
    {
        return std::nullopt;
    }
    const Id id = news.back();
    news.pop_back();
    participants[id]->hasNews = false;
    return id;
}

void Hub::OnDaemonFound(Time now)
{
    SetLink(Link::Settling, now);
}

void Hub::OnDaemonGone(Time now)
{
    isDaemonSilent = true;
    SetLink(Link::Lost, now);
}

void Hub::OnMessage(const uint8_t* bytes, std::size_t size, Time now)
{
    const Message message(bytes, size);
    if (message.FrameSize() == 0)
    {
        return; // not from the daemon: it sends none without a frame
    }
    if (IsLinkState(message))
    {
        OnLinkState(message, now);
        return;
    }
    ++counters.fromLink;
    if (link != Link::Usable && isDaemonSilent)
    {
        SetLink(Link::Usable, now); // its message about that has gone to another reader
    }
    if (message.HasCode(Confirmation))
    {
        OnConfirmation(message, now);
        return;
    }
    if (message.HasCode(Indication))
    {
        CountOnLine(message);
    }
    ToAllBut(Nobody, message);
}

void Hub::OnLinkState(const Message& message, Time now)
{
    const auto state = static_cast<uint16_t>(static_cast<unsigned>(message.Frame()[1]) << 8U | message.Frame()[2]);
    isDaemonSilent = false;
    if (state == ORVEL_LINK_STATE_USABLE && link != Link::Usable)
    {
        SetLink(Link::Usable, now);
    }
    else if (state == ORVEL_LINK_STATE_LOST)
    {
        SetLink(Link::Lost, now);
    }
    else
    {
        ToAllBut(Nobody, message); // the link has recovered: whoever follows the state of devices asks them again
    }
}

void Hub::OnConfirmation(const Message& message, Time now)
{
    confirmedAt = now;
    Message confirmation = message;
    auto telegram = TelegramIn(confirmation);
    if (!telegram)
    {
        ++counters.unexpected;
        ToAllBut(Places(), message); // the network takes each confirmation for that of a telegram of its own
        return;
    }
    const bool isConfirmed = !telegram->HasFailed();
    const auto match = inFlight.Confirm(*telegram);
    const bool isInTime = match && !match->isLate;
    ++(!isInTime ? counters.unexpected : isConfirmed ? counters.confirmed : counters.refused);
    if (isInTime && match->sender != Nobody)
    {
        Participant& sender = *participants[match->sender];
        ++(isConfirmed ? sender.counters.confirmed : sender.counters.refused);
        sender.Answer(message, true);
        News(match->sender);
    }
    if (isConfirmed)
    {
        CountOnLine(message);
        telegram->BecomeIndication();
        ToAllBut(match ? match->sender : Nobody, confirmation);
    }
}

void Hub::CountOnLine(const Message& telegram)
{
    counters.timeOnLine += Knx::Telegram::TimeOnLine(telegram.Frame(), telegram.FrameSize());
}

void Hub::OnButton(uint8_t state)
{
    ++counters.buttons;
    const std::array<uint8_t, ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE> bytes{ORVEL_GATEWAY_BUTTON_MESSAGE_SIZE - 1,
                                                                       ORVEL_GATEWAY_BUTTON_CODE, state};
    ToAllBut(Nobody, {bytes.data(), bytes.size()});
}

const Message* Hub::NextToLink()
{
    if (link != Link::Usable || waiting == 0)
    {
        return nullptr;
    }
    for (std::size_t i = 0; i < end; ++i)
    {
        const Id id = (turn + i) % end;
        const Participant* const participant = participants[id].get();
        if (participant != nullptr && participant->HasRequest() &&
            !(inFlight.IsFull() && participant->FrontRequest().HasCode(Request)))
        {
            turn = id;
            return &participant->FrontRequest();
        }
    }
    return nullptr;
}

void Hub::TakenByLink(Time now)
{
    const Id id = turn;
    const Participant& sender = *participants[id];
    const Message& message = sender.FrontRequest();
    if (message.HasCode(Request))
    {
        inFlight.Add(sender.isLeaving ? Nobody : id, message, now + settings.confirmTimeout);
    }
    takenAt = now;
    ++counters.toLink;
    turn = (id + 1) % end;
    PopRequest(id);
}

std::optional<Hub::Time> Hub::Due() const
{
    if (link == Link::Settling)
    {
        return settledAt; // before any request's limit, which it delays
    }
    auto due = inFlight.Due();
    for (Id id = 0; id < end && waiting > 0; ++id)
    {
        if (participants[id] && participants[id]->HasRequest())
        {
            due = std::min(due.value_or(Time::max()), LimitOfFront(*participants[id]));
        }
    }
    return due;
}

void Hub::OnTime(Time now)
{
    if (link == Link::Settling)
    {
        if (now >= settledAt)
        {
            SetLink(Link::Usable, now);
        }
        return;
    }
    while (const auto expired = inFlight.TakeExpired(now))
    {
        Refuse(expired->message, expired->sender, true, counters.timedOut);
    }
    for (Id id = 0; id < end; ++id)
    {
        // The last request of one that has left takes it along.
        while (participants[id] && participants[id]->HasRequest() && LimitOfFront(*participants[id]) <= now)
        {
            RefuseFront(id, counters.timedOut);
        }
    }
}

// A request may wait for its turn as long as the link goes on confirming others, any other frame as long as the link takes
// some.
Hub::Time Hub::LimitOfFront(const Participant& participant) const
{
    const Time progress = participant.FrontRequest().HasCode(Request) ? confirmedAt : takenAt;
    return std::max(participant.FrontSince(), progress) + settings.confirmTimeout;
}

const ParticipantCounters& Hub::Count(Id id) const
{
    return participants[id]->counters;
}

void Hub::SetLink(Link state, Time now)
{
    counters.linkLosses += link == Link::Usable && state == Link::Lost ? 1U : 0U;
    link = state;
    settledAt = now + SettleTime;
    confirmedAt = now; // what waited for the link to be usable is given its time from now on
    takenAt = now;
    const bool hasChanged = link != Link::Settling && std::exchange(announced, link) != link;
    for (Id id = 0; id < end; ++id)
    {
        if (participants[id])
        {
            TellState(id, hasChanged);
        }
    }
    if (link == Link::Lost)
    {
        RefuseAll();
    }
}

// Each change counts as one message, so that whoever has no room knows how many it has lost. The present state is told later to
// whoever does not know it: because it has lost that message, or has come while the state was not known.
void Hub::TellState(Id id, bool hasChanged)
{
    const uint16_t state = link == Link::Usable ? ORVEL_LINK_STATE_USABLE : ORVEL_LINK_STATE_LOST;
    Participant& participant = *participants[id];
    const bool isOwed = participant.toldState != state && participant.Messages().HasRoom();
    if (link != Link::Settling && (hasChanged || isOwed) && Give(id, LinkStateMessage(state)))
    {
        participant.toldState = state;
    }
}

void Hub::RefuseAll()
{
    while (const auto request = inFlight.TakeWithoutLink())
    {
        Refuse(request->message, request->sender, true, counters.refusedAtOnce);
    }
    for (Id id = 0; id < end; ++id)
    {
        while (participants[id] && participants[id]->HasRequest())
        {
            RefuseFront(id, counters.refusedAtOnce);
        }
    }
}

void Hub::RefuseFront(Id id, uint64_t& why)
{
    const Participant& participant = *participants[id];
    Refuse(participant.FrontRequest(), participant.isLeaving ? Nobody : id, true, why);
    PopRequest(id);
}

void Hub::Refuse(Message message, Id sender, bool wasAdded, uint64_t& why)
{
    auto telegram = TelegramIn(message);
    if (!telegram || !message.HasCode(Request))
    {
        ++counters.dropped;
        return;
    }
    ++why;
    if (sender == Nobody)
    {
        return;
    }
    Participant& participant = *participants[sender];
    ++(&why == &counters.timedOut ? participant.counters.timedOut : participant.counters.refused);
    telegram->BecomeFailedConfirmation();
    participant.Answer(message, wasAdded);
    News(sender);
}

void Hub::ToAllBut(Id sender, const Message& message)
{
    for (Id id = 0; id < end; ++id)
    {
        if (id != sender && participants[id])
        {
            Give(id, message);
        }
    }
}

// False if it is lost.
bool Hub::Give(Id id, const Message& message)
{
    Participant& participant = *participants[id];
    if (participant.isLeaving)
    {
        return false;
    }
    if (!participant.Messages().Put(message))
    {
        ++participant.counters.lost;
        ++counters.lost;
        return false; // whoever has lost a message has had news
    }
    News(id);
    return true;
}

void Hub::News(Id id)
{
    Participant& participant = *participants[id];
    if (!participant.hasNews && !participant.isLeaving)
    {
        participant.hasNews = true;
        news.push_back(id);
    }
}

// The last one of a participant that has left is what it was kept for.
void Hub::PopRequest(Id id)
{
    Participant& participant = *participants[id];
    participant.PopRequest();
    --waiting;
    News(id);
    if (participant.isLeaving && !participant.HasRequest())
    {
        participants[id].reset();
    }
}

} // namespace OrvelGateway
