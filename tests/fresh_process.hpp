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

inline constexpr char kProvenMode[] = "KESTRIM_TEST_PROVEN_MODE";

// Whether main() must not leave proven mode.
inline bool stays_in_proven_mode()
{
    return std::getenv(kProvenMode) != nullptr;
}

// The same in proven mode, for the programs whose main() leaves it.
template <class Scenario>
void in_a_fresh_proven_process(Scenario scenario)
{
    setenv(kProvenMode, "1", 1);
    in_a_fresh_process(scenario);
    unsetenv(kProvenMode);
}

} // namespace test
