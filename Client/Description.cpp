#include "Description.h"

#include "CemiMessage.h"
#include "CemiNames.h"

#include "Orvel/Protocol.h"

#include <array>
#include <cstdio>
#include <utility>
#include <vector>

namespace OrvelClient
{

namespace
{

std::string HexNumber(uint16_t number, int digits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "0x%0*x", digits, static_cast<unsigned>(number));
    return text.data();
}

bool IsConfirmation(const CemiMessage& cemi)
{
    return cemi.Is(MessageCode::LDataCon) || cemi.Is(MessageCode::LPollDataCon) || cemi.Is(MessageCode::LRawCon);
}

bool IsIndication(const CemiMessage& cemi)
{
    return cemi.Is(MessageCode::LDataInd);
}

bool IsTransport(const CemiMessage& cemi)
{
    return cemi.Is(MessageCode::TDataConnectedReq) || cemi.Is(MessageCode::TDataConnectedInd) ||
           cemi.Is(MessageCode::TDataIndividualReq) || cemi.Is(MessageCode::TDataIndividualInd);
}

std::string Destination(const CemiMessage& cemi)
{
    return cemi.IsGroupAddressed() ? GroupAddress(*cemi.destination) : IndividualAddress(*cemi.destination);
}

std::string ControlName(const CemiMessage& cemi)
{
    static const std::array<const char*, 4> unnumbered{"T_Connect", "T_Disconnect", "", ""};
    static const std::array<const char*, 4> numbered{"", "", "T_ACK", "T_NAK"};
    const std::string name = (cemi.IsNumbered() ? numbered : unnumbered).at(cemi.ControlService());
    return name.empty() ? "T_Control_" + HexNumber(*cemi.tpci, 2) : name;
}

// The transport service; empty where the message code says it already.
std::string TransportName(const CemiMessage& cemi)
{
    if (cemi.IsControl())
    {
        return ControlName(cemi);
    }
    if (IsTransport(cemi))
    {
        return "";
    }
    if (cemi.IsNumbered())
    {
        return "T_Data_Connected";
    }
    if (!cemi.IsGroupAddressed())
    {
        return "T_Data_Individual";
    }
    if (cemi.Sequence() == 1)
    {
        return "T_Data_Tag_Group";
    }
    return *cemi.destination == 0 ? "T_Data_Broadcast" : "T_Data_Group";
}

bool IsGroupValue(const Service& service)
{
    return service.name == "A_GroupValue_Write" || service.name == "A_GroupValue_Response";
}

// A value of up to six bits has no byte of its own.
std::optional<uint8_t> SmallValue(const CemiMessage& cemi)
{
    const Service service = ServiceOf(*cemi.apci);
    const bool isThere = service.isShort && (service.value != 0 || (IsGroupValue(service) && cemi.payload.empty()));
    return isThere ? std::optional(service.value) : std::nullopt;
}

std::string ServiceName(const CemiMessage& cemi)
{
    const Service service = ServiceOf(*cemi.apci);
    return service.name.empty() ? "APCI_" + HexNumber(*cemi.apci, 3) : service.name;
}

std::vector<std::string> Problems(const Message& message, const CemiMessage& cemi)
{
    std::vector<std::string> problems = cemi.problems;
    if (message.sizeByte)
    {
        problems.insert(problems.begin(), "size byte " + std::to_string(*message.sizeByte) + " on a frame of " +
                                              std::to_string(message.frame.size()));
    }
    return problems;
}

std::string Joined(const std::vector<std::string>& parts, const char* separator)
{
    std::string text;
    for (const std::string& part : parts)
    {
        text += (text.empty() ? "" : separator) + part;
    }
    return text;
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

// Collects the words of a line.
class Line
{
public:
    explicit Line(const CemiMessage& message)
        : cemi(message)
    {
        if (cemi.code)
        {
            const std::string name = NameOfMessageCode(*cemi.code);
            Add(name.empty() ? HexNumber(*cemi.code, 2) : name);
        }
        AddAddresses();
        AddControl();
        AddInfo();
        AddTransport();
        AddProperty();
        if (!cemi.payload.empty())
        {
            Add("data=" + ToHex(cemi.payload, ""));
        }
    }

    std::string Text() const
    {
        return Joined(words, " ");
    }

private:
    void Add(std::string word)
    {
        words.push_back(std::move(word));
    }

    void AddAddresses()
    {
        if (cemi.source)
        {
            Add(IndividualAddress(*cemi.source));
        }
        if (cemi.destination)
        {
            Add("->");
            Add(Destination(cemi));
        }
    }

    void AddControl()
    {
        if (cemi.control1)
        {
            Add(NameOfPriority(cemi.Priority()));
        }
        if (cemi.control2)
        {
            Add("hops=" + std::to_string(cemi.Hops()));
        }
        if (cemi.control1)
        {
            AddFlags();
        }
        if (cemi.control2 && cemi.Format() != 0)
        {
            Add("format=" + std::to_string(cemi.Format()));
        }
        if (cemi.slots)
        {
            Add("slots=" + std::to_string(*cemi.slots));
        }
    }

    // Only what is not as usual.
    void AddFlags()
    {
        if (!cemi.IsStandardFrame())
        {
            Add("extended");
        }
        if (!cemi.RepeatBit())
        {
            Add(IsIndication(cemi) ? "repeated" : "no-repeat");
        }
        if (!cemi.DomainBroadcastBit())
        {
            Add("system-broadcast");
        }
        if (cemi.AcknowledgeBit())
        {
            Add("acknowledge");
        }
        if (cemi.ErrorBit())
        {
            Add(IsConfirmation(cemi) ? "NOT-CONFIRMED" : "error");
        }
    }

    void AddInfo()
    {
        for (const auto& info : cemi.info)
        {
            Add("info=" + NameOfInfo(info.type) + (info.data ? ":" + ToHex(*info.data, "") : ""));
        }
    }

    void AddTransport()
    {
        if (cemi.tpci)
        {
            if (const std::string name = TransportName(cemi); !name.empty())
            {
                Add(name);
            }
            if (cemi.IsNumbered())
            {
                Add("seq=" + std::to_string(cemi.Sequence()));
            }
        }
        if (cemi.apci)
        {
            Add(ServiceName(cemi));
            if (const auto value = SmallValue(cemi))
            {
                Add("value=" + HexNumber(*value, 2));
            }
        }
    }

    void AddProperty()
    {
        if (cemi.objectType)
        {
            Add("object=" + std::to_string(*cemi.objectType));
        }
        if (cemi.objectInstance)
        {
            Add("instance=" + std::to_string(*cemi.objectInstance));
        }
        if (cemi.property)
        {
            Add("property=" + std::to_string(*cemi.property));
        }
        if (cemi.count)
        {
            Add("count=" + std::to_string(*cemi.count));
            Add("index=" + std::to_string(*cemi.index));
        }
        if (cemi.error)
        {
            Add("error=" + HexNumber(*cemi.error, 2));
            Add("(" + NameOfPropertyError(*cemi.error) + ")");
        }
    }

    const CemiMessage& cemi;
    std::vector<std::string> words;
};

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
    const bool isLinkState = LinkState(message.frame).has_value();
    const CemiMessage cemi = isLinkState ? CemiMessage{} : Decode(message.frame);
    std::string text = isLinkState ? KindOf(message) : Line(cemi).Text();
    if (const auto problems = Problems(message, cemi); !problems.empty())
    {
        text += (text.empty() ? "! " : " ! ") + Joined(problems, "; ");
    }
    return text;
}

std::string DescribeAsJson(const Message& message)
{
    Object object;
    object.Raw("time", SecondsText(message.time));
    object.Text("direction", "rx");
    object.Text("hex", ToHex(message.frame, ""));
    object.Text("kind", KindOf(message));
    CemiMessage cemi;
    if (!LinkState(message.frame))
    {
        cemi = Decode(message.frame);
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
    if (const auto problems = Problems(message, cemi); !problems.empty())
    {
        object.Text("problem", Joined(problems, "; "));
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
