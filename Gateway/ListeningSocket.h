#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

namespace OrvelGateway
{

/// The socket that programs connect to. It is removed with this object if it was made here.
class ListeningSocket
{
public:
    /// Takes the socket that systemd passes to this process, or makes one at `path`. A socket that nobody serves any more is
    /// replaced. Throws Failure: NotThere, NotAllowed, InUse, WrongOption, Failed.
    explicit ListeningSocket(const std::string& path);
    ~ListeningSocket();

    ListeningSocket(const ListeningSocket&) = delete;
    ListeningSocket& operator=(const ListeningSocket&) = delete;

    /// For poll.
    int Descriptor() const
    {
        return descriptor.Number();
    }

    /// Where programs find it, for people.
    const std::string& Place() const
    {
        return place;
    }

    /// The next program, non-blocking; none if nobody waits or the system has no descriptor to give, as errno says.
    System::Descriptor Accept() const;

private:
    System::Descriptor descriptor;
    std::string place;
    std::optional<std::pair<dev_t, ino_t>> made; // what to remove at the end
};

} // namespace OrvelGateway
