// KCDSA: the generator PPGF, what is derived with it, and the generation of domain parameters and key pairs.
#include "pubkey/kcdsa_generate.hpp"

#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "bigint/pool_frame.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "kestrim/drbg.h"
#include "kestrim/prng.h"
#include "kestrim/state.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace zrc {
namespace {

constexpr std::size_t kMostPrimeBytes = 512;

// As many as a generated prime of this length has passed (ZRC_Generate_BIGINT_Prime_Ex), and 1, which the test does
// not count.
std::int32_t rounds_for(std::int32_t bits) noexcept
{
    static constexpr struct {
        std::int32_t least_bits, witnesses;
    } kTable[] = {{1300, 3}, {850, 4},  {650, 5},  {550, 6},  {450, 7}, {400, 8},
                  {350, 9},  {300, 10}, {250, 13}, {200, 16}, {150, 20}};
    for (const auto& row : kTable)
        if (bits >= row.least_bits) return row.witnesses + 1;
    return 39;
}

// n = bytes with bit 8 bytes.size() - 1 set as well as bit 0. False without memory.
bool set_candidate(ZRC_BIGINT* n, std::span<std::uint8_t> bytes) noexcept
{
    bytes.front() |= 0x80;
    bytes.back() |= 1;
    return ZRC_Binary_To_BIGINT(bytes.data(), std::int32_t(bytes.size()), n) != nullptr;
}

// Sets n, without looking at them, to big-endian bytes; zero words stay on top. False without memory.
bool set_secret(ZRC_BIGINT& n, byte_span bytes) noexcept
{
    const std::size_t words = (bytes.size() + 3) / 4;
    if (!grow(n, std::int64_t(words))) return false;
    std::fill_n(n.data, words, 0U);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        n.data[i / 4] |= std::uint32_t{bytes[bytes.size() - 1 - i]} << (8 * (i % 4));
    n.length = std::int32_t(words);
    return true;
}

// sum = a + b modulo 256^size.
void add_bytes(std::span<std::uint8_t> sum, byte_span a, byte_span b) noexcept
{
    unsigned carry = 0;
    for (std::size_t i = sum.size(); i-- > 0; carry >>= 8) {
        carry += unsigned{a[i]} + b[i];
        sum[i] = std::uint8_t(carry);
    }
}

// The bits of the first of as many bytes as `bits` bits need.
std::uint8_t top_mask(std::size_t bits) noexcept
{
    return std::uint8_t(0xFF >> ((8 - bits % 8) % 8));
}

} // namespace

std::uint32_t ppgf(std::span<std::uint8_t> output, std::size_t bits, ZRC_DIGEST_UNIT& digest, byte_span seed) noexcept
{
    secret_array<std::uint8_t, kMostDigestBytes> block;
    const auto block_bytes = std::size_t(digest.digest_length);
    std::uint8_t i = 0;
    for (std::size_t left = output.size(); left != 0; ++i) {
        // HAS-160 and MD5 refuse to be given nothing.
        if (!seed.empty() && ZRC_Update_DIGEST(&digest, seed.data(), std::int32_t(seed.size())) != 0)
            return ZRC_ERR_UPDATE_DIGEST_FAIL;
        if (ZRC_Update_DIGEST(&digest, &i, 1) != 0) return ZRC_ERR_UPDATE_DIGEST_FAIL;
        if (ZRC_Final_DIGEST(&digest, block.data(), nullptr) != 0) return ZRC_ERR_FINAL_DIGEST_FAIL;
        const std::size_t taken = std::min(left, block_bytes);
        left -= taken;
        std::copy_n(block.data() + (block_bytes - taken), taken, output.data() + left);
    }
    output.front() &= top_mask(bits);
    return 0;
}

kcdsa_domain::kcdsa_domain(ZRC_DIGEST_UNIT& digest, std::int32_t p_bits, std::int32_t q_bits) noexcept
    : digest_{digest}, p_bits_{p_bits}, q_bits_{q_bits}, pool_{ZRC_New_BIGINT_Pool()}, p_{ZRC_New_BIGINT()},
      q_{ZRC_New_BIGINT()}, g_{ZRC_New_BIGINT()}, J_{ZRC_New_BIGINT()}
{
}

// J = 2^(a - b - 1) | PPGF(seed, a - b - 4) | 1 for an a-bit p and a b-bit q: it begins with 1000 in binary.
std::uint32_t kcdsa_domain::set_seed(byte_span seed) noexcept
{
    std::copy(seed.begin(), seed.end(), seed_.begin());
    const std::int32_t J_bits = p_bits_ - q_bits_;
    std::array<std::uint8_t, kMostPrimeBytes> buffer;
    const std::span<std::uint8_t> u{buffer.data(), std::size_t(J_bits / 8)};
    if (const std::uint32_t reason = ppgf(u, std::size_t(J_bits - 4), digest_, this->seed()); reason != 0)
        return reason;
    if (!set_candidate(J_.get(), u)) return ZRC_ERR_MEM_ALLOC;

    for (std::size_t i = 0; i < kTrial.count; ++i) {
        J_residues_[i] = residue(*J_, kTrial.group[i].product);
        if (has_divisor(J_residues_[i], kTrial.group[i])) return kUnfit;
    }
    return test(*J_, J_bits);
}

// q = 2^(b - 1) | PPGF(seed || count, b) | 1. What is cheap to find out comes first: all has to hold in the end.
std::uint32_t kcdsa_domain::set_count(std::uint32_t count) noexcept
{
    count_ = count;
    std::array<std::uint8_t, kMostSeedBytes + 4> seed;
    const auto counted = std::span{seed}.first(std::size_t(q_bits_ / 8) + 4);
    std::copy_n(seed_.begin(), counted.size() - 4, counted.begin());
    store_be32(counted.last<4>().data(), count);
    std::array<std::uint8_t, kMostSeedBytes> buffer;
    const std::span<std::uint8_t> u{buffer.data(), std::size_t(q_bits_ / 8)};
    if (const std::uint32_t reason = ppgf(u, std::size_t(q_bits_), digest_, counted); reason != 0) return reason;
    if (!set_candidate(q_.get(), u)) return ZRC_ERR_MEM_ALLOC;

    if (!passes_trial_division()) return kUnfit;
    if (const std::uint32_t outcome = test(*q_, q_bits_); outcome != 0) return outcome;
    if (!set_p()) return ZRC_ERR_MTP_BIGINT_FAIL;
    if (ZRC_Get_BIGINT_Bits_Length(p_.get()) != std::uint32_t(p_bits_)) return kUnfit;
    return test(*p_, p_bits_);
}

std::uint32_t kcdsa_domain::find_count() noexcept
{
    std::uint32_t outcome = kUnfit;
    for (std::uint32_t count = 1; outcome == kUnfit && count <= kLastCount; ++count)
        outcome = set_count(count);
    return outcome;
}

std::uint32_t kcdsa_domain::set_generator(const ZRC_BIGINT& h) noexcept
{
    pool_frame frame{pool_.get()};
    ZRC_BIGINT* const exponent = frame.get();
    if (!exponent) return ZRC_ERR_MEM_ALLOC;
    if (zrc_Left_Shift_BIGINT(exponent, J_.get(), 1) != 0) return ZRC_ERR_MEM_ALLOC;
    switch (open_mod_exp(g_.get(), &h, exponent, p_.get())) {
    case mod_exp_outcome::done:
        return ZRC_Get_BIGINT_Word(g_.get()) == 1 ? kUnfit : 0;
    case mod_exp_outcome::base_is_zero:
        return kUnfit;
    default:
        return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    }
}

void kcdsa_domain::give_to(ZRC_KCDSA_UNIT& unit) noexcept
{
    unit.p = p_.release();
    unit.q = q_.release();
    unit.g = g_.release();
    unit.J = J_.release();
    std::memcpy(unit.seed, seed_.data(), sizeof unit.seed);
    unit.seed_length = q_bits_ / 8;
    unit.count = count_;
}

std::uint32_t kcdsa_domain::test(const ZRC_BIGINT& n, std::int32_t bits) noexcept
{
    const std::int32_t answer = ZRC_Is_BIGINT_Prime_Ex(&n, rounds_for(bits), pool_.get());
    if (answer == 0) return ZRC_ERR_IS_BIGINT_PRIME;
    return answer == 1 ? 0 : kUnfit;
}

// Of q, and of p without making it.
bool kcdsa_domain::passes_trial_division() const noexcept
{
    for (std::size_t i = 0; i < kTrial.count; ++i) {
        const std::uint64_t product = kTrial.group[i].product, q = residue(*q_, kTrial.group[i].product);
        const std::uint64_t half = J_residues_[i] * q % product; // of p - 1
        if (has_divisor(std::uint32_t(q), kTrial.group[i])) return false;
        if (has_divisor(std::uint32_t((2 * half + 1) % product), kTrial.group[i])) return false;
    }
    return true;
}

bool kcdsa_domain::set_p() noexcept
{
    return ZRC_Mtp_BIGINT(p_.get(), J_.get(), q_.get(), pool_.get()) == 0 &&
           zrc_Left_Shift_BIGINT(p_.get(), p_.get(), 1) == 0 && ZRC_Add_BIGINT_Word(p_.get(), 1) == 0;
}

std::uint32_t kcdsa_private_key(ZRC_BIGINT& x, ZRC_DIGEST_UNIT& digest, byte_span user, byte_span xkey,
                                const ZRC_BIGINT& q) noexcept
{
    const std::size_t bits = ZRC_Get_BIGINT_Bits_Length(&q);
    secret_array<std::uint8_t, kMostPrivateBytes> sum, result;
    const std::span<std::uint8_t> xval = sum.span().first(xkey.size()), out = result.span().first(xkey.size());
    if (const std::uint32_t reason = ppgf(out, bits, digest, user); reason != 0) return reason; // XSEED
    add_bytes(xval, xkey, out);
    xval.front() &= top_mask(bits);
    if (const std::uint32_t reason = ppgf(out, bits, digest, xval); reason != 0) return reason;
    if (!set_secret(x, out)) return ZRC_ERR_MEM_ALLOC;
    return secret_mod(&x, &x, &q) ? 0 : ZRC_ERR_MOD_BIGINT_FAIL;
}

namespace {

// The approved generator, or a legacy one with HAS-160.
class random_source {
public:
    // Each returns 0 or the reason.
    std::uint32_t choose_legacy() noexcept
    {
        prng_.reset(ZRC_New_PRNG_Unit());
        if (!prng_) return ZRC_ERR_MEM_ALLOC;
        return ZRC_Init_PRNG(prng_.get(), ZRC_HAS160, nullptr) == 0 ? 0 : ZRC_ERR_INIT_PRNG_FAIL;
    }

    std::uint32_t draw(std::span<std::uint8_t> output) noexcept
    {
        const auto bytes = std::int32_t(output.size());
        const std::uint32_t failed =
            prng_ ? ZRC_Get_Rand(prng_.get(), output.data(), bytes) : ZRC_Rand_Bytes(output.data(), bytes);
        return failed == 0 ? 0 : ZRC_ERR_GET_RAND_FAIL;
    }

private:
    owned<ZRC_PRNG_UNIT, ZRC_Free_PRNG_Unit> prng_;
};

// What the two forms of a generation differ in.
struct generation {
    std::int32_t digest_id;
    bool legacy;
};

// A digest and a source, ready to use.
struct tools {
    owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest;
    random_source random;

    // Returns 0 or the reason. The source comes first: proven mode refuses the older forms by it.
    std::uint32_t open(const generation& how) noexcept
    {
        if (how.legacy) {
            if (const std::uint32_t reason = random.choose_legacy(); reason != 0) return reason;
        }
        digest.reset(ZRC_New_DIGEST_Unit());
        if (!digest || ZRC_Init_DIGEST(digest.get(), how.digest_id) != 0) return ZRC_ERR_INIT_DIGEST_FAIL;
        return 0;
    }
};

bool is_served_size(std::int32_t p_bits, std::int32_t q_bits, bool approved_only) noexcept
{
    if (approved_only) return (p_bits == 2048 && (q_bits == 224 || q_bits == 256)) || (p_bits == 3072 && q_bits == 256);
    return p_bits >= 512 && p_bits <= 4096 && p_bits % 8 == 0 && q_bits >= 160 && q_bits <= 256 && q_bits % 8 == 0;
}

// p, q and J from a random seed. Returns 0 or the reason.
std::uint32_t find_primes(kcdsa_domain& domain, random_source& random, std::size_t seed_bytes) noexcept
{
    std::array<std::uint8_t, kcdsa_domain::kMostSeedBytes> seed;
    std::uint32_t outcome = kcdsa_domain::kUnfit;
    while (outcome == kcdsa_domain::kUnfit) {
        const std::span<std::uint8_t> drawn{seed.data(), seed_bytes};
        if (const std::uint32_t reason = random.draw(drawn); reason != 0) return reason;
        outcome = domain.set_seed(drawn);
        if (outcome == 0) outcome = domain.find_count();
    }
    return outcome;
}

// g from a random h, 1 < h < p - 1. Returns 0 or the reason.
std::uint32_t find_generator(kcdsa_domain& domain) noexcept
{
    pool_frame frame{domain.pool()};
    ZRC_BIGINT* const h = frame.get();
    if (!h) return ZRC_ERR_MEM_ALLOC;
    const auto bits = std::int32_t(ZRC_Get_BIGINT_Bits_Length(domain.p()));
    std::uint32_t outcome = kcdsa_domain::kUnfit;
    while (outcome == kcdsa_domain::kUnfit) {
        // p - 1 is let pass, too: it and 1 give g = 1, and 0 gives 0, which will not do.
        if (ZRC_Get_Rand_BIGINT_Ex(h, bits) != 0) return ZRC_ERR_GET_RAND_FAIL;
        if (ZRC_Cmp_BIGINT(h, domain.p()) < 0) outcome = domain.set_generator(*h);
    }
    return outcome;
}

// Returns 0 or the reason.
std::uint32_t generate_domain(ZRC_KCDSA_UNIT& unit, std::int32_t p_bits, std::int32_t q_bits,
                              const generation& how) noexcept
{
    tools with;
    if (const std::uint32_t reason = with.open(how); reason != 0) return reason;
    kcdsa_domain domain{*with.digest, p_bits, q_bits};
    if (!domain.complete()) return ZRC_ERR_MEM_ALLOC;
    if (const std::uint32_t reason = find_primes(domain, with.random, std::size_t(q_bits / 8)); reason != 0)
        return reason;
    if (const std::uint32_t reason = find_generator(domain); reason != 0) return reason;
    ZRC_Clean_KCDSA(&unit);
    domain.give_to(unit);
    return 0;
}

// x from a random XKEY, above 0. Returns 0 or the reason.
std::uint32_t find_private_key(ZRC_BIGINT& x, tools& with, byte_span user, const ZRC_BIGINT& q) noexcept
{
    secret_array<std::uint8_t, kMostPrivateBytes> xkey;
    const std::size_t bytes = (ZRC_Get_BIGINT_Bits_Length(&q) + 7) / 8;
    for (int draws = 0; draws < kMostDraws; ++draws) {
        if (const std::uint32_t reason = with.random.draw({xkey.data(), bytes}); reason != 0) return reason;
        const std::uint32_t reason = kcdsa_private_key(x, *with.digest, user, {xkey.data(), bytes}, q);
        if (reason != 0 || !is_zero(x)) return reason;
    }
    return ZRC_ERR_GET_RAND_FAIL;
}

// Returns 0 or the reason.
std::uint32_t generate_key_pair(ZRC_KCDSA_UNIT* unit, const std::uint8_t* user_input, std::int32_t length,
                                const generation& how) noexcept
{
    if (!unit->p || !unit->q || !unit->g || (!user_input && length != 0)) return ZRC_ERR_NULL_INPUT;
    if (length < 0) return ZRC_ERR_INVALID_INPUT;
    const std::uint32_t q_bits = ZRC_Get_BIGINT_Bits_Length(unit->q);
    if (q_bits < 2 || q_bits > 8 * kMostPrivateBytes) return ZRC_ERR_NOT_SUPPORTED;

    tools with;
    if (const std::uint32_t reason = with.open(how); reason != 0) return reason;
    owned_number x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
    if (!x || !y) return ZRC_ERR_MEM_ALLOC;
    const byte_span user{user_input, std::size_t(length)};
    if (const std::uint32_t reason = find_private_key(*x, with, user, *unit->q); reason != 0) return reason;
    if (const std::uint32_t failed = kcdsa_public_key(*y, {*unit->p, *unit->q, *unit->g}, *x); failed != 0)
        return failed == kNoInverse ? ZRC_ERR_MOD_INVERSE_BIGINT_FAIL : ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;

    for (ZRC_BIGINT* old : {unit->x, unit->y, unit->z})
        if (old) ZRC_Free_BIGINT(old);
    unit->x = x.release();
    unit->y = y.release();
    unit->z = nullptr; // of the old y
    return 0;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Generate_KCDSA_Params_Ex(ZRC_KCDSA_UNIT* unit, std::int32_t p_bits, std::int32_t q_bits,
                                           std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_KCDSA, ZRC_F_GENERATE_KCDSA_PARAMS_EX, reason);
    };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const bool proven = ZRC_Is_Proven() != 0;
    if (proven && digest_id != ZRC_SHA224 && digest_id != ZRC_SHA256) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (!zrc::is_served_size(p_bits, q_bits, proven)) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::uint32_t reason = zrc::generate_domain(*unit, p_bits, q_bits, {digest_id, false});
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Generate_KCDSA_Params(ZRC_KCDSA_UNIT* unit, std::int32_t p_bits, std::int32_t q_bits)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_KCDSA, ZRC_F_GENERATE_KCDSA_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!zrc::is_served_size(p_bits, q_bits, false)) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::uint32_t reason = zrc::generate_domain(*unit, p_bits, q_bits, {ZRC_HAS160, true});
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Generate_KCDSA_Key_Pair_Ex(ZRC_KCDSA_UNIT* unit, const std::uint8_t* user_input,
                                             std::int32_t user_input_length, std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_KCDSA, ZRC_F_GENERATE_KCDSA_KEY_PAIR_EX, reason);
    };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const std::uint32_t reason = zrc::generate_key_pair(unit, user_input, user_input_length, {digest_id, false});
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Generate_KCDSA_Key_Pair(ZRC_KCDSA_UNIT* unit, const std::uint8_t* user_input,
                                          std::int32_t user_input_length)
{
    const auto fail = [](std::uint32_t reason) {
        return zrc::code(ZRC_L_KCDSA, ZRC_F_GENERATE_KCDSA_KEY_PAIR, reason);
    };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    const std::uint32_t reason = zrc::generate_key_pair(unit, user_input, user_input_length, {ZRC_HAS160, true});
    return reason == 0 ? 0 : fail(reason);
}
