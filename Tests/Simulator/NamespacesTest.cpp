// What the namespaces of the test program, which are those of a board, have.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

namespace
{

TEST(Namespaces, AQueueMayHaveAsManyMessagesAsThePackageAllows)
{
    const std::string setting = "fs.mqueue.msg_max = ";
    std::string packaged = "none";
    std::ifstream file(SYSCTL_FILE);
    for (std::string line; std::getline(file, line);)
    {
        packaged = line.rfind(setting, 0) == 0 ? line.substr(setting.size()) : packaged;
    }
    std::string limit;
    std::ifstream("/proc/sys/fs/mqueue/msg_max") >> limit;
    EXPECT_EQ(limit, packaged);
}

} // namespace
