// How inner code forms an error code.
#pragma once

#include "kestrim/error.h"

#include <cstdint>

namespace zrc {

constexpr std::uint32_t code(std::uint32_t library, std::uint32_t function, std::uint32_t reason) noexcept
{
    return library << 24 | function << 16 | reason;
}

static_assert(code(ZRC_L_BLOCK_CIPHER, ZRC_F_INIT_BLOCKCIPHER, ZRC_ERR_INVALID_INPUT) == 0x0501002B);
static_assert(ZRC_ERR_CONDITION_TEST_FAIL == 0x67, "the reasons run without a gap");

} // namespace zrc
