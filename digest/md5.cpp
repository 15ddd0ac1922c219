// The exported functions of MD5 (RFC 1321).
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "digest/md5_blocks.hpp"
#include "digest/md_engine.hpp"
#include "kestrim_crypto.h"

#include <algorithm>
#include <array>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_MD5_STATE) == 160);

constexpr std::array<std::uint32_t, 4> kMd5Initial{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

struct md5 {
    using state = ZRC_MD5_STATE;
    static constexpr std::size_t length_bytes = 8;
    static constexpr std::endian length_order = std::endian::little;

    static void compress(state& s, byte_span blocks) noexcept { md5_blocks(s.h, blocks); }
};

} // namespace
} // namespace zrc

using zrc::md_engine;
using zrc::md_fault;

std::uint32_t zrc_Init_MD5(ZRC_MD5_STATE* state)
{
    if (!state) return zrc::code(ZRC_L_MD5, ZRC_F_INIT_MD5, ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    *state = {};
    std::copy(zrc::kMd5Initial.begin(), zrc::kMd5Initial.end(), state->h);
    return 0;
}

// Unlike the SHA family, MD5 refuses an empty update, which changes nothing on its way.
std::uint32_t zrc_Update_MD5(ZRC_MD5_STATE* state, const std::uint8_t* data, std::uint32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_MD5, ZRC_F_UPDATE_MD5, reason); };

    if (!state || !data) return fail(ZRC_ERR_NULL_INPUT);
    if (md_engine<zrc::md5>::update(*state, {data, length}) != md_fault::none) {
        return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    }
    if (length == 0) return fail(ZRC_ERR_INVALID_INPUT);
    return 0;
}

std::uint32_t zrc_Final_MD5(ZRC_MD5_STATE* state, std::uint8_t* output)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_MD5, ZRC_F_FINAL_MD5, reason); };

    if (!state || !output) return fail(ZRC_ERR_NULL_INPUT);
    if (md_engine<zrc::md5>::finish(*state) != md_fault::none) return fail(ZRC_ERR_SUB_OPERATION_FAILURE);
    for (std::size_t i = 0; i < 4; ++i)
        zrc::store_le32(output + 4 * i, state->h[i]);
    return 0;
}

// The compression has no function number of its own and reports under that of update.
std::uint32_t comp_MD5(ZRC_MD5_STATE* state, const std::uint8_t* block)
{
    if (!state || !block) return zrc::code(ZRC_L_MD5, ZRC_F_UPDATE_MD5, ZRC_ERR_NULL_INPUT);
    zrc::md5::compress(*state, {block, sizeof state->buffer});
    return 0;
}
