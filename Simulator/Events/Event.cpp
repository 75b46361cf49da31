#include "Event.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace Simulator
{

namespace
{

// The begin of a datagram that may be long.
std::string BeginOf(const Bytes& datagram)
{
    constexpr std::size_t Shown = 24; // bytes
    const auto end = datagram.begin() + static_cast<std::ptrdiff_t>(std::min(datagram.size(), Shown));
    return Knx::ToHex({datagram.begin(), end}) + (datagram.size() > Shown ? " ..." : "");
}

std::string ListOf(const KnxIpCounters& counters)
{
    std::string text;
    const char* separator = "";
    for (const auto& [number, what] : {std::pair(counters.sent, "sent"),
                                       {counters.received, "received"},
                                       {counters.refused, "refused"},
                                       {counters.dropped, "dropped"},
                                       {counters.lost, "lost by others"},
                                       {counters.busy, "times others busy"},
                                       {counters.malformed, "malformed"},
                                       {counters.ignored, "of other services"}})
    {
        text += separator + std::to_string(number) + " " + what;
        separator = ", ";
    }
    return text;
}

} // namespace

const char* NameOf(int64_t led)
{
    constexpr std::array<const char*, 4> Names{"orange device", "green device", "red KNX", "yellow KNX"};
    return Names.at(static_cast<std::size_t>(led - OrangeDeviceLed));
}

std::string TextOf(std::chrono::nanoseconds pulse)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.1f ms", std::chrono::duration<double, std::milli>(pulse).count());
    return text.data();
}

std::string TextOf(const Event& event)
{
    const std::string number = std::to_string(event.number);
    const std::string total = std::to_string(event.total);
    switch (event.kind)
    {
    case Event::ResetLineLow:
        return "reset line low";
    case Event::ResetLineHigh:
        return "reset line high after " + TextOf(std::chrono::nanoseconds(event.number));
    case Event::CoProcessorBooted:
        return "co-processor booted";
    case Event::CoProcessorHangs:
        return "co-processor hangs";
    case Event::LinkUp:
        return "link up";
    case Event::ButtonPressed:
        return "button pressed";
    case Event::ButtonReleased:
        return "button released";
    case Event::SerialLinePulled:
        return "serial line pulled";
    case Event::SerialLinePluggedIn:
        return "serial line plugged in";
    case Event::LedOn:
        return std::string("LED ") + NameOf(event.number) + " on";
    case Event::LedOff:
        return std::string("LED ") + NameOf(event.number) + " off";
    case Event::TerminationOn:
        return "RS485 termination on";
    case Event::TerminationOff:
        return "RS485 termination off";
    case Event::TelegramToKnx:
        return "telegram to KNX: " + Knx::ToHex(event.bytes);
    case Event::TelegramConfirmed:
        return "telegram confirmed: " + Knx::ToHex(event.bytes);
    case Event::TelegramNotSent:
        return "telegram not sent: " + Knx::ToHex(event.bytes);
    case Event::TelegramFromKnx:
        return "telegram from KNX: " + Knx::ToHex(event.bytes);
    case Event::TelegramLost:
        return "telegram lost: no link to the driver";
    case Event::MessageOfUnknownTopic:
        return "message of unknown topic " + number + ": " + Knx::ToHex(event.bytes);
    case Event::UnknownDeviceMessage:
        return "device message not understood: " + Knx::ToHex(event.bytes);

    case Event::KnxIpJoined:
        return "KNXnet/IP: joined " + event.text;
    case Event::KnxIpCounted:
        return "KNXnet/IP: " + ListOf(event.counters);
    case Event::KnxIpRouterLost:
        return "KNXnet/IP: a router lost " + number + " telegrams; " + total + " were lost so far";
    case Event::KnxIpRouterBusy:
        return "KNXnet/IP: a router is busy and asks for " + number + " ms, number " + total;
    case Event::KnxIpNoRoom:
        return "KNXnet/IP: " + number + " telegrams from the network found no room";
    case Event::MalformedDatagram:
        return "KNXnet/IP: malformed datagram dropped, number " + number + ": " + BeginOf(event.bytes);

    case Event::DaemonStarted:
        return "daemon started";
    case Event::DaemonEnded:
        return "daemon ended with status " + number;
    case Event::DaemonStartsLater:
        return "daemon starts again in " + number + " s";
    case Event::DaemonCannotStart:
        return event.text + "; restart tries again";
    case Event::DaemonKilled:
        return "daemon has not ended in " + number + " s and is killed";
    case Event::DaemonAtOrdinaryPriority:
        return std::string("daemon starts at ordinary priority (") + strerror(static_cast<int>(event.number)) +
               "): on a busy machine its LEDs may not come";
    case Event::LedsDidNotCome:
        return "the LEDs did not come; restart starts the daemon anew";

    case Event::DemonstrationEnded:
        return "that was all; the daemon goes on, and 'help' lists what you can do";
    case Event::DemonstrationFailed:
        return "the demonstration failed: " + event.text;

    case Event::GatewayStarted:
        return "gateway started";
    case Event::GatewayEnded:
        return "gateway ended with status " + number;
    case Event::ProgramConnected:
        return "program " + event.text + " connected to the gateway";
    case Event::ProgramLeft:
        return "program " + event.text + " left the gateway";

    case Event::Note:
        break;
    }
    return event.text;
}

} // namespace Simulator
