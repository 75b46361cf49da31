#pragma once

#include "Message.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace OrvelClient
{

// The record of messages that people read: a line for each.

/// A line of a record: "(1763719200.123456) rx 29 00 bc e0 11 01 0a 03 01 00 81  # L_Data.ind ..."
std::string RecordLine(const std::string& stamp, const Message& message);

/// Reads a record back; times are as they are in it, deltas added up. Lines that are empty or begin with '#' are skipped.
/// Throws Failure (NotUnderstood) that names the line.
std::vector<Message> ReadRecord(std::istream& record);

} // namespace OrvelClient
