#pragma once

#include "BenchKit/PacketConnection.h"
#include "BenchKit/TemporaryDirectory.h"

#include "System/Descriptor.h"

#include <optional>
#include <string>

/// A gateway whose part the test plays, towards one program after the other.
class ScriptedGateway
{
public:
    /// Listens in a directory of its own.
    ScriptedGateway();

    /// Listens at this path.
    explicit ScriptedGateway(const std::string& path);

    ~ScriptedGateway();

    ScriptedGateway(const ScriptedGateway&) = delete;
    ScriptedGateway& operator=(const ScriptedGateway&) = delete;

    const std::string& Path() const
    {
        return socketPath;
    }

    /// Ends, and leaves the socket behind as one that was killed does.
    void Die()
    {
        listener.Close();
    }

    /// Waits for the next program, which is not greeted yet.
    PacketConnection Accept() const;

    /// Waits for the next program, and tells it the state of the link.
    PacketConnection Greet(const std::string& linkState = "b9 00 01") const;

private:
    void Listen();

    std::optional<TemporaryDirectory> directory; // its own, if it has one
    std::string socketPath;
    System::Descriptor listener = MakeUnixSocket();
};
