// Fuzzes what programs and the link bring to the gateway.
//
// The input is a row of items: a byte that chooses, one that says whose turn it is, and a number (two bytes, little endian).
// The number is a length, and the bytes of a packet or of a message follow; or it is milliseconds that pass, or how many
// messages are read.

#include "Hub.h"

#include "Knx/TelegramView.h"
#include "Orvel/Gateway.h"

#include "Expect.h"
#include "Input.h"

#include <array>
#include <optional>

using namespace OrvelGateway;
using Bytes = std::vector<uint8_t>;

namespace
{

// Three programs, the network, the daemon and the clock around a hub.
class Surroundings
{
public:
    Surroundings()
    {
        seats[0].id = hub.ConnectNetwork();
    }

    void Do(uint8_t what, uint8_t who, uint16_t number, Fuzz::Input& input)
    {
        Seat& seat = seats[who % seats.size()];
        switch (what % 8U)
        {
        case 0:
            ComeOrGo(seat, who % seats.size() == 0);
            break;
        case 1:
            Send(seat, input.TakeBytes(number));
            break;
        case 2:
            Receive(input.TakeBytes(number));
            break;
        case 3:
            now += std::chrono::milliseconds(number);
            hub.OnTime(now);
            break;
        case 4:
            Read(seat, number);
            break;
        case 5:
            Take();
            break;
        case 6:
            hub.OnButton(who);
            break;
        default:
            ChangeDaemon(who % 2U != 0);
            break;
        }
    }

    void Finish()
    {
        while (const auto due = hub.Due())
        {
            Take();
            now = std::max(now, *due);
            hub.OnTime(now);
        }
        Fuzz::Expect("nothing is left for the link", hub.NextToLink() == nullptr);
        for (Seat& seat : seats)
        {
            if (!seat.id)
            {
                continue;
            }
            Read(seat, UINT16_MAX);
            const ParticipantCounters& count = hub.Count(*seat.id);
            Fuzz::ExpectEqual("an answer for each request", seat.answers, seat.requests);
            Fuzz::ExpectEqual("requests as counted", count.requests, seat.requests);
            Fuzz::ExpectEqual("what became of them", count.confirmed + count.refused + count.timedOut, seat.requests);
            Fuzz::ExpectEqual("what it was told to have lost", seat.lost, count.lost);
            Fuzz::Expect("room for the next request", hub.CanSend(*seat.id));
        }
    }

private:
    struct Seat
    {
        std::optional<Hub::Id> id;
        uint64_t requests = 0;
        uint64_t answers = 0;
        uint64_t lost = 0;
    };

    void ComeOrGo(Seat& seat, bool isNetwork)
    {
        if (isNetwork)
        {
            return; // it stays
        }
        if (seat.id)
        {
            hub.Disconnect(*seat.id);
            seat = {};
            return;
        }
        seat = {hub.ConnectProgram()};
    }

    void Send(Seat& seat, const Bytes& packet)
    {
        if (!seat.id || !hub.CanSend(*seat.id))
        {
            return;
        }
        const bool isTaken = hub.Send(*seat.id, packet.data(), packet.size(), now);
        Fuzz::Expect("a message that the daemon takes",
                     !isTaken || (packet.size() > 1 && packet.size() <= 256 && packet[0] + 1U == packet.size()));
        seat.requests += isTaken && packet[1] == 0x11 ? 1U : 0U;
    }

    void Receive(const Bytes& message)
    {
        const bool isGatewaysOwn = message.size() == 4 && message[1] == ORVEL_GATEWAY_LOST_CODE;
        if (!isGatewaysOwn) // it would spoil the account
        {
            hub.OnMessage(message.data(), message.size(), now);
        }
    }

    void Take()
    {
        while (const Message* const message = hub.NextToLink())
        {
            Fuzz::Expect("a message that the daemon takes", message->Data()[0] + 1U == message->Size());
            hub.TakenByLink(now);
        }
    }

    void Read(Seat& seat, uint16_t number)
    {
        for (; seat.id && number > 0; --number)
        {
            const Message* const next = hub.Next(*seat.id);
            if (next == nullptr)
            {
                return;
            }
            Message message = *next;
            Fuzz::Expect("a message of the queue's size", message.Size() > 1 && message.Size() <= Message::MaxSize);
            if (message.HasCode(ORVEL_GATEWAY_LOST_CODE) && message.Size() == ORVEL_GATEWAY_LOST_MESSAGE_SIZE)
            {
                seat.lost += static_cast<unsigned>(message.Data()[2]) << 8U | message.Data()[3];
            }
            const bool isNetwork = &seat == &seats.front(); // it takes each confirmation for an answer
            if (message.HasCode(0x2E) && (isNetwork || Knx::TelegramView::Of(message.Frame(), message.FrameSize())))
            {
                ++seat.answers;
                Fuzz::Expect("an answer to a request", seat.answers <= seat.requests);
            }
            hub.Taken(*seat.id);
        }
    }

    void ChangeDaemon(bool isThere)
    {
        if (!isThere)
        {
            hub.OnDaemonGone(now);
        }
        else if (hub.State() == Hub::Link::Lost)
        {
            hub.OnDaemonFound(now);
        }
    }

    Hub::Time now{std::chrono::hours(1)};
    Hub hub{Hub::Settings{3, std::chrono::milliseconds(3000)}};
    std::array<Seat, 4> seats; // the first one is the network's
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    Surroundings surroundings;
    while (!input.IsEmpty())
    {
        const uint8_t what = input.TakeByte();
        const uint8_t who = input.TakeByte();
        surroundings.Do(what, who, input.TakeNumber(), input);
    }
    surroundings.Finish();
    return 0;
}
