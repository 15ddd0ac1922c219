// Known answers of Hash_DRBG: NIST CAVP, Hash_DRBG.rsp without reseeding, the first case with personalisation and
// additional input of each digest.
#pragma once

#include "core/bytes.hpp"
#include "kestrim/digest.h"
#include "selftest/hex.hpp"

#include <cstdint>

namespace zrc {

struct drbg_known_answer {
    std::int32_t digest_id;
    byte_span entropy, nonce, personalization;
    byte_span additional[2]; // of the first and the second request
    byte_span output;        // of the second request; the first asks for as many bytes
};

inline constexpr auto kDrbgSha224Entropy = hex("1bab3002107d7de482ddbd21bd1ce935167214236c92e43a");
inline constexpr auto kDrbgSha224Nonce = hex("4a7b14930f5df7b3bdf07054");
inline constexpr auto kDrbgSha224Personalization = hex("4b1a3411df2fba9949d7b700f3eb75beb34262aafd674e9c");
inline constexpr auto kDrbgSha224Additional1 = hex("7f1eb4bd7ec9b4e59a0fc53a02a95170021b5776f7285d8c");
inline constexpr auto kDrbgSha224Additional2 = hex("6473fef885a0da4788045f51cd66abc76ee052f1dbe5a30b");
inline constexpr auto kDrbgSha224Output =
    hex("e0a42484d556ad6b20bb2dad3511e66aa2805af76174a70632ffbf6d52f157039dc678698ee72aecdbcfe4fede4fee9d"
        "60dc38c6ae8ec97966dc88051499cc3a9ed58bd18d61f7cc64c095a2b49a956625c507a04888fcc2e19ea2c285be0b82"
        "1c3862914bd620193f5e26eb81e6f2ca");

inline constexpr auto kDrbgSha256Entropy = hex("68c43a008fe46a823d260a9d7fa388fb9e401f0197e7e758a744b4babb3f4651");
inline constexpr auto kDrbgSha256Nonce = hex("eb6825777856331884aaf3751b3e4006");
inline constexpr auto kDrbgSha256Personalization =
    hex("23ce0d32cbf2d26467f0d62acff1a3acbaa6d2746dc3ee7aa9d32c880788afc8");
inline constexpr auto kDrbgSha256Additional1 = hex("a31b9f13b58d4fa2f8d8ac42b62a207ff647339a146bd8b268b33d4aff57adbd");
inline constexpr auto kDrbgSha256Additional2 = hex("d34fc6504eca4b568193c75357b0d3821a48c77ff80d6dbd21c6cf045ff489cf");
inline constexpr auto kDrbgSha256Output =
    hex("abb4ecbacd4e8fa943c7221aed433861c3b203232657ec4c417d021f905d911db1058ff1e11e272232482ec96bae7cb4"
        "efc135502dbe41724077077f6de79b713670c385d04644e1281c3e582e0016255abbe5f8c06d0de57160559f0c08f7fb"
        "5be3563c649966190f8d3261364447537de2c7371c6e8c308933d27145bf90ab");

inline constexpr auto kDrbgSha384Entropy = hex("2e154070573312bc5ea0fa00e589b85dd559797a47c7e5ac731fea50531771a1");
inline constexpr auto kDrbgSha384Nonce = hex("8443504d05af55a2c5091f077b1edf22");
inline constexpr auto kDrbgSha384Personalization =
    hex("35679c78e75c78bd6eff67b7d62a9fef1fad39a049debd1efb09be9acc62260d");
inline constexpr auto kDrbgSha384Additional1 = hex("f4bf0561b3e91f0eab5a801388b04b43eee57887d43516a1f332c7c503ab53d6");
inline constexpr auto kDrbgSha384Additional2 = hex("77371fdee3485a12e55d5029d70b9536aabbb28ac1ef9ca761633bec9058bc04");
inline constexpr auto kDrbgSha384Output =
    hex("c6a7ee27596c28ed32d6d0a3dc5b7255448c873b2246d2bd5dbecb1a3d32de95ecd780e3e61974a84b374a1c0b32258e"
        "f8dd41371c5af762aaec6555fd1359efa5051f24bfdbadf9be8c101198fbf6fa97ef58c1ab2865a913f1b1e08019bb25"
        "f0e17ff5f7543cc1fd35e7baa042916d12d29ac6a52202082f4224a45932772dec149a34da4b3912c30903b7681e89e1"
        "530c7d8569eef281d165ea99da653df0728c74c809dc4a0ec8b754193ccfef2ab725db8890f84b1aa19bed96ed1c6927");

inline constexpr auto kDrbgSha512Entropy = hex("31e8d6fbdc9026b0708405c20b558fcc0a107f3fdc836fe056f020df30d9dc57");
inline constexpr auto kDrbgSha512Nonce = hex("2b8bbab9b486abb659c4ae8ff5978e22");
inline constexpr auto kDrbgSha512Personalization =
    hex("949eb753762869aa5ea0ce725523595f9bc9b219735113e71feab228d0872c38");
inline constexpr auto kDrbgSha512Additional1 = hex("88f1180d4ef564315280a9692f107ed9c0639d79bb7040dfc3b7d58bf24ef8f5");
inline constexpr auto kDrbgSha512Additional2 = hex("f4fc8a26e0ad181838f1399fe5b8a4b86670e92ab92b2c4daf3913470724d3f2");
inline constexpr auto kDrbgSha512Output =
    hex("10509641332a4d72a3c5936512c37cb9ab9874693902ee4c76e963675627ef86aa2e7d7029a152b800072fc53eeb6b41"
        "d12f481cde99b467dac3486836f6e146e9a79d3fb90d9b26f213ddbfac590ca083ed83fde4924395d25b645b96a6983e"
        "65fd662cae66112ebfa990f09b86b01270b7f0ef35f183eb01ffcbd7d5ec6adc4839cf3814dac858e013c6d79528ef27"
        "3dd83724ccdc82b73dc63698fcf8ef0924f27b6a49d6d38f0ce261aa5a0a88779e47a413c29e1d7d20e4ab914bbabd5e"
        "6e0241cf53263a8efa321b4a632eb062b255c0ce5a0833114161dd073dd037967a1f03daf2dd7e927b801b40e62f26c0"
        "872ea100132807650232126aa8f29d70");

inline constexpr drbg_known_answer kDrbgKnownAnswers[] = {
    {ZRC_SHA224,
     kDrbgSha224Entropy,
     kDrbgSha224Nonce,
     kDrbgSha224Personalization,
     {kDrbgSha224Additional1, kDrbgSha224Additional2},
     kDrbgSha224Output},
    {ZRC_SHA256,
     kDrbgSha256Entropy,
     kDrbgSha256Nonce,
     kDrbgSha256Personalization,
     {kDrbgSha256Additional1, kDrbgSha256Additional2},
     kDrbgSha256Output},
    {ZRC_SHA384,
     kDrbgSha384Entropy,
     kDrbgSha384Nonce,
     kDrbgSha384Personalization,
     {kDrbgSha384Additional1, kDrbgSha384Additional2},
     kDrbgSha384Output},
    {ZRC_SHA512,
     kDrbgSha512Entropy,
     kDrbgSha512Nonce,
     kDrbgSha512Personalization,
     {kDrbgSha512Additional1, kDrbgSha512Additional2},
     kDrbgSha512Output},
};

} // namespace zrc
