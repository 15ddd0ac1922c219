// The code that builds AES schedules: choice among the implementations.
#pragma once

#include "core/kernel.hpp"
#include "kestrim/aes.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// Fills the whole of `schedule`, for one direction, from a key of 4, 6 or 8 words (FIPS 197, 5.2 and 5.3.5): behind
// the last round key there are zeros.
using aes_schedule_fn = void (*)(const std::uint8_t* key, std::size_t key_words, bool decryption,
                                 ZRC_AES_KEY& schedule) noexcept;

extern kernel_choice<aes_schedule_fn> aes_schedules;

} // namespace zrc
