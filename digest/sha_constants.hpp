// Constants of the SHA family (FIPS 180-4, 4.2 and 5.3). Those of SHA-2 are the beginnings of the fractions of square
// and cube roots of primes and are computed here.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {

namespace sha_roots {

// An unsigned number, 32 bits to a digit, lowest digit first. A plain array: fewer evaluation steps than std::array,
// whose every access is a call.
template <std::size_t N>
struct number {
    std::uint32_t digits[N];
};

template <std::size_t A, std::size_t B>
constexpr number<A + B> operator*(const number<A>& a, const number<B>& b)
{
    number<A + B> product{};
    for (std::size_t i = 0; i < A; ++i) {
        std::uint64_t carry = 0; // a digit squared plus two digits is at most 2^64 - 1
        for (std::size_t j = 0; j < B; ++j) {
            carry += std::uint64_t{a.digits[i]} * b.digits[j] + product.digits[i + j];
            product.digits[i + j] = std::uint32_t(carry);
            carry >>= 32;
        }
        product.digits[i + B] = std::uint32_t(carry);
    }
    return product;
}

template <unsigned Degree>
constexpr auto power(const number<3>& base)
{
    if constexpr (Degree == 2)
        return base * base;
    else
        return power<Degree - 1>(base) * base;
}

// The first 64 bits of the fraction of the Degree-th root of `prime`, a prime below 8^Degree. The root is found bit
// by bit as a number with two digits of fraction, so its power has 2 * Degree of them. The root is irrational: a
// number is below it exactly when the whole part of its power is below the prime. constexpr only: a consteval
// function Clang 14 would run twice for each root.
template <unsigned Degree>
constexpr std::uint64_t root_fraction(unsigned prime)
{
    number<3> root{};
    for (unsigned bit = 64 + 3; bit-- != 0;) {
        number<3> larger = root;
        larger.digits[bit / 32] |= std::uint32_t{1} << bit % 32;
        if (power<Degree>(larger).digits[2 * Degree] < prime) root = larger;
    }
    return std::uint64_t{root.digits[1]} << 32 | root.digits[0];
}

template <std::size_t Count>
consteval std::array<unsigned, Count> first_primes()
{
    std::array<unsigned, Count> primes{};
    std::size_t found = 0;
    for (unsigned candidate = 2; found < Count; ++candidate) {
        bool prime = true;
        for (std::size_t i = 0; i < found && prime; ++i)
            prime = candidate % primes[i] != 0;
        if (prime) primes[found++] = candidate;
    }
    return primes;
}

inline constexpr auto kPrimes = first_primes<80>();

// A constant expression to each root: all of them in one would come near Clang's limit on evaluation steps.
template <unsigned Degree, std::size_t Index>
inline constexpr std::uint64_t kRootFraction = root_fraction<Degree>(kPrimes[Index]);

// Root fractions of Count primes from number First on, counted from 0.
template <unsigned Degree, std::size_t First, std::size_t Count>
consteval std::array<std::uint64_t, Count> root_fractions()
{
    return []<std::size_t... Index>(std::index_sequence<Index...>)
    {
        return std::array<std::uint64_t, Count>{kRootFraction<Degree, First + Index>...};
    }
    (std::make_index_sequence<Count>{});
}

template <std::size_t Count>
consteval std::array<std::uint32_t, Count> halves(const auto& words, unsigned shift)
{
    std::array<std::uint32_t, Count> result{};
    for (std::size_t i = 0; i < Count; ++i)
        result[i] = std::uint32_t(words[i] >> shift);
    return result;
}

} // namespace sha_roots

inline constexpr std::array<std::uint32_t, 5> kSha1Initial{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

// Initial values: square roots of the first eight primes (SHA-512, and its high halves for SHA-256) and of the eight
// after them (SHA-384, and its low halves for SHA-224).
inline constexpr std::array<std::uint64_t, 8> kSha512Initial = sha_roots::root_fractions<2, 0, 8>();
inline constexpr std::array<std::uint64_t, 8> kSha384Initial = sha_roots::root_fractions<2, 8, 8>();
inline constexpr std::array<std::uint32_t, 8> kSha256Initial = sha_roots::halves<8>(kSha512Initial, 32);
inline constexpr std::array<std::uint32_t, 8> kSha224Initial = sha_roots::halves<8>(kSha384Initial, 0);

// Round constants: cube roots of the first 80 primes (SHA-512), and the high halves of the first 64 of them
// (SHA-256).
alignas(64) inline constexpr std::array<std::uint64_t, 80> kSha512K = sha_roots::root_fractions<3, 0, 80>();
alignas(64) inline constexpr std::array<std::uint32_t, 64> kSha256K = sha_roots::halves<64>(kSha512K, 32);

static_assert(kSha512Initial[0] == 0x6A09E667F3BCC908 && kSha512Initial[7] == 0x5BE0CD19137E2179);
static_assert(kSha512Initial[4] == 0x510E527FADE682D1);
static_assert(kSha384Initial[0] == 0xCBBB9D5DC1059ED8 && kSha384Initial[7] == 0x47B5481DBEFA4FA4);
static_assert(kSha384Initial[4] == 0x67332667FFC00B31);
static_assert(kSha256Initial[0] == 0x6A09E667 && kSha256Initial[4] == 0x510E527F && kSha256Initial[7] == 0x5BE0CD19);
static_assert(kSha224Initial[0] == 0xC1059ED8 && kSha224Initial[4] == 0xFFC00B31 && kSha224Initial[7] == 0xBEFA4FA4);
static_assert(kSha512K[0] == 0x428A2F98D728AE22 && kSha512K[79] == 0x6C44198C4A475817);
static_assert(kSha512K[40] == 0xA2BFE8A14CF10364);
static_assert(kSha256K[0] == 0x428A2F98 && kSha256K[32] == 0x27B70A85 && kSha256K[63] == 0xC67178F2);

} // namespace zrc
