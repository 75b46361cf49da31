#include "Connection.h"

#include "KnxBus.h"

#include "BenchKit/Messages.h"
#include "Orvel/Protocol.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

using Messages::Item;

namespace
{

using namespace std::chrono_literals;

constexpr auto ConfirmTimeout = 3'000ms; // the gateway's
constexpr auto Rounding = 20ms;          // of its clock against this one

} // namespace

void Sums::Add(const Sums& other)
{
    requests += other.requests;
    confirmed += other.confirmed;
    refused += other.refused;
    unknown += other.unknown;
    properties += other.properties;
    invalid += other.invalid;
    delivered += other.delivered;
    lost += other.lost;
    connections += other.connections;
    slowestAnswer = std::max(slowestAnswer, other.slowestAnswer);
}

std::optional<System::Descriptor> Connection::TryConnect(const std::string& path)
{
    System::Descriptor made(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    if (connect(made.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == -1)
    {
        return std::nullopt;
    }
    return made;
}

Connection::Connection(System::Descriptor connected, std::string who, uint32_t connectionNumber, bool loses,
                       const Context& itsContext)
    : connection(std::move(connected))
    , name(std::move(who))
    , number(connectionNumber)
    , mayLose(loses)
    , context(itsContext)
    , firstRequest(itsContext.requests.Next())
    , beginsFrom(itsContext.heard.size())
{
    ++context.sums.connections;
}

bool Connection::Send(const Bytes& packet)
{
    if (!hasEnded && send(connection.Number(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_NOSIGNAL) != -1)
    {
        return true;
    }
    hasEnded = hasEnded || errno != EAGAIN;
    return false;
}

bool Connection::SendRequest()
{
    const uint32_t request = context.requests.Next();
    const auto now = Clock::now();
    if (!Send(WithSize(Messages::Request(request))))
    {
        return false;
    }
    context.requests.Add(number, context.trouble, now);
    ++context.sums.requests;
    ++open;
    return true;
}

bool Connection::SendProperty()
{
    const bool isSent = Send(WithSize(Messages::Property()));
    context.sums.properties += isSent ? 1 : 0;
    return isSent;
}

bool Connection::SendInvalid(const Bytes& packet)
{
    const bool isSent = Send(packet);
    context.sums.invalid += isSent ? 1 : 0;
    return isSent;
}

void Connection::Read()
{
    std::array<uint8_t, 512> message;
    while (true)
    {
        const ssize_t size = recv(connection.Number(), message.data(), message.size(), MSG_DONTWAIT);
        if (size <= 0)
        {
            hasEnded = hasEnded || size == 0 || errno != EAGAIN;
            return;
        }
        Enter(Messages::Received(message.data(), static_cast<std::size_t>(size)));
    }
}

void Connection::Enter(const Item& item)
{
    context.sums.delivered += item.kind == Item::Lost ? 0 : 1;
    if (!HasBegun() && item.kind != Item::State)
    {
        Fail("begins with " + TextOf(item) + " and not with the state of the link");
    }
    switch (item.kind)
    {
    case Item::State:
        if (item.number != ORVEL_LINK_STATE_USABLE && item.number != ORVEL_LINK_STATE_LOST)
        {
            Fail("receives " + TextOf(item));
        }
        knows = knows == 0 ? context.injected : knows;
        state = item.number;
        break;
    case Item::Confirmed:
        Answer(item.number, true);
        break;
    case Item::Refused:
        Answer(item.number, false);
        return; // comes to this program only
    case Item::Lost:
        if (!mayLose)
        {
            Fail("reads everything at once, and is told that it has " + TextOf(item));
        }
        context.sums.lost += item.number;
        hasLost = true;
        state.reset();
        break;
    case Item::Strange:
        Fail("receives " + TextOf(item));
    case Item::Request:
        if (context.requests.At(item.number).connection == number)
        {
            Fail("hears its own " + TextOf(item) + " as that of another program");
        }
        break;
    default:
        break;
    }
    pending.push_back(item);
}

void Connection::Answer(uint32_t request, bool isConfirmed)
{
    Requests::Request& its = context.requests.At(request);
    const std::string what = TextOf(Item{isConfirmed ? Item::Confirmed : Item::Refused, request});
    if (its.connection != number)
    {
        Fail("receives the " + what + ", which is another program's");
    }
    if (its.fate != Requests::Fate::Open)
    {
        Fail("receives the " + what + " after a first answer");
    }
    if (isConfirmed && !its.hasArrived)
    {
        Fail("receives the " + what + ", which never came to the bus");
    }
    if (!isConfirmed)
    {
        CheckRefusal(its, request);
    }
    its.fate = isConfirmed ? Requests::Fate::Confirmed : Requests::Fate::Refused;
    ++(isConfirmed ? context.sums.confirmed : context.sums.refused);
    --open;
    if (!mayLose)
    {
        const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - its.sentAt);
        context.sums.slowestAnswer = std::max<long>(context.sums.slowestAnswer, time.count());
    }
}

// The bus refuses some. The gateway does so while the link is lost, which it has told before, and when its time is over.
void Connection::CheckRefusal(const Requests::Request& request, uint32_t itsNumber) const
{
    const KnxBus::Answer answer = KnxBus::AnswerTo(itsNumber);
    const bool byBus = request.hasArrived && answer == KnxBus::Answer::Refuses;
    const bool inTime = Clock::now() - request.sentAt >= ConfirmTimeout - Rounding;
    const bool withoutLink = !state || *state == ORVEL_LINK_STATE_LOST;
    if (!byBus && !inTime && !withoutLink)
    {
        Fail("receives the refusal of request " + std::to_string(itsNumber) + " for no reason");
    }
    if (!byBus && !withoutLink && answer != KnxBus::Answer::Late && answer != KnxBus::Answer::Silent)
    {
        context.requests.BeSlow(request);
    }
}

Heard Connection::TakeRead()
{
    Heard read(pending.begin(), pending.end());
    pending.clear();
    return read;
}

void Connection::Compare()
{
    while (position || Place())
    {
        if (!SkipLost())
        {
            return;
        }
        if (owedState && !pending.empty() && pending.front().kind == Item::State)
        {
            TakeOwedState();
            continue;
        }
        if (*position == context.heard.size())
        {
            return;
        }
        const Item& next = context.heard[*position];
        if (IsLate(next))
        {
            ++*position;
            continue;
        }
        if (pending.empty())
        {
            return;
        }
        const Item mine = pending.front();
        pending.pop_front();
        if (mine.kind == Item::Lost)
        {
            toSkip = mine.number;
        }
        else if (owedState && mine.kind != Item::Confirmed) // an answer waits beside the other messages
        {
            Fail("receives " + TextOf(mine) + " before the state of the link, of which it has lost the last change");
        }
        else if (!IsSame(mine, next))
        {
            Fail("receives " + TextOf(mine) + " where the others hear " + TextOf(next));
        }
        else
        {
            ++*position;
            toldState = mine.kind == Item::State ? mine.number : toldState;
        }
    }
}

// It is told as soon as there is room again, and so at another place than to the others.
void Connection::TakeOwedState()
{
    const Item mine = pending.front();
    pending.pop_front();
    if (mine.number != *owedState)
    {
        Fail("receives " + TextOf(mine) + " where it has lost " + TextOf(Item{Item::State, *owedState}));
    }
    toldState = *owedState;
    owedState.reset();
}

// Finds where this connection begins in what the observer has heard. False while that is not known.
bool Connection::Place()
{
    const auto anchor = std::find_if(pending.begin(), pending.end(), [](const Item& item) { return item.IsUnique(); });
    const auto place = anchor == pending.end()
                           ? context.heard.end()
                           : std::find_if(context.heard.begin() + static_cast<std::ptrdiff_t>(beginsFrom),
                                          context.heard.end(), [&](const Item& item) { return IsSame(*anchor, item); });
    if (place == context.heard.end())
    {
        return false;
    }
    // The first message is the state of the link, which the others may have heard long before.
    auto before = place;
    for (auto mine = anchor; mine != pending.begin() + 1;)
    {
        --mine;
        while (before != context.heard.begin() && IsLate(*(before - 1)))
        {
            --before;
        }
        if (before == context.heard.begin() || !IsSame(*mine, *(before - 1)))
        {
            Fail("receives " + TextOf(*mine) + " before " + TextOf(*anchor) + ", which nobody else does");
        }
        --before;
    }
    const auto missed =
        std::find_if(context.heard.begin() + static_cast<std::ptrdiff_t>(beginsFrom), before,
                     [this](const Item& item) { return item.kind == Item::Telegram && item.number > knows; });
    if (missed != before)
    {
        Fail("has missed " + TextOf(*missed) + ", which came after it was told the state of the link");
    }
    for (auto mine = pending.begin(); mine != anchor; ++mine)
    {
        toldState = mine->kind == Item::State ? mine->number : toldState;
    }
    pending.erase(pending.begin(), anchor);
    position = static_cast<std::size_t>(place - context.heard.begin());
    return true;
}

// False while the observer has not heard all of them.
bool Connection::SkipLost()
{
    for (; toSkip > 0 && *position < context.heard.size(); ++*position)
    {
        const Item& next = context.heard[*position];
        if (next.kind == Item::Request && context.requests.At(next.number).connection == number && !IsLate(next))
        {
            Fail("has lost an answer among " + std::to_string(toSkip) + " messages");
        }
        if (next.kind == Item::State)
        {
            owedState = next.number == toldState ? std::nullopt : std::optional(next.number);
        }
        toSkip -= IsLate(next) ? 0 : 1;
    }
    return toSkip == 0;
}

// Whether the others hear a request of this program that it was told to be refused: the bus has confirmed it too late.
bool Connection::IsLate(const Item& item)
{
    if (item.kind != Item::Request || item.number < firstRequest)
    {
        return false;
    }
    const Requests::Request& request = context.requests.At(item.number);
    return request.connection == number && request.fate == Requests::Fate::Refused;
}

bool Connection::IsSame(const Item& mine, const Item& others) const
{
    return mine == others || (mine.kind == Item::Confirmed && others == Item{Item::Request, mine.number});
}

bool Connection::IsEven() const
{
    return open == 0 && pending.empty() && toSkip == 0 && !owedState && position == context.heard.size();
}

std::string Connection::WhatIsMissing() const
{
    std::string text = name + ": ";
    if (open != 0)
    {
        text += std::to_string(open) + " requests without an answer";
    }
    else if (!position)
    {
        text += "what it has received is nowhere in what the others have heard:";
        for (const Item& item : pending)
        {
            text += " " + TextOf(item) + ";";
        }
    }
    else
    {
        text +=
            "at message " + std::to_string(*position) + " of " + std::to_string(context.heard.size()) +
            (*position < context.heard.size() ? ", where the others hear " + TextOf(context.heard[*position]) : "") +
            (owedState ? ", and has lost the last state of the link" : "") +
            (pending.empty() ? ", and nothing comes" : ", and receives " + TextOf(pending.front()));
    }
    return text;
}

bool Connection::IsUsable() const
{
    return state && *state == ORVEL_LINK_STATE_USABLE;
}

bool Connection::IsLost() const
{
    return state && *state == ORVEL_LINK_STATE_LOST;
}

void Connection::Close()
{
    for (uint32_t request = firstRequest; open > 0 && request < context.requests.Next(); ++request)
    {
        Requests::Request& its = context.requests.At(request);
        if (its.connection == number && its.fate == Requests::Fate::Open)
        {
            its.fate = Requests::Fate::Unknown;
            ++context.sums.unknown;
            --open;
        }
    }
    connection.Close();
    hasEnded = true;
}

void Connection::Fail(const std::string& what) const
{
    throw Mismatch(name + " " + what);
}
