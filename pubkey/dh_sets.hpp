// The Diffie-Hellman parameter sets that ship with the library, as the seeds and counters that they come from.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace zrc {

inline constexpr std::size_t kDhSets = 100;

// FIPS 186-4, A.1.1.2 with SHA-256. The seed is big-endian in words, as long as q.
template <std::size_t SeedWords>
struct dh_set_record {
    std::array<std::uint32_t, SeedWords> seed;
    std::uint16_t counter;
};

extern const std::array<dh_set_record<5>, kDhSets> dh_sets_1024; // p of 1024 bits, q of 160
extern const std::array<dh_set_record<8>, kDhSets> dh_sets_2048; // p of 2048 bits, q of 256

} // namespace zrc
