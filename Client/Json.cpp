#include "Json.h"

#include "Description.h"
#include "Failure.h"
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

void AddIfSet(Object& object, const char* name, bool isSet)
{
    if (isSet)
    {
        object[name] = true;
    }
}

// One bit, which is clear when a telegram that was received is a repetition, and when one that is sent must not be repeated.
void AddRepetition(Object& object, const CemiMessage& cemi)
{
    if (cemi.Is(MessageCode::LDataInd))
    {
        object["repeated"] = !cemi.RepeatBit();
    }
    else
    {
        AddIfSet(object, "noRepetition", !cemi.RepeatBit());
    }
}

void AddAddressing(Object& object, const CemiMessage& cemi)
{
    if (cemi.control1)
    {
        object["frameType"] = cemi.IsStandardFrame() ? "standard" : "extended";
        AddRepetition(object, cemi);
        object["priority"] = NameOfPriority(cemi.Priority());
        AddIfSet(object, "systemBroadcast", !cemi.DomainBroadcastBit());
        AddIfSet(object, "acknowledge", cemi.AcknowledgeBit());
        if (cemi.Is(MessageCode::LDataCon) || cemi.Is(MessageCode::LPollDataCon))
        {
            object["confirmed"] = !cemi.ErrorBit();
        }
        else
        {
            AddIfSet(object, "error", cemi.ErrorBit());
        }
    }
    if (cemi.control2)
    {
        object["destinationType"] = cemi.IsGroupAddressed() ? "group" : "individual";
        object["hops"] = cemi.Hops();
        if (cemi.Format() != 0)
        {
            object["format"] = cemi.Format();
        }
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

// Small or not: where a value stands in the frame is no business of a program that reads this.
Bytes DataOf(const CemiMessage& cemi)
{
    const auto small = cemi.apci ? SmallValue(cemi) : std::nullopt;
    return small && cemi.payload.empty() ? Bytes{*small} : cemi.payload;
}

void AddMeaning(Object& object, const Meaning& meaning)
{
    if (!meaning.name.empty())
    {
        object["name"] = meaning.name;
    }
    if (meaning.type != nullptr)
    {
        object["dpt"] = meaning.type->Number();
    }
    if (meaning.value)
    {
        object["value"] = ToJson(*meaning.type, *meaning.value);
        object["text"] = meaning.text;
    }
}

// Takes what it needs of an object while the library reads it.
class Members : public nlohmann::json_sax<nlohmann::json>
{
public:
    std::string time;
    std::optional<Direction> direction;
    std::optional<std::string> hex;

    bool key(string_t& name) override
    {
        member = depth == 1 ? name : "";
        return true;
    }
    bool string(string_t& text) override
    {
        if (depth == 1 && member == "hex")
        {
            hex = text;
        }
        if (depth == 1 && member == "direction")
        {
            direction = text == NameOf(Direction::ToLink) ? Direction::ToLink : Direction::FromLink;
            if (text != NameOf(*direction))
            {
                throw Failure(Status::NotUnderstood, "has a direction that is neither rx nor tx");
            }
        }
        if (depth == 1 && member == "time")
        {
            throw Failure(Status::NotUnderstood, "has a time that is none");
        }
        return true;
    }
    bool number_float(number_float_t /*unused*/, const string_t& text) override
    {
        return Number(text);
    }
    bool number_unsigned(number_unsigned_t number) override
    {
        return Number(std::to_string(number));
    }
    bool number_integer(number_integer_t number) override
    {
        return Number(std::to_string(number));
    }
    bool start_object(std::size_t /*unused*/) override
    {
        ++depth;
        return true;
    }
    bool end_object() override
    {
        --depth;
        return true;
    }
    bool start_array(std::size_t /*unused*/) override
    {
        ++depth;
        return true;
    }
    bool end_array() override
    {
        --depth;
        return true;
    }
    bool null() override
    {
        return true;
    }
    bool boolean(bool /*unused*/) override
    {
        return true;
    }
    bool binary(binary_t& /*unused*/) override
    {
        return true;
    }
    bool parse_error(std::size_t position, const std::string& /*unused*/,
                     const nlohmann::detail::exception& /*unused*/) override
    {
        throw Failure(Status::NotUnderstood, "is no JSON from position " + std::to_string(position) + " on");
    }

private:
    bool Number(const std::string& text)
    {
        if (depth == 1 && member == "time")
        {
            time = text;
        }
        return true;
    }

    std::string member; // of the outermost object
    int depth = 0;
};

} // namespace

Message MessageFromJson(std::string_view line)
{
    Members members;
    nlohmann::json::sax_parse(line, &members);
    if (!members.hex)
    {
        throw Failure(Status::NotUnderstood, "is an object without the member hex");
    }
    Message message;
    if (!members.time.empty())
    {
        const auto time = TimeOfSeconds(members.time);
        if (!time)
        {
            throw Failure(Status::NotUnderstood, "has a time that is none");
        }
        message.time = *time;
    }
    message.frame = FrameFromText(*members.hex);
    message.direction = members.direction.value_or(UsualDirection(message.frame));
    return message;
}

std::string DescribeAsJson(const Message& message, const KnownGroups& groups)
{
    Object object;
    object["direction"] = NameOf(message.direction);
    object["hex"] = ToHex(message.frame, "");
    object["kind"] = KindOf(message);
    CemiMessage cemi = TakenApart(message);
    const Meaning meaning = MeaningOf(cemi, groups);
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
        if (const Bytes data = DataOf(cemi); !data.empty())
        {
            object["data"] = ToHex(data, "");
        }
        AddMeaning(object, meaning);
    }
    if (meaning.isWrong)
    {
        cemi.problems.push_back(WrongValueText(meaning));
    }
    if (!cemi.problems.empty())
    {
        object["problem"] = ProblemsText(cemi);
    }
    // The time as it is everywhere else, with all six decimals.
    return "{\"time\":" + SecondsText(message.time) + "," + object.dump().substr(1);
}

} // namespace OrvelClient
