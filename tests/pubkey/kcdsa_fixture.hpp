// KCDSA units and keys for tests.
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

struct kcdsa_releaser {
    void operator()(ZRC_KCDSA_UNIT* unit) const { ZRC_Free_KCDSA(unit); }
};
using kcdsa_unit = std::unique_ptr<ZRC_KCDSA_UNIT, kcdsa_releaser>;

// The stanzas of a section, each with what it leaves out.
inline std::vector<stanza> kcdsa_vectors(const std::string& section)
{
    std::vector<stanza> all = read_vectors("kcdsa.txt", section);
    for (std::size_t i = 1; i < all.size(); ++i)
        all[i].values.insert(all[i - 1].values.begin(), all[i - 1].values.end());
    return all;
}

inline std::int32_t digest_of(const stanza& values)
{
    return std::int32_t(ZRC_Get_BIGINT_Word(of_bytes(values["digest"]).get()));
}

// A unit with the domain parameters of a stanza, and x or y or both.
inline kcdsa_unit kcdsa_key(const stanza& values, bool with_x, bool with_y)
{
    kcdsa_unit unit{ZRC_New_KCDSA()};
    const bigint x = with_x ? of_bytes(values["x"]) : nullptr, y = with_y ? of_bytes(values["y"]) : nullptr;
    EXPECT_EQ(ZRC_Set_KCDSA_Params(unit.get(), of_bytes(values["p"]).get(), of_bytes(values["q"]).get(),
                                   of_bytes(values["g"]).get(), x.get(), y.get()),
              0U);
    return unit;
}

// q has 7 or 24 bits: every value can be met.
struct small_group {
    std::uint32_t p, q, g;
};
inline constexpr small_group kTinyGroup{227, 113, 4}, kSmallGroup{201326809, 8388617, 16777216};

// y is computed, or is given as 1.
inline kcdsa_unit kcdsa_key(const small_group& group, std::uint32_t x, bool any_y = false)
{
    kcdsa_unit unit{ZRC_New_KCDSA()};
    EXPECT_EQ(ZRC_Set_KCDSA_Params(unit.get(), of({group.p}).get(), of({group.q}).get(), of({group.g}).get(),
                                   of({x}).get(), any_y ? ZRC_Value_One_BIGINT() : nullptr),
              0U);
    return unit;
}

struct signature {
    std::uint8_t R[64], S[64];
    std::int32_t R_length = -1, S_length = -1;
};

// Signs or verifies one message, with Update in front of Final unless it is empty.
inline std::uint32_t run_kcdsa(ZRC_KCDSA_UNIT* unit, std::uint32_t operation, std::int32_t digest, const bytes& message,
                               signature& s)
{
    std::uint32_t code = ZRC_Init_KCDSA_Ex(unit, operation, digest);
    if (code == 0 && !message.empty()) code = ZRC_Update_KCDSA(unit, message.data(), std::int32_t(message.size()));
    if (code != 0) return code;
    code = ZRC_Final_KCDSA(unit, s.R, &s.R_length, s.S, &s.S_length);
    if (operation == 1) s.S_length = std::int32_t(ZRC_Get_KCDSA_Length(unit));
    return code;
}

} // namespace test
