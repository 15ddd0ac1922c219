// The mechanism Hash_DRBG of SP 800-90A (10.1.1, and Hash_df of 10.3.1), for each digest.
#include "core/error.hpp"
#include "core/secret.hpp"
#include "digest/has160_blocks.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"
#include "kestrim/drbg.h"
#include "kestrim_crypto.h"
#include "random/dead_stack.hpp"
#include "random/drbg.hpp"
#include "random/hashgen.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kMaxDigestBytes = 64;

// A digest of messages that come in pieces.
template <class State, auto Init, auto Update, auto Final>
struct message_digest {
    using pieces = std::span<const byte_span>;

    // Returns 0 or the reason why not.
    static std::uint32_t hash(pieces message, std::uint8_t* digest) noexcept
    {
        secret<State> state;
        if (Init(&*state) != 0) return ZRC_ERR_INIT_DIGEST_FAIL;
        for (const byte_span piece : message) {
            if (piece.empty()) continue;
            if (Update(&*state, piece.data(), std::uint32_t(piece.size())) != 0) return ZRC_ERR_UPDATE_DIGEST_FAIL;
        }
        return Final(&*state, digest) != 0 ? std::uint32_t{ZRC_ERR_FINAL_DIGEST_FAIL} : 0;
    }
};

// The digests as generate() wants them: in pieces, as runs of Hashgen, and two messages of known length at once.
template <auto& Initial, auto& Kernels, std::size_t Words, std::size_t DigestBytes, class Pieces>
struct block_digest : Pieces {
    using seed = seed_value<Words>;
    using block = std::span<const std::uint64_t, seed::message_words>;
    static constexpr std::size_t digest_bytes = DigestBytes, pair_bytes = DigestBytes;
    static constexpr std::size_t frames = 3072; // bytes of stack that generate() uses, at most

    static void run(block first, std::size_t count, std::uint8_t* digests) noexcept
    {
        hashgen_run(std::span{Initial}, first, count, DigestBytes, digests, Kernels.get());
    }

    static void pair(block short_one, block long_one, std::span<std::uint8_t, pair_bytes> digest_of_short,
                     std::span<std::uint8_t, pair_bytes> digest_of_long) noexcept
    {
        hashgen_pair(std::span{Initial}, short_one, long_one, digest_of_short, digest_of_long, Kernels.get());
    }
};

template <auto& Initial, std::size_t DigestBytes, class Pieces>
struct sha256_digest : Pieces {
    using seed = seed_value<7>;
    using block = sha256_hashgen::block;
    static constexpr std::size_t digest_bytes = DigestBytes, pair_bytes = 32;
    // The kernels wipe their stack. In generate() itself GCC keeps no part of V outside the objects that are wiped
    // there, so the time for that, a tenth of a short request, is only spent where it has to be.
#if defined(__clang__)
    static constexpr std::size_t frames = 576;
#else
    static constexpr std::size_t frames = 0;
#endif

    static void run(block first, std::size_t count, std::uint8_t* digests) noexcept
    {
        hashgen_kernels.get()->run(Initial, first, count, DigestBytes, digests);
    }

    static void pair(block short_one, block long_one, std::span<std::uint8_t, pair_bytes> digest_of_short,
                     std::span<std::uint8_t, pair_bytes> digest_of_long) noexcept
    {
        hashgen_kernels.get()->pair(Initial, short_one, long_one, digest_of_short, digest_of_long);
    }
};

// HAS-160 of one message for hashgen_run and hashgen_pair, which pad and write as SHA-1 does. It has the initial value
// of SHA-1, but counts, reads and writes with the lowest byte first: the count and the words of the result are turned
// around here.
void has160_message(std::span<std::uint32_t, 5> h, byte_span padded) noexcept
{
    secret_array<std::uint8_t, 2 * 64> blocks;
    const std::span<std::uint8_t> mine = blocks.span().first(padded.size());
    std::ranges::copy(padded, mine.begin());
    std::ranges::reverse(mine.last(8));
    has160_blocks(h, mine);
    for (std::uint32_t& word : h)
        word = byte_swap(word);
}

constexpr struct {
    static constexpr auto get() noexcept { return has160_message; }
} kHas160Kernels;

using sha1 = block_digest<kSha1Initial, sha1_kernels, 7, 20,
                          message_digest<ZRC_SHA1_STATE, zrc_Init_SHA1, zrc_Update_SHA1, zrc_Final_SHA1>>;
using has160 = block_digest<kSha1Initial, kHas160Kernels, 7, 20,
                            message_digest<ZRC_HAS160_STATE, zrc_Init_HAS160, zrc_Update_HAS160, zrc_Final_HAS160>>;
using sha224 = sha256_digest<kSha224Initial, 28,
                             message_digest<ZRC_SHA256_STATE, zrc_Init_SHA224, zrc_Update_SHA224, zrc_Final_SHA224>>;
using sha256 = sha256_digest<kSha256Initial, 32,
                             message_digest<ZRC_SHA256_STATE, zrc_Init_SHA256, zrc_Update_SHA256, zrc_Final_SHA256>>;
using sha384 = block_digest<kSha384Initial, sha512_kernels, 14, 48,
                            message_digest<ZRC_SHA512_STATE, zrc_Init_SHA384, zrc_Update_SHA384, zrc_Final_SHA384>>;
using sha512 = block_digest<kSha512Initial, sha512_kernels, 14, 64,
                            message_digest<ZRC_SHA512_STATE, zrc_Init_SHA512, zrc_Update_SHA512, zrc_Final_SHA512>>;

bool all_zero(byte_span bytes) noexcept
{
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == 0; });
}

// The continuous test: no block of output may be the one before it.
template <std::size_t DigestBytes>
class continuous_test {
public:
    // Until there has been a block, the first one is only kept.
    explicit continuous_test(const std::uint8_t* last_block) noexcept
        : previous_{all_zero({last_block, DigestBytes}) ? nullptr : last_block}
    {
    }

    // Blocks that follow on the earlier ones; they stay where they are until the next call. Their first words nearly
    // always tell two of them apart.
    bool passes(const std::uint8_t* blocks, std::size_t count) noexcept
    {
        const bool starts = previous_ == nullptr;
        if (starts) previous_ = blocks;
        for (std::size_t i = starts ? 1 : 0; i < count; ++i) {
            const std::uint8_t* const block = blocks + i * DigestBytes;
            const std::uint8_t* const before = std::exchange(previous_, block);
            if (first_word(block) != first_word(before)) continue;
            if (std::memcmp(block, before, DigestBytes) == 0) return false;
        }
        return true;
    }

private:
    static std::uint64_t first_word(const std::uint8_t* block) noexcept
    {
        return load<std::uint64_t, std::endian::native>(block);
    }

    const std::uint8_t* previous_;
};

// Writes `count` blocks of output straight to `out`, in runs that are tested while they are in the cache, and the
// message of the block after them. False when the test fails.
template <class Digest>
[[gnu::noinline]] bool write_blocks(typename Digest::seed data, std::size_t count, std::uint8_t* out,
                                    continuous_test<Digest::digest_bytes>& test,
                                    typename Digest::seed::message next) noexcept
{
    constexpr std::size_t kRunBlocks = 8192 / Digest::digest_bytes;

    while (count != 0) {
        const std::size_t run = std::min({count, kRunBlocks, data.steps_without_carry() + 1});
        data.write_message(next);
        Digest::run(next, run, out);
        if (!test.passes(out, run)) return false;
        out += run * Digest::digest_bytes;
        data.add(run);
        count -= run;
    }
    data.write_message(next);
    return true;
}

// Generate, from the point where V is known on. The last block is made together with H = Hash(03 || V), which does
// not depend on it.
template <class Digest>
std::uint32_t generate_from(ZRC_DRBG_UNIT& unit, typename Digest::seed& v, std::span<std::uint8_t> out) noexcept
{
    using seed = typename Digest::seed;
    constexpr std::size_t kDigestBytes = Digest::digest_bytes;

    continuous_test<kDigestBytes> test{unit.last_block};
    secret_array<std::uint64_t, seed::message_words> block, v_block;
    const std::size_t before_last = (out.size() - 1) / kDigestBytes;
    if (before_last == 0) {
        v.write_message(block.span());
    } else if (!write_blocks<Digest>(v, before_last, out.data(), test, block.span())) {
        return ZRC_ERR_CONDITION_TEST_FAIL;
    }
    v.write_message(0x03, v_block.span());
    secret_array<std::uint8_t, Digest::pair_bytes> last, h;
    Digest::pair(block.span(), v_block.span(), last.span(), h.span());
    if (!test.passes(last.data(), 1)) return ZRC_ERR_CONDITION_TEST_FAIL;

    const std::span<std::uint8_t> rest = out.subspan(before_last * kDigestBytes);
    std::memcpy(rest.data(), last.data(), rest.size());
    std::memcpy(unit.last_block, last.data(), kDigestBytes);
    unit.last_block_length = std::int32_t(kDigestBytes);

    // H comes last: what does not depend on it is done while the processor still waits for it.
    v.add(seed{unit.C});
    v.add(std::uint64_t(unit.reseed_counter));
    v.template add_digest<kDigestBytes>(std::span<const std::uint8_t, kDigestBytes>{h.data(), kDigestBytes});
    v.store(unit.V);
    ++unit.reseed_counter;
    return 0;
}

constexpr std::size_t kDigestFrames = 4096; // bytes of stack that a digest uses, at most

// V + Hash(02 || V || additional). Returns 0 or the reason of the failure.
template <class Digest>
[[gnu::noinline]] std::uint32_t add_additional(typename Digest::seed& v, const std::uint8_t* old_v,
                                               byte_span additional) noexcept
{
    static constexpr std::uint8_t kFront[1] = {0x02};
    const byte_span pieces[] = {kFront, {old_v, Digest::seed::bytes}, additional};
    secret_array<std::uint8_t, Digest::digest_bytes> w;
    const std::uint32_t failed = Digest::hash(pieces, w.data());
    if (failed == 0) v.template add_digest<Digest::digest_bytes>(w.span());
    return failed;
}

// Returns 0 or the reason of the failure.
template <class Digest>
[[gnu::noinline]] std::uint32_t generate(ZRC_DRBG_UNIT& unit, byte_span additional,
                                         std::span<std::uint8_t> out) noexcept
{
    typename Digest::seed v{unit.V};
    if (!additional.empty()) {
        const std::uint32_t failed = add_additional<Digest>(v, unit.V, additional);
        wipe_dead_stack<kDigestFrames>();
        if (failed != 0) return failed;
    }
    const std::uint32_t failed = generate_from<Digest>(unit, v, out);
    if (failed != 0) wipe(out.data(), out.size());
    return failed;
}

// The same, and no trace of V is left on the stack.
template <class Digest>
std::uint32_t generate_and_wipe(ZRC_DRBG_UNIT& unit, byte_span additional, std::span<std::uint8_t> out) noexcept
{
    const std::uint32_t failed = generate<Digest>(unit, additional, out);
    if constexpr (Digest::frames != 0) wipe_dead_stack<Digest::frames>();
    return failed;
}

// What a digest makes of the mechanism (SP 800-90A, table 2; the strength here is that of the digest's collisions).
struct mechanism {
    std::int32_t digest_id;
    bool approved;                                   // may be used in proven mode
    std::int32_t security_strength, seedlen, outlen; // bytes
    std::uint32_t (*hash)(std::span<const byte_span> message, std::uint8_t* digest) noexcept;
    std::uint32_t (*generate)(ZRC_DRBG_UNIT& unit, byte_span additional, std::span<std::uint8_t> out) noexcept;
};

template <class Digest>
constexpr mechanism with(std::int32_t digest_id, bool approved, std::int32_t strength) noexcept
{
    return {digest_id,
            approved,
            strength,
            std::int32_t(Digest::seed::bytes),
            std::int32_t(Digest::digest_bytes),
            Digest::hash,
            generate_and_wipe<Digest>};
}

constexpr mechanism kMechanisms[] = {
    with<sha256>(ZRC_SHA256, true, 16), with<sha512>(ZRC_SHA512, true, 32), with<sha384>(ZRC_SHA384, true, 24),
    with<sha224>(ZRC_SHA224, true, 14), with<sha1>(ZRC_SHA1, false, 10),    with<has160>(ZRC_HAS160, false, 10),
};

const mechanism* find_mechanism(std::int32_t digest_id) noexcept
{
    for (const mechanism& candidate : kMechanisms) {
        if (candidate.digest_id == digest_id) return &candidate;
    }
    return nullptr;
}

// Hash_df: digests of counter || bits wanted || material, as many as it takes, at most 255. `out` is no part of the
// material. Returns 0 or the reason of the failure.
std::uint32_t hash_df(const mechanism& digest, std::span<const byte_span> material,
                      std::span<std::uint8_t> out) noexcept
{
    constexpr std::size_t kMaxPieces = 5;
    std::array<std::uint8_t, 5> front{}; // the counter and the number of bits
    store_be32(front.data() + 1, std::uint32_t(out.size() * 8));
    std::array<byte_span, kMaxPieces> pieces{byte_span{front}};
    std::ranges::copy(material, pieces.begin() + 1);

    const auto digest_bytes = std::size_t(digest.outlen);
    secret_array<std::uint8_t, kMaxDigestBytes> block;
    for (std::span<std::uint8_t> rest = out; !rest.empty();) {
        ++front[0];
        if (const std::uint32_t failed = digest.hash({pieces.data(), material.size() + 1}, block.data())) return failed;
        const std::size_t taken = std::min(rest.size(), digest_bytes);
        std::memcpy(rest.data(), block.data(), taken);
        rest = rest.subspan(taken);
    }
    return 0;
}

// V from the seed material, C from V; the counter starts again.
[[gnu::noinline]] bool derive_state(ZRC_DRBG_UNIT& unit, std::span<const byte_span> material) noexcept
{
    const mechanism* digest = find_mechanism(unit.digest_id);
    if (!digest) return false;
    const auto seedlen = std::size_t(digest->seedlen);

    static constexpr std::uint8_t kFront[1] = {0x00};
    secret_array<std::uint8_t, kMaxSeedBytes> v, c;
    if (hash_df(*digest, material, v.span().first(seedlen)) != 0) return false;
    const byte_span of_v[] = {kFront, v.span().first(seedlen)};
    if (hash_df(*digest, of_v, c.span().first(seedlen)) != 0) return false;
    std::memcpy(unit.V, v.data(), seedlen);
    std::memcpy(unit.C, c.data(), seedlen);
    unit.reseed_counter = 1;
    return true;
}

bool seed_unit(ZRC_DRBG_UNIT& unit, std::span<const byte_span> material) noexcept
{
    const bool seeded = derive_state(unit, material);
    wipe_dead_stack<kDigestFrames>();
    return seeded;
}

} // namespace

std::uint32_t set_hash_drbg_parameters(ZRC_DRBG_UNIT& unit, std::int32_t digest_id) noexcept
{
    const mechanism* digest = find_mechanism(digest_id);
    if ((!digest || !digest->approved) && ZRC_Is_Proven() != 0) return ZRC_ERR_NOT_PROVEN_ALGORITHM;
    if (!digest) return ZRC_ERR_NOT_SUPPORTED;

    unit.digest_id = digest_id;
    unit.security_strength = digest->security_strength;
    unit.min_entropy_length = digest->security_strength;
    unit.max_entropy_length = kMaxDrbgLength;
    unit.min_nonce_length = digest->security_strength / 2;
    unit.max_nonce_length = kMaxDrbgLength;
    unit.max_personalization_length = kMaxDrbgLength;
    unit.max_additional_length = kMaxDrbgLength;
    unit.seedlen = digest->seedlen;
    unit.outlen = digest->outlen;
    return 0;
}

bool instantiate_hash_drbg(ZRC_DRBG_UNIT& unit, byte_span entropy, byte_span nonce, byte_span personalization) noexcept
{
    const byte_span material[] = {entropy, nonce, personalization};
    return seed_unit(unit, material);
}

bool reseed_hash_drbg(ZRC_DRBG_UNIT& unit, byte_span entropy, byte_span additional) noexcept
{
    static constexpr std::uint8_t kFront[1] = {0x01};
    const byte_span material[] = {kFront, {unit.V, std::size_t(unit.seedlen)}, entropy, additional};
    return seed_unit(unit, material);
}

std::uint32_t generate_hash_drbg(ZRC_DRBG_UNIT& unit, byte_span additional, std::span<std::uint8_t> out) noexcept
{
    const auto fail = [](std::uint32_t reason) { return code(ZRC_L_DRBG, ZRC_F_GENERATE_HASHDRBG, reason); };

    if (unit.reseed_counter > kMaxDrbgRequests) return fail(ZRC_ERR_INPUT_BUF_TOO_BIG);
    if (out.size() > std::size_t(kMaxDrbgLength)) return fail(ZRC_ERR_INPUT_BUF_TOO_BIG);
    const mechanism* digest = find_mechanism(unit.digest_id);
    if (!digest) return fail(ZRC_ERR_HASH_GEN_FAIL);
    const std::uint32_t reason = digest->generate(unit, additional, out);
    return reason ? fail(reason) : 0;
}

} // namespace zrc

std::uint32_t Hash_df(std::int32_t digest_id, const std::uint8_t* input, std::int32_t input_length,
                      std::uint8_t* output, std::int32_t output_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_INSTANTIATE_HASHDRBG, reason); };

    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!output || (!input && input_length != 0)) return fail(ZRC_ERR_NULL_INPUT);
    const zrc::mechanism* digest = zrc::find_mechanism(digest_id);
    if ((!digest || !digest->approved) && ZRC_Is_Proven() != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (!digest) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (input_length < 0 || output_length < 1 || output_length > 255 * digest->outlen) {
        return fail(ZRC_ERR_INVALID_INPUT);
    }
    const zrc::byte_span material[] = {{input, std::size_t(input_length)}};
    if (const std::uint32_t reason = zrc::hash_df(*digest, material, {output, std::size_t(output_length)})) {
        return fail(reason);
    }
    return 0;
}

std::uint32_t zrc_Init_HashDRBG(ZRC_DRBG_UNIT* unit, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DRBG, ZRC_F_INIT_HASHDRBG, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    ZRC_Uninstantiate_DRBG(unit);
    if (const std::uint32_t reason = zrc::set_hash_drbg_parameters(*unit, digest_id)) return fail(reason);
    // Under ZRC_F_RAND_BYTES_DRBG's number: a documented oddity. Only a failed self-test brings it about.
    if (ZRC_Get_DIGEST_Length(digest_id) < 1) {
        return zrc::code(ZRC_L_DRBG, ZRC_F_RAND_BYTES_DRBG, ZRC_ERR_NULL_INPUT);
    }
    const auto seed_bytes = std::uint32_t(unit->seedlen);
    unit->V = static_cast<std::uint8_t*>(ZRC_Calloc(1, seed_bytes));
    unit->C = static_cast<std::uint8_t*>(ZRC_Calloc(1, seed_bytes));
    return unit->V && unit->C ? 0 : fail(ZRC_ERR_MALLOC);
}
