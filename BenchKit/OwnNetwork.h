#pragma once

#include <string>

/// Gives the calling thread a network that nobody else uses: a network namespace of its own, whose loopback
/// interface is up. Programs that the thread starts from then on live in it too. Call it in the sandbox.
void EnterOwnNetwork();

/// Of the calling thread's network.
void SetUp(const std::string& interfaceName, bool up);
void SetAddress(const std::string& interfaceName, const std::string& address);

/// Down while it is renamed, and then up.
void Rename(const std::string& interfaceName, const std::string& newName);
