// The exported functions of the SHA family (FIPS 180-4).
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "digest/md_engine.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"
#include "kestrim_crypto.h"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_SHA1_STATE) == 164);
static_assert(sizeof(ZRC_SHA256_STATE) == 176);
static_assert(sizeof(ZRC_SHA512_STATE) == 336);

struct sha1 {
    using state = ZRC_SHA1_STATE;
    static constexpr std::size_t length_bytes = 8;
    static constexpr std::endian length_order = std::endian::big;

    static void compress(state& s, byte_span blocks) noexcept { sha1_kernels.get()(std::span{s.h}, blocks); }
};

struct sha256 {
    using state = ZRC_SHA256_STATE;
    static constexpr std::size_t length_bytes = 8;
    static constexpr std::endian length_order = std::endian::big;

    static void compress(state& s, byte_span blocks) noexcept { sha256_kernels.get()(std::span{s.h}, blocks); }
};

// The record keeps each 64-bit word as two 32-bit words, low half first: its offset, 12, suits no 64-bit member.
struct sha512 {
    using state = ZRC_SHA512_STATE;
    static constexpr std::size_t length_bytes = 16;
    static constexpr std::endian length_order = std::endian::big;

    static void compress(state& s, byte_span blocks) noexcept
    {
        secret_array<std::uint64_t, 8> h;
        for (std::size_t i = 0; i < 8; ++i)
            h[i] = std::uint64_t{s.h[2 * i + 1]} << 32 | s.h[2 * i];
        sha512_kernels.get()(h.span(), blocks);
        set_chaining_value(s, h.span());
    }

    static void set_chaining_value(state& s, std::span<const std::uint64_t, 8> h) noexcept
    {
        for (std::size_t i = 0; i < 8; ++i) {
            s.h[2 * i] = std::uint32_t(h[i]);
            s.h[2 * i + 1] = std::uint32_t(h[i] >> 32);
        }
    }
};

void write_words(const ZRC_SHA1_STATE& s, std::uint8_t* output) noexcept
{
    for (std::size_t i = 0; i < 5; ++i)
        store_be32(output + 4 * i, s.h[i]);
}

void write_words(const ZRC_SHA256_STATE& s, std::uint8_t* output) noexcept
{
    for (std::size_t i = 0; i < 8; ++i)
        store_be32(output + 4 * i, s.h[i]);
}

void write_words(const ZRC_SHA512_STATE& s, std::uint8_t* output) noexcept
{
    for (std::size_t i = 0; i < 8; ++i) {
        store_be32(output + 8 * i, s.h[2 * i + 1]);
        store_be32(output + 8 * i + 4, s.h[2 * i]);
    }
}

template <std::size_t N>
void start(auto& state, const std::array<std::uint32_t, N>& initial) noexcept
{
    state = {};
    std::copy(initial.begin(), initial.end(), state.h);
}

void start(ZRC_SHA512_STATE& state, const std::array<std::uint64_t, 8>& initial) noexcept
{
    state = {};
    sha512::set_chaining_value(state, initial);
}

// Init passes the gate before it looks at its argument.
template <class State>
std::uint32_t init(State* state, const auto& initial, std::uint32_t function) noexcept
{
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!state) return code(ZRC_L_SHA, function, ZRC_ERR_NULL_INPUT);
    start(*state, initial);
    return 0;
}

// SHA-224 and SHA-384 are the wider digest cut short, through its own final.
template <std::size_t Wide, std::size_t Narrow>
std::uint32_t final_cut(auto* state, std::uint8_t* output, auto wide_final) noexcept
{
    secret_array<std::uint8_t, Wide> digest;
    const std::uint32_t failed = wide_final(state, digest.data());
    if (failed == 0) std::memcpy(output, digest.data(), Narrow);
    return failed;
}

} // namespace
} // namespace zrc

using zrc::md_engine;
using zrc::md_fault;

std::uint32_t zrc_Init_SHA1(ZRC_SHA1_STATE* state)
{
    return zrc::init(state, zrc::kSha1Initial, ZRC_F_INIT_SHA1);
}
std::uint32_t zrc_Init_SHA224(ZRC_SHA256_STATE* state)
{
    return zrc::init(state, zrc::kSha224Initial, ZRC_F_INIT_SHA224);
}
std::uint32_t zrc_Init_SHA256(ZRC_SHA256_STATE* state)
{
    return zrc::init(state, zrc::kSha256Initial, ZRC_F_INIT_SHA256);
}
std::uint32_t zrc_Init_SHA384(ZRC_SHA512_STATE* state)
{
    return zrc::init(state, zrc::kSha384Initial, ZRC_F_INIT_SHA384);
}
std::uint32_t zrc_Init_SHA512(ZRC_SHA512_STATE* state)
{
    return zrc::init(state, zrc::kSha512Initial, ZRC_F_INIT_SHA512);
}

std::uint32_t zrc_Update_SHA1(ZRC_SHA1_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_UPDATE_SHA1, reason); };

    if (!state || !data) return fail(ZRC_ERR_NULL_INPUT);
    const md_fault fault = md_engine<zrc::sha1>::update(*state, {data, length});
    if (fault == md_fault::work_count) return fail(ZRC_ERR_NULL_INPUT);
    if (fault == md_fault::buffer_count) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

std::uint32_t zrc_Update_SHA224(ZRC_SHA256_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_UPDATE_SHA224, reason); };

    if (!state || !data) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc_Update_SHA256(state, data, length) != 0) return fail(ZRC_ERR_UPDATE_FAILURE);
    return 0;
}

std::uint32_t zrc_Update_SHA256(ZRC_SHA256_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_UPDATE_SHA256, reason); };

    if (!state || !data) return fail(ZRC_ERR_NULL_INPUT);
    const md_fault fault = md_engine<zrc::sha256>::update(*state, {data, length});
    if (fault == md_fault::work_count) return fail(ZRC_ERR_BUF_TOO_SMALL);
    if (fault == md_fault::buffer_count) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

std::uint32_t zrc_Update_SHA384(ZRC_SHA512_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_UPDATE_SHA384, reason); };

    if (!state || !data) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc_Update_SHA512(state, data, length) != 0) return fail(ZRC_ERR_UPDATE_FAILURE);
    return 0;
}

std::uint32_t zrc_Update_SHA512(ZRC_SHA512_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_UPDATE_SHA512, reason); };

    if (!state || !data) return fail(ZRC_ERR_NULL_INPUT);
    const md_fault fault = md_engine<zrc::sha512>::update(*state, {data, length});
    if (fault == md_fault::work_count) return fail(ZRC_ERR_NULL_INPUT);
    if (fault == md_fault::buffer_count) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    return 0;
}

std::uint32_t zrc_Final_SHA1(ZRC_SHA1_STATE* state, std::uint8_t* output)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA1, reason); };

    if (!state || !output) return fail(ZRC_ERR_NULL_INPUT);
    const md_fault fault = md_engine<zrc::sha1>::finish(*state);
    if (fault == md_fault::work_count) return fail(ZRC_ERR_BUF_TOO_SMALL);
    if (fault == md_fault::buffer_count) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    zrc::write_words(*state, output);
    return 0;
}

std::uint32_t zrc_Final_SHA224(ZRC_SHA256_STATE* state, std::uint8_t* output)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA224, reason); };

    if (!state || !output) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::final_cut<32, 28>(state, output, zrc_Final_SHA256) != 0) return fail(ZRC_ERR_FINAL_FAILURE);
    return 0;
}

std::uint32_t zrc_Final_SHA256(ZRC_SHA256_STATE* state, std::uint8_t* output)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA256, reason); };

    if (!state || !output) return fail(ZRC_ERR_NULL_INPUT);
    if (md_engine<zrc::sha256>::finish(*state) != md_fault::none) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    zrc::write_words(*state, output);
    return 0;
}

// A failed SHA-512 final is reported under SHA-512's function number: a documented oddity.
std::uint32_t zrc_Final_SHA384(ZRC_SHA512_STATE* state, std::uint8_t* output)
{
    if (!state || !output || state->work_count >= sizeof state->work_block) {
        return zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA384, ZRC_ERR_NULL_INPUT);
    }
    if (zrc::final_cut<64, 48>(state, output, zrc_Final_SHA512) != 0) {
        return zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA512, ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    return 0;
}

// What goes wrong before the padding is reported under SHA-1's function number: a documented oddity.
std::uint32_t zrc_Final_SHA512(ZRC_SHA512_STATE* state, std::uint8_t* output)
{
    const auto null_input = zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA512, ZRC_ERR_NULL_INPUT);

    if (!state || !output) return null_input;
    const md_fault fault = md_engine<zrc::sha512>::finish(*state);
    if (fault == md_fault::work_count) return null_input;
    if (fault == md_fault::buffer_count) return zrc::code(ZRC_L_SHA, ZRC_F_FINAL_SHA1, ZRC_ERR_SUB_OPERATION_FAILURE);
    zrc::write_words(*state, output);
    return 0;
}

std::uint32_t comp_SHA1(ZRC_SHA1_STATE* state, const std::uint8_t* block)
{
    if (!state || !block) return zrc::code(ZRC_L_SHA, ZRC_F_COMP_SHA1, ZRC_ERR_NULL_INPUT);
    zrc::sha1::compress(*state, {block, sizeof state->buffer});
    return 0;
}

std::uint32_t comp_SHA256(ZRC_SHA256_STATE* state, const std::uint8_t* block)
{
    if (!state || !block) return zrc::code(ZRC_L_SHA, ZRC_F_COMP_SHA256, ZRC_ERR_NULL_INPUT);
    zrc::sha256::compress(*state, {block, sizeof state->buffer});
    return 0;
}

// SHA-512's compression has no function number of its own and reports under that of its update.
std::uint32_t comp_SHA512(ZRC_SHA512_STATE* state, const std::uint8_t* block)
{
    if (!state || !block) return zrc::code(ZRC_L_SHA, ZRC_F_UPDATE_SHA512, ZRC_ERR_NULL_INPUT);
    zrc::sha512::compress(*state, {block, sizeof state->buffer});
    return 0;
}
