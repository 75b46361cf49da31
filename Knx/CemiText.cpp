#include "Knx/CemiText.h"

#include "Knx/CemiNames.h"
#include "Knx/GroupAddress.h"
#include "Knx/TextBuffer.h"

#include <array>
#include <string_view>

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

// Empty where the message code says it already, and of a control service that has no name.
std::string_view KnownTransport(const CemiMessage& cemi)
{
    static constexpr std::array<std::string_view, 4> unnumbered{"T_Connect", "T_Disconnect", "", ""};
    static constexpr std::array<std::string_view, 4> numbered{"", "", "T_ACK", "T_NAK"};
    if (cemi.IsControl())
    {
        return (cemi.IsNumbered() ? numbered : unnumbered).at(cemi.ControlService());
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

// Whether it is A_GroupValue_Response or A_GroupValue_Write.
bool HasGroupValue(uint16_t apci)
{
    const unsigned service = apci >> 6U;
    return service == 1 || service == 2;
}

void AddDestination(TextBuffer& text, const CemiMessage& cemi)
{
    if (cemi.IsGroupAddressed())
    {
        AddGroupAddress(text, *cemi.destination);
    }
    else
    {
        AddIndividualAddress(text, *cemi.destination);
    }
}

// Writes the words of a line.
class Line
{
public:
    Line(TextBuffer& wholeText, const CemiMessage& message, Detail detail)
        : text(wholeText)
        , begin(wholeText.Size())
        , cemi(message)
        , isComplete(detail == Detail::All)
        , hasValue(detail != Detail::WithoutValue)
    {
    }

    void Write()
    {
        AddMessageCode();
        AddAddresses();
        AddControl();
        AddInfo();
        AddTransport();
        AddProperty();
        if (hasValue && !cemi.payload.empty())
        {
            Add("data=");
            text.AddHex(cemi.payload, "");
        }
    }

private:
    // What is added to the text itself belongs to the last word.
    void Add(std::string_view word)
    {
        if (text.Size() > begin)
        {
            text.Add(' ');
        }
        text.Add(word);
    }

    void AddNumber(std::string_view name, unsigned number)
    {
        Add(name);
        text.AddNumber(number);
    }

    void AddMessageCode()
    {
        const bool isUsual = IsIndication(cemi) && cemi.destination;
        if (!cemi.code || (isUsual && !isComplete))
        {
            return;
        }
        const std::string_view name = NameOfMessageCode(*cemi.code);
        Add(name);
        if (name.empty())
        {
            text.AddHexNumber(*cemi.code, 2);
        }
    }

    void AddAddresses()
    {
        if (cemi.source)
        {
            Add("");
            AddIndividualAddress(text, *cemi.source);
        }
        if (cemi.destination)
        {
            Add("-> ");
            AddDestination(text, cemi);
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
            text.Add(NameOfInfo(info.type));
            if (info.data)
            {
                text.Add(':');
                text.AddHex(*info.data, "");
            }
        }
    }

    void AddTransport()
    {
        if (cemi.tpci)
        {
            AddTransportName();
            if (cemi.IsNumbered())
            {
                AddNumber("seq=", cemi.Sequence());
            }
        }
        if (cemi.apci)
        {
            AddService();
            if (const auto value = SmallValue(cemi); hasValue && value)
            {
                Add("value=");
                text.AddHexNumber(*value, 2);
            }
        }
    }

    void AddTransportName()
    {
        const std::string_view name = KnownTransport(cemi);
        if (name.empty() && cemi.IsControl())
        {
            Add(TransportName(cemi));
        }
        else if (!name.empty() && (isComplete || name != "T_Data_Group"))
        {
            Add(name);
        }
    }

    void AddService()
    {
        if (const std::string_view name = ServiceOf(*cemi.apci).name; !name.empty())
        {
            Add(name);
        }
        else
        {
            Add(ServiceName(cemi));
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
            text.AddHexNumber(*cemi.error, 2);
            Add("(" + NameOfPropertyError(*cemi.error) + ")");
        }
    }

    TextBuffer& text;
    std::size_t begin; // of the words in the text
    const CemiMessage& cemi;
    bool isComplete;
    bool hasValue;
};

} // namespace

std::string Destination(const CemiMessage& cemi)
{
    return cemi.IsGroupAddressed() ? GroupAddress(*cemi.destination) : IndividualAddress(*cemi.destination);
}

std::string TransportName(const CemiMessage& cemi)
{
    const std::string_view name = KnownTransport(cemi);
    return name.empty() && cemi.IsControl() ? "T_Control_" + HexNumber(*cemi.tpci, 2) : std::string(name);
}

std::string ServiceName(const CemiMessage& cemi)
{
    const Service service = ServiceOf(*cemi.apci);
    return service.name.empty() ? "APCI_" + HexNumber(*cemi.apci, 3) : std::string(service.name);
}

std::optional<uint8_t> SmallValue(const CemiMessage& cemi)
{
    const Service service = ServiceOf(*cemi.apci);
    const bool isThere = service.isShort && (service.value != 0 || (HasGroupValue(*cemi.apci) && cemi.payload.empty()));
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
    TextBuffer text;
    AddWords(text, cemi, detail);
    return std::string(text.Text());
}

void AddWords(TextBuffer& text, const CemiMessage& cemi, Detail detail)
{
    Line(text, cemi, detail).Write();
}

void AddProblems(TextBuffer& text, std::size_t begin, const CemiMessage& cemi)
{
    if (!cemi.problems.empty())
    {
        text.Add(text.Size() == begin ? "! " : " ! ");
        text.Add(ProblemsText(cemi));
    }
}

std::string Describe(const CemiMessage& cemi)
{
    TextBuffer text;
    AddWords(text, cemi);
    AddProblems(text, 0, cemi);
    return std::string(text.Text());
}

} // namespace Knx
