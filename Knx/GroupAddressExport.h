#pragma once

#include "Knx/GroupAddresses.h"

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Knx
{

/// Tells in one line where a file is broken, and what is wrong there: "line 12, column 5: ..."
class NotAnExport : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

// Where programs look for an export, unless the person names one: in the file of the environment's ExportVariable, or in the
// usual one.
constexpr const char* ExportVariable = "ORVEL_NAMES";
constexpr const char* UsualExport = "/etc/orvel/group-addresses.xml";

constexpr std::size_t LongestExport =
    std::size_t{64} * 1024 * 1024; ///< bytes; all 65,535 groups take a quarter of that

/// What the engineering tool has exported.
struct GroupAddressExport
{
    GroupAddresses groups;
    std::string
        form; ///< what was recognised: "XML", "CSV with three columns of names, semicolons, a header, Windows-1252"
};

/// Reads the content of an export: XML, or CSV with one or three columns of names, with tabs, semicolons or commas between
/// the columns, with or without a header, in UTF-8 or Windows-1252. Throws NotAnExport; then nothing of it is used.
GroupAddressExport ReadGroupAddressExport(const std::string& content);

} // namespace Knx
