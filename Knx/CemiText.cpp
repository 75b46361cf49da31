#include "Knx/CemiText.h"

#include "Knx/CemiNames.h"
#include "Knx/GroupAddress.h"

#include <array>
#include <string_view>
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

// Collects the words of a line.
class Line
{
public:
    Line(const CemiMessage& message, Detail detail)
        : cemi(message)
        , isComplete(detail == Detail::All)
        , hasValue(detail != Detail::WithoutValue)
    {
        constexpr std::size_t usual = 160; // bytes
        text.reserve(usual);
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
        if (hasValue && !cemi.payload.empty())
        {
            Add("data=");
            text += ToHex(cemi.payload, "");
        }
    }

    std::string Take()
    {
        return std::move(text);
    }

private:
    void Add(std::string_view word)
    {
        if (!text.empty())
        {
            text += ' ';
        }
        text += word;
    }

    void AddNumber(std::string_view name, unsigned number)
    {
        Add(name);
        text += std::to_string(number);
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
        constexpr unsigned low = 3; // priority
        constexpr unsigned usualHops = 6;
        if (cemi.control1 && (isComplete || cemi.Priority() != low))
        {
            Add(NameOfPriority(cemi.Priority()));
        }
        if (cemi.control2 && (isComplete || cemi.Hops() != usualHops))
        {
            AddNumber("hops=", cemi.Hops());
        }
        if (cemi.control1)
        {
            AddFlags();
        }
        if (cemi.control2 && cemi.Format() != 0)
        {
            AddNumber("format=", cemi.Format());
        }
        if (cemi.slots)
        {
            AddNumber("slots=", *cemi.slots);
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
            Add("info=");
            text += NameOfInfo(info.type);
            if (info.data)
            {
                text += ':';
                text += ToHex(*info.data, "");
            }
        }
    }

    void AddTransport()
    {
        if (cemi.tpci)
        {
            const std::string name = TransportName(cemi);
            if (!name.empty() && (isComplete || name != "T_Data_Group"))
            {
                Add(name);
            }
            if (cemi.IsNumbered())
            {
                AddNumber("seq=", cemi.Sequence());
            }
        }
        if (cemi.apci)
        {
            Add(ServiceName(cemi));
            if (const auto value = SmallValue(cemi); hasValue && value)
            {
                Add("value=");
                text += HexNumber(*value, 2);
            }
        }
    }

    void AddProperty()
    {
        if (cemi.objectType)
        {
            AddNumber("object=", *cemi.objectType);
        }
        if (cemi.objectInstance)
        {
            AddNumber("instance=", *cemi.objectInstance);
        }
        if (cemi.property)
        {
            AddNumber("property=", *cemi.property);
        }
        if (cemi.count)
        {
            AddNumber("count=", *cemi.count);
            AddNumber("index=", *cemi.index);
        }
        if (cemi.error)
        {
            Add("error=");
            text += HexNumber(*cemi.error, 2);
            Add("(" + NameOfPropertyError(*cemi.error) + ")");
        }
    }

    const CemiMessage& cemi;
    bool isComplete;
    bool hasValue;
    std::string text;
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
    std::string text;
    for (const std::string& problem : cemi.problems)
    {
        text += (text.empty() ? "" : "; ") + problem;
    }
    return text;
}

std::string Words(const CemiMessage& cemi, Detail detail)
{
    return Line(cemi, detail).Take();
}

std::string WithProblems(std::string text, const CemiMessage& cemi)
{
    if (!cemi.problems.empty())
    {
        text += (text.empty() ? "! " : " ! ") + ProblemsText(cemi);
    }
    return text;
}

std::string Describe(const CemiMessage& cemi)
{
    return WithProblems(Words(cemi), cemi);
}

} // namespace Knx
