// The public half of the key that signs the finished library file. The build writes the source file that defines it.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zrc {

inline constexpr std::size_t kIntegrityKeyBytes = 256; // of the modulus, and of the signature behind the file

extern const std::uint8_t kIntegrityModulus[kIntegrityKeyBytes]; // big-endian; the exponent is 65537

} // namespace zrc
