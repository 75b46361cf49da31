#include "Description.h"

#include "Knx/CemiNames.h"
#include "Knx/CemiText.h"

#include "Orvel/Protocol.h"

#include <array>
#include <cstdio>
#include <utility>
#include <vector>

namespace OrvelClient
{

namespace
{

using namespace Knx;

// Nothing is taken apart of a message about the link.
CemiMessage TakenApart(const Message& message)
{
    CemiMessage cemi = LinkState(message.frame) ? CemiMessage{} : Knx::Decode(message.frame);
    if (message.sizeByte)
    {
        cemi.problems.insert(cemi.problems.begin(), "size byte " + std::to_string(*message.sizeByte) +
                                                        " on a frame of " + std::to_string(message.frame.size()));
    }
    return cemi;
}

std::string LinkStateName(uint16_t state)
{
    switch (state)
    {
    case ORVEL_LINK_STATE_USABLE:
        return "usable";
    case ORVEL_LINK_STATE_LOST:
        return "lost";
    default:
        return HexNumber(state, 4);
    }
}

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

std::string KindOf(const Message& message)
{
    if (const auto state = LinkState(message.frame))
    {
        return "link " + LinkStateName(*state);
    }
    if (message.frame.empty())
    {
        return "no frame";
    }
    const std::string name = NameOfMessageCode(message.frame.front());
    return name.empty() ? "message code " + HexNumber(message.frame.front(), 2) : name;
}

std::string Describe(const Message& message)
{
    std::string text = Knx::Describe(TakenApart(message));
    if (!LinkState(message.frame))
    {
        return text;
    }
    return KindOf(message) + (text.empty() ? "" : " " + text);
}

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

std::string SecondsText(std::chrono::microseconds time)
{
    constexpr std::chrono::microseconds::rep second = 1000000;
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%lld.%06lld", static_cast<long long>(time.count() / second),
                  static_cast<long long>(time.count() % second));
    return text.data();
}

} // namespace OrvelClient
