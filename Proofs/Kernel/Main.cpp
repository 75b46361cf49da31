// The main function of the tests on a real kernel. The virtual machine gives them all isolation that they need.

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
