// Streams without memory, and what they leave behind in it.
#include "core/mempool.hpp"
#include "kestrim/stream.h"
#include "kestrim_crypto.h"
#include "tests/allocator.hpp"

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

namespace {

const std::vector<std::uint8_t> kData(20000, 0xC3);

using codes = std::vector<std::uint32_t>;

} // namespace

TEST(StreamMemory, EveryAllocationCanFail)
{
    test::allocations_until_failure = 0;
    EXPECT_EQ(ZRC_New_STREAM(), nullptr);
    test::allocations_until_failure = -1;

    ZRC_STREAM* const stream = ZRC_New_STREAM();
    EXPECT_EQ(test::codes_with_failing_allocations([&] { return ZRC_Open_Memory_STREAM(stream); }),
              (codes{0x0D02003C, 0}));
    EXPECT_EQ(ZRC_Write_STREAM(stream, kData.data(), 4000), 0u);
    test::allocations_until_failure = 2; // of the four fragments
    EXPECT_EQ(ZRC_Write_STREAM(stream, kData.data(), 16000), 0x0D05003Cu);
    test::allocations_until_failure = -1;
    EXPECT_EQ(ZRC_Get_STREAM_Length(stream), 4000) << "all or nothing";
    EXPECT_EQ(ZRC_Write_STREAM(stream, kData.data(), 1), 0x0D05003Cu) << "and not forgotten";
    EXPECT_EQ(ZRC_Clear_Memory_STREAM(stream), 0u);
    test::allocations_until_failure = 1; // one to make up for the three that were kept
    EXPECT_EQ(ZRC_Write_STREAM(stream, kData.data(), 16000), 0u);
    test::allocations_until_failure = -1;
    EXPECT_EQ(ZRC_Get_STREAM_Length(stream), 16000);
    EXPECT_EQ(ZRC_Close_STREAM(stream), 0u);
    ZRC_Free_STREAM(stream);
}

TEST(StreamMemory, NothingIsReleasedOrKeptUnwiped)
{
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0u);
    test::release_watch watch;
    for (const bool closed : {true, false}) {
        ZRC_BLOCK_CIPHER_UNIT* const unit = ZRC_New_BLOCK_CIPHER_Unit();
        ZRC_STREAM *const memory = ZRC_New_STREAM(), *const cipher = ZRC_New_STREAM(), *const null = ZRC_New_STREAM();
        EXPECT_EQ(ZRC_Init_BLOCK_CIPHER(unit, ZRC_ARIA_128 | ZRC_MODE_CBC, kData.data(), kData.data(), 1), 0u);
        EXPECT_EQ(ZRC_Open_Memory_STREAM(memory), 0u);
        EXPECT_EQ(ZRC_Open_Null_STREAM(null, ZRC_STREAM_WRITE), 0u);
        EXPECT_EQ(ZRC_Open_Cipher_STREAM(cipher, memory, unit, ZRC_STREAM_WRITE), 0u);
        EXPECT_EQ(ZRC_Write_STREAM(cipher, kData.data(), 20000), 0u);
        EXPECT_EQ(ZRC_Copy_STREAM(null, memory, nullptr), 0u);
        EXPECT_EQ(ZRC_Clear_Memory_STREAM(memory), 0u);
        EXPECT_EQ(ZRC_Write_STREAM(cipher, kData.data(), 10), 0u);
        if (closed) {
            EXPECT_EQ(ZRC_Close_STREAM(cipher), 0u);
            EXPECT_EQ(ZRC_Close_STREAM(memory), 0u);
            EXPECT_EQ(ZRC_Close_STREAM(null), 0u);
        }
        for (ZRC_STREAM* const stream : {cipher, memory, null})
            ZRC_Free_STREAM(stream);
        ZRC_Free_BLOCK_CIPHER_Unit(unit);
    }
    EXPECT_EQ(watch.live_blocks(), 0u);
    EXPECT_EQ(test::dirty_releases, 0);

    zrc::mempool pool;
    ASSERT_TRUE(pool.reserve(1));
    zrc::memfrag* const fragment = pool.take();
    std::ranges::fill(fragment->bytes, 0xC3);
    pool.give_back(fragment);
    EXPECT_EQ(pool.take(), fragment);
    EXPECT_EQ(std::ranges::count(fragment->bytes, 0), std::ptrdiff_t{zrc::memfrag::kBytes});
    pool.give_back(fragment);
}
