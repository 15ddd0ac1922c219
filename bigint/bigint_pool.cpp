// The pool of temporaries: blocks of eight BIGINTs that keep their arrays, handed out in order, taken back by frames.
#include "core/error.hpp"
#include "kestrim/bigint.h"
#include "kestrim/memory.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace zrc {
namespace {

constexpr std::int32_t kBlockBigints = std::size(ZRC_BIGINT_POOL_BLOCK{}.bigint);
constexpr std::int32_t kMostFrames = std::size(ZRC_BIGINT_POOL{}.frame_count);

static_assert(sizeof(void*) != 8 || sizeof(ZRC_BIGINT_POOL_BLOCK) == 208);
static_assert(sizeof(void*) != 8 || sizeof(ZRC_BIGINT_POOL) == 360);
static_assert(sizeof(void*) != 8 || offsetof(ZRC_BIGINT_POOL, frame_count) == 32);
static_assert(sizeof(void*) != 8 || offsetof(ZRC_BIGINT_POOL, depth) == 352);

// Blocks that the first `count` temporaries lie in.
constexpr std::int32_t blocks_for(std::int32_t count) noexcept
{
    return (count + kBlockBigints - 1) / kBlockBigints;
}

// A cleared pool keeps its counters, and its tail points at a block that is gone.
bool is_cleared(const ZRC_BIGINT_POOL& pool) noexcept
{
    return !pool.head && pool.capacity != 0;
}

bool append_block(ZRC_BIGINT_POOL& pool) noexcept
{
    auto* block = static_cast<ZRC_BIGINT_POOL_BLOCK*>(ZRC_Malloc(sizeof(ZRC_BIGINT_POOL_BLOCK)));
    if (!block) return false;
    for (ZRC_BIGINT& bn : block->bigint) {
        bn.flags = ZRC_BIGINT_ALLOCATED; // with any flag set, Init zeroes the raw memory
        ZRC_Init_BIGINT(&bn);
    }
    block->prev = pool.tail;
    block->next = nullptr;
    (pool.tail ? pool.tail->next : pool.head) = block;
    pool.tail = block;
    pool.capacity += kBlockBigints;
    return true;
}

// Makes `current` the block that temporary number `used` lies in.
bool advance(ZRC_BIGINT_POOL& pool) noexcept
{
    if (is_cleared(pool)) return false;
    if (pool.used == pool.capacity) {
        if (!append_block(pool)) return false;
        pool.current = pool.tail;
    } else if (pool.used == 0) {
        pool.current = pool.head;
    } else if (pool.used % kBlockBigints == 0) {
        pool.current = pool.current->next;
    }
    return true;
}

} // namespace
} // namespace zrc

ZRC_BIGINT_POOL* ZRC_New_BIGINT_Pool()
{
    auto* pool = static_cast<ZRC_BIGINT_POOL*>(ZRC_Malloc(sizeof(ZRC_BIGINT_POOL)));
    zrc_Init_BIGINT_Pool(pool);
    return pool;
}

std::uint32_t zrc_Init_BIGINT_Pool(ZRC_BIGINT_POOL* pool)
{
    if (!pool) return 1;
    *pool = {};
    pool->depth = -1;
    return 0;
}

std::uint32_t ZRC_Start_BIGINT_Pool(ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_START_BIGINT_POOL, reason); };

    if (!pool) return fail(ZRC_ERR_NULL_INPUT);
    if (pool->depth >= zrc::kMostFrames - 1) return fail(ZRC_ERR_START_BIGINT_POOL_FAIL);
    ++pool->depth;
    pool->frame_count[pool->depth] = 0;
    return 0;
}

ZRC_BIGINT* ZRC_Get_BIGINT_Pool(ZRC_BIGINT_POOL* pool)
{
    if (!pool || !zrc::advance(*pool)) return nullptr;
    ZRC_BIGINT* bn = &pool->current->bigint[pool->used % zrc::kBlockBigints];
    ++pool->used;
    if (bn->data) ZRC_Set_BIGINT_Word(bn, 0); // has room: cannot fail
    if (pool->depth >= 0) ++pool->frame_count[pool->depth];
    return bn;
}

std::uint32_t ZRC_Finish_BIGINT_Pool(ZRC_BIGINT_POOL* pool)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_FINISH_BIGINT_POOL, reason); };

    if (!pool) return fail(ZRC_ERR_NULL_INPUT);
    if (pool->depth < 0) return fail(ZRC_ERR_INVALID_INPUT);
    const std::uint32_t failed = zrc_Release_BIGINT_POOL(pool, pool->frame_count[pool->depth]);
    pool->frame_count[pool->depth] = 0;
    --pool->depth;
    return failed;
}

std::uint32_t zrc_Release_BIGINT_POOL(ZRC_BIGINT_POOL* pool, std::uint32_t count)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_RELEASE_BIGINT_POOL, reason); };

    if (!pool) return fail(ZRC_ERR_NULL_INPUT);
    if (count > std::uint32_t(pool->used)) return fail(ZRC_ERR_INVALID_INPUT);
    const std::int32_t left = pool->used - std::int32_t(count);
    // Null when none is left, which Get expects; a cleared pool has no blocks to step through.
    for (std::int32_t steps = zrc::blocks_for(pool->used) - zrc::blocks_for(left); steps > 0 && pool->current; --steps)
        pool->current = pool->current->prev;
    pool->used = left;
    return 0;
}

std::uint32_t ZRC_Clear_BIGINT_Pool(ZRC_BIGINT_POOL* pool)
{
    if (!pool) return zrc::code(ZRC_L_BIGINT, ZRC_F_CLEAR_BIGINT_POOL, ZRC_ERR_NULL_INPUT);
    while (pool->head) {
        ZRC_BIGINT_POOL_BLOCK* block = pool->head;
        pool->head = block->next;
        for (ZRC_BIGINT& bn : block->bigint)
            ZRC_Clear_BIGINT(&bn);
        ZRC_Free(block);
    }
    pool->current = nullptr;
    return 0;
}

std::uint32_t ZRC_Free_BIGINT_Pool(ZRC_BIGINT_POOL* pool)
{
    if (!pool) return zrc::code(ZRC_L_BIGINT, ZRC_F_FREE_BIGINT_POOL, ZRC_ERR_NULL_INPUT);
    ZRC_Clear_BIGINT_Pool(pool);
    ZRC_Free(pool);
    return 0;
}
