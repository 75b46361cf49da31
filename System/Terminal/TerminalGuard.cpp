#include "System/Terminal/TerminalGuard.h"

#include "System/ThrowErrno.h"

#include <curses.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <term.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>

namespace System
{

namespace
{

// Without the terminal library's own memory of what it did: that died with the child.
void ShowTextAgain()
{
    int error = 0;
    if (setupterm(nullptr, STDOUT_FILENO, &error) == ERR)
    {
        return;
    }
    for (const char* const sequence : {exit_attribute_mode, keypad_local, cursor_normal, exit_ca_mode})
    {
        if (sequence != nullptr)
        {
            putp(sequence);
        }
    }
    std::fflush(stdout);
    del_curterm(cur_term);
}

// Passes signals on until the child has ended; its status as waitpid gives it.
int Attend(pid_t child, const sigset_t& signals)
{
    for (;;)
    {
        int status = 0;
        const pid_t changed = waitpid(child, &status, WNOHANG | WUNTRACED);
        if (changed == child && WIFSTOPPED(status))
        {
            raise(SIGSTOP); // the shell continues both
        }
        else if (changed == child)
        {
            return status;
        }
        const int signal = sigwaitinfo(&signals, nullptr);
        if (signal > 0 && signal != SIGCHLD)
        {
            kill(child, signal);
        }
    }
}

} // namespace

std::optional<int> GuardTerminal(const std::string& ending)
{
    termios found{};
    const bool known = tcgetattr(STDIN_FILENO, &found) == 0;
    sigset_t signals;
    sigset_t before;
    sigemptyset(&signals);
    for (const int signal : {SIGCHLD, SIGINT, SIGTERM, SIGHUP})
    {
        sigaddset(&signals, signal);
    }
    sigprocmask(SIG_BLOCK, &signals, &before);
    const pid_t child = fork();
    if (child == -1)
    {
        ThrowErrno("cannot make a process");
    }
    if (child == 0)
    {
        sigprocmask(SIG_SETMASK, &before, nullptr);
        return std::nullopt;
    }
    // The keys that send these act on both; the child decides.
    for (const int signal : {SIGTSTP, SIGQUIT, SIGTTOU})
    {
        std::signal(signal, SIG_IGN);
    }
    const int status = Attend(child, signals);
    if (WIFSIGNALED(status))
    {
        ShowTextAgain();
    }
    if (known)
    {
        tcsetattr(STDIN_FILENO, TCSADRAIN, &found);
    }
    if (WIFSIGNALED(status))
    {
        std::fprintf(stderr, "%s: %s\n", ending.c_str(), strsignal(WTERMSIG(status)));
        return 128 + WTERMSIG(status);
    }
    return WEXITSTATUS(status);
}

void EndWithGuard(pid_t guard)
{
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    if (getppid() != guard)
    {
        raise(SIGTERM); // it died before the child could be told so
    }
}

void LeaveTerminalWithout(pid_t guard)
{
    if (getppid() == guard)
    {
        return; // which does it afterwards
    }
    sigset_t background;
    sigemptyset(&background);
    sigaddset(&background, SIGTTOU);
    pthread_sigmask(SIG_BLOCK, &background, nullptr);
}

} // namespace System
