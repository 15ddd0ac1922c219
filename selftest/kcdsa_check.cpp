// KCDSA: signing and verifying with fixed keys. The random number in a signature makes these round trips.
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "selftest/check.hpp"
#include "selftest/fault.hpp"
#include "selftest/kcdsa_keys.hpp"

#include <algorithm>
#include <array>

namespace zrc {
namespace {

constexpr std::uint32_t kKcdsaCheck = 0x0D; // without a name of its own
constexpr std::uint32_t kVerify = 0, kSign = 1;
constexpr std::size_t kMaxPartBytes = 64; // of R, the longest digest, and of S

using number = owned<ZRC_BIGINT, ZRC_Free_BIGINT>;

number make_number(byte_span bytes) noexcept
{
    return number{ZRC_Binary_To_BIGINT(bytes.data(), std::int32_t(bytes.size()), nullptr)};
}

bool set_key(ZRC_KCDSA_UNIT& unit, const kcdsa_key& key) noexcept
{
    const number p = make_number(key.p), q = make_number(key.q), g = make_number(key.g), x = make_number(key.x),
                 y = make_number(key.y);
    return p && q && g && x && y && ZRC_Set_KCDSA_Params(&unit, p.get(), q.get(), g.get(), x.get(), y.get()) == 0;
}

struct kcdsa_signature {
    std::array<std::uint8_t, kMaxPartBytes> R{}, S{};
    std::int32_t R_length = 0, S_length = 0;
};

// Signs into `signature`, or verifies what is there.
bool run(ZRC_KCDSA_UNIT& unit, std::int32_t digest_id, std::uint32_t operation, kcdsa_signature& signature) noexcept
{
    return ZRC_Init_KCDSA_Ex(&unit, operation, digest_id) == 0 &&
           ZRC_Update_KCDSA(&unit, kSignedMessage.data(), std::int32_t(kSignedMessage.size())) == 0 &&
           ZRC_Final_KCDSA(&unit, signature.R.data(), &signature.R_length, signature.S.data(), &signature.S_length) ==
               0;
}

bool kcdsa_verifies_what_it_signs(const kcdsa_key& key) noexcept
{
    const owned<ZRC_KCDSA_UNIT, ZRC_Free_KCDSA> unit{ZRC_New_KCDSA()};
    kcdsa_signature signature;
    if (!unit || !set_key(*unit, key) || !run(*unit, key.digest_id, kSign, signature)) return false;

    spoil_if_broken(kKcdsaCheck, signature.R);
    // The length that signing reports leaves zero bytes at the front out, but not exactly: the field is what counts.
    signature.S_length = std::int32_t(ZRC_Get_KCDSA_Length(unit.get()));
    return run(*unit, key.digest_id, kVerify, signature);
}

} // namespace
} // namespace zrc

std::uint32_t zrc_KCDSA_Check()
{
    return zrc::outcome(zrc::kKcdsaCheck, std::ranges::all_of(zrc::kKcdsaKeys, zrc::kcdsa_verifies_what_it_signs));
}
