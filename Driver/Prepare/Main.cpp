// orvel-prepare OPTION...: does what only root can do, so that the daemon with these options runs as the user "orvel" and
// without any capability: its devices, the pin of the co-processor's reset, and its message queues.

#include "CommandLine.h"
#include "Devices.h"
#include "Failure.h"
#include "Queues.h"
#include "ResetPin.h"

#include <grp.h>
#include <pwd.h>
#include <sysexits.h>

#include <cstdio>
#include <iostream>

using namespace OrvelPrepare;

namespace
{

constexpr const char* UserName = "orvel"; // and the group's

// The rest of the process has one thread.
User TheUser()
{
    // cppcheck-suppress getpwnamCalled
    const passwd* const user = getpwnam(UserName); // NOLINT(concurrency-mt-unsafe)
    // cppcheck-suppress getgrnamCalled
    const group* const group = getgrnam(UserName); // NOLINT(concurrency-mt-unsafe)
    if (user == nullptr || group == nullptr)
    {
        throw Failure(EX_NOUSER, "there is no user and group 'orvel'; systemd-sysusers makes them, or adduser");
    }
    return {user->pw_uid, group->gr_gid};
}

} // namespace

int main(int argc, char** argv)
{
    OrvelDriver::CommandLine commandLine;
    std::cout.setstate(std::ios_base::failbit); // what is wrong with an option is the daemon's to say
    if (!commandLine.Parse(argc, argv) || commandLine.help)
    {
        return EX_OK;
    }
    try
    {
        const User user = TheUser();
        GiveLedDevice(user);
        GiveSerialDevice(commandLine.device, user);
        GiveResetPin(commandLine.resetGpio, user);
        MakeQueues(commandLine.progButtonQueues, user);
        return EX_OK;
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "orvel-prepare: %s\n", failure.what());
        return failure.Status();
    }
}
