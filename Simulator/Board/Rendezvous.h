#pragma once

#include <sys/types.h>

#include <string>

namespace Simulator
{

/// Makes a running board findable by name for other programs of the same user. Nothing of it is left on disk.
class Rendezvous
{
public:
    /// Reserves the name. Throws std::runtime_error when a board of this name is running.
    explicit Rendezvous(const std::string& boardName);
    ~Rendezvous();

    Rendezvous(const Rendezvous&) = delete;
    Rendezvous& operator=(const Rendezvous&) = delete;

    /// From now on the board, which is the calling process, is found.
    void Announce() const;

    /// For poll: readable when somebody has looked for the board; Greet lets the next one in.
    int Descriptor() const
    {
        return socket;
    }
    void Greet() const;

    /// The process of the running board `boardName`. Throws std::runtime_error when there is none.
    static pid_t Find(const std::string& boardName);

private:
    int socket = -1;
};

} // namespace Simulator
