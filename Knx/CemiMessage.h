#pragma once

#include "Knx/HexDigits.h"

#include <optional>
#include <string>
#include <vector>

namespace Knx
{

/// The message codes of cEMI.
enum class MessageCode : uint8_t
{
    LRawReq = 0x10,
    LDataReq = 0x11,
    LPollDataReq = 0x13,
    LPollDataCon = 0x25,
    LDataInd = 0x29,
    LBusmonInd = 0x2B,
    LRawInd = 0x2D,
    LDataCon = 0x2E,
    LRawCon = 0x2F,
    TDataConnectedReq = 0x41,
    TDataIndividualReq = 0x4A,
    TDataConnectedInd = 0x89,
    TDataIndividualInd = 0x94,
    MResetInd = 0xF0,
    MResetReq = 0xF1,
    MPropWriteCon = 0xF5,
    MPropWriteReq = 0xF6,
    MPropInfoInd = 0xF7,
    MFuncPropCommandReq = 0xF8,
    MFuncPropStateReadReq = 0xF9,
    MFuncPropCon = 0xFA,
    MPropReadCon = 0xFB,
    MPropReadReq = 0xFC
};

/// The parts of a cEMI message. One is there when the message has it and its bytes have not been cut off.
struct CemiMessage
{
    /// An element of the additional information.
    struct Info
    {
        uint8_t type;
        std::optional<uint8_t> length; ///< as it says itself
        std::optional<Bytes> data;
    };

    std::optional<uint8_t> code;

    // L_... and T_Data_...
    std::optional<uint8_t> infoLength;
    std::vector<Info> info;
    std::optional<uint8_t> control1;
    std::optional<uint8_t> control2;
    std::optional<uint16_t> source;
    std::optional<uint16_t> destination;
    std::optional<Bytes> reserved; ///< six bytes of T_Data_...
    std::optional<uint8_t> slots;  ///< of L_Poll_Data
    std::optional<uint8_t> length; ///< of what follows the TPCI, as the message says itself
    std::optional<uint8_t> tpci;   ///< with the two bits behind it
    std::optional<uint16_t> apci;  ///< ten bits

    // M_Prop... and M_FuncProp...
    std::optional<uint16_t> objectType;
    std::optional<uint8_t> objectInstance;
    std::optional<uint8_t> property;
    std::optional<uint8_t> count;
    std::optional<uint16_t> index;
    std::optional<uint8_t> error; ///< in a confirmation of no elements

    Bytes payload; ///< what is left at the end, also half a number

    std::vector<std::string> problems; ///< empty when the message is complete and consistent

    bool Is(MessageCode which) const
    {
        return code == static_cast<uint8_t>(which);
    }

    // Of control1.
    bool IsStandardFrame() const
    {
        return (*control1 & 0x80U) != 0;
    }
    bool RepeatBit() const
    {
        return (*control1 & 0x20U) != 0;
    }
    bool DomainBroadcastBit() const
    {
        return (*control1 & 0x10U) != 0;
    }
    unsigned Priority() const
    {
        return (*control1 >> 2U) & 3U;
    }
    bool AcknowledgeBit() const
    {
        return (*control1 & 0x02U) != 0;
    }
    bool ErrorBit() const
    {
        return (*control1 & 0x01U) != 0;
    }

    // Of control2.
    bool IsGroupAddressed() const
    {
        return (*control2 & 0x80U) != 0;
    }
    unsigned Hops() const
    {
        return (*control2 >> 4U) & 7U;
    }
    unsigned Format() const
    {
        return *control2 & 0x0FU;
    }

    // Of tpci.
    bool IsControl() const
    {
        return (*tpci & 0x80U) != 0;
    }
    bool IsNumbered() const
    {
        return (*tpci & 0x40U) != 0;
    }
    unsigned Sequence() const
    {
        return (*tpci >> 2U) & 0x0FU;
    }
    unsigned ControlService() const
    {
        return *tpci & 3U;
    }
};

/// Where control field 1 of an L_... message is; nothing when the message ends before.
std::optional<std::size_t> PlaceOfControl1(const Bytes& message);

/// Takes a message apart. Any bytes will do: what is wrong with them is among the problems.
CemiMessage Decode(const Bytes& bytes);

} // namespace Knx
