// The exported functions of HAS-160 (TTAS.KO-12.0011/R2).
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "digest/has160_blocks.hpp"
#include "kestrim_crypto.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_HAS160_STATE) == 92);

constexpr std::array<std::uint32_t, 5> kHas160Initial{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

constexpr std::size_t kBlockBytes = sizeof ZRC_HAS160_STATE{}.buffer;
constexpr std::size_t kLengthAt = kBlockBytes - 8;

std::size_t buffered_bytes(const ZRC_HAS160_STATE& state) noexcept
{
    return state.bit_count_low / 8 % kBlockBytes;
}

void count_bits(ZRC_HAS160_STATE& state, std::uint32_t bytes) noexcept
{
    // No carry passes from the low into the high word: wanted, see the public header.
    state.bit_count_low += bytes << 3;
    state.bit_count_high += bytes >> 29;
}

void absorb(ZRC_HAS160_STATE& state, byte_span data) noexcept
{
    const std::size_t buffered = buffered_bytes(state);
    count_bits(state, std::uint32_t(data.size()));

    const std::size_t room = kBlockBytes - buffered;
    if (buffered != 0) {
        const std::size_t taken = std::min(room, data.size());
        std::memcpy(state.buffer + buffered, data.data(), taken);
        if (taken < room) return;
        has160_blocks(state.h, state.buffer);
        data = data.subspan(taken);
    }
    const std::size_t whole = data.size() - data.size() % kBlockBytes;
    has160_blocks(state.h, data.first(whole));
    data = data.subspan(whole);
    if (!data.empty()) std::memcpy(state.buffer, data.data(), data.size());
}

// 0x80, zeros, and the bit count at the end of a block.
void pad(ZRC_HAS160_STATE& state) noexcept
{
    std::size_t used = buffered_bytes(state);
    state.buffer[used++] = 0x80;
    if (used > kLengthAt) {
        std::memset(state.buffer + used, 0, kBlockBytes - used);
        has160_blocks(state.h, state.buffer);
        used = 0;
    }
    std::memset(state.buffer + used, 0, kLengthAt - used);
    store_le32(state.buffer + kLengthAt, state.bit_count_low);
    store_le32(state.buffer + kLengthAt + 4, state.bit_count_high);
    has160_blocks(state.h, state.buffer);
}

} // namespace
} // namespace zrc

std::uint32_t zrc_Init_HAS160(ZRC_HAS160_STATE* state)
{
    if (!state) return zrc::code(ZRC_L_HAS160, ZRC_F_INIT_HAS160, ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    *state = {};
    std::copy(zrc::kHas160Initial.begin(), zrc::kHas160Initial.end(), state->h);
    return 0;
}

// Unlike the SHA family, HAS-160 refuses an empty update, and looks at the length before it looks at the data
// pointer.
std::uint32_t zrc_Update_HAS160(ZRC_HAS160_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_HAS160, ZRC_F_UPDATE_HAS160, reason); };

    if (!state) return fail(ZRC_ERR_NULL_INPUT);
    if (length == 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (!data) return fail(ZRC_ERR_NULL_INPUT);
    zrc::absorb(*state, {data, length});
    return 0;
}

std::uint32_t zrc_Final_HAS160(ZRC_HAS160_STATE* state, std::uint8_t* output)
{
    if (!state || !output) return zrc::code(ZRC_L_HAS160, ZRC_F_FINAL_HAS160, ZRC_ERR_NULL_INPUT);
    zrc::pad(*state);
    for (std::size_t i = 0; i < 5; ++i)
        zrc::store_le32(output + 4 * i, state->h[i]);
    return 0;
}

// The compression has no function number of its own and reports under that of update.
std::uint32_t comp_HAS160(ZRC_HAS160_STATE* state, const std::uint8_t* block)
{
    if (!state || !block) return zrc::code(ZRC_L_HAS160, ZRC_F_UPDATE_HAS160, ZRC_ERR_NULL_INPUT);
    zrc::has160_blocks(state->h, {block, zrc::kBlockBytes});
    return 0;
}
