#include "EventJson.h"

#include <nlohmann/json.hpp>

#include <ratio>

namespace Simulator
{

namespace
{

using Object = nlohmann::ordered_json; // its members stay in the order in which they were added

template<typename Period>
double Seconds(int64_t number)
{
    return std::chrono::duration<double>(std::chrono::duration<int64_t, Period>(number)).count();
}

const char* KindName(Event::Kind kind)
{
    switch (kind)
    {
    case Event::ResetLineLow:
        return "resetLineLow";
    case Event::ResetLineHigh:
        return "resetLineHigh";
    case Event::CoProcessorBooted:
        return "coProcessorBooted";
    case Event::CoProcessorHangs:
        return "coProcessorHangs";
    case Event::LinkUp:
        return "linkUp";
    case Event::ButtonPressed:
        return "buttonPressed";
    case Event::ButtonReleased:
        return "buttonReleased";
    case Event::SerialLinePulled:
        return "serialLinePulled";
    case Event::SerialLinePluggedIn:
        return "serialLinePluggedIn";
    case Event::LedOn:
        return "ledOn";
    case Event::LedOff:
        return "ledOff";
    case Event::TerminationOn:
        return "terminationOn";
    case Event::TerminationOff:
        return "terminationOff";
    case Event::TelegramToKnx:
        return "telegramToKnx";
    case Event::TelegramConfirmed:
        return "telegramConfirmed";
    case Event::TelegramNotSent:
        return "telegramNotSent";
    case Event::TelegramFromKnx:
        return "telegramFromKnx";
    case Event::TelegramLost:
        return "telegramLost";
    case Event::MessageOfUnknownTopic:
        return "messageOfUnknownTopic";
    case Event::UnknownDeviceMessage:
        return "unknownDeviceMessage";

    case Event::KnxIpJoined:
        return "knxIpJoined";
    case Event::KnxIpCounted:
        return "knxIpCounted";
    case Event::KnxIpRouterLost:
        return "knxIpRouterLost";
    case Event::KnxIpRouterBusy:
        return "knxIpRouterBusy";
    case Event::KnxIpNoRoom:
        return "knxIpNoRoom";
    case Event::MalformedDatagram:
        return "malformedDatagram";

    case Event::DaemonStarted:
        return "daemonStarted";
    case Event::DaemonEnded:
        return "daemonEnded";
    case Event::DaemonStartsLater:
        return "daemonStartsLater";
    case Event::DaemonCannotStart:
        return "daemonCannotStart";
    case Event::DaemonKilled:
        return "daemonKilled";
    case Event::DaemonAtOrdinaryPriority:
        return "daemonAtOrdinaryPriority";
    case Event::LedsDidNotCome:
        return "ledsDidNotCome";

    case Event::DemonstrationEnded:
        return "demonstrationEnded";
    case Event::DemonstrationFailed:
        return "demonstrationFailed";

    case Event::GatewayStarted:
        return "gatewayStarted";
    case Event::GatewayEnded:
        return "gatewayEnded";
    case Event::ProgramConnected:
        return "programConnected";
    case Event::ProgramLeft:
        return "programLeft";

    case Event::Note:
        break;
    }
    return "note";
}

void AddCounters(Object& object, const KnxIpCounters& counters)
{
    object["sent"] = counters.sent;
    object["received"] = counters.received;
    object["refused"] = counters.refused;
    object["dropped"] = counters.dropped;
    object["lostByOthers"] = counters.lost;
    object["othersBusy"] = counters.busy;
    object["malformed"] = counters.malformed;
    object["ignored"] = counters.ignored;
}

void AddData(Object& object, const Event& event)
{
    switch (event.kind)
    {
    case Event::ResetLineHigh:
        object["seconds"] = Seconds<std::nano>(event.number);
        break;
    case Event::LedOn:
    case Event::LedOff:
        object["led"] = event.number;
        break;
    case Event::MessageOfUnknownTopic:
        object["topic"] = event.number;
        object["hex"] = Knx::ToHex(event.bytes, "");
        break;
    case Event::TelegramToKnx:
    case Event::TelegramConfirmed:
    case Event::TelegramNotSent:
    case Event::TelegramFromKnx:
    case Event::UnknownDeviceMessage:
        object["hex"] = Knx::ToHex(event.bytes, "");
        break;
    case Event::KnxIpCounted:
        AddCounters(object, event.counters);
        break;
    case Event::KnxIpRouterLost:
        object["telegrams"] = event.number;
        object["total"] = event.total;
        break;
    case Event::KnxIpRouterBusy:
        object["seconds"] = Seconds<std::milli>(event.number);
        object["total"] = event.total;
        break;
    case Event::KnxIpNoRoom:
        object["telegrams"] = event.number;
        break;
    case Event::MalformedDatagram:
        object["hex"] = Knx::ToHex(event.bytes, "");
        object["total"] = event.number;
        break;
    case Event::DaemonEnded:
    case Event::GatewayEnded:
        object["status"] = event.number;
        break;
    case Event::DaemonStartsLater:
    case Event::DaemonKilled:
        object["seconds"] = event.number;
        break;
    case Event::DaemonAtOrdinaryPriority:
        object["errno"] = event.number;
        break;
    case Event::KnxIpJoined:
    case Event::DaemonCannotStart:
    case Event::DemonstrationFailed:
    case Event::ProgramConnected:
    case Event::ProgramLeft:
    case Event::Note:
        object["text"] = event.text;
        break;
    default:
        break; // the kind says it all
    }
}

} // namespace

std::string JsonOf(std::chrono::microseconds since, const Event& event)
{
    Object object;
    object["time"] = Seconds<std::micro>(since.count());
    object["kind"] = KindName(event.kind);
    AddData(object, event);
    // A text can hold the name of a file, which may be of any bytes.
    return object.dump(-1, ' ', false, Object::error_handler_t::replace);
}

} // namespace Simulator
