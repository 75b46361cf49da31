#include "StartPriority.h"

#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <string>

namespace Simulator
{

namespace
{

// The process outside: answers each process number with an error number, until the board is gone.
[[noreturn]] void Serve(int requests)
{
    // Ctrl-C and Ctrl-Z in a terminal are for the board.
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
    // Nobody is to wait for the end of an output that only this process still holds.
    dup2(requests, STDIN_FILENO);
    close_range(STDIN_FILENO + 1, ~0U, 0);
    pid_t process = -1;
    while (read(STDIN_FILENO, &process, sizeof(process)) == sizeof(process))
    {
        sched_param parameters{};
        parameters.sched_priority = 1;
        const int error = sched_setscheduler(process, SCHED_FIFO | SCHED_RESET_ON_FORK, &parameters) == -1 ? errno : 0;
        send(STDIN_FILENO, &error, sizeof(error), MSG_NOSIGNAL);
    }
    _exit(0);
}

} // namespace

StartPriority::StartPriority()
{
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) == -1)
    {
        throw std::runtime_error(std::string("cannot make a socket: ") + strerror(errno));
    }
    outside = fork();
    if (outside == 0)
    {
        Serve(ends[1]);
    }
    close(ends[1]);
    socket = ends[0];
    if (outside == -1)
    {
        const int error = errno;
        close(socket);
        throw std::runtime_error(std::string("cannot make a process: ") + strerror(error));
    }
}

StartPriority::~StartPriority()
{
    close(socket);
    waitpid(outside, nullptr, 0);
}

int StartPriority::Raise(pid_t process) const
{
    int error = 0;
    if (send(socket, &process, sizeof(process), MSG_NOSIGNAL) == -1)
    {
        return errno;
    }
    return recv(socket, &error, sizeof(error), MSG_WAITALL) == sizeof(error) ? error : ESRCH;
}

} // namespace Simulator
