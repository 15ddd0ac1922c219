// Finds, above a random odd number, one that no small prime divides, nor any odd small prime its predecessor.
#pragma once

#include "bigint/limb.hpp"
#include "bigint/small_primes.hpp"
#include "core/secret.hpp"
#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

class prime_sieve {
public:
    // No such number: what find() returns where the search ends.
    static constexpr std::uint32_t kNone = 0xFFFFBA3A; // 2^32 - 17,862

    // For numbers of `bits` bits. Only primes below the root of all of them count: a larger one would refuse itself.
    explicit prime_sieve(std::uint32_t bits) noexcept;

    // The smallest even delta for which candidate + delta is neither 0 nor 1 modulo all primes that count. The
    // candidate is odd and has `bits` bits.
    std::uint32_t find(const ZRC_BIGINT& candidate) noexcept;

private:
    static constexpr std::size_t kWindow = 512; // steps of 2; of large candidates one step in about 115 passes

    void start_at(const ZRC_BIGINT& candidate) noexcept;
    void set_steps(std::size_t group, limb distance) noexcept;
    void mark_window() noexcept;

    std::size_t primes_, limbs_;
    limb scale_[kSmallPrimes / (kLimbBits / 16)]; // B^(limbs_ + 1) modulo the product of each group of primes
    // The steps of 2 from the start of the window to the next multiple of each prime. Entry 0 is not used.
    secret_array<std::uint16_t, kSmallPrimes> steps_;
    // Not 0 for a step of the window that does not pass. The last entry stands for all beyond it.
    secret_array<std::uint8_t, kWindow + 1> refused_;
};

} // namespace zrc
