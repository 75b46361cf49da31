// The whole gateway in this process, where its use of the heap can be counted.

#include "Server.h"

#include "Allocations.h"

#include "System/Descriptor.h"

#include <gtest/gtest.h>

#include <mqueue.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

using namespace OrvelGateway;

// The event library's way to the heap, unless it is given another one. The linker's option --wrap leads here.
extern "C" void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size);
extern "C" void* __real_aligned_alloc(std::size_t alignment, std::size_t size);

void* __wrap_aligned_alloc(std::size_t alignment, std::size_t size)
{
    ++UnitTests::allocations;
    return __real_aligned_alloc(alignment, size);
}

namespace
{

constexpr std::array<uint8_t, 12> Request{0x0B, 0x11, 0x00, 0xBC, 0xE0, 0x00, 0x00, 0x0A, 0x03, 0x01, 0x00, 0x81};
constexpr std::array<uint8_t, 12> SwitchOn{0x0B, 0x29, 0x00, 0xBC, 0xE0, 0x11, 0x01, 0x0A, 0x03, 0x01, 0x00, 0x81};
constexpr int Patience = 10000; // ms

void AwaitReadable(int descriptor)
{
    pollfd entry{descriptor, POLLIN, 0};
    ASSERT_EQ(poll(&entry, 1, Patience), 1);
}

// In the daemon's place.
class Queue
{
public:
    Queue(const char* queueName, long size)
        : name(queueName)
    {
        mq_attr attributes{};
        attributes.mq_maxmsg = 10;
        attributes.mq_msgsize = size;
        queue = mq_open(name, O_CREAT | O_EXCL | O_RDWR | O_NONBLOCK | O_CLOEXEC, 0600, &attributes);
        EXPECT_NE(queue, -1) << strerror(errno);
    }

    ~Queue()
    {
        mq_close(queue);
        mq_unlink(name);
    }

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    template<std::size_t size>
    void Put(const std::array<uint8_t, size>& message) const
    {
        ASSERT_EQ(mq_send(queue, reinterpret_cast<const char*>(message.data()), size, 0), 0);
    }

    // Gives the message with the code of a confirmation.
    void Confirm(const Queue& toLink) const
    {
        AwaitReadable(toLink.queue);
        std::array<uint8_t, 261> message{};
        const ssize_t size = mq_receive(toLink.queue, reinterpret_cast<char*>(message.data()), message.size(), nullptr);
        ASSERT_EQ(size, 12);
        message[1] = 0x2E;
        ASSERT_EQ(mq_send(queue, reinterpret_cast<const char*>(message.data()), static_cast<std::size_t>(size), 0), 0);
    }

private:
    const char* name;
    mqd_t queue;
};

class User
{
public:
    explicit User(const std::string& path)
        : connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), address.sun_path);
        EXPECT_EQ(connect(connection.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }

    void Send() const
    {
        ASSERT_EQ(send(connection.Number(), Request.data(), Request.size(), 0), 12);
    }

    // The message code.
    int Receive() const
    {
        AwaitReadable(connection.Number());
        std::array<uint8_t, 300> message{};
        return recv(connection.Number(), message.data(), message.size(), 0) > 1 ? message[1] : -1;
    }

private:
    System::Descriptor connection;
};

class ServerTest : public testing::Test
{
protected:
    ServerTest()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "gateway-XXXXXX").string();
        directory = mkdtemp(pattern.data());
        options.socket = directory / "socket";
        listening.emplace(options.socket);
        thread = std::thread([this] { Run(); });
    }

    ~ServerTest() override
    {
        std::raise(SIGTERM);
        thread.join();
        listening.reset();
        std::filesystem::remove_all(directory);
    }

    // How often the gateway has asked for memory so far.
    std::size_t Allocations()
    {
        counted = false;
        EXPECT_EQ(write(question.writing.Number(), "?", 1), 1);
        while (!counted)
        {
            std::this_thread::yield();
        }
        return count;
    }

    const Queue fromLink{"/cemiFromLL", 261};
    const Queue toLink{"/cemiToLL", 261};
    const Queue button{"/progButton", 1};
    Options options;

private:
    void Run()
    {
        Loop loop;
        Server server(loop, options, *listening);
        Watch* asked = nullptr;
        Watch watch(loop, question.reading.Number(),
                    [this, &asked]
                    {
                        char ignored = 0;
                        count = UnitTests::allocations;
                        EXPECT_EQ(read(question.reading.Number(), &ignored, 1), 1);
                        counted = true;
                        asked->AwaitReadable();
                    });
        asked = &watch;
        watch.AwaitReadable();
        EXPECT_EQ(loop.Run(), SIGTERM);
    }

    System::Pipe question;
    std::atomic<bool> counted = false;
    std::size_t count = 0;
    std::filesystem::path directory;
    std::optional<ListeningSocket> listening;
    std::thread thread;
};

TEST_F(ServerTest, UsesNoHeapOnAFramesWay)
{
    std::vector<User> users;
    for (int i = 0; i < 8; ++i)
    {
        users.emplace_back(options.socket);
        EXPECT_EQ(users.back().Receive(), 0xB9);
    }
    const auto talk = [&](int times)
    {
        for (int i = 0; i < times; ++i)
        {
            users[0].Send();
            fromLink.Confirm(toLink);
            EXPECT_EQ(users[0].Receive(), 0x2E);
            fromLink.Put(SwitchOn);
            button.Put(std::array<uint8_t, 1>{0});
            EXPECT_EQ(users[0].Receive() + users[0].Receive(), 0x29 + 0xBA);
            for (std::size_t other = 1; other < users.size(); ++other)
            {
                EXPECT_EQ(users[other].Receive() + users[other].Receive() + users[other].Receive(), 0x29 + 0x29 + 0xBA);
            }
        }
    };
    talk(20);
    const std::size_t before = Allocations();
    talk(200);
    EXPECT_EQ(Allocations(), before);
}

} // namespace
