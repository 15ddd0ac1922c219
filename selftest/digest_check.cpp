// Known answers of the digests and of HMAC.
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "selftest/check.hpp"
#include "selftest/digest_known_answers.hpp"
#include "selftest/fault.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace zrc {
namespace {

constexpr std::size_t kDigestBytes = 64; // the longest digest

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

bool digest_answers(const digest_known_answer& known) noexcept
{
    const owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> unit{ZRC_New_DIGEST_Unit()};
    std::array<std::uint8_t, kDigestBytes> output{};
    std::int32_t length = 0;

    return unit && ZRC_Init_DIGEST(unit.get(), known.algorithm_id) == 0 &&
           ZRC_Update_DIGEST(unit.get(), bytes(known.message), std::int32_t(known.message.size())) == 0 &&
           ZRC_Final_DIGEST(unit.get(), output.data(), &length) == 0 &&
           is_answer(ZRC_F_DIGEST_CHECK, output, length, known.digest);
}

bool hmac_answers(const hmac_known_answer& known) noexcept
{
    const owned<ZRC_HMAC_UNIT, ZRC_Free_HMAC_Unit> unit{ZRC_New_HMAC_Unit()};
    std::array<std::uint8_t, kDigestBytes> output{};
    std::int32_t length = 0;

    return unit && ZRC_Init_HMAC(unit.get(), known.digest_id, known.key.data(), std::int32_t(known.key.size())) == 0 &&
           ZRC_Update_HMAC(unit.get(), bytes(known.message), std::int32_t(known.message.size())) == 0 &&
           ZRC_Final_HMAC(unit.get(), output.data(), &length) == 0 &&
           is_answer(ZRC_F_HMAC_CHECK, output, length, known.mac);
}

} // namespace
} // namespace zrc

std::uint32_t zrc_HMAC_Check()
{
    return zrc::outcome(ZRC_F_HMAC_CHECK, std::ranges::all_of(zrc::kHmacKnownAnswers, zrc::hmac_answers));
}

std::uint32_t zrc_DIGEST_Check()
{
    return zrc::outcome(ZRC_F_DIGEST_CHECK, std::ranges::all_of(zrc::kDigestKnownAnswers, zrc::digest_answers));
}
