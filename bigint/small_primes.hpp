// The first 2,048 primes, computed by the compiler.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

inline constexpr std::size_t kSmallPrimes = 2048;
inline constexpr unsigned kLastSmallPrime = 17863;

// The sieve of Eratosthenes over the odd numbers.
consteval std::array<std::uint16_t, kSmallPrimes> make_small_primes()
{
    bool composite[kLastSmallPrime / 2 + 1] = {}; // entry i stands for 2 i + 1
    std::array<std::uint16_t, kSmallPrimes> primes{2};
    std::size_t count = 1;
    for (unsigned n = 3; n <= kLastSmallPrime; n += 2) {
        if (composite[n / 2]) continue;
        primes[count++] = std::uint16_t(n); // a prime beyond the last place does not compile
        for (unsigned multiple = n * n; multiple <= kLastSmallPrime; multiple += 2 * n)
            composite[multiple / 2] = true;
    }
    return primes;
}

// 4,096 bytes: 2, 3, 5, ..., 17863.
alignas(64) inline constexpr std::array<std::uint16_t, kSmallPrimes> small_prime = make_small_primes();

consteval std::uint32_t sum_of_small_primes()
{
    std::uint32_t sum = 0;
    for (const std::uint16_t prime : small_prime)
        sum += prime;
    return sum;
}

static_assert(small_prime.front() == 2 && small_prime[1] == 3 && small_prime.back() == kLastSmallPrime);
static_assert(sum_of_small_primes() == 17120309);

} // namespace zrc
