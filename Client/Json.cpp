#include "Json.h"

#include "Description.h"
#include "TimeStamp.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"

#include <nlohmann/json.hpp>

#include <optional>

namespace OrvelClient
{

namespace
{

using namespace Knx;

using Object = nlohmann::ordered_json; // its members stay in the order in which they were added

template<typename Number>
void AddIfThere(Object& object, const char* name, const std::optional<Number>& number)
{
    if (number)
    {
        object[name] = *number;
    }
}

void AddAddressing(Object& object, const CemiMessage& cemi)
{
    if (cemi.control1)
    {
        object["frameType"] = cemi.IsStandardFrame() ? "standard" : "extended";
        object["repeatBit"] = cemi.RepeatBit();
        object["broadcast"] = cemi.DomainBroadcastBit() ? "domain" : "system";
        object["priority"] = NameOfPriority(cemi.Priority());
        object["acknowledge"] = cemi.AcknowledgeBit();
        object["error"] = cemi.ErrorBit();
    }
    if (cemi.control2)
    {
        object["destinationType"] = cemi.IsGroupAddressed() ? "group" : "individual";
        object["hops"] = cemi.Hops();
        object["format"] = cemi.Format();
    }
    if (cemi.source)
    {
        object["source"] = IndividualAddress(*cemi.source);
    }
    if (cemi.destination)
    {
        object["destination"] = Destination(cemi);
    }
}

void AddTransport(Object& object, const CemiMessage& cemi)
{
    if (cemi.tpci)
    {
        if (const std::string name = TransportName(cemi); !name.empty())
        {
            object["transport"] = name;
        }
        if (cemi.IsNumbered())
        {
            object["sequence"] = cemi.Sequence();
        }
    }
    AddIfThere(object, "apci", cemi.apci);
    if (cemi.apci)
    {
        object["service"] = ServiceName(cemi);
        AddIfThere(object, "value", SmallValue(cemi));
    }
}

void AddInfo(Object& object, const CemiMessage& cemi)
{
    Bytes bytes;
    for (const auto& info : cemi.info)
    {
        bytes.push_back(info.type);
        if (info.data)
        {
            bytes.push_back(*info.length);
            bytes.insert(bytes.end(), info.data->begin(), info.data->end());
        }
    }
    if (!bytes.empty())
    {
        object["additionalInfo"] = ToHex(bytes, "");
    }
}

} // namespace

std::string DescribeAsJson(const Message& message)
{
    Object object;
    object["direction"] = "rx";
    object["hex"] = ToHex(message.frame, "");
    object["kind"] = KindOf(message);
    const CemiMessage cemi = TakenApart(message);
    AddIfThere(object, "dropped", LostMessages(message.frame));
    if (IsOfTheBus(message.frame))
    {
        AddIfThere(object, "code", cemi.code);
        AddInfo(object, cemi);
        AddAddressing(object, cemi);
        AddIfThere(object, "slots", cemi.slots);
        AddIfThere(object, "length", cemi.length);
        AddTransport(object, cemi);
        AddIfThere(object, "objectType", cemi.objectType);
        AddIfThere(object, "objectInstance", cemi.objectInstance);
        AddIfThere(object, "property", cemi.property);
        AddIfThere(object, "count", cemi.count);
        AddIfThere(object, "index", cemi.index);
        AddIfThere(object, "propertyError", cemi.error);
        if (!cemi.payload.empty())
        {
            object["data"] = ToHex(cemi.payload, "");
        }
    }
    if (!cemi.problems.empty())
    {
        object["problem"] = ProblemsText(cemi);
    }
    // The time as it is everywhere else, with all six decimals.
    return "{\"time\":" + SecondsText(message.time) + "," + object.dump().substr(1);
}

} // namespace OrvelClient
