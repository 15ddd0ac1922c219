// What tests of many units share.
#pragma once

#include <cstdint>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <utility>
#include <vector>

namespace test {

template <auto kRelease>
struct releaser_of {
    void operator()(auto* object) const { kRelease(object); }
};

// Owns what is given to functions as a pointer.
template <class T, class Releaser>
struct handle : std::unique_ptr<T, Releaser> {
    using std::unique_ptr<T, Releaser>::unique_ptr;
    operator T*() const { return this->get(); }
};
template <class T, auto kRelease>
using owned = handle<T, releaser_of<kRelease>>;

// Codes and what they should be.
inline void expect_codes(const std::vector<std::pair<std::uint32_t, std::uint32_t>>& rows)
{
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].first, rows[i].second) << "row " << i << std::hex << ": " << rows[i].first;
}

struct code_case {
    const char* what;
    std::uint32_t code, expected;
};

inline void expect_codes(std::initializer_list<code_case> cases)
{
    for (const code_case& c : cases)
        EXPECT_EQ(c.code, c.expected) << c.what << std::hex << ": " << c.code << ", not " << c.expected;
}

} // namespace test
