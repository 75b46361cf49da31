#include "ListeningSocket.h"

#include "Failure.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>

namespace OrvelGateway
{

namespace
{

constexpr mode_t Mode = 0660;
constexpr const char* Group = "orvel"; // whose members may use the queues, too
constexpr int Backlog = 64;            // programs that may wait while others are served
constexpr int FirstPassed = 3;         // the descriptor that systemd passes

[[noreturn]] void Fail(const std::string& what)
{
    const int error = errno;
    const Status status = error == ENOENT || error == ENOTDIR                   ? Status::NotThere
                          : error == EACCES || error == EPERM || error == EROFS ? Status::NotAllowed
                                                                                : Status::Failed;
    throw Failure(status, what + ": " + strerror(error));
}

bool IsThisProcess(const char* text)
{
    const std::string_view digits = text;
    pid_t number = 0;
    const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return result.ec == std::errc() && number == getpid();
}

int OptionOf(int socket, int option)
{
    int value = -1;
    socklen_t size = sizeof value;
    getsockopt(socket, SOL_SOCKET, option, &value, &size);
    return value;
}

// The protocol is a few words in the environment. No library is loaded for it, because most boards have none.
std::optional<System::Descriptor> PassedSocket()
{
    const char* const process = std::getenv("LISTEN_PID");
    const char* const count = std::getenv("LISTEN_FDS");
    if (process == nullptr || count == nullptr || !IsThisProcess(process) || std::string_view(count) == "0")
    {
        return std::nullopt;
    }
    System::Descriptor passed(FirstPassed);
    if (std::string_view(count) != "1" || OptionOf(FirstPassed, SO_DOMAIN) != AF_UNIX ||
        OptionOf(FirstPassed, SO_TYPE) != SOCK_SEQPACKET || OptionOf(FirstPassed, SO_ACCEPTCONN) != 1)
    {
        throw Failure(Status::Failed, "what was passed to listen on is not one socket with ListenSequentialPacket=");
    }
    fcntl(FirstPassed, F_SETFD, FD_CLOEXEC);
    if (fcntl(FirstPassed, F_SETFL, O_NONBLOCK) == -1)
    {
        Fail("cannot use the socket that was passed"); // to accept would wait for a program
    }
    for (const char* const name : {"LISTEN_PID", "LISTEN_FDS", "LISTEN_FDNAMES"})
    {
        unsetenv(name); // not for children
    }
    return passed;
}

sockaddr_un AddressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address.sun_path)
    {
        throw Failure(Status::WrongOption, "--socket takes a path of 1 to " +
                                               std::to_string(sizeof address.sun_path - 1) + " bytes, not '" + path +
                                               "'");
    }
    std::copy(path.begin(), path.end(), address.sun_path);
    return address;
}

System::Descriptor NewSocket()
{
    System::Descriptor made(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!made.IsOpen())
    {
        Fail("cannot make a socket");
    }
    return made;
}

const sockaddr* Generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

// Two gateways that start at once would both find nobody behind a dead socket. While this lives, no other gateway looks. But
// whoever may list the directory can hold its lock: nobody waits for long.
class TurnInDirectory
{
public:
    explicit TurnInDirectory(const std::string& path)
    {
        const std::size_t slash = path.rfind('/');
        const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
        descriptor = System::Descriptor(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!descriptor.IsOpen())
        {
            Fail("cannot make the socket " + path);
        }
        const auto limit = std::chrono::steady_clock::now() + Longest;
        while (flock(descriptor.Number(), LOCK_EX | LOCK_NB) == -1 && std::chrono::steady_clock::now() < limit)
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(10)); // waiting for it could have no limit
        }
    }

private:
    static constexpr std::chrono::seconds Longest{1}; // another gateway needs some milliseconds

    System::Descriptor descriptor;
};

bool IsServed(const std::string& path, const sockaddr_un& address)
{
    const System::Descriptor probe = NewSocket();
    if (connect(probe.Number(), Generic(address), sizeof address) == 0)
    {
        return true;
    }
    if (errno == EACCES)
    {
        Fail("cannot tell whether another program serves " + path);
    }
    return errno != ECONNREFUSED;
}

void RemoveIfDead(const std::string& path, const sockaddr_un& address)
{
    struct stat found
    {
    };
    if (lstat(path.c_str(), &found) == -1)
    {
        return;
    }
    if (!S_ISSOCK(found.st_mode))
    {
        throw Failure(Status::Failed, path + " is there already, and is no socket");
    }
    if (IsServed(path, address))
    {
        throw Failure(Status::InUse, "another program serves " + path);
    }
    if (unlink(path.c_str()) == -1)
    {
        Fail("cannot replace the socket " + path);
    }
}

System::Descriptor MakeSocket(const std::string& path)
{
    const sockaddr_un address = AddressOf(path);
    // cppcheck-suppress unreadVariable ; it is held until this function ends
    const TurnInDirectory turn(path);
    RemoveIfDead(path, address);
    System::Descriptor made = NewSocket();
    const mode_t mask = umask(static_cast<mode_t>(~Mode) & 0777U); // never open to others, not even for a moment
    const bool isBound = bind(made.Number(), Generic(address), sizeof address) == 0;
    const int error = errno;
    umask(mask);
    errno = error;
    if (!isBound)
    {
        Fail("cannot make the socket " + path);
    }
    // cppcheck-suppress getgrnamCalled ; the gateway has one thread
    if (const group* const members = getgrnam(Group); members != nullptr)
    {
        // Without the right to do so it stays with the group that this process has.
        static_cast<void>(chown(path.c_str(), static_cast<uid_t>(-1), members->gr_gid) == -1);
    }
    if (listen(made.Number(), Backlog) == -1)
    {
        Fail("cannot listen on " + path);
    }
    return made;
}

std::optional<std::pair<dev_t, ino_t>> FileAt(const std::string& path)
{
    struct stat found
    {
    };
    return lstat(path.c_str(), &found) == 0 ? std::optional(std::pair(found.st_dev, found.st_ino)) : std::nullopt;
}

} // namespace

ListeningSocket::ListeningSocket(const std::string& path)
{
    if (auto passed = PassedSocket())
    {
        descriptor = std::move(*passed);
        place = "the socket of the service manager";
        return;
    }
    descriptor = MakeSocket(path);
    place = path;
    made = FileAt(path);
}

ListeningSocket::~ListeningSocket()
{
    // Another gateway may have its own there by now, if somebody removed this one.
    if (made && FileAt(place) == made)
    {
        unlink(place.c_str());
    }
}

System::Descriptor ListeningSocket::Accept() const
{
    return System::Descriptor(accept4(descriptor.Number(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
}

} // namespace OrvelGateway
