#include "Knx/ExportXml.h"

#include "Knx/ExportText.h"

#include <pugixml.hpp>

#include <optional>
#include <string_view>

namespace Knx
{

namespace
{

using namespace ExportText;

// Reads the export in a copy that the parser takes apart in place: what it finds stands where it stood in the text.
class XmlReader
{
public:
    explicit XmlReader(const std::string& exportText)
        : text(exportText)
        , copy(exportText)
        , collector(text)
    {
    }

    GroupAddressExport Read()
    {
        const auto result =
            document.load_buffer_inplace(copy.data(), copy.size(), pugi::parse_default, pugi::encoding_utf8);
        if (!result)
        {
            RejectAt(text, static_cast<std::size_t>(result.offset), std::string("broken XML: ") + result.description());
        }
        const pugi::xml_node root = document.document_element();
        if (std::string_view(root.name()) != "GroupAddress-Export")
        {
            RejectAt(text, PlaceOf(root), Quoted(root.name()) + " should be GroupAddress-Export");
        }
        if (root.next_sibling())
        {
            RejectAt(text, PlaceOf(root.next_sibling()), "the export has ended before this");
        }
        ReadRange(root, "", 0);
        return {collector.Finish(style.value_or(GroupAddressStyle::ThreeLevel)), "XML"};
    }

private:
    using Part = Collector::Part;

    std::size_t PlaceOf(const char* part) const
    {
        return static_cast<std::size_t>(part - copy.data());
    }

    std::size_t PlaceOf(const pugi::xml_node& node) const
    {
        return PlaceOf(node.type() == pugi::node_element ? node.name() : node.value());
    }

    Part ValueOf(const pugi::xml_attribute& attribute) const
    {
        const Part part{attribute.value(), PlaceOf(attribute.value())};
        if (!IsUtf8(part.value)) // the number of a character stands for none
        {
            RejectAt(text, part.offset, Quoted(attribute.name()) + " has a reference to no character");
        }
        return part;
    }

    // Of an attribute that need not be there.
    std::string TextOf(const pugi::xml_node& node, const char* name) const
    {
        const pugi::xml_attribute attribute = node.attribute(name);
        return attribute ? Clean(ValueOf(attribute).value) : "";
    }

    Part Required(const pugi::xml_node& node, const char* name) const
    {
        const pugi::xml_attribute attribute = node.attribute(name);
        if (!attribute)
        {
            RejectAt(text, PlaceOf(node), std::string(node.name()) + " has no " + name);
        }
        return ValueOf(attribute);
    }

    // `names` of the ranges around it, each with a slash behind it.
    void ReadRange(const pugi::xml_node& range, const std::string& names, unsigned depth) // NOLINT(misc-no-recursion)
    {
        constexpr unsigned maxDepth = 32; // many times as deep as anybody divides addresses
        if (depth > maxDepth)
        {
            RejectAt(text, PlaceOf(range), "more than " + std::to_string(maxDepth) + " ranges in one another");
        }
        for (const pugi::xml_node child : range.children())
        {
            const std::string_view kind = child.name();
            if (kind == "GroupRange")
            {
                const std::string name = Clean(Required(child, "Name").value);
                ReadRange(child, names + (name.empty() ? "" : name + "/"), depth + 1);
            }
            else if (kind == "GroupAddress")
            {
                ReadAddress(child, names);
            }
            else
            {
                RejectAt(text, PlaceOf(child), "this should be a GroupRange or a GroupAddress");
            }
        }
    }

    void ReadAddress(const pugi::xml_node& node, const std::string& names)
    {
        const std::string name = Clean(Required(node, "Name").value);
        const Part address = Required(node, "Address");
        NamedGroup group;
        group.address = collector.AddressIn(address);
        group.name = name.empty() ? "" : names + name;
        group.description = TextOf(node, "Description");
        if (const pugi::xml_attribute types = node.attribute("DPTs"))
        {
            group.type = collector.TypeIn(ValueOf(types));
        }
        if (!style)
        {
            style = StyleOf(address.value);
        }
        collector.Add(std::move(group), address.offset);
    }

    const std::string& text;
    std::string copy;
    pugi::xml_document document;
    Collector collector;
    std::optional<GroupAddressStyle> style; // of the first address
};

} // namespace

GroupAddressExport ReadXmlExport(const std::string& text)
{
    return XmlReader(text).Read();
}

} // namespace Knx
