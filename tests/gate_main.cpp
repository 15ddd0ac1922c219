// Tests of what the modes and the self-test gate do: each scenario begins with a process that has made no call yet.
#include "tests/library_folder.hpp"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    test::set_library_folder();
    return RUN_ALL_TESTS();
}
