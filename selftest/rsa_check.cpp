// RSA: encryption and decryption, signing and verifying, with fixed keys and with a new one. Padding is random, so
// these are round trips.
#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "selftest/check.hpp"
#include "selftest/fault.hpp"
#include "selftest/rsa_keys.hpp"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace zrc {
namespace {

using rsa_unit = owned<ZRC_RSA_UNIT, ZRC_Free_RSA>;
using rsa_buffer = std::array<std::uint8_t, kRsaKeyBytes>;

enum operation : std::uint32_t {
    kPublic = 0,
    kPrivate = 1
};
constexpr std::int32_t kPublicHalf = ZRC_RSA_HAS_N | ZRC_RSA_HAS_E, kPrivateHalf = ZRC_RSA_HAS_N | ZRC_RSA_HAS_D;

ZRC_BIGINT* number(byte_span bytes) noexcept
{
    return ZRC_Binary_To_BIGINT(bytes.data(), std::int32_t(bytes.size()), nullptr);
}

// A unit with the numbers of a key, or null. Which half is in use is for the caller to say, by key_flags.
rsa_unit unit_of(const rsa_key_numbers& key) noexcept
{
    rsa_unit unit{ZRC_New_RSA()};
    if (!unit) return unit;
    unit->n = number(key.n);
    unit->e = number(key.e);
    unit->d = number(key.d);
    unit->p = number(key.p);
    unit->q = number(key.q);
    if (!unit->n || !unit->e || !unit->d || !unit->p || !unit->q) unit.reset();
    return unit;
}

struct oaep_words {
    std::uint32_t mode; // ZRC_RSAES_OAEP_V21 and the digest of MGF1
    std::int32_t digest_id;
};
constexpr oaep_words kOaepSha224{0x05000110, ZRC_SHA224}; // MGF1 with SHA-1
constexpr oaep_words kOaepSha256{0x05000210, ZRC_SHA256}; // MGF1 with SHA-224

bool decrypts_what_it_encrypts(ZRC_RSA_UNIT& unit, const oaep_words& words) noexcept
{
    static constexpr std::string_view kMessage = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    static_assert(kMessage.size() == 62);

    rsa_buffer ciphertext{}, message{};
    std::int32_t ciphertext_length = 0, message_length = 0;

    unit.key_flags = kPublicHalf;
    if (ZRC_Init_RSAES(&unit, words.mode, kPublic, words.digest_id) != 0) return false;
    if (ZRC_Encrypt_RSAES(&unit, ciphertext.data(), &ciphertext_length,
                          reinterpret_cast<const std::uint8_t*>(kMessage.data()), std::int32_t(kMessage.size())) != 0) {
        return false;
    }
    unit.key_flags = kPrivateHalf;
    if (ZRC_Init_RSAES(&unit, words.mode, kPrivate, words.digest_id) != 0) return false;
    if (ZRC_Decrypt_RSAES(&unit, message.data(), &message_length, ciphertext.data(), ciphertext_length) != 0) {
        return false;
    }
    spoil_if_broken(ZRC_F_RSAES_OAEP_CHECK, message);
    return std::ranges::equal(std::span{message}.first(kMessage.size()), kMessage,
                              [](std::uint8_t byte, char c) { return byte == std::uint8_t(c); }) &&
           std::size_t(message_length) == kMessage.size();
}

struct pss_words {
    std::int32_t digest_id;
    std::uint32_t mode; // ZRC_RSASSA_PSS and the length of the salt, here that of the digest
};
constexpr pss_words kPssSha224{ZRC_SHA224, 0x051C0002}, kPssSha256{ZRC_SHA256, 0x05200002};

// Signs into `signature`, or verifies what is there.
bool pss(ZRC_RSA_UNIT& unit, const pss_words& words, operation wanted, rsa_buffer& signature) noexcept
{
    auto length = std::int32_t(signature.size());
    return ZRC_Init_RSASSA(&unit, words.digest_id, words.mode, wanted) == 0 &&
           ZRC_Update_RSASSA(&unit, kSignedMessage.data(), std::int32_t(kSignedMessage.size())) == 0 &&
           ZRC_Final_RSASSA(&unit, signature.data(), &length) == 0;
}

bool verifies_what_it_signs(ZRC_RSA_UNIT& unit, const pss_words& words) noexcept
{
    rsa_buffer signature{};
    unit.key_flags = kPrivateHalf;
    if (!pss(unit, words, kPrivate, signature)) return false;
    spoil_if_broken(ZRC_F_RSASSA_CHECK, signature);
    unit.key_flags = kPublicHalf;
    return pss(unit, words, kPublic, signature);
}

bool generates_a_key() noexcept
{
    constexpr std::int32_t kBits = 2048, kVersion = 1; // d is the inverse modulo (p - 1)(q - 1)

    const rsa_unit unit{ZRC_New_RSA()};
    const owned<ZRC_BIGINT, ZRC_Free_BIGINT> e{number(kRsaPublicExponent)};
    if (!unit || !e || ZRC_Generate_RSA_Params_Ex(unit.get(), e.get(), kBits, kVersion) != 0) return false;

    rsa_buffer signature{};
    if (!pss(*unit, kPssSha256, kPrivate, signature)) return false;
    spoil_if_broken(ZRC_F_ASYMMETIC_KEY_CHECK, signature);
    return pss(*unit, kPssSha256, kPublic, signature);
}

} // namespace
} // namespace zrc

std::uint32_t zrc_RSAES_Check()
{
    const zrc::rsa_unit unit = zrc::unit_of(zrc::kOaepKey);
    const bool passed = unit && zrc::decrypts_what_it_encrypts(*unit, zrc::kOaepSha224) &&
                        zrc::decrypts_what_it_encrypts(*unit, zrc::kOaepSha256);
    return zrc::outcome(ZRC_F_RSAES_OAEP_CHECK, passed);
}

std::uint32_t zrc_RSASSA_Check()
{
    const zrc::rsa_unit unit = zrc::unit_of(zrc::kPssKey);
    const bool passed = unit && zrc::verifies_what_it_signs(*unit, zrc::kPssSha224) &&
                        zrc::verifies_what_it_signs(*unit, zrc::kPssSha256);
    return zrc::outcome(ZRC_F_RSASSA_CHECK, passed);
}

std::uint32_t zrc_Asym_Key_Check()
{
    return zrc::outcome(ZRC_F_ASYMMETIC_KEY_CHECK, zrc::generates_a_key());
}
