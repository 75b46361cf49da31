#pragma once

#include "Knx/GroupAddressExport.h"

#include <string>

namespace Knx
{

/// Reads an export whose text is XML. Throws NotAnExport.
GroupAddressExport ReadXmlExport(const std::string& text);

} // namespace Knx
