// What child processes of a test tell it.
#pragma once

#include "tests/vector_file.hpp"

#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

// What `scenario` returns in a child process; nothing when that does not end by itself.
inline bytes in_a_child(const std::function<bytes()>& scenario)
{
    int ends[2];
    if (pipe(ends) != 0) return {};
    const pid_t child = fork();
    if (child == 0) {
        const bytes result = scenario();
        _exit(write(ends[1], result.data(), result.size()) == ssize_t(result.size()) ? 0 : 1);
    }
    close(ends[1]);
    bytes result(1000);
    const ssize_t got = read(ends[0], result.data(), result.size());
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    result.resize(got > 0 && status == 0 ? std::size_t(got) : 0);
    return result;
}

inline bytes operator+(bytes a, const bytes& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// `all` in pieces of `size`, none of which occurs twice.
inline void expect_all_different(const bytes& all, std::size_t size, std::size_t count)
{
    ASSERT_EQ(all.size(), count * size);
    std::set<bytes> pieces;
    for (auto at = all.begin(); at != all.end(); at += std::ptrdiff_t(size))
        pieces.emplace(at, at + std::ptrdiff_t(size));
    EXPECT_EQ(pieces.size(), count);
}

} // namespace test
