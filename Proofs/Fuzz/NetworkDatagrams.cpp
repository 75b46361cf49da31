// Fuzzes what the network and the bus bring to the gateway's KNXnet/IP router.
//
// The first byte chooses what may pass. The input goes on as a row of items: a byte that chooses, then a number (two bytes,
// little endian). The number is a length, and the bytes of a datagram or of a message of the bus follow; or it is milliseconds
// that pass.

#include "Knx/Telegram.h"
#include "NetworkRouter.h"

#include "Expect.h"
#include "Input.h"

using namespace OrvelGateway;
using Knx::RoutingPort;
namespace Routing = Knx::Routing;
namespace Telegram = Knx::Telegram;

namespace
{

NetworkRouter::Settings SettingsOf(uint8_t choice)
{
    NetworkRouter::Settings settings;
    settings.programming = (choice & 1U) != 0;
    if ((choice & 2U) != 0)
    {
        settings.fromNetwork = Knx::GroupRanges("1/2/0-255");
    }
    if ((choice & 4U) != 0)
    {
        settings.toNetwork = Knx::GroupRanges("1/2/0-255");
    }
    return settings;
}

// The network, the bus and the clock around a router.
class Surroundings
{
public:
    explicit Surroundings(uint8_t choice)
        : router(
              SettingsOf(choice),
              {[this](const Bytes& datagram) { return Send(datagram); }, [this](const Bytes& cemi) { Request(cemi); },
               [](const RoutingPort::Note& note) {
                   Fuzz::Expect("a number of something", note.total > 0 || note.kind == RoutingPort::Note::OthersLost);
               }},
              1)
    {
    }

    void Receive(const Bytes& datagram)
    {
        ++datagrams;
        if (const auto decoded = Routing::Decode(datagram))
        {
            losses += std::holds_alternative<Routing::Lost>(*decoded) ? 1 : 0;
        }
        router.FromNetwork(datagram, now);
        router.Advance(now);
    }

    void FromBus(const Bytes& cemi)
    {
        telegrams += Telegram::IsIndication(cemi) ? 1 : 0;
        router.FromBus(cemi);
        router.Advance(now);
    }

    void Confirm(bool isConfirmed)
    {
        if (unconfirmed > 0)
        {
            --unconfirmed;
            router.OnConfirmation(isConfirmed);
            router.Advance(now);
        }
    }

    void SetLink(bool up)
    {
        router.OnLink(up);
        router.Advance(now);
    }

    void Pass(std::chrono::milliseconds time)
    {
        now += time;
        router.Advance(now);
    }

    void Finish()
    {
        do
        {
            Confirm(true);
            const auto due = router.NextDue();
            if (due)
            {
                Fuzz::Expect("what is due lies ahead", *due > now);
                now = *due;
                router.Advance(now);
            }
        } while (unconfirmed > 0 || router.NextDue());
        const NetworkRouter::Counters count = router.Count();
        Fuzz::ExpectEqual("what became of the bus' telegrams", count.toNetwork + count.notSent + count.stoppedToNetwork,
                          telegrams);
        Fuzz::ExpectEqual("what became of the datagrams",
                          count.fromNetwork + count.refused + count.stoppedFromNetwork + count.port.lost +
                              count.port.malformed + count.port.ignored + count.port.othersBusy + losses,
                          datagrams);
        Fuzz::ExpectEqual("telegrams that were sent", sent, count.toNetwork);
        Fuzz::ExpectEqual("losses that others were told", told, count.port.lost);
    }

private:
    bool Send(const Bytes& datagram)
    {
        const auto decoded = Routing::Decode(datagram);
        Fuzz::Expect("a datagram that others understand",
                     decoded.has_value() && datagram.size() <= Routing::MaxDatagram);
        if (const auto* const lost = std::get_if<Routing::Lost>(&*decoded); lost != nullptr)
        {
            told += lost->count;
        }
        if (const auto* const indication = std::get_if<Routing::Indication>(&*decoded); indication != nullptr)
        {
            Fuzz::Expect("a complete telegram", Telegram::IsIndication(indication->cemi));
            const bool isTaken = datagram.back() % 2 == 0; // the network does not take everything
            sent += isTaken ? 1 : 0;
            return isTaken;
        }
        return true;
    }

    void Request(const Bytes& cemi)
    {
        ++unconfirmed;
        Fuzz::Expect("as many under way as may be", unconfirmed <= NetworkRouter::MaxUnconfirmed);
        Fuzz::Expect("a complete request that the daemon takes",
                     Telegram::IsRequest(cemi) && cemi.size() <= NetworkRouter::MaxRequest);
    }

    uint64_t datagrams = 0;
    uint64_t losses = 0; // of other routers
    uint64_t telegrams = 0;
    uint64_t sent = 0;
    uint64_t told = 0;
    std::size_t unconfirmed = 0;
    NetworkRouter::Clock::time_point now{std::chrono::hours(1)};
    NetworkRouter router;
};

// Gives the datagram a correct header.
Bytes WholeDatagram(uint8_t service, const Bytes& body)
{
    const auto size = static_cast<uint16_t>(body.size() + 6);
    Bytes datagram{6, 0x10, 5, service, static_cast<uint8_t>(size >> 8U), static_cast<uint8_t>(size & 0xFFU)};
    datagram.insert(datagram.end(), body.begin(), body.end());
    return datagram;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    Fuzz::Input input(data, size);
    Surroundings surroundings(input.TakeByte());
    while (!input.IsEmpty())
    {
        const uint8_t choice = input.TakeByte();
        const uint16_t number = input.TakeNumber();
        switch (choice % 8)
        {
        case 0:
            surroundings.Pass(std::chrono::milliseconds(number));
            break;
        case 1:
            surroundings.Receive(input.TakeBytes(number % (Routing::MaxDatagram + 1)));
            break;
        case 2:
            surroundings.FromBus(input.TakeBytes(number % 300U));
            break;
        case 3:
            surroundings.Confirm(number % 2 == 0);
            break;
        case 4:
            surroundings.SetLink(number % 2 == 0);
            break;
        default: // 0x30 to 0x32: telegrams, losses, pauses
            surroundings.Receive(
                WholeDatagram(static_cast<uint8_t>(0x30U + choice % 8 - 5), input.TakeBytes(number % 1000U)));
        }
    }
    surroundings.Finish();
    return 0;
}
