// A unit as the RSA encodings need it: of a key they ask for nothing but the number of bits of the modulus.
#pragma once

#include "kestrim_crypto.h"
#include "tests/vector_file.hpp"

#include <cstdint>
#include <gtest/gtest.h>

namespace test {

struct rsa_encoder {
    ZRC_RSA_UNIT unit{};

    rsa_encoder(std::int32_t bits, std::int32_t digest, std::int32_t mgf_digest)
    {
        unit.mode = std::uint32_t(mgf_digest) | 0x00140000; // the byte between does not belong to the identifier
        unit.n = ZRC_New_BIGINT();
        EXPECT_EQ(ZRC_Set_BIGINT_Bit(unit.n, bits - 1), 0U);
        unit.digest = ZRC_New_DIGEST_Unit();
        EXPECT_EQ(ZRC_Init_DIGEST(unit.digest, digest), 0U);
    }
    ~rsa_encoder()
    {
        ZRC_Free_BIGINT(unit.n);
        ZRC_Free_DIGEST_Unit(unit.digest);
    }
    rsa_encoder(const rsa_encoder&) = delete;
    rsa_encoder& operator=(const rsa_encoder&) = delete;

    std::int32_t k() const { return std::int32_t(ZRC_Get_BIGINT_Bits_Length(unit.n) + 7) / 8; }
    std::int32_t h() const { return unit.digest->digest_length; }
};

inline std::int32_t length_of(const bytes& value)
{
    return std::int32_t(value.size());
}

// A value of a vector file as a number.
inline std::int32_t number(const bytes& value)
{
    std::uint32_t result = 0;
    for (const std::uint8_t byte : value)
        result = result << 8 | byte;
    return std::int32_t(result);
}

inline bytes digest_of(std::int32_t digest, const bytes& message)
{
    bytes output(64);
    std::int32_t length = 0;
    const std::uint8_t nothing = 0;
    EXPECT_EQ(
        ZRC_DIGEST(digest, message.empty() ? &nothing : message.data(), length_of(message), output.data(), &length),
        0U);
    output.resize(std::size_t(length));
    return output;
}

} // namespace test
