// Known answers of the approved block ciphers, and the draw of a key for each of them.
#include "core/owned.hpp"
#include "core/secret.hpp"
#include "kestrim_crypto.h"
#include "selftest/check.hpp"
#include "selftest/cipher_known_answers.hpp"
#include "selftest/fault.hpp"

#include <algorithm>
#include <array>
#include <span>

namespace zrc {
namespace {

using block = std::span<const std::uint8_t, 16>;

// Runs one block through a cipher without padding. False when it fails or does not give one block.
bool run(ZRC_BLOCK_CIPHER_UNIT& unit, const block_test_vector& known, bool encrypt, block in,
         std::array<std::uint8_t, 32>& out) noexcept
{
    std::int32_t written = 0, rest = 0;
    return ZRC_Init_BLOCK_CIPHER(&unit, known.algorithm_id | ZRC_NO_PADDING, known.key.data(), known.iv.data(),
                                 encrypt ? 1 : 0) == 0 &&
           ZRC_Update_BLOCK_CIPHER(&unit, out.data(), &written, in.data(), std::int32_t(in.size())) == 0 &&
           ZRC_Final_BLOCK_CIPHER(&unit, out.data() + written, &rest) == 0 && written + rest == std::int32_t(in.size());
}

bool starts_with(const std::array<std::uint8_t, 32>& bytes, block expected) noexcept
{
    return std::ranges::equal(std::span{bytes}.first<16>(), expected);
}

bool cipher_answers(const block_test_vector& known) noexcept
{
    const owned<ZRC_BLOCK_CIPHER_UNIT, ZRC_Free_BLOCK_CIPHER_Unit> unit{zrc_New_BLOCK_CIPHER_Unit_Ex(ZRC_Is_Proven())};
    const block ciphertext = std::span{known.ciphertext}.first<16>();
    std::array<std::uint8_t, 32> output{};

    if (!unit || !run(*unit, known, true, known.plaintext, output)) return false;
    spoil_if_broken(ZRC_F_SYMMETIC_ALGORITHM_CHECK, output);
    if (!starts_with(output, ciphertext)) return false;
    return run(*unit, known, false, ciphertext, output) && starts_with(output, known.plaintext);
}

constexpr std::uint32_t kKeyedCiphers[] = {ZRC_ARIA_128, ZRC_ARIA_192, ZRC_ARIA_256, ZRC_SEED};

bool draws_key(std::uint32_t cipher) noexcept
{
    constexpr std::uint32_t kMaxKeyBytes = 1024;

    const std::uint32_t length = ZRC_Get_Key_Length(cipher);
    if (length < 1 || length > kMaxKeyBytes) return false; // a request for nothing would lock the generator
    secret_array<std::uint8_t, kMaxKeyBytes> key;
    return ZRC_Rand_Bytes(key.data(), std::int32_t(length)) == 0;
}

} // namespace
} // namespace zrc

std::uint32_t zrc_Sym_Check()
{
    return zrc::outcome(ZRC_F_SYMMETIC_ALGORITHM_CHECK,
                        std::ranges::all_of(zrc::kBlockTestVectors, zrc::cipher_answers));
}

std::uint32_t zrc_Sym_Key_Check()
{
    return zrc::outcome(ZRC_F_SYMMETIC_KEY_CHECK, std::ranges::all_of(zrc::kKeyedCiphers, zrc::draws_key));
}
