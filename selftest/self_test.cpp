// The power-up self-test: the order of its checks, and the two that have no known answers.
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "selftest/check.hpp"
#include "selftest/fault.hpp"

namespace zrc {
namespace {

// A fresh unit is created and freed at once; null means that the family cannot be used.
template <auto New, auto Free>
bool constructs() noexcept
{
    auto* unit = New();
    Free(unit);
    return unit != nullptr && !is_broken(ZRC_F_CONTEXT_CHECK);
}

std::uint32_t entropy_check_in_proven_mode() noexcept
{
    return ZRC_Is_Proven() != 0 ? zrc_Entropy_Check() : 0;
}

constexpr std::uint32_t (*kPowerUpChecks[])() = {
    zrc_Verify_DLL,  zrc_Context_Check, zrc_Version_Check, entropy_check_in_proven_mode,
    zrc_DRBG_Check,  zrc_HMAC_Check,    zrc_DIGEST_Check,  zrc_Sym_Check,
    zrc_RSAES_Check, zrc_RSASSA_Check,  zrc_KCDSA_Check,
};

} // namespace
} // namespace zrc

std::uint32_t ZRC_Crypto_Self_Test()
{
    zrc::count_self_test_run();
    for (const auto check : zrc::kPowerUpChecks) {
        if (const std::uint32_t failed = check()) return failed;
    }
    return 0;
}

std::uint32_t zrc_Context_Check()
{
    const bool complete = zrc::constructs<zrc_New_DRBG_Unit, zrc_Free_DRBG_Unit>() &&
                          zrc::constructs<ZRC_New_HMAC_Unit, ZRC_Free_HMAC_Unit>() &&
                          zrc::constructs<ZRC_New_DIGEST_Unit, ZRC_Free_DIGEST_Unit>() &&
                          zrc::constructs<ZRC_New_BLOCK_CIPHER_Unit, ZRC_Free_BLOCK_CIPHER_Unit>() &&
                          zrc::constructs<ZRC_New_RSA, ZRC_Free_RSA>() &&
                          zrc::constructs<ZRC_New_KCDSA, ZRC_Free_KCDSA>();
    if (!complete || ZRC_Is_Proven() != 0) return zrc::outcome(ZRC_F_CONTEXT_CHECK, complete);
    return zrc::outcome(ZRC_F_CONTEXT_CHECK, zrc::constructs<ZRC_New_DSA, ZRC_Free_DSA>());
}

std::uint32_t zrc_Version_Check()
{
    const char* version = zrc::is_broken(ZRC_F_VERSION_CHECK) ? "" : ZRC_Get_Crypto_Version();
    return zrc::outcome(ZRC_F_VERSION_CHECK, version && *version != '\0');
}
