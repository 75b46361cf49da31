#pragma once

#include "Message.h"

#include <string>

namespace OrvelClient
{

/// What the message says, in one line of words: "L_Data.ind 1.1.1 -> 1/2/3 low hops=6 ...", "link usable". What is wrong
/// with it comes last, behind an exclamation mark.
std::string Describe(const Message& message);

/// The same and the message itself as one JSON object, without a newline.
std::string DescribeAsJson(const Message& message);

/// What kind of message it is: "L_Data.ind", "link usable".
std::string KindOf(const Message& message);

/// In quotation marks, as JSON wants it.
std::string JsonText(const std::string& text);

/// "1763719200.123456"
std::string SecondsText(std::chrono::microseconds time);

} // namespace OrvelClient
