#include "pubkey/rsa_scheme.hpp"

#include "core/bytes.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "pubkey/rsa_padding.hpp"

namespace zrc {
namespace {

// Proven mode wants 2048 bits; a modulus of as many bytes counts as one.
constexpr std::uint32_t kLeastProvenBits = 2041;

using owned_digest_unit = owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;

} // namespace

bool in_proven_mode() noexcept
{
    return ZRC_Is_Proven() == 1;
}

bool refuses_modulus(const ZRC_RSA_UNIT& unit) noexcept
{
    return in_proven_mode() && unit.n != nullptr && ZRC_Get_BIGINT_Bits_Length(unit.n) < kLeastProvenBits;
}

std::uint32_t bind_digest(ZRC_RSA_UNIT& unit, std::int32_t digest_id) noexcept
{
    if (unit.digest) return ZRC_Init_DIGEST(unit.digest, digest_id) != 0 ? std::uint32_t{ZRC_ERR_INIT_FAILURE} : 0;
    owned_digest_unit fresh{ZRC_New_DIGEST_Unit()};
    if (!fresh) return ZRC_ERR_INIT_FAILURE;
    if (ZRC_Init_DIGEST(fresh.get(), digest_id) != 0) return ZRC_ERR_SUB_OPERATION_FAILURE;
    unit.digest = fresh.release();
    return 0;
}

bool enter_scheme(ZRC_RSA_UNIT& unit, std::uint32_t mode, std::uint32_t operation, std::int32_t digest_id) noexcept
{
    if (!unit.pool) unit.pool = ZRC_New_BIGINT_Pool();
    if (!unit.pool) return false;
    const bool names_digest = ZRC_Get_DIGEST_Length(std::int32_t(mode & kMaskDigestBits)) != 0;
    unit.mode = names_digest ? mode : mode ^ std::uint32_t(digest_id);
    unit.operation = operation;
    return true;
}

std::uint32_t missing_number(const ZRC_RSA_UNIT& unit, bool needs_d) noexcept
{
    if (unit.operation != 0) return unit.n && (unit.d || !needs_d) ? 0 : std::uint32_t{ZRC_ERR_NO_PRIVATE_VALUE};
    return unit.n && unit.e ? 0 : std::uint32_t{ZRC_ERR_NO_PUBLIC_VALUE};
}

void write_left_padded(std::span<std::uint8_t> out, const ZRC_BIGINT& number) noexcept
{
    const std::uint32_t* word = number.data;
    const std::uint32_t* const end = word + number.length;
    for (; out.size() >= sizeof *word && word != end; ++word) {
        out = out.first(out.size() - sizeof *word);
        store_be32(out.data() + out.size(), *word);
    }
    for (std::uint32_t top = word != end ? *word : 0; !out.empty(); top >>= 8) {
        out.back() = std::uint8_t(top);
        out = out.first(out.size() - 1);
    }
}

} // namespace zrc
