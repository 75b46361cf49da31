// What the namespaces of the test program, which are those of a board, have.

#include "Namespaces.h"

#include "BenchKit/Paths.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace
{

TEST(Namespaces, AQueueMayHaveAsManyMessagesAsThePackageAllows)
{
    const std::string setting = "fs.mqueue.msg_max = ";
    std::string packaged = "none";
    std::ifstream file(Paths::InSourceTree("Packaging/System/orvel.sysctl"));
    for (std::string line; std::getline(file, line);)
    {
        packaged = line.rfind(setting, 0) == 0 ? line.substr(setting.size()) : packaged;
    }
    std::string limit;
    std::ifstream("/proc/sys/fs/mqueue/msg_max") >> limit;
    EXPECT_EQ(limit, packaged);
}

// For a child process, whose exit status says what it found.
[[noreturn]] void LookIntoANewRunDirectory()
{
    Simulator::EnterNamespaces();
    const bool isEmpty = std::filesystem::is_empty("/run/orvel");
    std::ofstream("/run/orvel/gateway") << "inside";
    const bool showsTheRest = std::filesystem::exists("/run/other");
    std::exit(isEmpty && showsTheRest && std::filesystem::exists("/run/orvel/gateway") ? EXIT_SUCCESS : EXIT_FAILURE);
}

TEST(Namespaces, TheDirectoryOfTheGatewayIsNotThatOfTheSystem)
{
    std::ofstream("/run/other") << "outside";
    std::ofstream("/run/orvel/gateway.metrics") << "outside";
    EXPECT_EXIT(LookIntoANewRunDirectory(), testing::ExitedWithCode(EXIT_SUCCESS), "");
    EXPECT_FALSE(std::filesystem::exists("/run/orvel/gateway"));
    EXPECT_TRUE(std::filesystem::remove("/run/orvel/gateway.metrics"));
    EXPECT_TRUE(std::filesystem::remove("/run/other"));
}

} // namespace
