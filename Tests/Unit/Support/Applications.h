#pragma once

#include "Bytes.h"

#include <optional>
#include <string>
#include <vector>

/// The applications' side of the message queues: real queues, which no interception touches. Failures throw
/// std::system_error.
namespace UnitTests::Applications
{

void CreateQueue(const std::string& name, long messageSize, long maxMessages);
bool Exists(const std::string& name);
void RemoveQueue(const std::string& name);

void Send(const std::string& name, const Bytes& message);

/// Takes out all messages that are there now.
std::vector<Bytes> ReceiveAll(const std::string& name);

/// Waits for the next message and takes it out; nothing if none comes.
std::optional<Bytes> AwaitMessage(const std::string& name);

/// Number of messages that are there now.
long Pending(const std::string& name);

} // namespace UnitTests::Applications
