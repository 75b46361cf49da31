#pragma once

#include "Knx/GroupService.h"
#include "Knx/KnownGroups.h"

namespace OrvelClient
{

using Knx::IsGroupTelegram;
using Knx::KnownGroups;
using Knx::Meaning;
using Knx::MeaningOf;
using Knx::ValueOf;

} // namespace OrvelClient
