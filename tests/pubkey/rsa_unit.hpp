// RSA units with the keys of tests/vectors/rsa_keys.txt, or with as much of a key as the encodings need, and the calls
// of the schemes.
#pragma once

#include "tests/pubkey/pubkey_fixture.hpp"

#include <string_view>

namespace test {

struct rsa_releaser {
    void operator()(ZRC_RSA_UNIT* unit) const { EXPECT_EQ(ZRC_Free_RSA(unit), 0U); }
};
using rsa_unit = handle<ZRC_RSA_UNIT, rsa_releaser>;
using rsa_part = ZRC_BIGINT* ZRC_RSA_UNIT::*;
inline constexpr rsa_part kRsaParts[] = {&ZRC_RSA_UNIT::n,  &ZRC_RSA_UNIT::e, &ZRC_RSA_UNIT::d, &ZRC_RSA_UNIT::dP,
                                         &ZRC_RSA_UNIT::dQ, &ZRC_RSA_UNIT::p, &ZRC_RSA_UNIT::q, &ZRC_RSA_UNIT::qInv};

// Numbers of a key, some of them null. Returns the code of loading.
inline std::uint32_t load_rsa(ZRC_RSA_UNIT* unit, const ZRC_BIGINT* n, const ZRC_BIGINT* e, const ZRC_BIGINT* d)
{
    return ZRC_Set_RSA_Params(unit, n, e, d, nullptr, nullptr, nullptr, nullptr, nullptr);
}

struct rsa_key {
    bigint n, e, d, p, q, dp, dq, qinv;

    explicit rsa_key(int bits)
    {
        const stanza key = read_vectors("rsa_keys.txt", std::to_string(bits) + " bits").front();
        const auto part = [&](const char* name) { return of_bytes(key[name]); };
        n = part("n"), e = part("e"), d = part("d"), p = part("p"), q = part("q");
        dp = part("dp"), dq = part("dq"), qinv = part("qinv");
    }

    // Loads what `parts` names: n, e, d, and c for all the CRT values, or C for all but the last one.
    std::uint32_t load(ZRC_RSA_UNIT* unit, std::string_view parts) const
    {
        const auto given = [&](const char* letters, const bigint& value) {
            return parts.find_first_of(letters) == parts.npos ? nullptr : value.get();
        };
        return ZRC_Set_RSA_Params(unit, given("n", n), given("e", e), given("d", d), given("cC", p), given("cC", q),
                                  given("cC", dp), given("cC", dq), given("c", qinv));
    }
    rsa_unit unit(std::string_view parts) const
    {
        rsa_unit made{ZRC_New_RSA()};
        EXPECT_EQ(load(made, parts), 0U);
        return made;
    }
};

// What a call answered, and what it wrote: nothing on failure.
struct rsa_answer {
    std::uint32_t code;
    bytes output = {};

    bool operator==(const rsa_answer&) const = default;
};

// The output of `call`, which gets room for exactly as many bytes as the modulus has: a sanitizer sees every byte
// beyond. A failed call must not have written anything.
rsa_answer rsa_output(const ZRC_RSA_UNIT& unit, auto call)
{
    bytes output(unit.n ? (ZRC_Get_BIGINT_Bits_Length(unit.n) + 7) / 8 : 1, 0xA7);
    const bytes before = output;
    std::int32_t length = -77;
    const std::uint32_t code = call(output.data(), &length);
    if (code != 0) {
        EXPECT_TRUE(length == -77 && output == before);
        return {code};
    }
    EXPECT_TRUE(length >= 0 && length <= length_of(output)) << length;
    output.resize(std::size_t(length));
    return {0, output};
}

// Encryption or decryption as the unit stands, or after an Init.
template <auto Call>
struct rsa_crypt {
    rsa_answer operator()(const rsa_unit& unit, const bytes& input) const
    {
        return rsa_output(*unit, [&](auto* output, auto* length) {
            return Call(unit, output, length, data_of(input), length_of(input));
        });
    }
    rsa_answer operator()(const rsa_unit& unit, std::uint32_t mode, std::uint32_t operation, const bytes& input,
                          std::int32_t digest_id = 0) const
    {
        EXPECT_EQ(ZRC_Init_RSAES(unit, mode, operation, digest_id), 0U);
        return (*this)(unit, input);
    }
};
inline constexpr rsa_crypt<ZRC_Encrypt_RSAES> rsa_encrypt;
inline constexpr rsa_crypt<ZRC_Decrypt_RSAES> rsa_decrypt;

// Init, Update, Final; the first code that is not 0 ends it.
inline rsa_answer rsa_sign(const rsa_unit& unit, std::int32_t digest_id, std::uint32_t mode, const bytes& message)
{
    if (const std::uint32_t code = ZRC_Init_RSASSA(unit, digest_id, mode, 1)) return {code};
    if (const std::uint32_t code = ZRC_Update_RSASSA(unit, data_of(message), length_of(message))) return {code};
    return rsa_output(*unit, [&](auto* output, auto* length) { return ZRC_Final_RSASSA(unit, output, length); });
}
inline std::uint32_t rsa_verify(const rsa_unit& unit, std::int32_t digest_id, std::uint32_t mode, const bytes& message,
                                bytes signature)
{
    if (const std::uint32_t code = ZRC_Init_RSASSA(unit, digest_id, mode, 0)) return code;
    if (const std::uint32_t code = ZRC_Update_RSASSA(unit, data_of(message), length_of(message))) return code;
    std::int32_t length = length_of(signature);
    signature.reserve(1);
    return ZRC_Final_RSASSA(unit, signature.data(), &length);
}

constexpr std::uint32_t pss_salt(std::uint32_t length)
{
    return ZRC_RSASSA_PSS | length << ZRC_RSASSA_SALT_SHIFT;
}

// A unit as the encodings need it: of a key they ask for nothing but the number of bits of the modulus.
struct rsa_encoder {
    rsa_unit owner{ZRC_New_RSA()};
    ZRC_RSA_UNIT& unit = *owner;

    rsa_encoder(std::int32_t bits, std::int32_t digest, std::int32_t mgf_digest)
    {
        unit.mode = std::uint32_t(mgf_digest) | 0x00140000; // the byte between does not belong to the identifier
        unit.n = ZRC_New_BIGINT();
        EXPECT_EQ(ZRC_Set_BIGINT_Bit(unit.n, bits - 1), 0U);
        unit.digest = ZRC_New_DIGEST_Unit();
        EXPECT_EQ(ZRC_Init_DIGEST(unit.digest, digest), 0U);
    }
    explicit rsa_encoder(const stanza& one)
        : rsa_encoder{number(one["bits"]), number(one["digest"]), number(one["mgf"])}
    {
    }

    std::int32_t k() const { return std::int32_t(ZRC_Get_BIGINT_Bits_Length(unit.n) + 7) / 8; }
};

} // namespace test
