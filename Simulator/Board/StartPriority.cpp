#include "StartPriority.h"

#include "System/ThrowErrno.h"

#include <sched.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
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
    System::SocketPair sockets;
    outside = fork();
    if (outside == 0)
    {
        Serve(sockets.other.Number());
    }
    socket = std::move(sockets.one);
    if (outside == -1)
    {
        System::ThrowErrno("cannot make a process");
    }
}

StartPriority::~StartPriority()
{
    socket.Close(); // which ends it
    waitpid(outside, nullptr, 0);
}

int StartPriority::Raise(pid_t process) const
{
    int error = 0;
    if (send(socket.Number(), &process, sizeof(process), MSG_NOSIGNAL) == -1)
    {
        return errno;
    }
    return recv(socket.Number(), &error, sizeof(error), MSG_WAITALL) == sizeof(error) ? error : ESRCH;
}

} // namespace Simulator
