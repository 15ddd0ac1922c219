// The tests run in non-proven mode, where every algorithm may be used. The mode can only be left before the first
// self-test has passed, so this comes before everything else.
#include "kestrim_crypto.h"
#include "tests/fresh_process.hpp"
#include "tests/library_folder.hpp"

#include <cstdio>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    test::set_library_folder();
    if (!test::stays_in_proven_mode() && ZRC_Change_Non_Proven_Mode() != 0) {
        std::fputs("cannot leave proven mode\n", stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
