// DSA and Diffie-Hellman units and their vectors for tests.
#pragma once

#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace test {

struct group_releaser {
    void operator()(ZRC_DSA_UNIT* unit) const { ZRC_Free_DSA(unit); }
    void operator()(ZRC_DH_UNIT* unit) const { ZRC_Free_DH(unit); }
};
using dsa_unit = std::unique_ptr<ZRC_DSA_UNIT, group_releaser>;
using dh_unit = std::unique_ptr<ZRC_DH_UNIT, group_releaser>;

// The stanzas of a section, each with what it leaves out.
inline std::vector<stanza> group_vectors(const std::string& file, const std::string& section)
{
    std::vector<stanza> all = read_vectors(file, section);
    for (std::size_t i = 1; i < all.size(); ++i)
        all[i].values.insert(all[i - 1].values.begin(), all[i - 1].values.end());
    return all;
}

inline bigint number_of(const stanza& values, const std::string& name)
{
    return values[name].empty() ? nullptr : of_bytes(values[name]);
}

inline std::int32_t word_of(const stanza& values, const std::string& name)
{
    return std::int32_t(ZRC_Get_BIGINT_Word(of_bytes(values[name]).get()));
}

inline bool equal(const ZRC_BIGINT* number, const stanza& values, const std::string& name)
{
    return ZRC_Cmp_BIGINT(number, of_bytes(values[name]).get()) == 0;
}

// A unit with the key of a stanza, x or y.
inline dsa_unit dsa_key(const stanza& values, bool with_x)
{
    dsa_unit unit{ZRC_New_DSA()};
    const bigint key = of_bytes(values[with_x ? "x" : "y"]);
    EXPECT_EQ(ZRC_Set_DSA_Params(unit.get(), of_bytes(values["p"]).get(), of_bytes(values["q"]).get(),
                                 of_bytes(values["g"]).get(), with_x ? key.get() : nullptr,
                                 with_x ? nullptr : key.get()),
              0U)
        << values.place;
    return unit;
}

// A group of 113 elements: every value can be met.
inline dsa_unit tiny_dsa_key(std::uint32_t x)
{
    dsa_unit unit{ZRC_New_DSA()};
    EXPECT_EQ(ZRC_Set_DSA_Params(unit.get(), of({227}).get(), of({113}).get(), of({4}).get(), of({x}).get(), nullptr),
              0U);
    return unit;
}

struct dsa_signature {
    std::uint8_t R[64], S[64];
    std::int32_t R_length = -1, S_length = -1;
};

inline dsa_signature of_values(const bytes& R, const bytes& S)
{
    dsa_signature s;
    s.R_length = std::int32_t(R.size());
    s.S_length = std::int32_t(S.size());
    std::ranges::copy(R, s.R);
    std::ranges::copy(S, s.S);
    return s;
}

// Signs (operation 1) or verifies (0) one message.
inline std::uint32_t run_dsa(ZRC_DSA_UNIT* unit, std::uint32_t operation, std::int32_t digest, const bytes& message,
                             dsa_signature& s)
{
    std::uint32_t code = ZRC_Init_DSA(unit, operation, digest);
    if (code == 0) code = ZRC_Update_DSA(unit, message.data(), std::int32_t(message.size()));
    return code != 0 ? code : ZRC_Final_DSA(unit, s.R, &s.R_length, s.S, &s.S_length);
}

} // namespace test
