// Known answers of the digests and of HMAC.
#pragma once

#include "kestrim/digest.h"
#include "selftest/hex.hpp"

#include <cstdint>
#include <span>
#include <string_view>

namespace zrc {

struct digest_known_answer {
    std::int32_t algorithm_id;
    std::string_view message;
    std::span<const std::uint8_t> digest;
};

struct hmac_known_answer {
    std::int32_t digest_id;
    std::span<const std::uint8_t> key;
    std::string_view message;
    std::span<const std::uint8_t> mac;
};

// FIPS 180-2, appendices B.2, C.2 and D.2 and its change notice 1: messages of two blocks.
inline constexpr std::string_view kMessage448 = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
inline constexpr std::string_view kMessage896 =
    "abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnopqrsmnopqrst"
    "nopqrstu";

inline constexpr auto kSha224Answer = hex("75388b16512776cc5dba5da1fd890150b0c6455cb4f58b1952522525");
inline constexpr auto kSha256Answer = hex("248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
inline constexpr auto kSha384Answer =
    hex("09330c33f71147e83d192fc782cd1b4753111b173b3b05d22fa08086e3b0f712fcc7c71a557e2db966c3e9fa91746039");
inline constexpr auto kSha512Answer =
    hex("8e959b75dae313da8cf4f72814fc143f8f7779c6eb9f7fa17299aeadb6889018501d289e4900f7e4331b99dec4b5433a"
        "c7d329eeb6dd26545e96e55b874be909");

inline constexpr digest_known_answer kDigestKnownAnswers[] = {
    {ZRC_SHA224, kMessage448, kSha224Answer},
    {ZRC_SHA256, kMessage448, kSha256Answer},
    {ZRC_SHA384, kMessage896, kSha384Answer},
    {ZRC_SHA512, kMessage896, kSha512Answer},
};

// RFC 4231, test cases 2 (a short key, used as it is) and 7 (a key longer than any block, hashed first).
inline constexpr auto kHmacShortKey = hex("4a656665"); // "Jefe"
inline constexpr std::string_view kHmacShortMessage = "what do ya want for nothing?";
inline constexpr auto kHmacLongKey = [] {
    std::array<std::uint8_t, 131> key{};
    key.fill(0xAA);
    return key;
}();
inline constexpr std::string_view kHmacLongMessage =
    "This is a test using a larger than block-size key and a larger than block-size data. The key needs to be hashed "
    "before being used by the HMAC algorithm.";

inline constexpr auto kHmacSha224Short = hex("a30e01098bc6dbbf45690f3a7e9e6d0f8bbea2a39e6148008fd05e44");
inline constexpr auto kHmacSha224Long = hex("3a854166ac5d9f023f54d517d0b39dbd946770db9c2b95c9f6f565d1");
inline constexpr auto kHmacSha256Short = hex("5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
inline constexpr auto kHmacSha256Long = hex("9b09ffa71b942fcb27635fbcd5b0e944bfdc63644f0713938a7f51535c3a35e2");
inline constexpr auto kHmacSha384Short =
    hex("af45d2e376484031617f78d2b58a6b1b9c7ef464f5a01b47e42ec3736322445e8e2240ca5e69e2c78b3239ecfab21649");
inline constexpr auto kHmacSha384Long =
    hex("6617178e941f020d351e2f254e8fd32c602420feb0b8fb9adccebb82461e99c5a678cc31e799176d3860e6110c46523e");
inline constexpr auto kHmacSha512Short =
    hex("164b7a7bfcf819e2e395fbe73b56e0a387bd64222e831fd610270cd7ea2505549758bf75c05a994a6d034f65f8f0e6fd"
        "caeab1a34d4a6b4b636e070a38bce737");
inline constexpr auto kHmacSha512Long =
    hex("e37b6a775dc87dbaa4dfa9f96e5e3ffddebd71f8867289865df5a32d20cdc944b6022cac3c4982b10d5eeb55c3e4de15"
        "134676fb6de0446065c97440fa8c6a58");

inline constexpr hmac_known_answer kHmacKnownAnswers[] = {
    {ZRC_SHA224, kHmacShortKey, kHmacShortMessage, kHmacSha224Short},
    {ZRC_SHA224, kHmacLongKey, kHmacLongMessage, kHmacSha224Long},
    {ZRC_SHA256, kHmacShortKey, kHmacShortMessage, kHmacSha256Short},
    {ZRC_SHA256, kHmacLongKey, kHmacLongMessage, kHmacSha256Long},
    {ZRC_SHA384, kHmacShortKey, kHmacShortMessage, kHmacSha384Short},
    {ZRC_SHA384, kHmacLongKey, kHmacLongMessage, kHmacSha384Long},
    {ZRC_SHA512, kHmacShortKey, kHmacShortMessage, kHmacSha512Short},
    {ZRC_SHA512, kHmacLongKey, kHmacLongMessage, kHmacSha512Long},
};

} // namespace zrc
