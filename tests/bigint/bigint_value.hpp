// BIGINTs, and pools that have to be left in order, for tests.
#pragma once

#include "kestrim/bigint.h"
#include "kestrim/memory.h"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

namespace test {

// What a sanitizer slows down does this part of its cases only.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr int kShare = 10;
#elif defined(__has_feature)
inline constexpr int kShare = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ? 10 : 1;
#else
inline constexpr int kShare = 1;
#endif

struct releaser {
    void operator()(ZRC_BIGINT* bn) const { EXPECT_EQ(ZRC_Free_BIGINT(bn), 0U); }
    void operator()(ZRC_BIGINT_POOL* pool) const { EXPECT_EQ(ZRC_Free_BIGINT_Pool(pool), 0U); }
    void operator()(char* text) const { ZRC_Free(text); }
};
using bigint = std::unique_ptr<ZRC_BIGINT, releaser>;
using pool_ptr = std::unique_ptr<ZRC_BIGINT_POOL, releaser>;
using text_ptr = std::unique_ptr<char, releaser>;
using word_list = std::vector<std::uint32_t>;

// A value in an array of exactly its words, whatever they are: a sanitizer sees every step beyond it.
inline bigint of(const word_list& words)
{
    bigint bn{ZRC_New_BIGINT()};
    EXPECT_EQ(zrc_Expand_BIGINT(bn.get(), std::int32_t(words.size())), bn.get());
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
    return bigint{ZRC_Dup_BIGINT(bn.get())};
}

inline word_list words_of(const ZRC_BIGINT& bn)
{
    return {bn.data, bn.data + bn.length};
}

inline word_list words_of(const bigint& bn)
{
    return words_of(*bn);
}

// A pool for one test, in which all frames are finished.
class with_pool : public testing::Test {
protected:
    ~with_pool() override { EXPECT_TRUE(pool_->depth == -1 && pool_->used == 0) << pool_->depth << ' ' << pool_->used; }

    ZRC_BIGINT_POOL* pool() { return pool_.get(); }

private:
    pool_ptr pool_{ZRC_New_BIGINT_Pool()};
};

} // namespace test
