#include "tools/library_signature.hpp"

#include "core/owned.hpp"
#include "kestrim_crypto.h"
#include "pubkey/rsa_key.hpp"
#include "pubkey/rsa_padding.hpp"
#include "selftest/integrity_key.hpp"
#include "tools/command.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <limits>
#include <string_view>

namespace tool {
namespace {

using number = zrc::owned<ZRC_BIGINT, ZRC_Free_BIGINT>;
using rsa_unit = zrc::owned<ZRC_RSA_UNIT, ZRC_Free_RSA>;
using sha256 = std::array<std::uint8_t, 32>;

constexpr std::size_t kSaltBytes = 20; // what a salt field of 0 in the mode word stands for
constexpr std::uint32_t kExponent = 65537;
constexpr std::int32_t kKeyBits = std::int32_t(zrc::kIntegrityKeyBytes) * 8;
constexpr std::int32_t kPrivateExponentModuloPhi = 1; // the version of key that every program reads
constexpr std::uint32_t kSign = 1;
constexpr std::uint32_t kVerify = 0;

// Keeps the salt apart from every other use of the content's digest.
constexpr std::string_view kSaltLabel = "Kestrim Crypto for C: salt of the library file's signature";

void require(std::uint32_t code, const char* action)
{
    if (code == 0) return;
    char text[80];
    std::snprintf(text, sizeof text, "%s failed with code 0x%08X", action, unsigned(code));
    throw failure{kFailed, text};
}

template <class Pointer>
Pointer allocated(Pointer pointer)
{
    if (!pointer) throw failure{kFailed, "out of memory"};
    return pointer;
}

rsa_unit new_unit()
{
    return allocated(rsa_unit{ZRC_New_RSA()});
}

number to_number(std::span<const std::uint8_t> big_endian)
{
    return allocated(number{ZRC_Binary_To_BIGINT(big_endian.data(), std::int32_t(big_endian.size()), nullptr)});
}

bytes to_bytes(const ZRC_BIGINT* value)
{
    bytes result((ZRC_Get_BIGINT_Bits_Length(value) + 7) / 8);
    if (!result.empty()) ZRC_BIGINT_To_Binary_Unsigned(value, result.data());
    return result;
}

// No file of a library reaches the length at which this would have to be done in pieces.
std::int32_t length_of(std::span<const std::uint8_t> content)
{
    if (content.empty() || content.size() > std::size_t(std::numeric_limits<std::int32_t>::max())) {
        throw failure{kFailed, "this is no library: its size is wrong"};
    }
    return std::int32_t(content.size());
}

sha256 digest(std::span<const std::uint8_t> content)
{
    sha256 result;
    require(ZRC_DIGEST(ZRC_SHA256, content.data(), length_of(content), result.data(), nullptr), "hashing");
    return result;
}

sha256 salt_digest(const sha256& hash)
{
    bytes labelled(kSaltLabel.begin(), kSaltLabel.end());
    labelled.insert(labelled.end(), hash.begin(), hash.end());
    return digest(labelled);
}

} // namespace

void require_signing_key(const rsa_public_key& key)
{
    constexpr std::array<std::uint8_t, 3> exponent = {0x01, 0x00, 0x01};
    const bool fits = key.n.size() == zrc::kIntegrityKeyBytes && (key.n[0] & 0x80) != 0 &&
                      std::equal(key.e.begin(), key.e.end(), exponent.begin(), exponent.end());
    if (!fits) throw failure{kFailed, "the signing key must be an RSA key of 2048 bits with the exponent 65537"};
}

// The product of two primes of 1024 bits has one bit less now and then: such a key is not used.
rsa_private_key generate_signing_key()
{
    const number e = allocated(number{ZRC_New_BIGINT()});
    require(ZRC_Set_BIGINT_Word(e.get(), kExponent), "making a number");
    for (;;) {
        const rsa_unit unit = new_unit();
        require(ZRC_Generate_RSA_Params_Ex(unit.get(), e.get(), kKeyBits, kPrivateExponentModuloPhi), "making a key");
        if (ZRC_Get_BIGINT_Bits_Length(unit->n) != kKeyBits) continue;
        return {to_bytes(unit->n), to_bytes(unit->e),  to_bytes(unit->d),  to_bytes(unit->p),
                to_bytes(unit->q), to_bytes(unit->dP), to_bytes(unit->dQ), to_bytes(unit->qInv)};
    }
}

bytes sign(const rsa_private_key& key, std::span<const std::uint8_t> content)
{
    const rsa_unit unit = new_unit();
    require(ZRC_Set_RSA_Params(unit.get(), to_number(key.n).get(), to_number(key.e).get(), to_number(key.d).get(),
                               to_number(key.p).get(), to_number(key.q).get(), to_number(key.dP).get(),
                               to_number(key.dQ).get(), to_number(key.qInv).get()),
            "loading the key");
    require(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, ZRC_RSASSA_PSS, kSign), "signing");

    const sha256 hash = digest(content);
    const sha256 salt = salt_digest(hash);
    std::array<std::uint8_t, zrc::kIntegrityKeyBytes> encoded;
    require(zrc::encode_pss_with_salt(*unit, encoded, hash, std::span{salt}.first(kSaltBytes), *unit->digest),
            "encoding");

    const number value = to_number(encoded);
    const zrc::private_outcome outcome = zrc::rsa_private_operation(*unit, *value, *value, true);
    if (outcome.failed == zrc::private_step::key_pair) throw failure{kFailed, "the parts of the key do not match"};
    if (outcome.failed != zrc::private_step::done) throw failure{kFailed, "the key cannot be used"};

    bytes signature = to_bytes(value.get());
    signature.insert(signature.begin(), zrc::kIntegrityKeyBytes - signature.size(), 0);
    // A signature that went wrong can tell the primes to whoever sees it.
    if (!is_signature({key.n, key.e}, content, signature)) throw failure{kFailed, "the signature does not verify"};
    return signature;
}

bool is_signature(const rsa_public_key& key, std::span<const std::uint8_t> content,
                  std::span<const std::uint8_t> signature)
{
    const rsa_unit unit = new_unit();
    require(ZRC_Set_RSA_Public_Params(unit.get(), to_number(key.n).get(), to_number(key.e).get()), "loading the key");
    require(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, ZRC_RSASSA_PSS, kVerify), "verifying");
    require(ZRC_Update_RSASSA(unit.get(), content.data(), length_of(content)), "hashing");
    return ZRC_Verify_RSASSA(unit.get(), signature.data(), std::int32_t(signature.size())) == 0;
}

} // namespace tool
