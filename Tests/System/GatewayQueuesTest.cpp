// orvel-gateway with queues that the test makes in the daemon's place, and with what programs do to it.

#include "BenchKit/GatewayProgram.h"
#include "BenchKit/GatewayUser.h"
#include "BenchKit/MessageLimit.h"
#include "BenchKit/Messages.h"
#include "BenchKit/Paths.h"
#include "BenchKit/ProcessFiles.h"

#include <gmock/gmock.h>

#include <linux/capability.h>
#include <sys/stat.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <list>
#include <optional>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace
{

const std::string Usable = "03 b9 00 01";
const std::string Lost = "03 b9 ff ff";
const std::string Request = "11 00 bc e0 00 00 0a 03 01 00 81";
const std::string NotSent = "0b 2e 00 bd e0 00 00 0a 03 01 00 81";
const std::string SwitchOn = "29 00 bc e0 11 01 0a 03 01 00 81";

// Nobody runs: queues without a daemon.
struct Queues
{
    MadeQueue fromLink{"/cemiFromLL"};
    MadeQueue toLink{"/cemiToLL"};
    MadeQueue button{"/progButton", 6, 1};

    Queues()
    {
        fromLink.PutFrame("b9 00 01");
    }
};

Outcome RunGateway(const std::string& socket, const std::vector<std::string>& options = {})
{
    Daemon gateway(GatewayProgram::Command(socket, options), {});
    const int status = gateway.Wait();
    return {status, gateway.Lines()};
}

TEST(GatewayQueues, AreOpenedWithinASecondOfTheirMaking)
{
    GatewayProgram gateway;
    EXPECT_TRUE(gateway->AwaitLine("WARN Daemon <> - No daemon: waiting for its queues"));
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Lost);
    const Queues queues;
    EXPECT_EQ(user.Receive(), Usable);
    EXPECT_TRUE(gateway->AwaitLine("INFO Daemon <> - Opened the queues of the daemon"));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayQueues, AreNotMadeByTheGateway)
{
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Lost);
    EXPECT_EQ(gateway->Stop(), 0);
    const MadeQueue fromLink("/cemiFromLL"); // fails if it exists
    const MadeQueue toLink("/cemiToLL");
    const MadeQueue button("/progButton", 6, 1);
}

TEST(GatewayQueues, OfAnotherSizeAreNotTakenForTheDaemons)
{
    std::optional<MadeQueue> fromLink;
    fromLink.emplace("/cemiFromLL", 14, 300);
    const MadeQueue toLink("/cemiToLL");
    GatewayProgram gateway;
    EXPECT_TRUE(gateway->AwaitLine("/cemiFromLL is not the daemon's: its messages are not of 261 bytes"));
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Lost);
    fromLink.reset();
    fromLink.emplace("/cemiFromLL");
    fromLink->PutFrame("b9 00 01");
    EXPECT_EQ(user.Receive(), Usable);
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayQueues, ForOthersEndTheStart)
{
    const TemporaryDirectory directory;
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue toLink("/cemiToLL", 14, 261, 0);
    Outcome outcome{};
    WithoutCapability(CAP_DAC_OVERRIDE, [&] { outcome = RunGateway(directory.File("socket")); });
    EXPECT_EQ(outcome.status, 6);
    EXPECT_THAT(outcome.lines,
                Contains("orvel-gateway: /cemiToLL is not for this user: be root, or in the group orvel"));
}

TEST(GatewayQueues, WithoutTheButtonsServeAllTheSame)
{
    const MadeQueue fromLink("/cemiFromLL");
    const MadeQueue toLink("/cemiToLL");
    GatewayProgram gateway({"--button-queue", "/doorbell"});
    EXPECT_TRUE(gateway->AwaitLine("No programming button: cannot open /doorbell: No such file or directory"));
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    const MadeQueue button("/doorbell", 6, 1);
    button.Put({0});
    EXPECT_EQ(user.Receive(), "02 ba 00");
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayQueues, ServeOneGatewayOnly)
{
    const Queues queues;
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    const TemporaryDirectory directory;
    const auto outcome = RunGateway(directory.File("another"));
    EXPECT_EQ(outcome.status, 9);
    EXPECT_THAT(outcome.lines, ElementsAre("orvel-gateway: another gateway reads /cemiFromLL"));
    EXPECT_EQ(user.Receive(), Usable); // the first one goes on
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayQueues, ThatNobodyReadsLeadToRefusalsInTime)
{
    const Queues queues;
    GatewayProgram gateway({"--confirm-timeout", "0.3"});
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    for (int i = 0; i < 30; ++i) // more than the queue holds
    {
        user.Send(Request);
    }
    for (int i = 0; i < 30; ++i)
    {
        EXPECT_EQ(user.Receive(), NotSent);
    }
    EXPECT_EQ(queues.toLink.Take(), AsMessage(Request));
    EXPECT_TRUE(gateway->AwaitLine(" of program " + std::to_string(getpid())));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayQueues, ThatAreFullTakeTheRestInOrderLater)
{
    const Queues queues;
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    const auto frame = [](int number) {
        return "fc 00 0b 01 33 10 " + Knx::ToHex({static_cast<uint8_t>(number >> 8), static_cast<uint8_t>(number)});
    };
    constexpr int count = 200; // fewer than have room on their way
    for (int i = 0; i < count; ++i)
    {
        user.Send(frame(i));
    }
    EXPECT_TRUE(Await([&] { return queues.toLink.Waiting() == 14; }));
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i)
    {
        EXPECT_TRUE(Await([&] { return queues.toLink.Waiting() > 0; }));
        EXPECT_EQ(queues.toLink.Take(), AsMessage(frame(i)));
    }
    // As soon as there is room, and not once in a second, which would take 13 s.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(8));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayQueues, ThatWereReplacedAreNoticedBeforeARequestGoesIntoTheOldOne)
{
    std::optional<Queues> queues;
    queues.emplace();
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    queues.reset();
    queues.emplace();
    user.Send(Request);
    // Refused because the old daemon has gone, or taken by the new one: never lost.
    std::vector<std::string> received;
    EXPECT_TRUE(Await(
        [&]
        {
            const auto message = user.ReceiveNow();
            received.push_back(message);
            return message == Usable;
        }));
    EXPECT_THAT(received, Contains(Lost));
    const bool isRefused = std::count(received.begin(), received.end(), NotSent) == 1;
    EXPECT_EQ(queues->toLink.Take(), isRefused ? "nothing" : AsMessage(Request));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewaySocket, IsForItsOwnerAndGroupAndGoesWithTheGateway)
{
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    struct stat status = {};
    EXPECT_EQ(stat(gateway.Socket().c_str(), &status), 0);
    EXPECT_TRUE(S_ISSOCK(status.st_mode));
    EXPECT_EQ(status.st_mode & 07777U, 0660U);
    gateway->Signal(SIGTERM);
    EXPECT_EQ(gateway->Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(gateway.Socket()));
    EXPECT_THAT(gateway->Lines(), Contains(HasSubstr("INFO Gateway <> - Stopped by SIGTERM")));
}

TEST(GatewaySocket, GoesWithAGatewayWhoseTerminalHasGone)
{
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    gateway->Signal(SIGHUP);
    EXPECT_EQ(gateway->Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(gateway.Socket()));
    EXPECT_THAT(gateway->Lines(), Contains(HasSubstr("INFO Gateway <> - Stopped by SIGHUP")));
}

TEST(GatewaySocket, OfAnotherGatewayIsNotReplaced)
{
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    const auto outcome = RunGateway(gateway.Socket());
    EXPECT_EQ(outcome.status, 9);
    EXPECT_THAT(outcome.lines, ElementsAre("orvel-gateway: another program serves " + gateway.Socket()));
    const GatewayUser next(gateway.Socket());
    EXPECT_EQ(next.Receive(), Lost);
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewaySocket, OfAGatewayThatWasKilledIsReplaced)
{
    const TemporaryDirectory directory;
    const auto path = directory.File("socket");
    Daemon killed(GatewayProgram::Command(path, {}), {});
    EXPECT_EQ(GatewayUser(path).Receive(), Lost);
    killed.Signal(SIGKILL);
    killed.Wait();
    EXPECT_TRUE(std::filesystem::exists(path));
    Daemon gateway(GatewayProgram::Command(path, {}), {});
    EXPECT_EQ(GatewayUser(path).Receive(), Lost);
    EXPECT_EQ(gateway.Stop(), 0);
}

TEST(GatewaySocket, IsNotMadeInPlaceOfAFile)
{
    const TemporaryDirectory directory;
    const auto path = directory.File("file");
    std::ofstream(path) << "text";
    const auto outcome = RunGateway(path);
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.lines, ElementsAre("orvel-gateway: " + path + " is there already, and is no socket"));
    EXPECT_TRUE(std::filesystem::is_regular_file(path));
}

TEST(GatewaySocket, OfAnotherUserIsNotTakenForServed)
{
    const TemporaryDirectory directory;
    const auto path = directory.File("socket");
    {
        const System::Descriptor dead = MakeUnixSocket();
        const sockaddr_un address = UnixAddress(path);
        ASSERT_EQ(bind(dead.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    std::filesystem::permissions(path, std::filesystem::perms::none);
    Outcome outcome{};
    WithoutCapability(CAP_DAC_OVERRIDE, [&] { outcome = RunGateway(path); });
    EXPECT_EQ(outcome.status, 6);
    EXPECT_THAT(outcome.lines, ElementsAre("orvel-gateway: cannot tell whether another program serves " + path +
                                           ": Permission denied"));
}

TEST(GatewaySocket, NeedsADirectoryAndAPathThatFits)
{
    auto outcome = RunGateway("/nowhere/gateway");
    EXPECT_EQ(outcome.status, 5);
    EXPECT_THAT(outcome.lines,
                ElementsAre("orvel-gateway: cannot make the socket /nowhere/gateway: No such file or directory"));
    outcome = RunGateway("/tmp/" + std::string(120, 'x'));
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.lines, ElementsAre(HasSubstr("--socket takes a path of 1 to 107 bytes")));
}

TEST(GatewaySocket, InADirectoryWithoutTheRightToWriteEndsTheStart)
{
    const TemporaryDirectory directory;
    std::filesystem::permissions(directory.File("."), std::filesystem::perms(0555));
    Outcome outcome{};
    WithoutCapability(CAP_DAC_OVERRIDE, [&] { outcome = RunGateway(directory.File("socket")); });
    EXPECT_EQ(outcome.status, 6);
    EXPECT_THAT(outcome.lines, ElementsAre("orvel-gateway: cannot make the socket " + directory.File("socket") +
                                           ": Permission denied"));
}

TEST(GatewayAddresses, OutOfFormEndTheStart)
{
    const std::vector<std::pair<std::vector<std::string>, std::string>> rejected{
        {{"--knxip", ""}, "--knxip: '' is no name of a network interface"},
        {{"--knxip", "lo/10.1.2.3"}, "--knxip: '10.1.2.3' is no IPv4 multicast group, 224.0.0.0 to 239.255.255.255"},
        {{"--knxip", "lo", "--from-ip", "1/2/256"}, "--from-ip: '1/2/256' is no group address: 256 should be 0 to 255"},
        {{"--knxip", "lo", "--to-ip", "lamp"},
         "--to-ip: 'lamp' is no group address or pattern such as 1/2/3, 1/2/* or 1/2/0-9"}};
    const TemporaryDirectory directory;
    for (const auto& [options, line] : rejected)
    {
        const auto outcome = RunGateway(directory.File("socket"), options);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.lines, ElementsAre("orvel-gateway: " + line));
        EXPECT_FALSE(std::filesystem::exists(directory.File("socket")));
    }
}

TEST(GatewaySocket, IsTakenFromTheServiceManager)
{
    const TemporaryDirectory directory;
    const auto path = directory.File("socket");
    const sockaddr_un address = UnixAddress(path);
    const System::Descriptor listening = MakeUnixSocket();
    ASSERT_EQ(bind(listening.Number(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listening.Number(), 5), 0);
    Daemon gateway(
        {"sh", "-c",
         "exec 3<&0 </dev/null; LISTEN_PID=$$ LISTEN_FDS=1 exec " + Paths::Gateway() + " --socket /nowhere/gateway"},
        {}, listening.Number());
    EXPECT_EQ(GatewayUser(path).Receive(), Lost);
    EXPECT_EQ(gateway.Stop(), 0);
    EXPECT_TRUE(std::filesystem::exists(path)); // it belongs to the service manager
}

TEST(GatewaySocket, FromTheServiceManagerMustBeOne)
{
    Daemon gateway({"sh", "-c", "exec 3</dev/null; LISTEN_PID=$$ LISTEN_FDS=1 exec " + Paths::Gateway()}, {});
    EXPECT_EQ(gateway.Wait(), 1);
    EXPECT_THAT(gateway.Lines(), ElementsAre("orvel-gateway: what was passed to listen on is not one socket with "
                                             "ListenSequentialPacket="));
}

TEST(GatewayPrograms, AreRefusedBeyondThoseThatMayBe)
{
    GatewayProgram gateway({"--clients", "2"});
    GatewayUser one(gateway.Socket());
    const GatewayUser two(gateway.Socket());
    EXPECT_EQ(one.Receive(), Lost);
    EXPECT_EQ(two.Receive(), Lost);
    EXPECT_EQ(GatewayUser(gateway.Socket()).Receive(), "end");
    EXPECT_TRUE(gateway->AwaitLine("WARN Gateway <> - 1 program refused: as many as may be are connected"));
    one.Close();
    EXPECT_TRUE(Await([&] { return GatewayUser(gateway.Socket()).Receive() == Lost; }));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayPrograms, ThatSendGarbageAreServedOn)
{
    const Queues queues;
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    user.SendPacket("");
    user.SendPacket("00");
    user.SendPacket("ff 11");
    user.SendPacket("03 11 00 bc");
    user.SendPacket(Knx::ToHex(Knx::Bytes(600)));
    user.SendPacket("");
    user.Send(Request);
    EXPECT_TRUE(Await([&] { return queues.toLink.Waiting() == 1; }));
    EXPECT_EQ(queues.toLink.Take(), AsMessage(Request));
    EXPECT_TRUE(gateway->AwaitLine(" from program " + std::to_string(getpid())));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayPrograms, ThatComeAndGoWithGarbageDoNotFillTheLog)
{
    GatewayProgram gateway;
    for (int i = 0; i < 200; ++i)
    {
        GatewayUser user(gateway.Socket());
        user.SendPacket("00");
    }
    EXPECT_TRUE(gateway->AwaitLine(" from program "));
    EXPECT_EQ(gateway->Stop(), 0);
    const auto lines = gateway->LogLines();
    EXPECT_LT(std::count_if(lines.begin(), lines.end(),
                            [](const auto& line) { return line.find(" from program ") != std::string::npos; }),
              50); // even if the test takes many seconds
}

TEST(GatewayPrograms, CannotFillTheGatewayWithDescriptors)
{
    const Queues queues;
    GatewayProgram gateway;
    const GatewayUser user(gateway.Socket());
    EXPECT_EQ(user.Receive(), Usable);
    const auto open = [&]
    {
        const std::filesystem::directory_iterator all(DirectoryOf(gateway->Id()) / "fd");
        return std::distance(begin(all), end(all));
    };
    const auto before = open();
    const auto bytes = Knx::FromHex(AsMessage(Request));
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    iovec part{const_cast<uint8_t*>(bytes.data()), bytes.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    const int passed = user.Descriptor();
    std::copy_n(reinterpret_cast<const unsigned char*>(&passed), sizeof passed, CMSG_DATA(header));
    for (int i = 0; i < 5; ++i)
    {
        EXPECT_GT(sendmsg(user.Descriptor(), &message, 0), 0);
    }
    EXPECT_TRUE(Await([&] { return queues.toLink.Waiting() == 5; }));
    EXPECT_EQ(open(), before);
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayPrograms, ThatDoNotReadAreToldWhatTheyHaveMissed)
{
    const Queues queues;
    GatewayProgram gateway;
    const GatewayUser reader(gateway.Socket());
    const GatewayUser sleeper(gateway.Socket());
    EXPECT_EQ(reader.Receive(), Usable);
    const int count = 1700;
    for (int i = 0; i < count; ++i)
    {
        queues.fromLink.PutFrame(SwitchOn);
        ASSERT_EQ(reader.Receive(), AsMessage(SwitchOn)) << i; // slowed down by nobody
    }
    EXPECT_EQ(sleeper.Receive(), Usable);
    int received = 0;
    std::string message;
    while ((message = sleeper.Receive()) == AsMessage(SwitchOn))
    {
        ++received;
    }
    const auto lost = Knx::FromHex(message);
    ASSERT_EQ(message.substr(0, 5), "03 bb");
    EXPECT_EQ(received + (lost[2] << 8U | lost[3]), count);
    EXPECT_GE(received, 1024);
    EXPECT_TRUE(gateway->AwaitLine("lost for program " + std::to_string(getpid())));
    queues.fromLink.PutFrame(SwitchOn);
    EXPECT_EQ(sleeper.Receive(), AsMessage(SwitchOn));
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayPrograms, NeedLittleMemoryUnlessTheyFallBehind)
{
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer keeps four times as much beside the memory that is used";
#endif
    const Queues queues;
    GatewayProgram gateway;
    const auto used = [&] { return std::stol(StatusOf(gateway->Id(), "RssAnon")); }; // kB
    EXPECT_EQ(GatewayUser(gateway.Socket()).Receive(), Usable);
    const long before = used();
    std::list<GatewayUser> users;
    for (int i = 0; i < 32; ++i)
    {
        users.emplace_back(gateway.Socket());
        EXPECT_EQ(users.back().Receive(), Usable);
    }
    for (int i = 0; i < 20; ++i)
    {
        queues.fromLink.PutFrame(SwitchOn);
        EXPECT_TRUE(std::all_of(users.begin(), users.end(),
                                [](const auto& user) { return user.Receive() == AsMessage(SwitchOn); }));
    }
    EXPECT_GT(before, 0);
    EXPECT_LT(used() - before, 4000); // all of their buffers would be 9,600
    EXPECT_EQ(gateway->Stop(), 0);
}

TEST(GatewayPrograms, AreServedInTurn)
{
    const Queues queues;
    GatewayProgram gateway;
    const GatewayUser flooder(gateway.Socket());
    const GatewayUser other(gateway.Socket());
    EXPECT_EQ(flooder.Receive(), Usable);
    EXPECT_EQ(other.Receive(), Usable);
    for (int i = 0; i < 100; ++i)
    {
        flooder.Send(Request);
    }
    EXPECT_TRUE(Await([&] { return queues.toLink.Waiting() == 8; }));
    other.Send("11 00 bc e0 00 00 0a 04 01 00 81");
    int before = 0;
    std::string message;
    EXPECT_TRUE(Await(
        [&]
        {
            message = queues.toLink.Take();
            if (message == AsMessage(Request))
            {
                ++before;
                queues.fromLink.PutFrame("2e" + Request.substr(2));
            }
            return message == AsMessage("11 00 bc e0 00 00 0a 04 01 00 81");
        }));
    EXPECT_LE(before, 20);
    EXPECT_EQ(gateway->Stop(), 0);
}

} // namespace
