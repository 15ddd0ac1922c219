// Diffie-Hellman (RFC 2631, SP 800-56A): the unit, private and public values, agreement.
#include "kestrim/dh.h"

#include "bigint/mod_exp.hpp"
#include "bigint/operand.hpp"
#include "bigint/secret_arithmetic.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/drbg.h"
#include "kestrim/memory.h"
#include "kestrim/state.h"
#include "pubkey/group_signature.hpp"
#include "pubkey/secret_frame.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>

namespace zrc {
namespace {

// The shortest private value that a caller can ask for.
constexpr std::int32_t kLeastPrivateBits = 160;

// Everything but the pool.
void drop_all(ZRC_DH_UNIT& unit) noexcept
{
    for (ZRC_BIGINT* number : {unit.p, unit.q, unit.g, unit.x, unit.y})
        if (number) ZRC_Free_BIGINT(number);
    if (unit.pool) {
        ZRC_Clear_BIGINT_Pool(unit.pool);
        zrc_Init_BIGINT_Pool(unit.pool);
    }
    ZRC_BIGINT_POOL* const pool = unit.pool;
    wipe(&unit, sizeof unit);
    unit.pool = pool;
}

// What private values are below: q, or p - 1 where q is not known. Null without memory.
owned_number order_of(const ZRC_DH_UNIT& unit) noexcept
{
    owned_number order = copy_of(unit.q ? unit.q : unit.p);
    if (order && !unit.q && !is_zero(*order)) order->data[0] &= ~1U;
    return order;
}

// x: every value from 2 to order - 2 with the same probability. The order has 3 bits or more. False without memory or
// random values.
bool draw_below(ZRC_BIGINT& x, const ZRC_BIGINT& order) noexcept
{
    const owned_number last = copy_of(&order); // order - 1
    if (!last || ZRC_Sub_BIGINT_Word(last.get(), 1) != 0) return false;
    do {
        if (draw_nonce(x, order) != 0) return false;
    } while (secret_is_one(&x) || secret_equal(&x, last.get()));
    return true;
}

// x: every value of exactly `bits` bits with the same probability.
bool draw_of_length(ZRC_BIGINT& x, std::int32_t bits) noexcept
{
    const std::int32_t words = (bits + 31) / 32;
    if (!clear_words(x, words) || ZRC_Get_Rand_BIGINT_Ex(&x, bits) != 0) return false;
    x.length = words;
    x.data[words - 1] |= 1U << ((bits - 1) % 32);
    return true;
}

// r = base^x mod p. The time depends on the number of words of x.
bool power_of(ZRC_BIGINT& r, const ZRC_BIGINT& base, const ZRC_BIGINT& x, const ZRC_BIGINT& p) noexcept
{
    return secret_mod_exp({&r, &base, &x, &p, std::uint32_t(32 * x.length)});
}

// The public value of x, which is below the order. Returns 0 or the reason.
std::uint32_t set_public_value(ZRC_BIGINT& y, const ZRC_DH_UNIT& unit, const ZRC_BIGINT& x) noexcept
{
    if (!power_of(y, *unit.g, x, *unit.p)) return ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL;
    return is_in_range(y, *unit.p) ? 0U : std::uint32_t{ZRC_ERR_KEY_GEN_FAIL};
}

void give_key_pair(ZRC_DH_UNIT& unit, owned_number x, owned_number y) noexcept
{
    set_length(*x, x->length); // how many words it has is public from here on
    replace_number(unit.x, std::move(x));
    replace_number(unit.y, std::move(y));
}

// Returns 0 or the reason.
std::uint32_t generate_key_pair(ZRC_DH_UNIT& unit, std::int32_t x_bits) noexcept
{
    const owned_number order = order_of(unit);
    owned_number x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
    if (!order || !x || !y) return ZRC_ERR_MEM_ALLOC;
    const auto bits = std::int64_t{ZRC_Get_BIGINT_Bits_Length(order.get())};
    if (bits < 3 || (x_bits != 0 && (x_bits < kLeastPrivateBits || x_bits >= bits))) return ZRC_ERR_NOT_SUPPORTED;
    // Where q is not known, y may come out as 1 or p - 1, which no peer accepts. A y of 0, as p is then no prime, may
    // come out for every x.
    std::uint32_t reason = ZRC_ERR_KEY_GEN_FAIL;
    for (int draws = 0; reason == ZRC_ERR_KEY_GEN_FAIL && draws < kMostDraws; ++draws) {
        if (!(x_bits == 0 ? draw_below(*x, *order) : draw_of_length(*x, x_bits))) return ZRC_ERR_GET_RAND_FAIL;
        reason = set_public_value(*y, unit, *x);
        if (is_zero(*y)) break;
    }
    if (reason != 0) return reason;
    give_key_pair(unit, std::move(x), std::move(y));
    return 0;
}

// Returns 0 or the reason.
std::uint32_t set_key_pair(ZRC_DH_UNIT& unit, const ZRC_BIGINT& given_x, const ZRC_BIGINT* given_y) noexcept
{
    const owned_number order = order_of(unit);
    owned_number x = copy_of(&given_x), y{ZRC_New_BIGINT()};
    if (!order || !x || !y) return ZRC_ERR_COPY_BIGINT_FAIL;
    if (secret_less(x.get(), ZRC_Value_One_BIGINT()) || !secret_less(x.get(), order.get()))
        return ZRC_ERR_INVALID_KEY_PAIR;
    if (const std::uint32_t reason = set_public_value(*y, unit, *x); reason != 0) return reason;
    if (given_y) {
        const owned_number other = copy_of(given_y);
        if (!other) return ZRC_ERR_COPY_BIGINT_FAIL;
        if (ZRC_Cmp_BIGINT(other.get(), y.get()) != 0) return ZRC_ERR_INVALID_KEY_PAIR;
    }
    give_key_pair(unit, std::move(x), std::move(y));
    return 0;
}

// SP 800-56A, 5.7.1.1: whether 1 < z < p - 1, without telling which of the two fails. p is odd. z comes back as it
// was.
bool is_secret(ZRC_BIGINT& z, const ZRC_BIGINT& p) noexcept
{
    const bool above = secret_less(ZRC_Value_One_BIGINT(), &z);
    const std::uint32_t low = std::exchange(z.data[0], z.data[0] | 1); // p - 1 becomes p, smaller ones stay below it
    const bool below = secret_less(&z, &p);
    z.data[0] = low;
    return (above & below) != 0;
}

// SP 800-56A, 5.6.2.3: the range, and the order where it is known. Returns 0 or the reason.
std::uint32_t test_peer(const ZRC_DH_UNIT& unit, const ZRC_BIGINT& peer) noexcept
{
    if (!is_in_range(peer, *unit.p)) return ZRC_ERR_INVALID_INPUT;
    return unit.q ? test_order(peer, *unit.q, *unit.p) : 0;
}

} // namespace
} // namespace zrc

ZRC_DH_UNIT* ZRC_New_DH()
{
    zrc::owned<ZRC_DH_UNIT, ZRC_Free_DH> unit{static_cast<ZRC_DH_UNIT*>(ZRC_Calloc(1, sizeof(ZRC_DH_UNIT)))};
    if (!unit) return nullptr;
    unit->pool = ZRC_New_BIGINT_Pool();
    return unit->pool ? unit.release() : nullptr;
}

void ZRC_Clean_DH(ZRC_DH_UNIT* unit)
{
    if (unit) zrc::drop_all(*unit);
}

void ZRC_Free_DH(ZRC_DH_UNIT* unit)
{
    if (!unit) return;
    zrc::drop_all(*unit);
    if (unit->pool) ZRC_Free_BIGINT_Pool(unit->pool);
    ZRC_Free_Ex(unit, sizeof *unit);
}

std::uint32_t ZRC_Init_DH(ZRC_DH_UNIT* unit)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DH, ZRC_F_INIT_DH, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    ZRC_Clean_DH(unit);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    unit->proven = ZRC_Is_Proven();
    return unit->proven == 0 ? 0 : fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
}

std::uint32_t ZRC_Init_DH_Params(ZRC_DH_UNIT* unit, const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DH, ZRC_F_INIT_DH_PARAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;

    zrc::owned_number copies[3]; // made before the unit is cleaned: the numbers may be its own
    const ZRC_BIGINT* const given[] = {p, q, g};
    const bool copied = zrc::copy_numbers(copies, given);
    ZRC_Clean_DH(unit);
    unit->proven = ZRC_Is_Proven();
    if (unit->proven != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);
    if (!p || !g) return fail(ZRC_ERR_INVALID_INPUT);
    if (!copied) return fail(ZRC_ERR_COPY_BIGINT_FAIL);

    auto& [new_p, new_q, new_g] = copies;
    if (const std::uint32_t reason = zrc::test_group({*new_p, new_q.get(), *new_g}); reason != 0) return fail(reason);
    unit->p = new_p.release();
    unit->q = new_q.release();
    unit->g = new_g.release();
    return 0;
}

std::uint32_t ZRC_Generate_DH_Key_Pair(ZRC_DH_UNIT* unit, std::int32_t x_bits)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DH, ZRC_F_GENERATE_DH_KEY_PAIR, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit->p || !unit->g) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = zrc::generate_key_pair(*unit, x_bits);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Set_DH_Key_Pair(ZRC_DH_UNIT* unit, const ZRC_BIGINT* x, const ZRC_BIGINT* y)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DH, ZRC_F_SET_DH_KEY_PAIR, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    if (!unit->p || !unit->g || !x) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = zrc::set_key_pair(*unit, *x, y);
    return reason == 0 ? 0 : fail(reason);
}

std::uint32_t ZRC_Compute_Key(ZRC_DH_UNIT* unit, const ZRC_BIGINT* peer, std::uint8_t* secret,
                              std::int32_t* secret_length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_DH, ZRC_F_COMPUTE_KEY, reason); };

    if (!unit || !peer || !secret || !secret_length || !unit->p) return fail(ZRC_ERR_NULL_INPUT);
    if (!unit->x) return fail(ZRC_ERR_NO_PRIVATE_VALUE);
    if (const std::uint32_t reason = zrc::test_peer(*unit, *peer); reason != 0) return fail(reason);

    zrc::secret_frame frame{unit->pool};
    ZRC_BIGINT* const z = frame.get();
    if (!frame.open() || !z || !zrc::clear_words(*z, unit->p->length)) return fail(ZRC_ERR_GET_BIGINT_POOL_FAIL);
    if (!zrc::power_of(*z, *peer, *unit->x, *unit->p)) return fail(ZRC_ERR_MOD_EXP_MONT_BIGINT_FAIL);
    z->length = unit->p->length; // zero words on top included: the length would tell something
    if (!zrc::is_secret(*z, *unit->p)) return fail(ZRC_ERR_INVALID_OUTPUT);
    const std::size_t bytes = zrc::bytes_in(*unit->p);
    zrc::write_number({secret, bytes}, *z);
    *secret_length = std::int32_t(bytes);
    return 0;
}

std::uint32_t ZRC_Get_DH_Length(const ZRC_DH_UNIT* unit)
{
    if (ZRC_Crypto_Initialize() != 0 || !unit) return 0;
    return (ZRC_Get_BIGINT_Bits_Length(unit->p) + 7) / 8;
}
