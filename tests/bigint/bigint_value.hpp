// BIGINTs, and pools that have to be left in order, for tests.
#pragma once

#include "kestrim/bigint.h"
#include "kestrim/memory.h"
#include "tests/sanitized.hpp"
#include "tests/support.hpp"

#include <algorithm>
#include <vector>

namespace test {

// What a sanitizer slows down does this part of its cases only.
inline constexpr int kShare = kSanitized ? 10 : 1;

struct releaser {
    void operator()(ZRC_BIGINT* bn) const { EXPECT_EQ(ZRC_Free_BIGINT(bn), 0U); }
    void operator()(ZRC_BIGINT_POOL* pool) const { EXPECT_EQ(ZRC_Free_BIGINT_Pool(pool), 0U); }
    void operator()(char* text) const { ZRC_Free(text); }
};

using bigint = handle<ZRC_BIGINT, releaser>;
using pool_ptr = handle<ZRC_BIGINT_POOL, releaser>;
using text_ptr = handle<char, releaser>;
using word_list = std::vector<std::uint32_t>;

// A value in an array of exactly its words, whatever they are: a sanitizer sees
// every step beyond it.
inline bigint of(const word_list& words)
{
    bigint bn{ZRC_New_BIGINT()};
    EXPECT_EQ(zrc_Expand_BIGINT(bn, std::int32_t(words.size())), bn.get());
    std::copy(words.begin(), words.end(), bn->data);
    bn->length = std::int32_t(words.size());
    return bn;
}

inline bigint of_bytes(const std::vector<std::uint8_t>& data)
{
    return bigint{ZRC_Binary_To_BIGINT(data.data(), std::int32_t(data.size()), nullptr)};
}

inline bigint copy_of(const bigint& bn)
{
    return bigint{ZRC_Dup_BIGINT(bn)};
}

inline word_list words_of(const ZRC_BIGINT& bn)
{
    return {bn.data, bn.data + bn.length};
}

inline word_list words_of(const bigint& bn)
{
    return words_of(*bn);
}

// A BIGINT over words that are not the library's: it cannot grow.
struct fixed_value {
    explicit fixed_value(const word_list& value) : words{value} {}
    operator ZRC_BIGINT*() { return &bn; }

    word_list words;
    ZRC_BIGINT bn{words.data(), std::int32_t(words.size()), std::int32_t(words.size()), ZRC_BIGINT_STATIC};
};

// A pool for one test, in which all frames are finished.
class with_pool : public testing::Test {
protected:
    ~with_pool() override { EXPECT_TRUE(pool_->depth == -1 && pool_->used == 0) << pool_->depth << ' ' << pool_->used; }

    ZRC_BIGINT_POOL* pool() { return pool_; }

private:
    pool_ptr pool_{ZRC_New_BIGINT_Pool()};
};

} // namespace test
