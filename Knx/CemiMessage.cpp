#include "Knx/CemiMessage.h"

#include <algorithm>
#include <utility>

namespace Knx
{

namespace
{

std::string Count(std::size_t count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Reads the bytes from the front and never behind the end: once something is missing, so is all that would follow.
class Reader
{
public:
    Reader(const Bytes& allBytes, CemiMessage& decoded)
        : bytes(allBytes)
        , message(decoded)
        , end(allBytes.size())
    {
    }

    std::size_t Left() const
    {
        return end - position;
    }

    std::optional<uint8_t> Byte(const char* what)
    {
        if (!Has(1, what))
        {
            return std::nullopt;
        }
        return bytes[position++];
    }

    std::optional<uint16_t> Word(const char* what)
    {
        if (!Has(2, what))
        {
            return std::nullopt;
        }
        const auto high = static_cast<unsigned>(bytes[position++]) << 8U;
        return static_cast<uint16_t>(high | bytes[position++]);
    }

    std::optional<Bytes> Several(std::size_t size, const char* what)
    {
        return Has(size, what) ? std::optional(Take(size)) : std::nullopt;
    }

    Bytes Take(std::size_t size)
    {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(position);
        position += size;
        return {begin, begin + static_cast<std::ptrdiff_t>(size)};
    }

    Bytes TakeRest()
    {
        return Take(Left());
    }

    void StepBack()
    {
        --position;
    }

    /// From now on the end is `size` bytes ahead; gives the end as it was.
    std::size_t Narrow(std::size_t size)
    {
        return std::exchange(end, position + size);
    }

    void Widen(std::size_t formerEnd)
    {
        position = end;
        end = formerEnd;
    }

private:
    bool Has(std::size_t size, const char* what)
    {
        const bool isThere = size <= Left();
        if (!isThere)
        {
            CutOff(what);
        }
        return isThere;
    }

    void CutOff(const char* what)
    {
        if (!isCut)
        {
            message.problems.push_back(std::string("ends before ") + what);
            message.payload = TakeRest();
        }
        isCut = true;
    }

    const Bytes& bytes;
    CemiMessage& message;
    std::size_t position = 0;
    std::size_t end;
    bool isCut = false;
};

class Decoder
{
public:
    Decoder(const Bytes& bytes, CemiMessage& decoded)
        : message(decoded)
        , reader(bytes, decoded)
    {
    }

    void Run()
    {
        message.code = reader.Byte("the message code");
        if (message.code)
        {
            DecodeBody(static_cast<MessageCode>(*message.code));
        }
    }

private:
    void DecodeBody(MessageCode code)
    {
        switch (code)
        {
        case MessageCode::LDataReq:
        case MessageCode::LDataInd:
        case MessageCode::LDataCon:
            DecodeInfo();
            DecodeAddressing();
            DecodeTpdu();
            break;
        case MessageCode::LPollDataReq:
        case MessageCode::LPollDataCon:
            DecodeInfo();
            DecodeAddressing();
            message.slots = reader.Byte("the number of slots");
            TakePayload();
            break;
        case MessageCode::LRawReq:
        case MessageCode::LRawInd:
        case MessageCode::LRawCon:
        case MessageCode::LBusmonInd:
            DecodeInfo();
            TakePayload();
            break;
        case MessageCode::TDataConnectedReq:
        case MessageCode::TDataConnectedInd:
        case MessageCode::TDataIndividualReq:
        case MessageCode::TDataIndividualInd:
            DecodeInfo();
            DecodeReserved();
            DecodeTpdu();
            if (message.tpci && (*message.tpci & 0xFCU) != 0)
            {
                Complain("a TPCI where there is none");
            }
            break;
        case MessageCode::MPropReadReq:
        case MessageCode::MPropReadCon:
        case MessageCode::MPropWriteReq:
        case MessageCode::MPropWriteCon:
        case MessageCode::MPropInfoInd:
            DecodeProperty();
            DecodeElements(code);
            break;
        case MessageCode::MFuncPropCommandReq:
        case MessageCode::MFuncPropStateReadReq:
        case MessageCode::MFuncPropCon:
            DecodeProperty();
            TakePayload();
            break;
        case MessageCode::MResetReq:
        case MessageCode::MResetInd:
            TakeNeedless();
            break;
        default:
            Complain("unknown message code");
            TakePayload();
            break;
        }
    }

    void DecodeInfo()
    {
        message.infoLength = reader.Byte("the length of the additional information");
        if (!message.infoLength)
        {
            return;
        }
        const std::size_t size = std::min<std::size_t>(*message.infoLength, reader.Left());
        if (size < *message.infoLength)
        {
            Complain("additional information of " + Count(*message.infoLength, "byte") + ", of which " +
                     std::to_string(size) + " came");
        }
        const std::size_t end = reader.Narrow(size);
        while (reader.Left() > 0)
        {
            DecodeInfoElement();
        }
        reader.Widen(end);
    }

    void DecodeInfoElement()
    {
        CemiMessage::Info element{};
        element.type = reader.Take(1).front();
        if (reader.Left() > 0)
        {
            element.length = reader.Take(1).front();
            if (*element.length <= reader.Left())
            {
                element.data = reader.Take(*element.length);
            }
        }
        if (!element.data)
        {
            Complain("additional information with an element that does not fit in");
            reader.TakeRest();
        }
        message.info.push_back(element);
    }

    void DecodeAddressing()
    {
        message.control1 = reader.Byte("control field 1");
        message.control2 = reader.Byte("control field 2");
        message.source = reader.Word("the source address");
        message.destination = reader.Word("the destination address");
    }

    void DecodeReserved()
    {
        message.reserved = reader.Several(6, "the end of the reserved bytes");
        if (message.reserved && *message.reserved != Bytes(6))
        {
            Complain("reserved bytes that are not 0");
        }
    }

    void DecodeTpdu()
    {
        message.length = reader.Byte("the length");
        message.tpci = reader.Byte("the TPCI");
        if (!message.tpci)
        {
            return;
        }
        if (*message.length != reader.Left())
        {
            Complain("length " + std::to_string(*message.length) + ", and " + Count(reader.Left(), "byte") +
                     " behind the TPCI");
        }
        // A T_Data_Tag_Group has no number either, but this bit.
        const bool isTagged = !message.IsControl() && message.Sequence() == 1;
        if (!message.IsNumbered() && message.Sequence() != 0 && !isTagged)
        {
            Complain("a sequence number where there is none");
        }
        if (message.IsControl())
        {
            TakeNeedless();
            return;
        }
        reader.StepBack(); // the first two bits of the APCI are the last of the TPCI's byte
        if (reader.Left() < 2)
        {
            Complain("ends before the APCI");
            return;
        }
        message.apci = static_cast<uint16_t>(*reader.Word("the APCI") & 0x3FFU);
        TakePayload();
    }

    void DecodeProperty()
    {
        message.objectType = reader.Word("the object type");
        message.objectInstance = reader.Byte("the object instance");
        message.property = reader.Byte("the property");
    }

    void DecodeElements(MessageCode code)
    {
        if (const auto range = reader.Word("the number of elements"))
        {
            message.count = static_cast<uint8_t>(*range >> 12U);
            message.index = static_cast<uint16_t>(*range & 0xFFFU);
        }
        const bool isConfirmation = code == MessageCode::MPropReadCon || code == MessageCode::MPropWriteCon;
        if (isConfirmation && message.count == 0 && reader.Left() > 0)
        {
            message.error = reader.Byte("the error");
        }
        if (code == MessageCode::MPropReadReq || code == MessageCode::MPropWriteCon || message.error)
        {
            TakeNeedless();
            return;
        }
        TakePayload();
    }

    void TakePayload()
    {
        if (reader.Left() > 0)
        {
            message.payload = reader.TakeRest();
        }
    }

    void TakeNeedless()
    {
        if (reader.Left() > 0)
        {
            Complain(Count(reader.Left(), "byte") + " too many");
        }
        TakePayload();
    }

    void Complain(std::string problem)
    {
        message.problems.push_back(std::move(problem));
    }

    CemiMessage& message;
    Reader reader;
};

} // namespace

std::optional<std::size_t> PlaceOfControl1(const Bytes& message)
{
    constexpr std::size_t infoLengthAt = 1;
    if (message.size() <= infoLengthAt)
    {
        return std::nullopt;
    }
    const std::size_t place = infoLengthAt + 1 + message[infoLengthAt];
    return place < message.size() ? std::optional(place) : std::nullopt;
}

CemiMessage Decode(const Bytes& bytes)
{
    CemiMessage message;
    Decoder(bytes, message).Run();
    return message;
}

} // namespace Knx
