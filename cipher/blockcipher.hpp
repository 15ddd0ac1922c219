// What the parts of the block cipher unit share.
#pragma once

#include "core/owned.hpp"
#include "kestrim/block_cipher.h"

#include <cstdint>

namespace zrc {

constexpr std::int32_t kInitialized = -1; // the state marker of a unit after Init

using owned_block_cipher_unit = owned<ZRC_BLOCK_CIPHER_UNIT, ZRC_Free_BLOCK_CIPHER_Unit>;

// Bound, keyed, and with counts that fit: what Update, Final and export ask of a unit.
bool is_ready(const ZRC_BLOCK_CIPHER_UNIT* unit) noexcept;

// Allocates the schedule of a bound unit, cleared: a unit that is never keyed, and the half of a schedule that is not made,
// hold zeros.
bool allocate_schedule(ZRC_BLOCK_CIPHER_UNIT& unit) noexcept;

// Place of a cipher in the table of ciphers, and of a mode among ECB, CBC, CFB (CFB128), OFB and CTR; -1 for others.
int cipher_index(std::uint32_t id) noexcept;
int mode_place(std::uint32_t mode) noexcept;

// A whole message through a unit that is ready for one: Update and Final, with the lengths of both added up.
// Returns 0, ZRC_ERR_UPDATE_BLOCKCIPHER_FAIL or ZRC_ERR_FINAL_BLOCKCIPHER_FAIL.
std::uint32_t process_message(ZRC_BLOCK_CIPHER_UNIT& unit, const std::uint8_t* in, std::int32_t length,
                              std::uint8_t* out, std::int32_t* out_length) noexcept;

} // namespace zrc
