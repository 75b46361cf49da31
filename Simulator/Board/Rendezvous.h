#pragma once

#include "System/Descriptor.h"

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace Simulator
{

/// Makes a running board findable by name for other programs of the same user: by a file of this name, which is locked while
/// the board runs, in a directory where no other user can make one.
class Rendezvous
{
public:
    static constexpr pid_t NoDaemon = 0;

    struct Running
    {
        std::string name;
        pid_t board;
        pid_t daemon; ///< NoDaemon while it is ended and not yet started again
    };

    /// Reserves the name, which must be that of a file. Throws std::runtime_error when a board of this name is running.
    explicit Rendezvous(const std::string& boardName);
    ~Rendezvous();

    Rendezvous(const Rendezvous&) = delete;
    Rendezvous& operator=(const Rendezvous&) = delete;

    /// From now on the board, which is the calling process, is found, with this daemon.
    void Announce(pid_t daemon) const;

    /// The process of the running board `boardName`. Throws std::runtime_error when there is none.
    static pid_t Find(const std::string& boardName);

    /// The running boards of this user, by name.
    static std::vector<Running> List();

private:
    std::filesystem::path file;
    System::Descriptor descriptor;
};

} // namespace Simulator
