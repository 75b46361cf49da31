// Fuzzes what the network and applications bring to the board's KNXnet/IP router.
//
// The input is a row of items: a byte that chooses, then a number (two bytes, little endian). The number is a length,
// and the bytes of a datagram or of an application's request follow; or it is milliseconds that pass.

#include "Knx/Telegram.h"
#include "Router.h"

#include "Expect.h"
#include "Input.h"

using namespace Simulator;
namespace Routing = Knx::Routing;
namespace Telegram = Knx::Telegram;

namespace
{

// The network, the application and the clock around a router.
class Surroundings
{
public:
    explicit Surroundings(BusSpeed speed)
        : router(speed,
                 {[](const Bytes& datagram) { return Send(datagram); }, [this](const Bytes& cemi) { Deliver(cemi); },
                  [](const Event& event) { Fuzz::Expect("an event in words", !TextOf(event).empty()); }},
                 1)
    {
    }

    void Receive(const Bytes& datagram)
    {
        ++datagrams;
        if (const auto decoded = Routing::Decode(datagram))
        {
            Fuzz::ExpectEqual("the datagram again", Routing::Encode(*decoded), datagram);
            losses += std::holds_alternative<Routing::Lost>(*decoded) ? 1 : 0;
        }
        router.FromNetwork(datagram, now);
        router.Advance(now);
    }

    void Request(const Bytes& cemi)
    {
        ++requests;
        router.FromApplication(
            cemi, [this](bool) { ++confirmed; }, now);
        router.Advance(now);
    }

    void Pass(std::chrono::milliseconds time)
    {
        now += time;
        router.Advance(now);
    }

    void Finish()
    {
        while (const auto due = router.NextDue())
        {
            Fuzz::Expect("what is due lies ahead", *due > now);
            now = *due;
            router.Advance(now);
        }
        const KnxIpCounters count = router.Count();
        Fuzz::ExpectEqual("an answer for each request", confirmed, requests);
        Fuzz::ExpectEqual("what became of the requests", count.sent + count.refused, requests);
        Fuzz::ExpectEqual("what became of the datagrams",
                          count.received + count.dropped + count.malformed + count.ignored + count.busy + losses,
                          datagrams);
        Fuzz::ExpectEqual("telegrams for the application", delivered, count.received);
    }

private:
    static bool Send(const Bytes& datagram)
    {
        const auto decoded = Routing::Decode(datagram);
        Fuzz::Expect("a datagram that others understand",
                     decoded.has_value() && datagram.size() <= Routing::MaxDatagram);
        const auto* const indication = std::get_if<Routing::Indication>(&*decoded);
        Fuzz::Expect("a complete telegram", indication == nullptr || Telegram::IsIndication(indication->cemi));
        return datagram.back() % 2 == 0; // the network does not take everything
    }

    void Deliver(const Bytes& cemi)
    {
        ++delivered;
        Fuzz::Expect("a complete telegram for the application", Telegram::IsIndication(cemi));
    }

    uint64_t datagrams = 0;
    uint64_t losses = 0; // of other routers
    uint64_t requests = 0;
    uint64_t confirmed = 0;
    uint64_t delivered = 0;
    Router::Clock::time_point now{std::chrono::hours(1)};
    Router router;
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
    Surroundings surroundings(input.TakeByte() % 2 == 0 ? BusSpeed::Tp1 : BusSpeed::Unlimited);
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
            surroundings.Request(input.TakeBytes(number % 256U));
            break;
        default: // 0x30 to 0x34: telegrams, losses, pauses, and what only others do
            surroundings.Receive(
                WholeDatagram(static_cast<uint8_t>(0x30U + choice % 8 - 3), input.TakeBytes(number % 1000U)));
        }
    }
    surroundings.Finish();
    return 0;
}
