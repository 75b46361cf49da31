#include "Knx/CemiText.h"

#include "Knx/CemiNames.h"
#include "Knx/GroupAddress.h"

#include <array>
#include <utility>

namespace Knx
{

namespace
{

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

std::string ControlName(const CemiMessage& cemi)
{
    static const std::array<const char*, 4> unnumbered{"T_Connect", "T_Disconnect", "", ""};
    static const std::array<const char*, 4> numbered{"", "", "T_ACK", "T_NAK"};
    const std::string name = (cemi.IsNumbered() ? numbered : unnumbered).at(cemi.ControlService());
    return name.empty() ? "T_Control_" + HexNumber(*cemi.tpci, 2) : name;
}

bool IsGroupValue(const Service& service)
{
    return service.name == "A_GroupValue_Write" || service.name == "A_GroupValue_Response";
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

} // namespace

std::string Destination(const CemiMessage& cemi)
{
    return cemi.IsGroupAddressed() ? GroupAddress(*cemi.destination) : IndividualAddress(*cemi.destination);
}

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

std::string ServiceName(const CemiMessage& cemi)
{
    const Service service = ServiceOf(*cemi.apci);
    return service.name.empty() ? "APCI_" + HexNumber(*cemi.apci, 3) : service.name;
}

std::optional<uint8_t> SmallValue(const CemiMessage& cemi)
{
    const Service service = ServiceOf(*cemi.apci);
    const bool isThere = service.isShort && (service.value != 0 || (IsGroupValue(service) && cemi.payload.empty()));
    return isThere ? std::optional(service.value) : std::nullopt;
}

std::string ProblemsText(const CemiMessage& cemi)
{
    return Joined(cemi.problems, "; ");
}

std::string Describe(const CemiMessage& cemi)
{
    std::string text = Line(cemi).Text();
    if (!cemi.problems.empty())
    {
        text += (text.empty() ? "! " : " ! ") + ProblemsText(cemi);
    }
    return text;
}

} // namespace Knx
