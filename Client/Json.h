#pragma once

#include "Message.h"

#include <string>

namespace OrvelClient
{

/// What the message says and the message itself as one JSON object, without a newline.
std::string DescribeAsJson(const Message& message);

} // namespace OrvelClient
