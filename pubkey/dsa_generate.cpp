// Domain parameters of DSA and Diffie-Hellman (FIPS 186-4, A.1.1.2 and A.2.3), and key pairs of DSA (B.1.2).
#include "pubkey/dsa_generate.hpp"

#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "kestrim/drbg.h"
#include "kestrim/state.h"
#include "pubkey/dsa.hpp"
#include "pubkey/trial_division.hpp"

#include <algorithm>
#include <utility>

namespace zrc {
namespace {

constexpr std::size_t kMostPrimeBytes = 384, kMostOutputBytes = 64;

struct dsa_size {
    std::int32_t p_bits, q_bits, witnesses;
};
constexpr dsa_size kSizes[] = {{1024, 160, 40}, {2048, 224, 56}, {2048, 256, 56}, {3072, 256, 64}};

// n = bytes with the top bit set. False without memory.
bool set_number(ZRC_BIGINT* n, std::span<std::uint8_t> bytes) noexcept
{
    bytes.front() |= 0x80;
    return ZRC_Binary_To_BIGINT(bytes.data(), std::int32_t(bytes.size()), n) != nullptr;
}

} // namespace

bool is_dsa_size(std::int32_t p_bits, std::int32_t q_bits) noexcept
{
    return std::ranges::any_of(kSizes, [&](auto size) { return size.p_bits == p_bits && size.q_bits == q_bits; });
}

std::int32_t dsa_witnesses(std::int32_t p_bits) noexcept
{
    return std::ranges::find(kSizes, p_bits, &dsa_size::p_bits)->witnesses;
}

dsa_domain::dsa_domain(ZRC_DIGEST_UNIT& digest, std::int32_t p_bits, std::int32_t q_bits,
                       std::int32_t witnesses) noexcept
    : digest_{digest}, p_bits_{p_bits}, q_bits_{q_bits}, witnesses_{witnesses}, pool_{ZRC_New_BIGINT_Pool()},
      p_{ZRC_New_BIGINT()}, q_{ZRC_New_BIGINT()}, g_{ZRC_New_BIGINT()}, number_{ZRC_New_BIGINT()}
{
}

std::uint32_t dsa_domain::hash(byte_span input, std::uint8_t* output) noexcept
{
    if (ZRC_Update_DIGEST(&digest_, input.data(), std::int32_t(input.size())) != 0) return ZRC_ERR_UPDATE_DIGEST_FAIL;
    return ZRC_Final_DIGEST(&digest_, output, nullptr) == 0 ? 0U : std::uint32_t{ZRC_ERR_FINAL_DIGEST_FAIL};
}

// Steps 6 and 7: q = 2^(N - 1) + (Hash(seed) mod 2^(N - 1)), made odd.
std::uint32_t dsa_domain::set_seed(byte_span seed) noexcept
{
    std::copy(seed.begin(), seed.end(), seed_.begin());
    seed_bytes_ = seed.size();
    std::array<std::uint8_t, kMostOutputBytes> output;
    if (const std::uint32_t reason = hash(seed, output.data()); reason != 0) return reason;
    const auto end = std::size_t(digest_.digest_length);
    output[end - 1] |= 1;
    if (!set_number(q_.get(), std::span{output}.first(end).last(std::size_t(q_bits_ / 8)))) return ZRC_ERR_MEM_ALLOC;
    return test(*q_);
}

// Steps 11.1 to 11.8 for one counter.
std::uint32_t dsa_domain::set_counter(std::uint32_t counter) noexcept
{
    counter_ = counter;
    const auto output_bits = std::uint32_t(8 * digest_.digest_length);
    const std::uint32_t blocks = (std::uint32_t(p_bits_) + output_bits - 1) / output_bits;
    return set_candidate(1 + counter * blocks);
}

std::uint32_t dsa_domain::find_counter() noexcept
{
    std::uint32_t outcome = kUnfit;
    for (std::uint32_t counter = 0; outcome == kUnfit && counter < 4 * std::uint32_t(p_bits_); ++counter)
        outcome = set_counter(counter);
    return outcome;
}

// g = Hash(seed || "ggen" || index || count)^((p - 1) / q) mod p for the first count that gives 2 or more.
std::uint32_t dsa_domain::set_generator(std::uint8_t index) noexcept
{
    // The quotient (p - 1) / q, as that of p: q does not divide p.
    if (ZRC_Div_BIGINT(number_.get(), nullptr, p_.get(), q_.get(), pool_.get()) != 0) return ZRC_ERR_DIV_BIGINT_FAIL;
    std::uint32_t outcome = kUnfit;
    for (std::uint16_t count = 1; outcome == kUnfit && count != 0; ++count)
        outcome = set_power(index, count);
    return outcome;
}

std::uint32_t dsa_domain::set_power(std::uint8_t index, std::uint16_t count) noexcept
{
    std::array<std::uint8_t, kMostSeedBytes + 7> input;
    const std::uint8_t suffix[] = {'g', 'g', 'e', 'n', index, std::uint8_t(count >> 8), std::uint8_t(count)};
    std::copy_n(seed_.begin(), seed_bytes_, input.begin());
    std::ranges::copy(suffix, input.begin() + std::ptrdiff_t(seed_bytes_));
    std::array<std::uint8_t, kMostOutputBytes> output;
    const byte_span hashed{input.data(), seed_bytes_ + sizeof suffix};
    if (const std::uint32_t reason = hash(hashed, output.data()); reason != 0) return reason;
    if (!ZRC_Binary_To_BIGINT(output.data(), digest_.digest_length, g_.get())) return ZRC_ERR_MEM_ALLOC;
    switch (open_mod_exp(g_.get(), g_.get(), number_.get(), p_.get())) {
    case mod_exp_outcome::done:
        return ZRC_Get_BIGINT_Word(g_.get()) == 1 ? kUnfit : 0;
    case mod_exp_outcome::base_is_zero:
        return kUnfit;
    default:
        return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    }
}

// sum = seed + addend modulo 256^seed_bytes.
void dsa_domain::add_to_seed(std::span<std::uint8_t> sum, std::uint32_t addend) const noexcept
{
    std::uint64_t carry = addend;
    for (std::size_t i = sum.size(); i-- > 0; carry >>= 8) {
        carry += seed_[i];
        sum[i] = std::uint8_t(carry);
    }
}

// p = X - (X mod 2 q) + 1, where X = 2^(L - 1) + (V_n || ... || V_1 || V_0 mod 2^(L - 1)) and
// V_j = Hash(seed + offset + j).
std::uint32_t dsa_domain::set_candidate(std::uint32_t offset) noexcept
{
    std::array<std::uint8_t, kMostPrimeBytes + kMostOutputBytes> blocks;
    std::array<std::uint8_t, kMostSeedBytes> input;
    const auto prime_bytes = std::size_t(p_bits_ / 8), block_bytes = std::size_t(digest_.digest_length);
    std::size_t begin = blocks.size();
    for (; blocks.size() - begin < prime_bytes; ++offset) {
        begin -= block_bytes;
        const std::span sum = std::span{input}.first(seed_bytes_);
        add_to_seed(sum, offset);
        if (const std::uint32_t reason = hash(sum, blocks.data() + begin); reason != 0) return reason;
    }
    if (!set_number(p_.get(), std::span{blocks}.last(prime_bytes))) return ZRC_ERR_MEM_ALLOC;

    ZRC_BIGINT* const c = number_.get();
    if (zrc_Left_Shift_BIGINT(c, q_.get(), 1) != 0) return ZRC_ERR_LEFT_SHIFT_BIGINT_FAIL;
    if (ZRC_Div_BIGINT(nullptr, c, p_.get(), c, pool_.get()) != 0) return ZRC_ERR_DIV_BIGINT_FAIL;
    if (ZRC_Sub_BIGINT(p_.get(), p_.get(), c) != 0) return ZRC_ERR_SUB_BIGINT_FAIL;
    if (ZRC_Add_BIGINT_Word(p_.get(), 1) != 0) return ZRC_ERR_ADD_BIGINT_FAIL;
    if (ZRC_Get_BIGINT_Bits_Length(p_.get()) != std::uint32_t(p_bits_)) return kUnfit;
    return test(*p_);
}

std::uint32_t dsa_domain::test(const ZRC_BIGINT& n) noexcept
{
    if (has_small_divisor(n)) return kUnfit;
    const std::int32_t answer = ZRC_Is_BIGINT_Prime_Ex(&n, witnesses_ + 1, pool_.get()); // which counts one more
    if (answer == 0) return ZRC_ERR_IS_BIGINT_PRIME;
    return answer == 1 ? 0 : kUnfit;
}

std::uint32_t find_domain(dsa_domain& domain) noexcept
{
    std::array<std::uint8_t, dsa_domain::kMostSeedBytes> seed;
    const auto drawn = std::span{seed}.first(domain.least_seed_bytes());
    std::uint32_t outcome = dsa_domain::kUnfit;
    while (outcome == dsa_domain::kUnfit) {
        if (ZRC_Rand_Bytes(drawn.data(), std::int32_t(drawn.size())) != 0) return ZRC_ERR_GET_RAND_FAIL;
        outcome = domain.set_seed(drawn);
        if (outcome == 0) outcome = domain.find_counter();
    }
    return outcome == 0 ? domain.set_generator(kGeneratorIndex) : outcome;
}

namespace {

// Returns 0 or the reason.
std::uint32_t generate_domain(ZRC_DSA_UNIT& unit, std::int32_t p_bits, std::int32_t q_bits,
                              std::int32_t digest_id) noexcept
{
    const owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    if (!digest || ZRC_Init_DIGEST(digest.get(), digest_id) != 0) return ZRC_ERR_INIT_DIGEST_FAIL;
    if (8 * digest->digest_length < q_bits) return ZRC_ERR_NOT_SUPPORTED;
    dsa_domain domain{*digest, p_bits, q_bits, dsa_witnesses(p_bits)};
    if (!domain.complete()) return ZRC_ERR_MEM_ALLOC;
    if (const std::uint32_t reason = find_domain(domain); reason != 0) return reason;
    ZRC_Clean_DSA(&unit);
    domain.give_to(unit);
    unit.seed_digest_id = digest_id;
    return 0;
}

// Returns 0 or the reason.
std::uint32_t generate_key_pair(ZRC_DSA_UNIT& unit) noexcept
{
    if (ZRC_Get_BIGINT_Bits_Length(unit.p) > kMostModulusBits) return ZRC_ERR_NOT_SUPPORTED;
    if (ZRC_Get_BIGINT_Bits_Length(unit.q) < 2) return ZRC_ERR_NOT_SUPPORTED;
    owned_number x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
    if (!x || !y) return ZRC_ERR_MEM_ALLOC;
    if (draw_nonce(*x, *unit.q) != 0) return ZRC_ERR_GET_RAND_DSA_BIGINT_FAIL;
    if (!dsa_public_key(*y, unit, *x)) return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    set_length(*x, x->length); // how many words it has is public from here on
    replace_number(unit.x, std::move(x));
    replace_number(unit.y, std::move(y));
    return 0;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Generate_DSA_Params(ZRC_DSA_UNIT* unit, std::int32_t p_bits, std::int32_t q_bits,
                                      std::int32_t digest_id)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DSA, ZRC_F_GENERATE_DSA_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!zrc::is_dsa_size(p_bits, q_bits)) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::uint32_t reason = zrc::generate_domain(*unit, p_bits, q_bits, digest_id);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Generate_DSA_Key_Pair(ZRC_DSA_UNIT* unit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DSA, ZRC_F_GENERATE_DSA_KEY_PAIR, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit->p || !unit->q || !unit->g) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = zrc::generate_key_pair(*unit);
    return reason == 0 ? 0 : fail(reason);
}
