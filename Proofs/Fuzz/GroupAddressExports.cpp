// Fuzzes what reads the names of group addresses. The input is the file.

#include "Knx/GroupAddressExport.h"

#include "Expect.h"

#include <cstddef>
#include <cstdint>
#include <string>

using namespace Knx;

namespace
{

// Whether a terminal shows it in one line, as it is. Whether it is UTF-8, the reader says when it gets it again.
bool IsPrintable(const std::string& text)
{
    for (std::size_t index = 0; index < text.size(); ++index)
    {
        const auto byte = static_cast<uint8_t>(text[index]);
        const bool isUpperControl = byte == 0xC2 && static_cast<uint8_t>(text[index + 1]) < 0xA0;
        if (byte < 0x20 || byte == 0x7F || isUpperControl)
        {
            return false;
        }
    }
    return true;
}

std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char character : text)
    {
        quoted += character == '"' ? "\"\"" : std::string(1, character);
    }
    return quoted + "\"";
}

// The groups in one column of names; names that have their ranges already are names, too.
std::string AsCsv(const GroupAddresses& groups)
{
    std::string csv = "\xEF\xBB\xBF\"Name\"\t\"Address\"\t\t\t\"Description\"\t\"Type\"\r\n";
    for (const NamedGroup& group : groups.All())
    {
        csv += Quoted(group.name) + "\t" + GroupAddress(group.address, groups.Style()) + "\t\t\t" +
               Quoted(group.description) + "\t" + group.type + "\r\n";
    }
    return csv;
}

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char character : text)
    {
        switch (character)
        {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += character;
        }
    }
    return escaped;
}

std::string AsXml(const GroupAddresses& groups)
{
    std::string xml = "\xEF\xBB\xBF<GroupAddress-Export>\n";
    for (const NamedGroup& group : groups.All())
    {
        xml += "<GroupAddress Name=\"" + Escaped(group.name) + "\" Address=\"" +
               GroupAddress(group.address, groups.Style()) + "\" Description=\"" + Escaped(group.description) +
               "\" DPTs=\"" + group.type + "\"/>\n";
    }
    return xml + "</GroupAddress-Export>\n";
}

void ExpectSame(const GroupAddresses& groups, const GroupAddresses& again)
{
    Fuzz::ExpectEqual("the number of groups", again.All().size(), groups.All().size());
    for (std::size_t index = 0; index < groups.All().size(); ++index)
    {
        const NamedGroup& group = groups.All()[index];
        const NamedGroup& other = again.All()[index];
        Fuzz::ExpectEqual("the address", other.address, group.address);
        Fuzz::ExpectEqual("the name", other.name, group.name);
        Fuzz::ExpectEqual("the type", other.type, group.type);
        Fuzz::ExpectEqual("the description", other.description, group.description);
    }
}

void Check(const GroupAddresses& groups)
{
    unsigned last = 0;
    for (const NamedGroup& group : groups.All())
    {
        Fuzz::Expect("a group, and in order", group.address > last);
        last = group.address;
        Fuzz::Expect("found by its address", groups.At(group.address) == &group);
        Fuzz::Expect("printable", IsPrintable(group.name) && IsPrintable(group.description) && IsPrintable(group.type));
    }
    if (!groups.All().empty())
    {
        const NamedGroup& group = groups.All().front();
        bool isFound = group.name.empty();
        for (const NamedGroup* found : groups.Find(group.name))
        {
            isFound = isFound || found == &group;
        }
        Fuzz::Expect("found by its name", isFound);
        ExpectSame(groups, ReadGroupAddressExport(AsCsv(groups)).groups);
    }
    ExpectSame(groups, ReadGroupAddressExport(AsXml(groups)).groups);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size)
{
    GroupAddressExport read;
    try
    {
        read = ReadGroupAddressExport(std::string(data, data + size));
    }
    catch (const NotAnExport& problem)
    {
        const std::string line = problem.what();
        Fuzz::Expect("the place", line.rfind("line ", 0) == 0 && line.find(", column ") != std::string::npos);
        Fuzz::Expect("in one line", IsPrintable(line));
        return 0;
    }
    Fuzz::Expect("what was recognised", !read.form.empty());
    Check(read.groups);
    return 0;
}
