#include "Knx/CemiNames.h"

#include "Knx/CemiMessage.h"
#include "Knx/TextBuffer.h"

#include <array>

namespace Knx
{

namespace
{

struct Name
{
    unsigned number;
    std::string_view name;
};

// Finds names by their number without a search.
template<std::size_t Numbers>
class NameTable
{
public:
    template<std::size_t Size>
    constexpr explicit NameTable(const std::array<Name, Size>& list)
    {
        for (const Name& entry : list)
        {
            names[entry.number] = entry.name;
        }
    }

    // Empty where there is none.
    constexpr std::string_view At(unsigned number) const
    {
        return names.at(number);
    }

private:
    std::array<std::string_view, Numbers> names{};
};

constexpr std::size_t Bytewide = 256;
constexpr std::size_t ApciCount = 1024;

constexpr unsigned Number(MessageCode code)
{
    return static_cast<unsigned>(code);
}

constexpr std::array MessageCodes{Name{Number(MessageCode::LRawReq), "L_Raw.req"},
                                  Name{Number(MessageCode::LDataReq), "L_Data.req"},
                                  Name{Number(MessageCode::LPollDataReq), "L_Poll_Data.req"},
                                  Name{Number(MessageCode::LPollDataCon), "L_Poll_Data.con"},
                                  Name{Number(MessageCode::LDataInd), "L_Data.ind"},
                                  Name{Number(MessageCode::LBusmonInd), "L_Busmon.ind"},
                                  Name{Number(MessageCode::LRawInd), "L_Raw.ind"},
                                  Name{Number(MessageCode::LDataCon), "L_Data.con"},
                                  Name{Number(MessageCode::LRawCon), "L_Raw.con"},
                                  Name{Number(MessageCode::TDataConnectedReq), "T_Data_Connected.req"},
                                  Name{Number(MessageCode::TDataIndividualReq), "T_Data_Individual.req"},
                                  Name{Number(MessageCode::TDataConnectedInd), "T_Data_Connected.ind"},
                                  Name{Number(MessageCode::TDataIndividualInd), "T_Data_Individual.ind"},
                                  Name{Number(MessageCode::MResetInd), "M_Reset.ind"},
                                  Name{Number(MessageCode::MResetReq), "M_Reset.req"},
                                  Name{Number(MessageCode::MPropWriteCon), "M_PropWrite.con"},
                                  Name{Number(MessageCode::MPropWriteReq), "M_PropWrite.req"},
                                  Name{Number(MessageCode::MPropInfoInd), "M_PropInfo.ind"},
                                  Name{Number(MessageCode::MFuncPropCommandReq), "M_FuncPropCommand.req"},
                                  Name{Number(MessageCode::MFuncPropStateReadReq), "M_FuncPropStateRead.req"},
                                  Name{Number(MessageCode::MFuncPropCon), "M_FuncProp.con"},
                                  Name{Number(MessageCode::MPropReadCon), "M_PropRead.con"},
                                  Name{Number(MessageCode::MPropReadReq), "M_PropRead.req"}};

constexpr std::array Infos{Name{0x01, "PL-medium"},     Name{0x02, "RF-medium"},   Name{0x03, "busmonitor-status"},
                           Name{0x04, "relative-time"}, Name{0x05, "delay"},       Name{0x06, "extended-relative-time"},
                           Name{0x07, "BiBat"},         Name{0x08, "RF-multi"},    Name{0x09, "preamble-postamble"},
                           Name{0x0A, "RF-fast-ack"},   Name{0xFE, "manufacturer"}};

constexpr std::array PropertyErrors{
    Name{0x00, "unspecified error"},    Name{0x01, "out of range"},     Name{0x02, "out of maximum range"},
    Name{0x03, "out of minimum range"}, Name{0x04, "memory error"},     Name{0x05, "read only"},
    Name{0x06, "illegal command"},      Name{0x07, "no such property"}, Name{0x08, "type conflict"},
    Name{0x09, "no such index"},        Name{0x0A, "not writable now"}};

constexpr std::array<std::string_view, 4> Priorities{"system", "normal", "urgent", "low"};

// Of the first four bits of the APCI.
constexpr std::array<std::string_view, 16> ShortServices{"A_GroupValue_Read",
                                                         "A_GroupValue_Response",
                                                         "A_GroupValue_Write",
                                                         "A_IndividualAddress_Write",
                                                         "A_IndividualAddress_Read",
                                                         "A_IndividualAddress_Response",
                                                         "A_ADC_Read",
                                                         "A_ADC_Response",
                                                         "A_Memory_Read",
                                                         "A_Memory_Response",
                                                         "A_Memory_Write",
                                                         "", // those with all ten bits only, and users' own
                                                         "A_DeviceDescriptor_Read",
                                                         "A_DeviceDescriptor_Response",
                                                         "A_Restart",
                                                         ""};

constexpr std::array LongServices{Name{0x1C8, "A_SystemNetworkParameter_Read"},
                                  Name{0x1C9, "A_SystemNetworkParameter_Response"},
                                  Name{0x1CA, "A_SystemNetworkParameter_Write"},
                                  Name{0x1CC, "A_PropertyExtValue_Read"},
                                  Name{0x1CD, "A_PropertyExtValue_Response"},
                                  Name{0x1CE, "A_PropertyExtValue_WriteCon"},
                                  Name{0x1CF, "A_PropertyExtValue_WriteConRes"},
                                  Name{0x1D0, "A_PropertyExtValue_WriteUnCon"},
                                  Name{0x1D1, "A_PropertyExtValue_InfoReport"},
                                  Name{0x1D2, "A_PropertyExtDescription_Read"},
                                  Name{0x1D3, "A_PropertyExtDescription_Response"},
                                  Name{0x1D4, "A_FunctionPropertyExtCommand"},
                                  Name{0x1D5, "A_FunctionPropertyExtState_Read"},
                                  Name{0x1D6, "A_FunctionPropertyExtState_Response"},
                                  Name{0x1FB, "A_MemoryExtended_Write"},
                                  Name{0x1FC, "A_MemoryExtended_WriteResponse"},
                                  Name{0x1FD, "A_MemoryExtended_Read"},
                                  Name{0x1FE, "A_MemoryExtended_ReadResponse"},
                                  Name{0x2C0, "A_UserMemory_Read"},
                                  Name{0x2C1, "A_UserMemory_Response"},
                                  Name{0x2C2, "A_UserMemory_Write"},
                                  Name{0x2C4, "A_UserMemoryBit_Write"},
                                  Name{0x2C5, "A_UserManufacturerInfo_Read"},
                                  Name{0x2C6, "A_UserManufacturerInfo_Response"},
                                  Name{0x2C7, "A_FunctionPropertyCommand"},
                                  Name{0x2C8, "A_FunctionPropertyState_Read"},
                                  Name{0x2C9, "A_FunctionPropertyState_Response"},
                                  Name{0x380, "A_Restart"},
                                  Name{0x381, "A_Restart_MasterReset"},
                                  Name{0x3A1, "A_Restart_Response"},
                                  Name{0x3C0, "A_Open_Routing_Table_Request"},
                                  Name{0x3C1, "A_Read_Routing_Table_Request"},
                                  Name{0x3C2, "A_Read_Routing_Table_Response"},
                                  Name{0x3C3, "A_Write_Routing_Table_Request"},
                                  Name{0x3C8, "A_Read_Router_Memory_Request"},
                                  Name{0x3C9, "A_Read_Router_Memory_Response"},
                                  Name{0x3CA, "A_Write_Router_Memory_Request"},
                                  Name{0x3CD, "A_Read_Router_Status_Request"},
                                  Name{0x3CE, "A_Read_Router_Status_Response"},
                                  Name{0x3CF, "A_Write_Router_Status_Request"},
                                  Name{0x3D0, "A_MemoryBit_Write"},
                                  Name{0x3D1, "A_Authorize_Request"},
                                  Name{0x3D2, "A_Authorize_Response"},
                                  Name{0x3D3, "A_Key_Write"},
                                  Name{0x3D4, "A_Key_Response"},
                                  Name{0x3D5, "A_PropertyValue_Read"},
                                  Name{0x3D6, "A_PropertyValue_Response"},
                                  Name{0x3D7, "A_PropertyValue_Write"},
                                  Name{0x3D8, "A_PropertyDescription_Read"},
                                  Name{0x3D9, "A_PropertyDescription_Response"},
                                  Name{0x3DA, "A_NetworkParameter_Read"},
                                  Name{0x3DB, "A_NetworkParameter_Response"},
                                  Name{0x3DC, "A_IndividualAddressSerialNumber_Read"},
                                  Name{0x3DD, "A_IndividualAddressSerialNumber_Response"},
                                  Name{0x3DE, "A_IndividualAddressSerialNumber_Write"},
                                  Name{0x3E0, "A_DomainAddress_Write"},
                                  Name{0x3E1, "A_DomainAddress_Read"},
                                  Name{0x3E2, "A_DomainAddress_Response"},
                                  Name{0x3E3, "A_DomainAddressSelective_Read"},
                                  Name{0x3E4, "A_NetworkParameter_Write"},
                                  Name{0x3E5, "A_Link_Read"},
                                  Name{0x3E6, "A_Link_Response"},
                                  Name{0x3E7, "A_Link_Write"},
                                  Name{0x3E8, "A_GroupPropValue_Read"},
                                  Name{0x3E9, "A_GroupPropValue_Response"},
                                  Name{0x3EA, "A_GroupPropValue_Write"},
                                  Name{0x3EB, "A_GroupPropValue_InfoReport"},
                                  Name{0x3EC, "A_DomainAddressSerialNumber_Read"},
                                  Name{0x3ED, "A_DomainAddressSerialNumber_Response"},
                                  Name{0x3EE, "A_DomainAddressSerialNumber_Write"},
                                  Name{0x3F0, "A_FileStream_InfoReport"},
                                  Name{0x3F1, "A_SecureService"}};

constexpr NameTable<Bytewide> MessageCodeNames(MessageCodes);
constexpr NameTable<Bytewide> InfoNames(Infos);
constexpr NameTable<Bytewide> PropertyErrorNames(PropertyErrors);
constexpr NameTable<ApciCount> LongServiceNames(LongServices);

std::string OrNumber(std::string_view name, uint8_t number)
{
    return name.empty() ? HexNumber(number, 2) : std::string(name);
}

} // namespace

std::string_view NameOfMessageCode(uint8_t code)
{
    return MessageCodeNames.At(code);
}

std::string NameOfInfo(uint8_t type)
{
    return OrNumber(InfoNames.At(type), type);
}

std::string_view NameOfPriority(unsigned priority)
{
    return Priorities.at(priority);
}

std::string NameOfPropertyError(uint8_t error)
{
    return OrNumber(PropertyErrorNames.At(error), error);
}

std::string IndividualAddress(uint16_t address)
{
    TextBuffer text;
    AddIndividualAddress(text, address);
    return std::string(text.Text());
}

void AddIndividualAddress(TextBuffer& text, uint16_t address)
{
    const unsigned bits = address;
    text.AddNumbers({static_cast<uint8_t>(bits >> 12U), static_cast<uint8_t>((bits >> 8U) & 0x0FU),
                     static_cast<uint8_t>(bits & 0xFFU)},
                    '.');
}

Service ServiceOf(uint16_t apci)
{
    if (const std::string_view name = LongServiceNames.At(apci); !name.empty())
    {
        return {name, false, 0};
    }
    return {ShortServices.at(apci >> 6U), true, static_cast<uint8_t>(apci & 0x3FU)};
}

} // namespace Knx
