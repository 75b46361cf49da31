#include "System/Process.h"

#include "System/ThrowErrno.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace System
{

namespace
{

// In the new process. Returns only when the program could not be started.
void Become(const Process::Start& start, pid_t parent)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
    {
        return; // it died before it could be told so
    }
    // What a shell starts in its background ignores SIGINT, and so would the program.
    static_cast<void>(std::signal(SIGINT, SIG_DFL));
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    if (start.standardInput != -1)
    {
        dup2(start.standardInput, STDIN_FILENO);
    }
    if (start.standardOutput != -1)
    {
        dup2(start.standardOutput, STDOUT_FILENO);
        dup2(start.standardOutput, STDERR_FILENO);
    }
    for (const auto& [name, value] : start.environment)
    {
        setenv(name.c_str(), value.c_str(), 1);
    }
    Execute(start.command.front(), start.command);
}

} // namespace

void Execute(const std::string& program, const std::vector<std::string>& arguments)
{
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (const std::string& argument : arguments)
    {
        pointers.push_back(const_cast<char*>(argument.c_str())); // exec does not write to them
    }
    pointers.push_back(nullptr);
    execvp(program.c_str(), pointers.data());
}

Process::Process(const Start& start)
{
    // One byte lets the new process go on. Closed by a successful exec; otherwise it brings the reason.
    SocketPair sockets;
    const pid_t parent = getpid();
    id = fork();
    if (id == 0)
    {
        sockets.one.Close(); // so that the end of its parent ends the wait
        // Ctrl-C in a terminal is for the parent, which then stops the program in its own way.
        setpgid(0, 0);
        char go = 0;
        if (recv(sockets.other.Number(), &go, 1, 0) != 1)
        {
            _exit(127); // the parent died, and nobody is to be told anything
        }
        Become(start, parent);
        const int error = errno;
        send(sockets.other.Number(), &error, sizeof(error), MSG_NOSIGNAL);
        _exit(127);
    }
    int error = id == -1 ? errno : 0;
    sockets.other.Close();
    if (id != -1)
    {
        if (start.beforeExec)
        {
            start.beforeExec(id);
        }
        send(sockets.one.Number(), "g", 1, MSG_NOSIGNAL);
        if (recv(sockets.one.Number(), &error, sizeof(error), 0) > 0)
        {
            waitpid(id, nullptr, 0);
        }
    }
    if (error != 0)
    {
        ThrowErrno("cannot start " + start.command.front(), error);
    }
    // The C library has it only since lately.
    descriptor = System::Descriptor(static_cast<int>(syscall(SYS_pidfd_open, id, 0)));
    if (!descriptor.IsOpen())
    {
        error = errno;
        kill(id, SIGKILL);
        waitpid(id, nullptr, 0);
        ThrowErrno("cannot watch " + start.command.front(), error);
    }
}

Process::~Process()
{
    if (!status)
    {
        Signal(SIGKILL);
        Wait();
    }
}

void Process::Signal(int signal) const
{
    if (!status)
    {
        kill(id, signal);
    }
}

int Process::Wait()
{
    if (!status)
    {
        int result = 0;
        while (waitpid(id, &result, 0) == -1 && errno == EINTR)
        {
        }
        status = WIFSIGNALED(result) ? 128 + WTERMSIG(result) : WEXITSTATUS(result);
    }
    return *status;
}

} // namespace System
