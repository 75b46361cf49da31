#pragma once

#include "Knx/CemiMessage.h"

#include <optional>
#include <string>

namespace Knx
{

class TextBuffer;

/// What the message says, in one line of words: "L_Data.ind 1.1.2 -> 1/2/3 low hops=6 ...". What is wrong with it comes last,
/// behind an exclamation mark.
std::string Describe(const CemiMessage& cemi);

/// How much a line says.
enum class Detail
{
    All,
    Unusual,     ///< not what nearly every telegram has: L_Data.ind, low priority, six hops, a group as its destination
    WithoutValue ///< the same without the value or the data
};

/// The same without what is wrong.
std::string Words(const CemiMessage& cemi, Detail detail = Detail::All);
void AddWords(TextBuffer& text, const CemiMessage& cemi, Detail detail = Detail::All);

/// Adds behind an exclamation mark what is wrong with the message, if anything is. What the text says of it begins at `begin`.
void AddProblems(TextBuffer& text, std::size_t begin, const CemiMessage& cemi);

/// "ends before the length; ..."; empty when nothing is wrong.
std::string ProblemsText(const CemiMessage& cemi);

// Of a message that has the field.

/// "1/2/3" or "1.2.3"
std::string Destination(const CemiMessage& cemi);

/// The transport service; empty where the message code says it already.
std::string TransportName(const CemiMessage& cemi);

/// "A_GroupValue_Write"; "APCI_0x3c4" when there is no such service.
std::string ServiceName(const CemiMessage& cemi);

/// A value of up to six bits, which has no byte of its own.
std::optional<uint8_t> SmallValue(const CemiMessage& cemi);

} // namespace Knx
