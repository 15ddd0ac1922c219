// What DSA and ECDSA do alike: Init, Update and Final, and the steps of signing and verifying around the arithmetic of
// each. Their units have the members digest, operation, proven and pool, and sign when operation is 1. `fail` makes a
// code of a reason.
#pragma once

#include "bigint/operand.hpp"
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim/digest.h"
#include "kestrim/error.h"
#include "kestrim/state.h"
#include "pubkey/group_signature.hpp"
#include "pubkey/secret_frame.hpp"

#include <cstddef>
#include <cstdint>

namespace zrc {

template <class Unit>
std::uint32_t init_signature(Unit* unit, std::uint32_t operation, std::int32_t digest_id, auto fail) noexcept
{
    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize()) return failed;
    unit->proven = ZRC_Is_Proven();
    if (unit->proven != 0) return fail(ZRC_ERR_NOT_PROVEN_ALGORITHM);

    owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> digest{ZRC_New_DIGEST_Unit()};
    if (!digest) return fail(ZRC_ERR_MEM_ALLOC);
    if (ZRC_Init_DIGEST(digest.get(), digest_id) != 0) return fail(ZRC_ERR_INIT_DIGEST_FAIL);
    ZRC_Free_DIGEST_Unit(unit->digest);
    unit->digest = digest.release();
    unit->operation = operation;
    return 0;
}

template <class Unit>
std::uint32_t update_signature(Unit* unit, const std::uint8_t* data, std::int32_t length, auto fail) noexcept
{
    if (!unit || !unit->digest || !data) return fail(ZRC_ERR_NULL_INPUT);
    if (length < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (length == 0) return 0; // MD5 and HAS-160 would refuse it
    return ZRC_Update_DIGEST(unit->digest, data, length) == 0 ? 0 : fail(ZRC_ERR_UPDATE_DIGEST_FAIL);
}

// Where a signature is written to, or read from: two numbers with their lengths.
struct signature_buffers {
    std::uint8_t* R;
    std::int32_t* R_length;
    std::uint8_t* S;
    std::int32_t* S_length;
};

template <auto Sign, auto Verify, class Unit>
std::uint32_t final_signature(Unit* unit, const signature_buffers& to, auto fail) noexcept
{
    if (!unit || !to.R || !to.R_length || !to.S || !to.S_length) return fail(ZRC_ERR_NULL_INPUT);
    if (unit->operation == 1) return Sign(unit, to.R, to.R_length, to.S, to.S_length);
    return Verify(unit, to.R, *to.R_length, to.S, *to.S_length);
}

// The digest of a message, which ends with it.
class message_digest {
public:
    // False when the digest failed.
    bool finish(ZRC_DIGEST_UNIT* unit) noexcept { return ZRC_Final_DIGEST(unit, bytes_.data(), &length_) == 0; }

    // z = the leftmost bits, as many as q has at most. False without memory.
    bool set_number(ZRC_BIGINT& z, const ZRC_BIGINT& q) noexcept
    {
        return set_leftmost_bits(z, {bytes_.data(), std::size_t(length_)}, q);
    }

private:
    secret_array<std::uint8_t, kMostDigestBytes> bytes_;
    std::int32_t length_ = 0;
};

// What a family says when there is no nonce, and when no nonce gave a signature.
struct signing_reasons {
    std::uint32_t no_nonce, no_signature;
};

// Signs what the unit has been fed: sign_with_nonce(r, s, z, k) sets two numbers modulo q, or returns a reason. Nothing
// is written before both are there and neither is 0. Returns 0 or the reason.
template <class Unit>
std::uint32_t sign_message(const Unit& unit, const ZRC_BIGINT& q, const signature_buffers& to,
                           const signing_reasons& reasons, auto sign_with_nonce) noexcept
{
    message_digest digest; // first: the message has ended, whatever comes
    if (!digest.finish(unit.digest)) return ZRC_ERR_FINAL_DIGEST_FAIL;
    secret_frame frame{unit.pool};
    ZRC_BIGINT *const z = frame.get(), *const k = frame.get(), *const r = frame.get(), *const s = frame.get();
    if (!frame.open() || !z || !k || !r || !s) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    if (!digest.set_number(*z, q)) return ZRC_ERR_BINARY_TO_BIGINT_FAIL;

    for (int draws = 0; is_zero(*r) || is_zero(*s); ++draws) {
        if (draws == kMostDraws) return reasons.no_signature;
        if (draw_nonce(*k, q) != 0) return reasons.no_nonce;
        if (const std::uint32_t reason = sign_with_nonce(*r, *s, *z, *k); reason != 0) return reason;
    }
    const std::size_t bytes = bytes_in(q);
    write_number({to.R, bytes}, *r);
    write_number({to.S, bytes}, *s);
    *to.R_length = *to.S_length = std::int32_t(bytes);
    return 0;
}

// A signature to be verified.
struct signature_bytes {
    const std::uint8_t* R;
    std::int32_t R_length;
    const std::uint8_t* S;
    std::int32_t S_length;
};

// Verifies a signature of what the unit has been fed: test(z, r, s) gets two numbers from 1 to q - 1 and returns 0 or
// the reason, as this does.
template <class Unit>
std::uint32_t verify_message(const Unit& unit, const ZRC_BIGINT& q, const signature_bytes& from, auto test) noexcept
{
    message_digest digest; // first: the message has ended, whatever comes
    if (!digest.finish(unit.digest)) return ZRC_ERR_FINAL_DIGEST_FAIL;
    secret_frame frame{unit.pool};
    ZRC_BIGINT *const z = frame.get(), *const r = frame.get(), *const s = frame.get();
    if (!frame.open() || !z || !r || !s) return ZRC_ERR_GET_BIGINT_POOL_FAIL;
    if (!digest.set_number(*z, q)) return ZRC_ERR_BINARY_TO_BIGINT_FAIL;
    if (!ZRC_Binary_To_BIGINT(from.R, from.R_length, r) || !ZRC_Binary_To_BIGINT(from.S, from.S_length, s))
        return ZRC_ERR_BINARY_TO_BIGINT_FAIL;
    for (const ZRC_BIGINT* number : {r, s})
        if (const std::uint32_t reason = test_range(*number, q); reason != 0) return reason;
    return test(*z, *r, *s);
}

} // namespace zrc
