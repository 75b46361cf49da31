#pragma once

#include "Knx/ExportText.h"
#include "Knx/GroupAddressExport.h"

namespace Knx
{

/// Reads an export whose text has columns. Throws NotAnExport.
GroupAddressExport ReadCsvExport(const ExportText::Decoded& decoded);

} // namespace Knx
