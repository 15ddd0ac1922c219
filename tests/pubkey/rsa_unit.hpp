// RSA units with the keys of tests/vectors/rsa_keys.txt, and the schemes in single calls.
#pragma once

#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace test {

struct rsa_releaser {
    void operator()(ZRC_RSA_UNIT* unit) const { EXPECT_EQ(ZRC_Free_RSA(unit), 0U); }
};
using rsa_unit = std::unique_ptr<ZRC_RSA_UNIT, rsa_releaser>;

struct rsa_key {
    bigint n, e, d, p, q, dp, dq, qinv;

    explicit rsa_key(int bits)
    {
        const stanza key = read_vectors("rsa_keys.txt", std::to_string(bits) + " bits").front();
        for (const auto& [name, value] : {std::pair{"n", &n},
                                          {"e", &e},
                                          {"d", &d},
                                          {"p", &p},
                                          {"q", &q},
                                          {"dp", &dp},
                                          {"dq", &dq},
                                          {"qinv", &qinv}})
            *value = of_bytes(key[name]);
    }

    rsa_unit with_public_values() const
    {
        rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(ZRC_Set_RSA_Public_Params(unit.get(), n.get(), e.get()), 0U);
        return unit;
    }
    rsa_unit with_private_exponent() const
    {
        rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(
            ZRC_Set_RSA_Params(unit.get(), n.get(), e.get(), d.get(), nullptr, nullptr, nullptr, nullptr, nullptr), 0U);
        return unit;
    }
    rsa_unit with_everything() const
    {
        rsa_unit unit{ZRC_New_RSA()};
        EXPECT_EQ(
            ZRC_Set_RSA_Params(unit.get(), n.get(), e.get(), d.get(), p.get(), q.get(), dp.get(), dq.get(), qinv.get()),
            0U);
        return unit;
    }
};

// What a call answered, and what it wrote: nothing on failure.
struct rsa_answer {
    std::uint32_t code;
    bytes output;

    bool operator==(const rsa_answer&) const = default;
};

inline void PrintTo(const rsa_answer& answer, std::ostream* out)
{
    *out << std::hex << answer.code << " [" << hex(answer.output) << ']';
}

// The output of `call`, which gets room for it: as many bytes as the modulus has, and exactly that, so that a sanitizer
// sees every byte beyond. A failed call must not have written anything.
template <class Call>
rsa_answer rsa_output(const ZRC_RSA_UNIT& unit, Call call)
{
    constexpr std::int32_t kUntouched = -77;
    bytes output(unit.n ? (ZRC_Get_BIGINT_Bits_Length(unit.n) + 7) / 8 : 1, 0xA7);
    std::int32_t length = kUntouched;
    const std::uint32_t code = call(output.data(), &length);
    if (code != 0) {
        EXPECT_EQ(length, kUntouched);
        EXPECT_EQ(output, bytes(output.size(), 0xA7));
        return {code, {}};
    }
    EXPECT_TRUE(length >= 0 && std::size_t(length) <= output.size()) << length;
    output.resize(std::size_t(length));
    return {0, output};
}

inline rsa_answer rsa_encrypt(const rsa_unit& unit, const bytes& message)
{
    return rsa_output(*unit, [&](std::uint8_t* output, std::int32_t* length) {
        const std::uint8_t nothing = 0;
        return ZRC_Encrypt_RSAES(unit.get(), output, length, message.empty() ? &nothing : message.data(),
                                 std::int32_t(message.size()));
    });
}

inline rsa_answer rsa_decrypt(const rsa_unit& unit, const bytes& ciphertext)
{
    return rsa_output(*unit, [&](std::uint8_t* output, std::int32_t* length) {
        const std::uint8_t nothing = 0;
        return ZRC_Decrypt_RSAES(unit.get(), output, length, ciphertext.empty() ? &nothing : ciphertext.data(),
                                 std::int32_t(ciphertext.size()));
    });
}

// Init, Update, Final; the first code that is not 0 ends it.
inline rsa_answer rsa_sign(const rsa_unit& unit, std::int32_t digest_id, std::uint32_t mode, const bytes& message)
{
    if (const std::uint32_t code = ZRC_Init_RSASSA(unit.get(), digest_id, mode, 1)) return {code, {}};
    if (const std::uint32_t code = ZRC_Update_RSASSA(unit.get(), message.data(), std::int32_t(message.size()))) {
        return {code, {}};
    }
    return rsa_output(*unit, [&](std::uint8_t* output, std::int32_t* length) {
        return ZRC_Final_RSASSA(unit.get(), output, length);
    });
}

inline std::uint32_t rsa_verify(const rsa_unit& unit, std::int32_t digest_id, std::uint32_t mode, const bytes& message,
                                bytes signature)
{
    if (const std::uint32_t code = ZRC_Init_RSASSA(unit.get(), digest_id, mode, 0)) return code;
    if (const std::uint32_t code = ZRC_Update_RSASSA(unit.get(), message.data(), std::int32_t(message.size()))) {
        return code;
    }
    const auto size = std::int32_t(signature.size());
    std::int32_t length = size;
    signature.push_back(0);
    const std::uint32_t code = ZRC_Final_RSASSA(unit.get(), signature.data(), &length);
    EXPECT_EQ(length, size);
    return code;
}

constexpr std::uint32_t pss_salt(std::uint32_t length)
{
    return ZRC_RSASSA_PSS | length << ZRC_RSASSA_SALT_SHIFT;
}

} // namespace test
