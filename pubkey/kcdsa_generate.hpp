// KCDSA domain parameters and private keys from given random values (TTAK.KO-12.0001): what chance has no part in.
#pragma once

#include "core/bytes.hpp"
#include "pubkey/kcdsa.hpp"
#include "pubkey/trial_division.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {

// The generator PPGF: the last `bits` bits of ... || H(seed || 02) || H(seed || 01) || H(seed || 00), big-endian in
// (bits + 7) / 8 bytes, which `output` has; 256 digests at most. The digest is ready for another message. Returns 0 or
// the reason of the digest's failure.
std::uint32_t ppgf(std::span<std::uint8_t> output, std::size_t bits, ZRC_DIGEST_UNIT& digest, byte_span seed) noexcept;

inline constexpr std::size_t kMostPrivateBytes = 64; // of the q of a generated key

// One search for p = 2 J q + 1 with prime J, q and p. J comes from a seed, q from the seed and a counter.
class kcdsa_domain {
public:
    static constexpr std::uint32_t kLastCount = 1U << 24;
    static constexpr std::size_t kMostSeedBytes = 32;

    // What came of a step: 0, a reason, or that the seed or the count will not do.
    static constexpr std::uint32_t kUnfit = 0x100;

    // The digest is initialised. p has 512 to 4096 bits, q 160 to 256; multiples of 8.
    kcdsa_domain(ZRC_DIGEST_UNIT& digest, std::int32_t p_bits, std::int32_t q_bits) noexcept;

    // False: there is no memory.
    bool complete() const noexcept { return p_ && q_ && g_ && J_ && pool_; }

    std::uint32_t set_seed(byte_span seed) noexcept;       // J; unfit: it is composite. The seed has q_bits / 8 bytes
    std::uint32_t set_count(std::uint32_t count) noexcept; // q and p; unfit: one of them is not prime, or p too long
    std::uint32_t find_count() noexcept;                   // the first count that fits; unfit: none does
    std::uint32_t set_generator(const ZRC_BIGINT& h) noexcept; // g = h^(2 J) mod p; unfit: it is 1 or 0

    byte_span seed() const noexcept { return {seed_.data(), std::size_t(q_bits_ / 8)}; }
    std::uint32_t count() const noexcept { return count_; }
    const ZRC_BIGINT* p() const noexcept { return p_.get(); }
    ZRC_BIGINT_POOL* pool() const noexcept { return pool_.get(); }

    // Hands the numbers and the record over to a clean unit.
    void give_to(ZRC_KCDSA_UNIT& unit) noexcept;

private:
    std::uint32_t test(const ZRC_BIGINT& n, std::int32_t bits) noexcept;
    bool passes_trial_division() const noexcept;
    bool set_p() noexcept;

    ZRC_DIGEST_UNIT& digest_;
    std::int32_t p_bits_, q_bits_;
    std::array<std::uint8_t, kMostSeedBytes> seed_{};
    std::uint32_t count_ = 0;
    std::array<std::uint32_t, kMostTrialGroups> J_residues_{};
    owned<ZRC_BIGINT_POOL, ZRC_Free_BIGINT_Pool> pool_;
    owned_number p_, q_, g_, J_;
};

// x = PPGF((XKEY + PPGF(user, b)) mod 2^b, b) mod q, where b = bits(q), 512 at most; 0 is no private key. `xkey` has
// (b + 7) / 8 bytes, of which the last b bits count. Returns 0 or a reason. The time does not depend on xkey.
std::uint32_t kcdsa_private_key(ZRC_BIGINT& x, ZRC_DIGEST_UNIT& digest, byte_span user, byte_span xkey,
                                const ZRC_BIGINT& q) noexcept;

} // namespace zrc
