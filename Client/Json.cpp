#include "Json.h"

#include "Description.h"
#include "TimeStamp.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"

#include <optional>
#include <string>

namespace OrvelClient
{

namespace
{

using namespace Knx;

// Collects the members of an object.
class Object
{
public:
    void Raw(const char* name, const std::string& value)
    {
        text += (text.empty() ? "{" : ",") + JsonText(name) + ":" + value;
    }

    void Text(const char* name, const std::string& value)
    {
        Raw(name, JsonText(value));
    }

    template<typename Number>
    void Optional(const char* name, const std::optional<Number>& number)
    {
        if (number)
        {
            Raw(name, std::to_string(*number));
        }
    }

    void Flag(const char* name, bool value)
    {
        Raw(name, value ? "true" : "false");
    }

    std::string Close() const
    {
        return text + "}";
    }

private:
    std::string text;
};

void AddAddressing(Object& object, const CemiMessage& cemi)
{
    if (cemi.control1)
    {
        object.Text("frameType", cemi.IsStandardFrame() ? "standard" : "extended");
        object.Flag("repeatBit", cemi.RepeatBit());
        object.Text("broadcast", cemi.DomainBroadcastBit() ? "domain" : "system");
        object.Text("priority", NameOfPriority(cemi.Priority()));
        object.Flag("acknowledge", cemi.AcknowledgeBit());
        object.Flag("error", cemi.ErrorBit());
    }
    if (cemi.control2)
    {
        object.Text("destinationType", cemi.IsGroupAddressed() ? "group" : "individual");
        object.Raw("hops", std::to_string(cemi.Hops()));
        object.Raw("format", std::to_string(cemi.Format()));
    }
    if (cemi.source)
    {
        object.Text("source", IndividualAddress(*cemi.source));
    }
    if (cemi.destination)
    {
        object.Text("destination", Destination(cemi));
    }
}

void AddTransport(Object& object, const CemiMessage& cemi)
{
    if (cemi.tpci)
    {
        if (const std::string name = TransportName(cemi); !name.empty())
        {
            object.Text("transport", name);
        }
        if (cemi.IsNumbered())
        {
            object.Raw("sequence", std::to_string(cemi.Sequence()));
        }
    }
    object.Optional("apci", cemi.apci);
    if (cemi.apci)
    {
        object.Text("service", ServiceName(cemi));
        object.Optional("value", SmallValue(cemi));
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
        object.Text("additionalInfo", ToHex(bytes, ""));
    }
}

} // namespace

std::string DescribeAsJson(const Message& message)
{
    Object object;
    object.Raw("time", SecondsText(message.time));
    object.Text("direction", "rx");
    object.Text("hex", ToHex(message.frame, ""));
    object.Text("kind", KindOf(message));
    const CemiMessage cemi = TakenApart(message);
    if (!LinkState(message.frame))
    {
        object.Optional("code", cemi.code);
        AddInfo(object, cemi);
        AddAddressing(object, cemi);
        object.Optional("slots", cemi.slots);
        object.Optional("length", cemi.length);
        AddTransport(object, cemi);
        object.Optional("objectType", cemi.objectType);
        object.Optional("objectInstance", cemi.objectInstance);
        object.Optional("property", cemi.property);
        object.Optional("count", cemi.count);
        object.Optional("index", cemi.index);
        object.Optional("propertyError", cemi.error);
        if (!cemi.payload.empty())
        {
            object.Text("data", ToHex(cemi.payload, ""));
        }
    }
    if (!cemi.problems.empty())
    {
        object.Text("problem", ProblemsText(cemi));
    }
    return object.Close();
}

std::string JsonText(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text)
    {
        const auto code = static_cast<unsigned char>(character);
        if (character == '"' || character == '\\')
        {
            quoted += std::string("\\") + character;
        }
        else if (code < 0x20)
        {
            quoted += "\\u00" + ToHex({code});
        }
        else
        {
            quoted += character;
        }
    }
    return quoted + "\"";
}

} // namespace OrvelClient
