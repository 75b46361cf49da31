#pragma once

#include "Knx/CemiMessage.h"
#include "Knx/Datapoint.h"
#include "Knx/Telegram.h"

#include <cstdint>
#include <optional>

/// What is done with the values of groups.
namespace Knx
{

/// What a telegram does with the value of a group: four bits of the APCI.
enum class GroupService : uint16_t
{
    Read = 0x000,
    Response = 0x040,
    Write = 0x080
};

constexpr uint16_t ServiceMask = 0x3C0;

/// The telegram that does it, a request from nobody; of a read `value` is empty. A value that does not fit into a standard
/// frame makes it an extended one.
Telegram::GroupTelegram TelegramTo(uint16_t group, GroupService service, const GroupValue& value = {});

/// Whether it is a telegram to a group: one whose data have no number and no connection.
bool IsGroupTelegram(const CemiMessage& cemi);

/// What it does with the value of the group; nothing if it does none of the three.
std::optional<GroupService> GroupServiceOf(const CemiMessage& cemi);

/// The value of a write or a response to a group.
std::optional<GroupValue> ValueOf(const CemiMessage& cemi);

} // namespace Knx
