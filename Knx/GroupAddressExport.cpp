#include "Knx/GroupAddressExport.h"

#include "Knx/ExportCsv.h"
#include "Knx/ExportText.h"
#include "Knx/ExportXml.h"

namespace Knx
{

namespace
{

bool IsXml(const std::string& content)
{
    const std::size_t begin = content.find_first_not_of("\xEF\xBB\xBF \t\r\n"); // also behind a byte order mark
    return begin != std::string::npos && content[begin] == '<';
}

} // namespace

GroupAddressExport ReadGroupAddressExport(const std::string& content)
{
    return IsXml(content) ? ReadXmlExport(ExportText::DecodeUtf8(content)) : ReadCsvExport(ExportText::Decode(content));
}

} // namespace Knx
