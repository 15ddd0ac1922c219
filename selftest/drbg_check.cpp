// Known answers of Hash_DRBG.
#include "core/owned.hpp"
#include "kestrim/drbg.h"
#include "kestrim_crypto.h"
#include "selftest/check.hpp"
#include "selftest/drbg_known_answers.hpp"
#include "selftest/fault.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>

namespace zrc {
namespace {

constexpr std::size_t kMaxOutputBytes = 256; // four blocks of the longest digest
constexpr std::uint32_t kQuick = 1;          // level of the collection, which is not used: all input is given

std::int32_t length(byte_span bytes) noexcept
{
    return std::int32_t(bytes.size());
}

bool instantiates(ZRC_DRBG_UNIT& unit, const drbg_known_answer& known) noexcept
{
    return zrc_Init_DRBG(&unit, known.digest_id, 0, 0, kQuick) == 0 &&
           zrc_Set_Instantiate_DRBG_Param(&unit, known.entropy.data(), length(known.entropy), known.nonce.data(),
                                          length(known.nonce), known.personalization.data(),
                                          length(known.personalization)) == 0 &&
           zrc_Instantiate_DRBG(&unit) == 0;
}

bool generates(ZRC_DRBG_UNIT& unit, byte_span additional, std::span<std::uint8_t> output) noexcept
{
    return zrc_Set_Generate_DRBG_Param(&unit, additional.data(), length(additional), nullptr, 0) == 0 &&
           zrc_Generate_DRBG(&unit, output.data(), length(output)) == 0;
}

bool drbg_answers(const drbg_known_answer& known) noexcept
{
    const owned<ZRC_DRBG_UNIT, zrc_Free_DRBG_Unit> unit{zrc_New_DRBG_Unit()};
    std::array<std::uint8_t, kMaxOutputBytes> buffer{};
    const std::span output = std::span{buffer}.first(known.output.size());

    if (!unit || !instantiates(*unit, known)) return false;
    for (const byte_span additional : known.additional) {
        if (!generates(*unit, additional, output)) return false;
    }
    spoil_if_broken(ZRC_F_DRBG_CHECK, output);
    return std::ranges::equal(output, known.output);
}

} // namespace
} // namespace zrc

std::uint32_t zrc_DRBG_Check()
{
    return zrc::outcome(ZRC_F_DRBG_CHECK, std::ranges::all_of(zrc::kDrbgKnownAnswers, zrc::drbg_answers));
}
