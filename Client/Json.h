#pragma once

#include "KnownGroups.h"
#include "Message.h"

#include <string>
#include <string_view>

namespace OrvelClient
{

/// What the message says and the message itself as one JSON object, without a newline.
std::string DescribeAsJson(const Message& message, const KnownGroups& groups = KnownGroups());

/// The message in such an object; of its members only the time, the direction and the hexadecimal digits count. Throws Failure
/// (NotUnderstood).
Message MessageFromJson(std::string_view line);

} // namespace OrvelClient
