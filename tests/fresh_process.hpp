// Tests of what happens once in a process.
#pragma once

#include <cstdlib>
#include <gtest/gtest.h>

namespace test {

// Runs `scenario` in a process of its own: "threadsafe" death tests execute the program anew up to this place. A failed
// expectation in it fails the test.
template <class Scenario>
void in_a_fresh_process(Scenario scenario)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            scenario();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace test
