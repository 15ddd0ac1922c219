// Random BIGINTs of a given length, from the approved and from the legacy generator.
#include "bigint/operand.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/digest.h"
#include "kestrim/drbg.h"
#include "kestrim/memory.h"
#include "kestrim/prng.h"

#include <cstdint>

namespace zrc {
namespace {

struct shape {
    std::int32_t bits;
    std::int32_t top;    // below 0: as drawn; 0: the top bit is set; above 0: the top two are
    std::int32_t bottom; // not 0: the value is odd
};

// Forces and clears the bits of a drawn big-endian string. shape.bits is not 0.
void give_shape(std::uint8_t* drawn, std::int32_t bytes, const shape& wanted) noexcept
{
    const std::int32_t top_bit = (wanted.bits - 1) % 8; // in the first byte
    if (wanted.top >= 0) drawn[0] |= std::uint8_t(1 << top_bit);
    if (wanted.top > 0 && top_bit > 0) drawn[0] |= std::uint8_t(1 << (top_bit - 1));
    if (wanted.top > 0 && top_bit == 0 && bytes > 1) drawn[1] |= 0x80;
    drawn[0] &= std::uint8_t((2 << top_bit) - 1);
    if (wanted.bottom != 0) drawn[bytes - 1] |= 1;
}

// r = a random value; `draw(buffer, bytes)` returns 0 or the reason that it failed for, as this does.
std::uint32_t random_value(ZRC_BIGINT* r, const shape& wanted, auto draw) noexcept
{
    if (wanted.bits == 0) {
        r->length = 0;
        return 0;
    }
    if (wanted.bits < 0 || wanted.bits > kMostWords * kWordBits) return ZRC_ERR_BINARY_TO_BIGINT_FAIL;
    const std::int32_t bytes = (wanted.bits + 7) / 8;
    auto* const drawn = static_cast<std::uint8_t*>(ZRC_Malloc(std::uint32_t(bytes)));
    if (!drawn) return ZRC_ERR_MEM_ALLOC;

    std::uint32_t reason = draw(drawn, bytes);
    if (reason == 0) {
        give_shape(drawn, bytes, wanted);
        if (!ZRC_Binary_To_BIGINT(drawn, bytes, r)) reason = ZRC_ERR_BINARY_TO_BIGINT_FAIL;
    }
    ZRC_Free_Ex(drawn, std::uint32_t(bytes));
    return reason;
}

} // namespace
} // namespace zrc

std::uint32_t ZRC_Rand_BIGINT_Ex(ZRC_BIGINT* r, std::int32_t bits, std::int32_t top, std::int32_t bottom)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_RAND_BIGINT_EX, reason); };

    if (!r) return fail(ZRC_ERR_NULL_INPUT);
    const auto draw = [](std::uint8_t* buffer, std::int32_t bytes) -> std::uint32_t {
        return ZRC_Rand_Bytes(buffer, bytes) == 0 ? 0 : ZRC_ERR_GET_RAND_FAIL;
    };
    const std::uint32_t reason = zrc::random_value(r, {bits, top, bottom}, draw);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Rand_BIGINT(ZRC_BIGINT* r, std::int32_t bits, std::int32_t top, std::int32_t bottom,
                              ZRC_BIGINT_POOL* extra, std::int32_t algorithm)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_BIGINT, ZRC_F_RAND_BIGINT, reason); };

    if (!r) return fail(ZRC_ERR_NULL_INPUT);
    const auto draw = [=](std::uint8_t* buffer, std::int32_t bytes) -> std::uint32_t {
        const zrc::owned<ZRC_PRNG_UNIT, ZRC_Free_PRNG_Unit> unit{ZRC_New_PRNG_Unit()};
        if (!unit) return ZRC_ERR_MEM_ALLOC;
        if (ZRC_Init_PRNG(unit.get(), algorithm == 0 ? ZRC_SHA1 : algorithm, extra) != 0) return ZRC_ERR_INIT_PRNG_FAIL;
        return ZRC_Get_Rand(unit.get(), buffer, bytes) == 0 ? 0 : ZRC_ERR_GET_RAND_FAIL;
    };
    const std::uint32_t reason = zrc::random_value(r, {bits, top, bottom}, draw);
    return reason == 0 ? 0 : fail(reason);
}
