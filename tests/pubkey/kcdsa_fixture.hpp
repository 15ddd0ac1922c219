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

using codes = std::vector<std::uint32_t>;

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

inline std::uint32_t word_of(const stanza& values, const char* name)
{
    return ZRC_Get_BIGINT_Word(of_bytes(values[name]).get());
}

inline kcdsa_unit kcdsa_key(const bigint& p, const bigint& q, const bigint& g, const bigint& x, const bigint& y)
{
    kcdsa_unit unit{ZRC_New_KCDSA()};
    EXPECT_EQ(ZRC_Set_KCDSA_Params(unit.get(), p.get(), q.get(), g.get(), x.get(), y.get()), 0U);
    return unit;
}

// The key of a stanza, with x or y.
inline kcdsa_unit kcdsa_key(const stanza& v, bool with_x)
{
    const bigint p = of_bytes(v["p"]), q = of_bytes(v["q"]), g = of_bytes(v["g"]);
    return kcdsa_key(p, q, g, with_x ? of_bytes(v["x"]) : nullptr, with_x ? nullptr : of_bytes(v["y"]));
}

struct signature {
    std::uint8_t R[64], S[64];
    std::int32_t R_length = -1, S_length = -1;
};

// Signs (1) or verifies (0) one message, with Update in front of Final unless it is empty.
inline std::uint32_t run_kcdsa(ZRC_KCDSA_UNIT* unit, std::uint32_t operation, std::int32_t digest, const bytes& message,
                               signature& s)
{
    std::uint32_t code = ZRC_Init_KCDSA_Ex(unit, operation, digest);
    if (code == 0 && !message.empty()) code = ZRC_Update_KCDSA(unit, message.data(), std::int32_t(message.size()));
    if (code == 0) code = ZRC_Final_KCDSA(unit, s.R, &s.R_length, s.S, &s.S_length);
    if (operation == 1) s.S_length = std::int32_t(ZRC_Get_KCDSA_Length(unit));
    return code;
}

} // namespace test
