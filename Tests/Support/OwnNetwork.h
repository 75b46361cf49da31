#pragma once

#include <string>

/// A network that nobody else uses: a network namespace of the calling thread's own, with a loopback interface that is up.
/// Programs that the thread starts from then on live in it too. To be called in the sandbox.
void EnterOwnNetwork();

/// Of the calling thread's network.
void SetUp(const std::string& interfaceName, bool up);
void SetAddress(const std::string& interfaceName, const std::string& address);
