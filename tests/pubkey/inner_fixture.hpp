// What the tests of the public-key families from inside share: memory that fails, pools that are clean, and secrets
// that valgrind watches.
#pragma once

#include "tests/allocator.hpp"
#include "tests/pubkey/pubkey_fixture.hpp"

#include <algorithm>
#include <set>

#if __has_include(<valgrind/memcheck.h>)
#include <valgrind/memcheck.h>
#else
#define RUNNING_ON_VALGRIND 0
#define VALGRIND_COUNT_ERRORS 0UL
#define VALGRIND_MAKE_MEM_UNDEFINED(data, size) static_cast<void>(data), static_cast<void>(size)
#define VALGRIND_MAKE_MEM_DEFINED(data, size) static_cast<void>(data), static_cast<void>(size)
#endif

namespace test {

// The approved generator stays locked when an allocation of its own fails, so it is started before.
class without_memory : public testing::Test {
protected:
    void SetUp() override
    {
        std::uint8_t drawn = 0;
        ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    }

    using code_set = std::set<std::uint32_t>;

    // The codes of `operation` for each allocation that fails, and for none.
    static code_set all(auto operation)
    {
        const auto codes = codes_with_failing_allocations(operation);
        return {codes.begin(), codes.end()};
    }

    // `work` with memory, whatever is planned.
    static auto with_memory(auto work)
    {
        const int planned = std::exchange(allocations_until_failure, -1);
        auto result = work();
        allocations_until_failure = planned;
        return result;
    }
};

inline bool is_zeroed(const ZRC_BIGINT& number)
{
    return std::count(number.data, number.data + number.allocated, 0U) == number.allocated;
}

// No temporary that the pool keeps holds anything, and none is out.
inline void expect_clean(const ZRC_BIGINT_POOL& pool)
{
    EXPECT_TRUE(pool.depth == -1 && pool.used == 0);
    for (const ZRC_BIGINT_POOL_BLOCK* block = pool.head; block; block = block->next)
        EXPECT_TRUE(std::ranges::all_of(block->bigint, is_zeroed)) << "nothing stays in the pool";
}

inline bool on_valgrind()
{
    return RUNNING_ON_VALGRIND != 0;
}
inline void hide(const void* data, std::size_t size)
{
    VALGRIND_MAKE_MEM_UNDEFINED(data, size);
}
inline void reveal(const void* data, std::size_t size)
{
    VALGRIND_MAKE_MEM_DEFINED(data, size);
}
inline void hide(const ZRC_BIGINT* number)
{
    hide(number->data, 4 * std::size_t(number->length));
}
inline void reveal(const ZRC_BIGINT* number)
{
    reveal(number, sizeof *number);
    reveal(number->data, 4 * std::size_t(number->allocated));
}

// How often `work` branches on what is hidden, or takes an address from it.
unsigned long errors_of(auto work)
{
    const unsigned long before = VALGRIND_COUNT_ERRORS;
    work();
    return VALGRIND_COUNT_ERRORS - before;
}

class constant_time : public testing::Test {
protected:
    void SetUp() override
    {
        if (!on_valgrind()) GTEST_SKIP() << "not under valgrind";
    }
};

} // namespace test
