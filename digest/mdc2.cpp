// The exported functions of MDC-2 (ISO/IEC 10118-2, with DES) and its compression.
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "digest/mdc2_des.hpp"
#include "kestrim_crypto.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_MDC2_STATE) == 32);

constexpr std::size_t kBlockBytes = sizeof ZRC_MDC2_STATE{}.buffer;
constexpr std::uint32_t kPadWithOneBit = 2; // any other pad type: zero bytes only

// The standard gives each byte of a key odd parity. DES does not read the bits that this changes, so the compression
// leaves the step out.
consteval bool parity_never_reaches_des()
{
    for (unsigned value = 0; value < 256; ++value)
        if ((MDC2_DES_OddParityBit_Array[value] ^ value) > 1) return false;
    return std::all_of(fips46::kPermutedChoice1.begin(), fips46::kPermutedChoice1.end(),
                       [](std::uint8_t bit) { return bit % 8 != 0; });
}
static_assert(parity_never_reaches_des());

// The second and third bit of a key's first byte: the ends of columns 2 and 3 of the permuted block.
constexpr std::uint32_t kSecondBitInLeft = 0x01000000;
constexpr std::uint32_t kThirdBitInRight = 0x00010000;

// The last four bytes of a block: the upper half of every column.
constexpr std::uint32_t kRightHalf = 0xF0F0F0F0;

// The two chains between blocks, and the round keys made of them.
struct chains {
    mdc2_des::permuted_block h;
    mdc2_des::permuted_block hh;
    std::array<ZRC_MDC2_DES_KEY, 2> round_keys;
};

void compress_block(chains& chain, mdc2_des::permuted_block message) noexcept
{
    // The chains always differ in these two bits, 10 and 01, so that their keys do.
    chain.h.left |= kSecondBitInLeft;
    chain.h.right &= ~kThirdBitInRight;
    chain.hh.left &= ~kSecondBitInLeft;
    chain.hh.right |= kThirdBitInRight;
    mdc2_des::expand_key(chain.h, chain.round_keys[0]);
    mdc2_des::expand_key(chain.hh, chain.round_keys[1]);

    auto [c, d] = mdc2_des::encrypt(message, std::span<const ZRC_MDC2_DES_KEY, 2>{chain.round_keys});
    mdc2_des::exchange_bits(c.left, d.left, 0, kRightHalf);
    mdc2_des::exchange_bits(c.right, d.right, 0, kRightHalf);
    chain.h = {message.left ^ c.left, message.right ^ c.right};
    chain.hh = {message.left ^ d.left, message.right ^ d.right};
}

// Absorbs the whole blocks of `data`.
void compress(ZRC_MDC2_STATE& state, byte_span data) noexcept
{
    secret<chains> chain;
    chain->h = mdc2_des::load_permuted(state.h);
    chain->hh = mdc2_des::load_permuted(state.hh);
    for (; data.size() >= kBlockBytes; data = data.subspan(kBlockBytes))
        compress_block(*chain, mdc2_des::load_permuted(data.data()));
    mdc2_des::store_unpermuted(state.h, chain->h);
    mdc2_des::store_unpermuted(state.hh, chain->hh);
}

void absorb(ZRC_MDC2_STATE& state, byte_span data) noexcept
{
    if (state.buffer_count != 0) {
        const std::size_t taken = std::min(kBlockBytes - state.buffer_count, data.size());
        std::memcpy(state.buffer + state.buffer_count, data.data(), taken);
        state.buffer_count += std::uint32_t(taken);
        if (state.buffer_count < kBlockBytes) return;
        compress(state, state.buffer);
        data = data.subspan(taken);
    }
    const std::size_t rest = data.size() % kBlockBytes;
    if (data.size() != rest) compress(state, data.first(data.size() - rest));
    if (rest != 0) std::memcpy(state.buffer, data.last(rest).data(), rest);
    state.buffer_count = std::uint32_t(rest);
}

// No length is appended, and with zero padding nothing at all to a message of whole blocks.
void pad(ZRC_MDC2_STATE& state) noexcept
{
    std::size_t used = state.buffer_count;
    if (state.pad_type == kPadWithOneBit) state.buffer[used++] = 0x80;
    if (used == 0) return;
    std::memset(state.buffer + used, 0, kBlockBytes - used);
    compress(state, state.buffer);
}

} // namespace
} // namespace zrc

// Proven mode is looked at first, even before the argument.
std::uint32_t zrc_Init_MDC2(ZRC_MDC2_STATE* state)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_MDC2, ZRC_F_INIT_MDC2, reason); };

    if (ZRC_Is_Proven() == 1) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!state) return fail(ZRC_ERR_NULL_INPUT);
    *state = {};
    std::memset(state->h, 0x52, sizeof state->h);
    std::memset(state->hh, 0x25, sizeof state->hh);
    state->pad_type = 1;
    return 0;
}

std::uint32_t zrc_Update_MDC2(ZRC_MDC2_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_MDC2, ZRC_F_UPDATE_MDC2, reason); };

    if (!state) return fail(ZRC_ERR_NULL_INPUT);
    if (state->buffer_count >= zrc::kBlockBytes) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    if (length == 0) return 0;
    if (!data) return fail(ZRC_ERR_NULL_INPUT);
    zrc::absorb(*state, {data, length});
    return 0;
}

std::uint32_t zrc_Final_MDC2(ZRC_MDC2_STATE* state, std::uint8_t* output)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_MDC2, ZRC_F_FINAL_MDC2, reason); };

    if (!state || !output) return fail(ZRC_ERR_NULL_INPUT);
    const std::size_t padding_at_least = state->pad_type == zrc::kPadWithOneBit ? 1 : 0;
    if (state->buffer_count > zrc::kBlockBytes - padding_at_least) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    zrc::pad(*state);
    std::memcpy(output, state->h, sizeof state->h);
    std::memcpy(output + sizeof state->h, state->hh, sizeof state->hh);
    return 0;
}

// The compression has no function number of its own and reports under that of update.
std::uint32_t mdc2_comp(ZRC_MDC2_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    if (!state || (!data && length != 0)) return zrc::code(ZRC_L_MDC2, ZRC_F_UPDATE_MDC2, ZRC_ERR_NULL_INPUT);
    zrc::compress(*state, {data, length});
    return 0;
}
