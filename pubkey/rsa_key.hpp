// What the RSA schemes need of a key: its size, its consistency, and the operation with the private half.
#pragma once

#include "kestrim/rsa.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// k: bytes of the modulus; 0 without one.
std::size_t rsa_modulus_bytes(const ZRC_RSA_UNIT& unit) noexcept;

// Makes the blinding pair of the key: r^e mod n and r^-1 mod n for a random r. Returns 0, the code of the arithmetic
// or of the generator, or 1 (no n or e, no memory, no usable r). After a failure the key has no pair.
std::uint32_t generate_RSA_BLINDING(ZRC_RSA_UNIT* unit) noexcept;

// Releases the pair.
void drop_blinding(ZRC_RSA_UNIT& unit) noexcept;

// p, q, n, e and d are all there.
bool has_rsa_key_pair(const ZRC_RSA_UNIT& unit) noexcept;

// The key, the mode word and use_crt let the private operation take the Chinese remainder theorem, which needs no d;
// the few bases that are too short for it, and every other key, do.
bool may_take_crt(const ZRC_RSA_UNIT& unit) noexcept;

// 0 when e d = 1 modulo (p - 1)(q - 1) or modulo the least common multiple of p - 1 and q - 1; else 1, also for a
// missing number and without memory. n is not compared with p q.
std::uint32_t verify_RSA_KEY(const ZRC_RSA_UNIT* unit) noexcept;

// result = input^d mod p q by the Chinese remainder theorem; zero words may stand on top of it. Returns 0, or 1 for a
// missing number, primes that are even or below 3, and without memory.
std::uint32_t crt_RSA(ZRC_RSA_UNIT* unit, ZRC_BIGINT* result, const ZRC_BIGINT* input) noexcept;

// Where rsa_private_operation() ended.
enum class private_step {
    done,
    blinding,
    key_pair,
    crt,
    exponent, // there is no d
    exponentiation,
    unblinding
};

struct private_outcome {
    private_step failed;
    std::uint32_t code; // of the failed step: an error code, or 1 where there is none
};

// y = x^d mod n for x < n, blinded; y may be x. The blinding pair is made when it is missing; the key pair is checked,
// when it is there and the caller has not done so. The time depends on the sizes of the numbers, not on what the
// private ones hold.
private_outcome rsa_private_operation(ZRC_RSA_UNIT& unit, ZRC_BIGINT& y, const ZRC_BIGINT& x,
                                      bool check_key_pair) noexcept;

} // namespace zrc
