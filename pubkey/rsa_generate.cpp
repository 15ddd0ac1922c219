// Generation of RSA key pairs, with the pairwise consistency test.
#include "bigint/euclid.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/bigint_prime.h"
#include "kestrim/rsa_schemes.h"
#include "kestrim_crypto.h"
#include "pubkey/rsa_key.hpp"
#include "pubkey/secret_buffer.hpp"
#include "pubkey/secret_frame.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace zrc {
namespace {

constexpr std::int32_t kLeastBits = 8, kLeastProvenBits = 2048;
constexpr std::int32_t kRounds = 10; // of the test of e
constexpr int kMostEqualDraws = 3;
constexpr std::int32_t kCompleteKey = 0x1F;

constexpr std::int32_t kByPhi = 1, kByLambda = 2; // what d is an inverse modulo

// The two generators differ in where random numbers come from and in the digest of the pairwise test.
struct generator {
    std::uint32_t function; // of the codes
    std::int32_t (*is_prime)(const ZRC_BIGINT* n, std::int32_t rounds, ZRC_BIGINT_POOL* pool);
    std::uint32_t (*draw_prime)(ZRC_BIGINT* r, std::int32_t bits, ZRC_BIGINT_POOL* pool);
    std::int32_t digest_id;
};

constexpr std::int32_t kDefaultSource = 0; // of the legacy generator

constexpr generator kPlain = {
    ZRC_F_GENERATE_RSA_PARAMS,
    [](const ZRC_BIGINT* n, std::int32_t rounds, ZRC_BIGINT_POOL* pool) {
        return ZRC_Is_BIGINT_Prime(n, rounds, pool, kDefaultSource);
    },
    [](ZRC_BIGINT* r, std::int32_t bits, ZRC_BIGINT_POOL* pool) {
        return ZRC_Generate_BIGINT_Prime(r, bits, pool, kDefaultSource);
    },
    0, // the default of the scheme
};

constexpr generator kApproved = {ZRC_F_GENERATE_RSA_PARAMS_EX, ZRC_Is_BIGINT_Prime_Ex, ZRC_Generate_BIGINT_Prime_Ex,
                                 ZRC_SHA256};

// a = a / divisor for an odd divisor of a, from the lowest word up (T. Jebelean, "An algorithm for exact division",
// 1993): the lowest word of what is left tells the next word of the quotient.
void divide_exactly(ZRC_BIGINT& a, std::uint32_t divisor) noexcept
{
    std::uint32_t inverse = divisor; // modulo 2^3; each step doubles the bits
    for (int bits = 3; bits < kWordBits; bits *= 2)
        inverse *= 2 - divisor * inverse;
    std::uint32_t owed = 0;
    for (std::int32_t i = 0; i < a.length; ++i) {
        const std::uint32_t word = a.data[i], quotient = (word - owed) * inverse;
        owed = std::uint32_t(std::uint64_t{quotient} * divisor >> kWordBits) + std::uint32_t{word < owed};
        a.data[i] = quotient;
    }
    set_length(a, a.length);
}

// One generation. Each step returns whether the next one follows; if not, status_ is the result of the whole.
class key_generation {
public:
    key_generation(ZRC_RSA_UNIT& unit, const generator& how) noexcept : unit_{unit}, how_{how}, frame_{unit.pool} {}

    std::uint32_t run(const ZRC_BIGINT& e, std::int32_t bits, std::int32_t version) noexcept
    {
        const std::int32_t q_bits = bits / 2;
        static_cast<void>(take_temporaries() && make_parts() && take_exponent(e) && draw_p(bits - q_bits) &&
                          draw_q(q_bits) && order_primes() && make_modulus(version) && make_exponents() && finish());
        return status_;
    }

private:
    // Ends the generation with a code of the function, or of what it called; 0 leaves the key incomplete.
    bool fail(std::uint32_t reason) noexcept { return stop(code(ZRC_L_RSA, how_.function, reason)); }
    bool stop(std::uint32_t status) noexcept
    {
        status_ = status;
        return false;
    }

    bool made(bool done) noexcept { return done || fail(ZRC_ERR_MALLOC); }
    bool worked(std::uint32_t status) noexcept { return status == 0 || stop(status); }

    bool take_temporaries() noexcept
    {
        if (!frame_.open()) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
        for (ZRC_BIGINT** temporary : {&p_order_, &q_order_, &order_, &scratch_, &zero_}) {
            *temporary = frame_.get();
            if (!*temporary) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
        }
        return true;
    }

    bool make_parts() noexcept
    {
        for (ZRC_BIGINT** part :
             {&unit_.e, &unit_.d, &unit_.n, &unit_.p, &unit_.dP, &unit_.q, &unit_.dQ, &unit_.qInv}) {
            if (!*part) *part = ZRC_New_BIGINT();
            if (!*part) return fail(ZRC_ERR_MALLOC);
        }
        return true;
    }

    // With e = 2, which is prime, no p would ever do: p - 1 is even.
    bool take_exponent(const ZRC_BIGINT& e) noexcept
    {
        if (ZRC_Copy_BIGINT(unit_.e, &e) != 0) return fail(ZRC_ERR_MALLOC);
        set_length(*unit_.e, unit_.e->length);
        drop_blinding(unit_); // of an earlier key
        const bool two = unit_.e->length == 1 && unit_.e->data[0] == 2;
        if (two || how_.is_prime(unit_.e, kRounds, unit_.pool) != 1) return fail(ZRC_ERR_IS_BIGINT_PRIME);
        return true;
    }

    bool draw_p(std::int32_t bits) noexcept
    {
        bool suits = false;
        while (!suits) {
            if (!worked(how_.draw_prime(unit_.p, bits, unit_.pool))) return false;
            if (!set_order(p_order_, unit_.p, suits)) return false;
        }
        return true;
    }

    // The third draw in a row that gives p again ends the generation with success and an incomplete key.
    bool draw_q(std::int32_t bits) noexcept
    {
        bool suits = false;
        while (!suits) {
            int equal = 0;
            do {
                if (equal == kMostEqualDraws) return stop(0);
                if (!worked(how_.draw_prime(unit_.q, bits, unit_.pool))) return false;
                ++equal;
            } while (secret_equal(unit_.p, unit_.q));
            if (!set_order(q_order_, unit_.q, suits)) return false;
        }
        return true;
    }

    // order = prime - 1; `suits`: it has no divisor in common with e.
    bool set_order(ZRC_BIGINT* order, const ZRC_BIGINT* prime, bool& suits) noexcept
    {
        return made(secret_sub_word(order, prime, 1)) && is_coprime_to_e(order, suits);
    }

    // By the remainder: what can be seen of the second step tells little of a secret that is much longer than e.
    bool is_coprime_to_e(const ZRC_BIGINT* secret, bool& coprime) noexcept
    {
        if (!made(secret_mod(scratch_, secret, unit_.e))) return false;
        if (!worked(zrc_Gcd_BIGINT(scratch_, scratch_, unit_.e, unit_.pool))) return false;
        coprime = secret_is_one(scratch_);
        return true;
    }

    bool order_primes() noexcept
    {
        if (!secret_less(unit_.p, unit_.q)) return true;
        std::swap(unit_.p, unit_.q);
        std::swap(p_order_, q_order_);
        return true;
    }

    bool make_modulus(std::int32_t version) noexcept
    {
        if (!made(secret_mul_add(unit_.n, unit_.p, unit_.q, zero_))) return false;
        if (!made(secret_mul_add(order_, p_order_, q_order_, zero_))) return false;
        if (version == kByPhi) return true;
        return worked(zrc_Gcd_BIGINT(scratch_, p_order_, q_order_, unit_.pool)) &&
               worked(ZRC_Div_BIGINT(order_, nullptr, order_, scratch_, unit_.pool));
    }

    bool make_exponents() noexcept
    {
        bool coprime = false;
        if (!is_coprime_to_e(order_, coprime)) return false;
        if (!coprime) return stop(0);
        if (!make_private_exponent()) return false;
        return made(secret_mod(unit_.dP, unit_.d, p_order_) && secret_mod(unit_.dQ, unit_.d, q_order_) &&
                    secret_mod_inverse(unit_.qInv, unit_.q, unit_.p));
    }

    // d = e^-1 modulo the order. That is even, which the steady inversion cannot do; but e d = 1 + k order with a k
    // below e, namely -1 / order mod e.
    bool make_private_exponent() noexcept
    {
        if (unit_.e->length > 1) return worked(ZRC_Mod_Inverse_BIGINT(unit_.d, unit_.e, order_, unit_.pool));
        const std::uint32_t e = unit_.e->data[0];
        if (!made(secret_mod(scratch_, order_, unit_.e) && secret_mod_inverse(scratch_, scratch_, unit_.e)))
            return false;
        scratch_->data[0] = e - scratch_->data[0];
        if (!made(secret_mul_add(unit_.d, order_, scratch_, ZRC_Value_One_BIGINT()))) return false;
        divide_exactly(*unit_.d, e);
        return true;
    }

    bool finish() noexcept
    {
        unit_.key_flags = kCompleteKey;
        return worked(generate_RSA_BLINDING(&unit_)) && test_pair();
    }

    // The pairwise consistency test: what one half encrypts, the other one decrypts.
    bool test_pair() noexcept
    {
        const std::size_t k = rsa_modulus_bytes(unit_);
        secret_buffer buffers{2 * k};
        if (!buffers) return fail(ZRC_ERR_MALLOC);
        const std::uint32_t reason = test_pair_in(buffers.data(), buffers.data() + k);
        return reason == 0 || fail(reason);
    }

    std::uint32_t test_pair_in(std::uint8_t* encrypted, std::uint8_t* decrypted) noexcept
    {
        static constexpr std::uint8_t kMessage[] = {1, 2, 3};
        constexpr std::uint32_t kWithPublicKey = 0, kWithPrivateKey = 1;

        std::int32_t encrypted_length = 0, decrypted_length = 0;
        if (ZRC_Init_RSAES(&unit_, ZRC_RSAES_OAEP_V20, kWithPublicKey, how_.digest_id) != 0 ||
            ZRC_Encrypt_RSAES(&unit_, encrypted, &encrypted_length, kMessage, sizeof kMessage) != 0 ||
            ZRC_Init_RSAES(&unit_, ZRC_RSAES_OAEP_V20, kWithPrivateKey, how_.digest_id) != 0 ||
            ZRC_Decrypt_RSAES(&unit_, decrypted, &decrypted_length, encrypted, encrypted_length) != 0) {
            return ZRC_ERR_KEY_GEN_FAIL;
        }
        const bool same =
            decrypted_length == sizeof kMessage && std::ranges::equal(kMessage, std::span{decrypted, sizeof kMessage});
        return same ? 0 : ZRC_ERR_CONDITION_TEST_FAIL;
    }

    ZRC_RSA_UNIT& unit_;
    const generator& how_;
    secret_frame frame_;
    std::uint32_t status_ = 0;
    // Temporaries: p - 1, q - 1, what d is an inverse modulo, and a zero.
    ZRC_BIGINT* p_order_ = nullptr;
    ZRC_BIGINT* q_order_ = nullptr;
    ZRC_BIGINT* order_ = nullptr;
    ZRC_BIGINT* scratch_ = nullptr;
    ZRC_BIGINT* zero_ = nullptr;
};

std::uint32_t generate(ZRC_RSA_UNIT* unit, const ZRC_BIGINT* e, std::int32_t bits, std::int32_t version,
                       const generator& how, std::int32_t least_proven_bits) noexcept
{
    const auto fail = [&](std::uint32_t reason) { return code(ZRC_L_RSA, how.function, reason); };

    if (bits < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize(); failed != 0) return failed;
    if (bits < least_proven_bits && ZRC_Is_Proven() != 0) return fail(ZRC_ERR_NOT_SUPPORTED);
    if (!unit || !e || bits < kLeastBits) return fail(ZRC_ERR_INVALID_INPUT);
    if (version != kByPhi && version != kByLambda) return fail(ZRC_ERR_INVALID_INPUT);
    return key_generation{*unit, how}.run(*e, bits, version);
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Generate_RSA_Params(ZRC_RSA_UNIT* unit, const ZRC_BIGINT* e, std::int32_t bits, std::int32_t version)
{
    constexpr std::int32_t kNoRule = 0;
    return zrc::generate(unit, e, bits, version, zrc::kPlain, kNoRule);
}

std::uint32_t ZRC_Generate_RSA_Params_Ex(ZRC_RSA_UNIT* unit, const ZRC_BIGINT* e, std::int32_t bits,
                                         std::int32_t version)
{
    return zrc::generate(unit, e, bits, version, zrc::kApproved, zrc::kLeastProvenBits);
}
