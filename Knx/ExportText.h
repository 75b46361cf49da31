#pragma once

#include "Knx/GroupAddressExport.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What the readers of the engineering tool's exports share.
namespace Knx::ExportText
{

/// The content without a byte order mark. Throws NotAnExport unless it is a text in UTF-8.
std::string DecodeUtf8(const std::string& content);

/// The content as UTF-8, without a byte order mark.
struct Decoded
{
    std::string text;
    std::string encoding; ///< the content's own: "UTF-8", "Windows-1252"
};

/// The same, but what is not UTF-8 and has no mark is taken for Windows-1252.
Decoded Decode(const std::string& content);

/// Throws NotAnExport, with the line and the column of the place `offset` of the text.
[[noreturn]] void RejectAt(std::string_view text, std::size_t offset, const std::string& why);

/// Whether all of it is UTF-8.
bool IsUtf8(std::string_view text);

/// The text without blanks around it, and with blanks instead of control characters.
std::string Clean(std::string_view text);

/// Makes the groups of an export of their parts.
class Collector
{
public:
    /// A value and where it stands in the export.
    struct Part
    {
        std::string_view value;
        std::size_t offset = 0;
    };

    /// Keeps a view of the text, for the places in it.
    explicit Collector(std::string_view exportText)
        : text(exportText)
    {
    }

    /// Throws NotAnExport.
    uint16_t AddressIn(Part part) const;

    /// "9.001" for "DPST-9-1", "9" for "DPT-9"; of a list with commas the last, which is the group's own. Throws NotAnExport.
    std::string TypeIn(Part part) const;

    void Add(NamedGroup group, std::size_t offset);

    /// Throws NotAnExport when an address is there twice.
    GroupAddresses Finish(GroupAddressStyle style);

private:
    struct Placed
    {
        NamedGroup group;
        std::size_t offset;
    };

    std::string_view text;
    std::vector<Placed> groups;
};

/// "'1/2/x'", not longer than a line of a message allows.
std::string Quoted(std::string_view text);

/// How the installation divides its addresses, by one of them.
GroupAddressStyle StyleOf(std::string_view address);

} // namespace Knx::ExportText
