// Domain parameters of DSA and Diffie-Hellman from a seed (FIPS 186-4, A.1.1.2 and A.2.3): what chance has no part
// in.
#pragma once

#include "core/bytes.hpp"
#include "kestrim/digest.h"
#include "pubkey/group_signature.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace zrc {

// 1024/160, 2048/224, 2048/256 or 3072/256 bits.
bool is_dsa_size(std::int32_t p_bits, std::int32_t q_bits) noexcept;

// The witnesses that p and q pass when they are generated: those of Table C.1 without a Lucas test. A few are enough
// where parameters of this library are derived once more.
std::int32_t dsa_witnesses(std::int32_t p_bits) noexcept;
inline constexpr std::int32_t kRepeatedWitnesses = 2;

// The index that goes into g.
inline constexpr std::uint8_t kGeneratorIndex = 1;

// One search: q from a seed, p from the seed and a counter, g from the seed and an index.
class dsa_domain {
public:
    static constexpr std::size_t kMostSeedBytes = 64;

    // What came of a step: 0, a reason, or that the seed or the counter will not do.
    static constexpr std::uint32_t kUnfit = 0x100;

    // The digest is initialised and has q_bits bits or more; the size is a served one.
    dsa_domain(ZRC_DIGEST_UNIT& digest, std::int32_t p_bits, std::int32_t q_bits, std::int32_t witnesses) noexcept;

    // False: there is no memory.
    bool complete() const noexcept { return p_ && q_ && g_ && number_ && pool_; }

    // The seed has 1 to kMostSeedBytes bytes.
    std::uint32_t set_seed(byte_span seed) noexcept;           // q; unfit: it is composite
    std::uint32_t set_counter(std::uint32_t counter) noexcept; // p; unfit: it is composite or too short
    std::uint32_t find_counter() noexcept;                     // the first counter that fits; unfit: none does
    std::uint32_t set_generator(std::uint8_t index) noexcept;  // g, never unfit when p and q are primes

    std::uint32_t counter() const noexcept { return counter_; }
    std::size_t least_seed_bytes() const noexcept { return std::size_t(q_bits_ / 8); }
    const ZRC_BIGINT& p() const noexcept { return *p_; }
    const ZRC_BIGINT& q() const noexcept { return *q_; }
    const ZRC_BIGINT& g() const noexcept { return *g_; }

    // Hands the numbers and the record over to a clean unit of DSA or Diffie-Hellman.
    void give_to(auto& unit) noexcept
    {
        unit.p = p_.release();
        unit.q = q_.release();
        unit.g = g_.release();
        std::memcpy(unit.seed, seed_.data(), seed_bytes_);
        unit.seed_length = std::int32_t(seed_bytes_);
        unit.counter = std::int32_t(counter_);
    }

private:
    void add_to_seed(std::span<std::uint8_t> sum, std::uint32_t addend) const noexcept;
    std::uint32_t hash(byte_span input, std::uint8_t* output) noexcept;
    std::uint32_t set_candidate(std::uint32_t offset) noexcept;
    std::uint32_t set_power(std::uint8_t index, std::uint16_t count) noexcept;
    std::uint32_t test(const ZRC_BIGINT& n) noexcept;

    ZRC_DIGEST_UNIT& digest_;
    std::int32_t p_bits_, q_bits_, witnesses_;
    std::array<std::uint8_t, kMostSeedBytes> seed_{};
    std::size_t seed_bytes_ = 0;
    std::uint32_t counter_ = 0;
    owned<ZRC_BIGINT_POOL, ZRC_Free_BIGINT_Pool> pool_;
    owned_number p_, q_, g_, number_;
};

// All of it from random seeds of the approved generator. Returns 0 or the reason.
std::uint32_t find_domain(dsa_domain& domain) noexcept;

} // namespace zrc
