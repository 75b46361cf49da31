#include "BenchKit/OwnNetwork.h"

#include "System/Descriptor.h"
#include "System/ThrowErrno.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <iterator>

namespace
{

void Check(bool succeeded, const std::string& what)
{
    if (!succeeded)
    {
        System::ThrowErrno("cannot " + what);
    }
}

void Ask(unsigned long request, ifreq& argument, const std::string& interfaceName)
{
    interfaceName.copy(std::begin(argument.ifr_name), sizeof(argument.ifr_name) - 1);
    const System::Descriptor socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    Check(ioctl(socket.Number(), request, &argument) != -1, "change " + interfaceName);
}

} // namespace

void EnterOwnNetwork()
{
    Check(unshare(CLONE_NEWNET) != -1, "have a network of its own");
    SetUp("lo", true);
}

void SetUp(const std::string& interfaceName, bool up)
{
    ifreq argument{};
    argument.ifr_flags = static_cast<short>(up ? IFF_UP : 0);
    Ask(SIOCSIFFLAGS, argument, interfaceName);
}

void SetAddress(const std::string& interfaceName, const std::string& address)
{
    ifreq argument{};
    sockaddr_in socketAddress{};
    socketAddress.sin_family = AF_INET;
    Check(inet_pton(AF_INET, address.c_str(), &socketAddress.sin_addr) == 1, "understand " + address);
    std::memcpy(&argument.ifr_addr, &socketAddress, sizeof(socketAddress));
    Ask(SIOCSIFADDR, argument, interfaceName);
}

void Rename(const std::string& interfaceName, const std::string& newName)
{
    SetUp(interfaceName, false);
    ifreq argument{};
    newName.copy(std::begin(argument.ifr_newname), sizeof(argument.ifr_newname) - 1);
    Ask(SIOCSIFNAME, argument, interfaceName);
    SetUp(newName, true);
}
