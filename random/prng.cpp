// The legacy generator of FIPS 186-2, appendix 3 (change notice 1), and its unit.
#include "random/prng.hpp"

#include "core/error.hpp"
#include "core/secret.hpp"
#include "digest/has160_blocks.hpp"
#include "digest/md5_blocks.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"
#include "kestrim/block_cipher.h"
#include "kestrim/des.h"
#include "kestrim/prng.h"
#include "kestrim_crypto.h"
#include "random/entropy.hpp"
#include "random/process_number.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

// One call of a digest's compression function, from the chaining value `t`, on `c` with zero bytes behind it. Of the
// result as many words are written as `g` has room for.
template <std::endian Order, class Word, std::size_t N>
void g_from_digest(std::span<const Word, N> t, byte_span c, std::span<std::uint8_t> g, auto compress) noexcept
{
    secret_array<Word, N> h;
    std::copy(t.begin(), t.end(), h.data());
    secret_array<std::uint8_t, 16 * sizeof(Word)> block;
    std::memcpy(block.data(), c.data(), c.size());
    std::memset(block.data() + c.size(), 0, block.span().size() - c.size());
    compress(h.span(), byte_span{block.span()});
    for (std::size_t i = 0; i < g.size() / sizeof(Word); ++i)
        store<Order>(g.data() + i * sizeof(Word), h[i]);
}

template <const auto& Initial>
void g_from_sha256(byte_span key, std::span<std::uint8_t> g) noexcept
{
    g_from_digest<std::endian::big>(std::span{Initial}, key, g, sha256_kernels.get());
}

template <const auto& Initial>
void g_from_sha512(byte_span key, std::span<std::uint8_t> g) noexcept
{
    g_from_digest<std::endian::big>(std::span{Initial}, key, g, sha512_kernels.get());
}

// t of the private keys is the initial value of SHA-1. HAS-160 has the same, and MD5 the first four words of it.
constexpr std::span kT{kSha1Initial};

constexpr g_function kGFunctions[] = {
    {ZRC_SHA1, 20, [](byte_span key, std::span<std::uint8_t> g) noexcept { g_from_sha1(kT, key, g.first<20>()); }},
    {ZRC_MD5, 16,
     [](byte_span key, std::span<std::uint8_t> g) noexcept {
         g_from_digest<std::endian::little>(kT.first<4>(), key, g, md5_blocks);
     }},
    {ZRC_HAS160, 20,
     [](byte_span key, std::span<std::uint8_t> g) noexcept {
         g_from_digest<std::endian::little>(kT, key, g, has160_blocks);
     }},
    {ZRC_SHA224, 28, g_from_sha256<kSha224Initial>},
    {ZRC_SHA256, 32, g_from_sha256<kSha256Initial>},
    {ZRC_SHA384, 48, g_from_sha512<kSha384Initial>},
    {ZRC_SHA512, 64, g_from_sha512<kSha512Initial>},
    {ZRC_DES, 20,
     [](byte_span key, std::span<std::uint8_t> g) noexcept { g_from_des(kT, key.first<20>(), g.first<20>()); }},
};
static_assert(sizeof ZRC_PRNG_UNIT{}.key == kMaxGBytes && sizeof ZRC_PRNG_UNIT{}.last_g == kMaxGBytes);

// Encrypts with 56 bits of key, to which DES adds a parity bit (here 0) after each group of seven.
void des_encrypt(std::uint64_t key_bits, std::uint8_t* block) noexcept
{
    secret_array<std::uint8_t, 8> key;
    for (std::size_t i = 0; i < 8; ++i)
        key[i] = std::uint8_t((key_bits >> (49 - 7 * i) & 0x7F) << 1);
    secret<ZRC_DES_KEY> schedule;
    zrc_Init_Encrypt_DES_Key(key.data(), &*schedule, 1);
    zrc_DES_Encrypt_Block(block, block, &*schedule);
}

// key = (1 + key + w) mod 2^b
void add_with_one(std::span<std::uint8_t> key, byte_span w) noexcept
{
    unsigned carry = 1;
    for (std::size_t i = 0; i < key.size(); ++i) {
        std::uint8_t& digit = key[key.size() - 1 - i];
        carry += digit + unsigned{i < w.size() ? w[w.size() - 1 - i] : std::uint8_t{0}};
        digit = std::uint8_t(carry);
        carry >>= 8;
    }
}

// XORs fresh entropy into the key, so that what was secret about it stays so.
bool seed(ZRC_PRNG_UNIT& unit, std::size_t key_bytes) noexcept
{
    secret_array<std::uint8_t, kMaxGBytes> entropy;
    if (seed_from_system(entropy.span().first(key_bytes)) != 0) return false;
    for (std::size_t i = 0; i < key_bytes; ++i)
        unit.key[i] ^= entropy[i];
    unit.process = process_number();
    return true;
}

} // namespace

void g_from_sha1(g_constant t, byte_span c, std::span<std::uint8_t, 20> g) noexcept
{
    g_from_digest<std::endian::big>(t, c, g, sha1_kernels.get());
}

// The steps of 3.4; indices are modulo 5.
void g_from_des(g_constant t, std::span<const std::uint8_t, 20> c, std::span<std::uint8_t, 20> g) noexcept
{
    secret_array<std::uint32_t, 5> words, x, left, right;
    for (std::size_t i = 0; i < 5; ++i) {
        words[i] = load_be32(c.data() + 4 * i);
        x[i] = t[i] ^ words[i];
    }
    for (std::size_t i = 0; i < 5; ++i) {
        secret_array<std::uint8_t, 8> block;
        store_be32(block.data(), x[i]);
        store_be32(block.data() + 4, x[(i + 1) % 5] ^ x[(i + 4) % 5]);
        des_encrypt(std::uint64_t{words[(i + 4) % 5]} << 32 | words[(i + 3) % 5], block.data());
        left[i] = load_be32(block.data());
        right[i] = load_be32(block.data() + 4);
    }
    for (std::size_t i = 0; i < 5; ++i)
        store_be32(g.data() + 4 * i, left[i] ^ right[(i + 2) % 5] ^ left[(i + 3) % 5]);
}

const g_function* find_g_function(std::int32_t id) noexcept
{
    for (const g_function& g : kGFunctions) {
        if (g.id == id) return &g;
    }
    return nullptr;
}

// Puts the next value of G into last_g; false if it is the one that was there.
bool legacy_generator::step() const noexcept
{
    secret_array<std::uint8_t, kMaxGBytes> value;
    const auto w = value.span().first(g.bytes);
    g.run(key, w);
    add_with_one(key, w);
    if (std::memcmp(w.data(), last_g.data(), w.size()) == 0) return false;
    std::memcpy(last_g.data(), w.data(), w.size());
    return true;
}

bool legacy_generator::fill(std::span<std::uint8_t> out) const noexcept
{
    std::size_t filled = 0;
    while (filled < out.size()) {
        for (int pair = 0; pair < 2; ++pair) {
            if (!step()) {
                wipe(out.data(), out.size());
                return false;
            }
            const std::size_t taken = std::min(g.bytes, out.size() - filled);
            std::memcpy(out.data() + filled, last_g.data(), taken);
            filled += taken;
        }
    }
    return true;
}

} // namespace zrc

ZRC_PRNG_UNIT* ZRC_New_PRNG_Unit()
{
    return static_cast<ZRC_PRNG_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_PRNG_UNIT)));
}

std::uint32_t ZRC_Init_PRNG(ZRC_PRNG_UNIT* unit, std::int32_t algorithm, ZRC_BIGINT_POOL*)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_PRNG, ZRC_F_INIT_PRNG, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    ZRC_Clean_PRNG_Unit(unit);
    unit->proven = ZRC_Is_Proven();
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (unit->proven != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);

    const zrc::g_function* g = zrc::find_g_function(algorithm == 0 ? ZRC_SHA1 : algorithm);
    if (!g) return zrc::code(ZRC_L_PRNG, ZRC_F_INIT_PRNG_ALG, ZRC_ERR_INVALID_ALGORITHM_ID);
    if (!zrc::seed(*unit, g->bytes)) return fail(ZRC_ERR_ENTROPY_FAIL);
    unit->algorithm_id = g->id;
    return 0;
}

std::uint32_t ZRC_Get_Rand(ZRC_PRNG_UNIT* unit, std::uint8_t* output, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_PRNG, ZRC_F_GET_RAND, reason); };

    if (!unit || !output) return fail(ZRC_ERR_NULL_INPUT);
    if (length < 1) return fail(ZRC_ERR_INVALID_INPUT);
    const zrc::g_function* g = zrc::find_g_function(unit->algorithm_id);
    if (!g) return fail(ZRC_ERR_NULL_XKEY_VALUE);
    if (unit->process != zrc::process_number() && !zrc::seed(*unit, g->bytes)) return fail(ZRC_ERR_ENTROPY_FAIL);

    const zrc::legacy_generator generator{*g, {unit->key, g->bytes}, {unit->last_g, g->bytes}};
    if (!generator.fill({output, std::size_t(length)})) {
        ZRC_Clean_PRNG_Unit(unit);
        return fail(ZRC_ERR_CONDITION_TEST_FAIL);
    }
    return 0;
}

void ZRC_Clean_PRNG_Unit(ZRC_PRNG_UNIT* unit)
{
    if (unit) zrc::wipe(unit, sizeof *unit);
}

void ZRC_Free_PRNG_Unit(ZRC_PRNG_UNIT* unit)
{
    ZRC_Clean_PRNG_Unit(unit);
    ZRC_Free(unit);
}
