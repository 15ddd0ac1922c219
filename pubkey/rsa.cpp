// The RSA key unit: its life, loading a key, its size.
#include "kestrim/rsa.h"

#include "bigint/operand.hpp"
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim/memory.h"
#include "kestrim_crypto.h"
#include "pubkey/rsa_key.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {
namespace {

static_assert(sizeof(void*) != 8 || sizeof(ZRC_RSA_UNIT) == 120);
static_assert(sizeof(void*) != 8 || offsetof(ZRC_RSA_UNIT, blinding) == 104);

using owned_rsa = owned<ZRC_RSA_UNIT, ZRC_Free_RSA>;
using owned_bigint = owned<ZRC_BIGINT, ZRC_Free_BIGINT>;
using key_part = ZRC_BIGINT* ZRC_RSA_UNIT::*;

constexpr key_part kParts[] = {&ZRC_RSA_UNIT::n,  &ZRC_RSA_UNIT::e, &ZRC_RSA_UNIT::d, &ZRC_RSA_UNIT::dP,
                               &ZRC_RSA_UNIT::dQ, &ZRC_RSA_UNIT::p, &ZRC_RSA_UNIT::q, &ZRC_RSA_UNIT::qInv};

// A copy of a part of a key, without zero words on top; null for a part that is not given.
class part_copy {
public:
    part_copy(key_part part, const ZRC_BIGINT* given) noexcept
        : part_{part}, missing_{given != nullptr}, copy_{ZRC_Dup_BIGINT(given)}
    {
        if (!copy_) return;
        missing_ = false;
        set_length(*copy_, copy_->length);
    }

    // It was given, and there was no memory.
    bool missing() const noexcept { return missing_; }

    void move_to(ZRC_RSA_UNIT& unit) noexcept { unit.*part_ = copy_.release(); }

private:
    key_part part_;
    bool missing_;
    owned_bigint copy_;
};

bool any_missing(std::span<const part_copy> copies) noexcept
{
    for (const part_copy& copy : copies)
        if (copy.missing()) return true;
    return false;
}

// Flags of an earlier key are part of the rule: Clean keeps them, and each part that is not given takes away only a
// flag that stands alone.
std::int32_t flags_after_loading(std::int32_t flags, bool crt, bool d, bool e) noexcept
{
    if (crt) {
        flags = ZRC_RSA_HAS_CRT;
    } else if (flags == ZRC_RSA_HAS_CRT) {
        flags = 0;
    }
    if (d) {
        flags |= ZRC_RSA_HAS_D;
    } else if (flags == ZRC_RSA_HAS_D) {
        flags = 0;
    }
    if (e) {
        flags |= ZRC_RSA_HAS_E;
    } else if (flags == ZRC_RSA_HAS_E) {
        flags = 0;
    }
    return flags | ZRC_RSA_HAS_N;
}

} // namespace
} // namespace zrc

ZRC_RSA_UNIT* ZRC_New_RSA()
{
    auto* const unit = static_cast<ZRC_RSA_UNIT*>(ZRC_Malloc(sizeof(ZRC_RSA_UNIT)));
    if (!unit) return nullptr;
    *unit = {};
    unit->use_crt = 1;
    unit->pool = ZRC_New_BIGINT_Pool();
    if (unit->pool) return unit;
    ZRC_Free_RSA(unit);
    return nullptr;
}

std::uint32_t ZRC_Clean_RSA(ZRC_RSA_UNIT* unit)
{
    if (!unit) return 0;
    for (const zrc::key_part part : zrc::kParts) {
        ZRC_Free_BIGINT(unit->*part);
        unit->*part = nullptr;
    }
    zrc::drop_blinding(*unit);
    ZRC_Free_DIGEST_Unit(unit->digest);
    unit->digest = nullptr;
    return 0;
}

std::uint32_t ZRC_Free_RSA(ZRC_RSA_UNIT* unit)
{
    if (!unit) return 0;
    ZRC_Free_BIGINT_Pool(unit->pool);
    ZRC_Clean_RSA(unit);
    ZRC_Free_Ex(unit, sizeof *unit);
    return 0;
}

ZRC_RSA_UNIT* ZRC_Dup_RSA(const ZRC_RSA_UNIT* unit)
{
    if (!unit) return nullptr;
    zrc::owned_rsa copy{ZRC_New_RSA()};
    if (!copy) return nullptr;
    copy->mode = unit->mode;
    copy->key_flags = unit->key_flags;
    copy->operation = unit->operation;
    copy->use_crt = unit->use_crt;
    for (const zrc::key_part part : zrc::kParts) {
        if (!(unit->*part)) continue;
        copy.get()->*part = ZRC_Dup_BIGINT(unit->*part);
        if (!(copy.get()->*part)) return nullptr;
    }
    return copy.release();
}

std::uint32_t ZRC_Set_RSA_Params(ZRC_RSA_UNIT* unit, const ZRC_BIGINT* n, const ZRC_BIGINT* e, const ZRC_BIGINT* d,
                                 const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* dP, const ZRC_BIGINT* dQ,
                                 const ZRC_BIGINT* qInv)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_SET_RSA_PRAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize(); failed != 0) return failed;

    // Copied first: the numbers may be the unit's own.
    const bool crt = p && q && dP && dQ && qInv;
    const auto if_crt = [crt](const ZRC_BIGINT* value) { return crt ? value : nullptr; };
    zrc::part_copy copies[] = {{&ZRC_RSA_UNIT::n, n},           {&ZRC_RSA_UNIT::e, e},
                               {&ZRC_RSA_UNIT::d, d},           {&ZRC_RSA_UNIT::p, if_crt(p)},
                               {&ZRC_RSA_UNIT::q, if_crt(q)},   {&ZRC_RSA_UNIT::dP, if_crt(dP)},
                               {&ZRC_RSA_UNIT::dQ, if_crt(dQ)}, {&ZRC_RSA_UNIT::qInv, if_crt(qInv)}};
    ZRC_Clean_RSA(unit);
    if (!n) return fail(ZRC_ERR_INVALID_INPUT);
    if (zrc::any_missing(copies)) return fail(ZRC_ERR_MALLOC);

    for (zrc::part_copy& copy : copies)
        copy.move_to(*unit);
    unit->key_flags = zrc::flags_after_loading(unit->key_flags, crt, d != nullptr, e != nullptr);
    if (unit->key_flags < ZRC_RSA_HAS_D) return 0;
    return zrc::generate_RSA_BLINDING(unit) == 0 ? 0 : fail(ZRC_ERR_SUB_OPERATION_FAILURE);
}

std::uint32_t ZRC_Set_RSA_Public_Params(ZRC_RSA_UNIT* unit, const ZRC_BIGINT* n, const ZRC_BIGINT* e)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_RSA, ZRC_F_SET_RSA_PUBLIC_PRAMS, reason); };

    if (!unit) return fail(ZRC_ERR_NULL_INPUT);
    if (const std::uint32_t failed = ZRC_Crypto_Initialize(); failed != 0) return failed;

    zrc::part_copy copies[] = {{&ZRC_RSA_UNIT::e, e}, {&ZRC_RSA_UNIT::n, n}};
    ZRC_Clean_RSA(unit);
    unit->operation = 0;
    if (!n || !e) return fail(ZRC_ERR_INVALID_INPUT);
    if (zrc::any_missing(copies)) return fail(ZRC_ERR_MALLOC);

    for (zrc::part_copy& copy : copies)
        copy.move_to(*unit);
    unit->key_flags |= ZRC_RSA_HAS_N | ZRC_RSA_HAS_E;
    return 0;
}

std::uint32_t ZRC_Get_RSA_Length(const ZRC_RSA_UNIT* unit)
{
    if (!unit || ZRC_Crypto_Initialize() != 0) return 0;
    return std::uint32_t(zrc::rsa_modulus_bytes(*unit));
}

std::uint32_t zrc_Set_RSASSA_PKCS1_PSS_SALT_Length(ZRC_RSA_UNIT* unit, std::int32_t length)
{
    if (!unit || length < 0) return 1;
    unit->pss_salt_length = length; // stored on purpose without effect: the schemes read the mode word
    return 0;
}
