// The Miller-Rabin test of an odd number by one witness, in limbs and without a secret-dependent branch in the
// exponentiation: the numbers tested become primes of private keys.
#pragma once

#include "bigint/exponentiation.hpp"
#include "bigint/limb.hpp"
#include "bigint/mod_exp.hpp"
#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// As the exported tests return them.
enum class verdict : std::int32_t {
    composite = -1,
    failed = 0, // no memory
    probable_prime = 1,
};

// n = 2^s d + 1 with d odd.
class witnessed_number {
public:
    // Room for numbers of up to `words` words.
    explicit witnessed_number(std::size_t words) noexcept;

    bool missing() const noexcept { return memory_.missing(); }

    // n is odd and above 2.
    void set(const ZRC_BIGINT& n) noexcept;

    // The length of n - 1, which is that of n.
    std::int32_t bits() const noexcept { return std::int32_t(bits_); }

    // Takes a witness, normalised, of 1 to bits() bits: a value above n - 1 is reduced modulo that, n - 1 itself not.
    void set_witness(const ZRC_BIGINT& witness) noexcept;

    mod_exp_task power() const noexcept { return {x_, x_, n_, limbs_, d_, bits_}; } // the witness to the power of d
    verdict after_power() noexcept;                                                 // what power() has come to

private:
    bool is_one() const noexcept;
    bool is_minus_one() const noexcept;

    exponentiation_memory<limb> memory_;
    limb* n_ = nullptr;
    limb* d_ = nullptr; // with as many limbs as n: its length tells nothing
    limb* x_ = nullptr;
    std::size_t limbs_ = 0, bits_ = 0, s_ = 0;
};

verdict test_witness(witnessed_number& number) noexcept;

// Two at once, which takes less than twice the time.
struct verdict_pair {
    verdict first, second;
};
verdict_pair test_witnesses(witnessed_number& first, witnessed_number& second) noexcept;

} // namespace zrc
