// DSA, KCDSA and ECDSA: calls of the same shape, and codes that differ in their front only.
#pragma once

#include "tests/pubkey/ecc_fixture.hpp"

#include <algorithm>
#include <array>

namespace test {

constexpr std::uint32_t kVerify = 0, kSign = 1;

using dsa_unit = owned<ZRC_DSA_UNIT, ZRC_Free_DSA>;
using kcdsa_unit = owned<ZRC_KCDSA_UNIT, ZRC_Free_KCDSA>;

template <class Unit>
struct signature_family {
    std::uint32_t in_init, in_update, in_final, in_sign, in_verify; // codes without a reason
    Unit* (*make)();
    void (*clean)(Unit*);
    void (*free)(Unit*);
    std::uint32_t (*init)(Unit*, std::uint32_t operation, std::int32_t digest);
    std::uint32_t (*update)(Unit*, const std::uint8_t* data, std::int32_t length);
    std::uint32_t (*final)(Unit*, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S, std::int32_t* S_length);
    std::uint32_t (*sign)(Unit*, std::uint8_t* R, std::int32_t* R_length, std::uint8_t* S, std::int32_t* S_length);
    std::uint32_t (*verify)(Unit*, const std::uint8_t* R, std::int32_t R_length, const std::uint8_t* S,
                            std::int32_t S_length);
    std::uint32_t (*length)(const Unit*);
    std::uint32_t (*set)(Unit*, const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g, const ZRC_BIGINT* x,
                         const ZRC_BIGINT* y) = nullptr; // not of ECDSA
};

template <class Owned>
inline constexpr int kFamily = 0;
template <>
inline constexpr signature_family<ZRC_DSA_UNIT> kFamily<dsa_unit>{
    0x0C020000,    0x0C030000,    0x0C040000,     0x0C050000,         0x0C060000,
    ZRC_New_DSA,   ZRC_Clean_DSA, ZRC_Free_DSA,   ZRC_Init_DSA,       ZRC_Update_DSA,
    ZRC_Final_DSA, ZRC_Sign_DSA,  ZRC_Verify_DSA, ZRC_Get_DSA_Length, ZRC_Set_DSA_Params};
template <>
inline constexpr signature_family<ZRC_KCDSA_UNIT> kFamily<kcdsa_unit>{
    0x10070000,      0x10090000,      0x100A0000,       0x100B0000,           0x100C0000,
    ZRC_New_KCDSA,   ZRC_Clean_KCDSA, ZRC_Free_KCDSA,   ZRC_Init_KCDSA_Ex,    ZRC_Update_KCDSA,
    ZRC_Final_KCDSA, ZRC_Sign_KCDSA,  ZRC_Verify_KCDSA, ZRC_Get_KCDSA_Length, ZRC_Set_KCDSA_Params};
template <>
inline constexpr signature_family<ZRC_ECDSA_UNIT> kFamily<ecdsa_unit>{
    0x21010000,      0x21020000,      0x21030000,       0x21040000,          0x21050000,
    ZRC_New_ECDSA,   ZRC_Clean_ECDSA, ZRC_Free_ECDSA,   ZRC_Init_ECDSA,      ZRC_Update_ECDSA,
    ZRC_Final_ECDSA, ZRC_Sign_ECDSA,  ZRC_Verify_ECDSA, ZRC_Get_ECDSA_Length};

struct signature {
    std::array<std::uint8_t, 66> R{}, S{};
    std::int32_t R_length = -1, S_length = -1;

    signature() = default;
    signature(const bytes& r, const bytes& s) : R_length{length_of(r)}, S_length{length_of(s)}
    {
        std::ranges::copy(r, R.begin());
        std::ranges::copy(s, S.begin());
    }
};

// Signs or verifies one message; without an Update when it is empty.
template <class Owned>
std::uint32_t run(const Owned& unit, std::uint32_t operation, std::int32_t digest, const bytes& message, signature& s)
{
    const auto& family = kFamily<Owned>;
    std::uint32_t code = family.init(unit, operation, digest);
    if (code == 0 && !message.empty()) code = family.update(unit, message.data(), length_of(message));
    return code != 0 ? code : family.final(unit, s.R.data(), &s.R_length, s.S.data(), &s.S_length);
}

template <class Owned>
Owned group_key(const bigint& p, const bigint& q, const bigint& g, const bigint& x, const bigint& y)
{
    Owned unit{kFamily<Owned>.make()};
    EXPECT_EQ(kFamily<Owned>.set(unit, p, q, g, x, y), 0U);
    return unit;
}

// The key of a stanza, x or y.
template <class Owned>
Owned group_key(const stanza& values, bool with_x)
{
    return group_key<Owned>(of_bytes(values["p"]), of_bytes(values["q"]), of_bytes(values["g"]),
                            with_x ? of_bytes(values["x"]) : nullptr, with_x ? nullptr : of_bytes(values["y"]));
}

// In a group of 113 elements, or of 19: every value can be met.
template <class Owned>
Owned tiny_key(std::uint32_t x)
{
    return group_key<Owned>(of({227}), of({113}), of({4}), of({x}), nullptr);
}
template <>
inline ecdsa_unit tiny_key(std::uint32_t x)
{
    ecdsa_unit unit{ZRC_New_ECDSA()};
    EXPECT_EQ(ZRC_Set_ECDSA_Params(unit, curve_of(kTiny), of({x}), nullptr), 0U);
    return unit;
}

} // namespace test
