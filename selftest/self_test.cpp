// The power-up self-test: its checks and their order.
#include "core/error.hpp"
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "selftest/digest_known_answers.hpp"
#include "selftest/fault.hpp"

#include <array>
#include <cstring>
#include <span>

namespace zrc {
namespace {

constexpr std::size_t kDigestBytes = 64; // the longest digest

constexpr std::uint32_t self_test_failure(std::uint32_t check) noexcept
{
    return code(ZRC_L_SELF_TEST, check, ZRC_ERR_SUB_OPERATION_FAILURE);
}

const std::uint8_t* bytes(std::string_view text) noexcept
{
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

// `output_length` is what the operation reported; an answer of another length is a wrong answer.
bool is_answer(std::uint32_t check, std::span<std::uint8_t> output, std::int32_t output_length,
               std::span<const std::uint8_t> expected) noexcept
{
    spoil_if_broken(check, output);
    return std::size_t(output_length) == expected.size() &&
           std::memcmp(output.data(), expected.data(), expected.size()) == 0;
}

// A fresh unit is created and freed at once; null means that the family cannot be used.
template <auto New, auto Free>
bool constructs() noexcept
{
    auto* unit = New();
    Free(unit);
    return unit != nullptr;
}

bool answers(const digest_known_answer& known) noexcept
{
    const owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> unit{ZRC_New_DIGEST_Unit()};
    std::array<std::uint8_t, kDigestBytes> output{};
    std::int32_t length = 0;

    return unit && ZRC_Init_DIGEST(unit.get(), known.algorithm_id) == 0 &&
           ZRC_Update_DIGEST(unit.get(), bytes(known.message), std::int32_t(known.message.size())) == 0 &&
           ZRC_Final_DIGEST(unit.get(), output.data(), &length) == 0 &&
           is_answer(ZRC_F_DIGEST_CHECK, output, length, known.digest);
}

bool answers(const hmac_known_answer& known) noexcept
{
    const owned<ZRC_HMAC_UNIT, ZRC_Free_HMAC_Unit> unit{ZRC_New_HMAC_Unit()};
    std::array<std::uint8_t, kDigestBytes> output{};
    std::int32_t length = 0;

    return unit && ZRC_Init_HMAC(unit.get(), known.digest_id, known.key.data(), std::int32_t(known.key.size())) == 0 &&
           ZRC_Update_HMAC(unit.get(), bytes(known.message), std::int32_t(known.message.size())) == 0 &&
           ZRC_Final_HMAC(unit.get(), output.data(), &length) == 0 &&
           is_answer(ZRC_F_HMAC_CHECK, output, length, known.mac);
}

std::uint32_t check_all(std::uint32_t check, const auto& known_answers) noexcept
{
    for (const auto& known : known_answers) {
        if (!answers(known)) return self_test_failure(check);
    }
    return 0;
}

constexpr std::array kPowerUpChecks = {
    zrc_Context_Check,
    zrc_Version_Check,
    zrc_HMAC_Check,
    zrc_DIGEST_Check,
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
    const bool complete = zrc::constructs<ZRC_New_HMAC_Unit, ZRC_Free_HMAC_Unit>() &&
                          zrc::constructs<ZRC_New_DIGEST_Unit, ZRC_Free_DIGEST_Unit>() &&
                          zrc::constructs<ZRC_New_BLOCK_CIPHER_Unit, ZRC_Free_BLOCK_CIPHER_Unit>();
    return complete ? 0 : zrc::self_test_failure(ZRC_F_CONTEXT_CHECK);
}

std::uint32_t zrc_Version_Check()
{
    const char* version = zrc::is_broken(ZRC_F_VERSION_CHECK) ? "" : ZRC_Get_Crypto_Version();
    return version && *version != '\0' ? 0 : zrc::self_test_failure(ZRC_F_VERSION_CHECK);
}

std::uint32_t zrc_HMAC_Check()
{
    return zrc::check_all(ZRC_F_HMAC_CHECK, zrc::kHmacKnownAnswers);
}

std::uint32_t zrc_DIGEST_Check()
{
    return zrc::check_all(ZRC_F_DIGEST_CHECK, zrc::kDigestKnownAnswers);
}
