// DSA through the public interface, in non-proven mode: what it does not share with KCDSA and ECDSA.
#include "tests/pubkey/signature_family.hpp"

namespace {

using namespace test;

const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

// A changed y is not of the group any more, and is refused when it is loaded.
TEST(Dsa, VerifiesPublishedSignatures)
{
    for (const char* section : {"signatures", "verifications"}) {
        for (const stanza& values : group_vectors("dsa.txt", section)) {
            SCOPED_TRACE(values.place);
            const dsa_unit unit{ZRC_New_DSA()};
            const std::uint32_t loaded = ZRC_Set_DSA_Params(unit, of_bytes(values["p"]), of_bytes(values["q"]),
                                                            of_bytes(values["g"]), nullptr, of_bytes(values["y"]));
            signature s{values["r"], values["s"]};
            const std::uint32_t verified =
                loaded == 0 ? run(unit, kVerify, number(values["digest"]), values["msg"], s) : 0;
            EXPECT_TRUE(is_good(values) ? (loaded | verified) == 0 : loaded == 0x0C01002E || verified == 0x0C06005E)
                << std::hex << loaded << ' ' << verified;
        }
    }
}

TEST(Dsa, KeyPairs)
{
    for (const stanza& values : group_vectors("dsa.txt", "key pairs")) {
        SCOPED_TRACE(values.place);
        const dsa_unit unit = group_key<dsa_unit>(values, true);
        EXPECT_TRUE(equal(unit->y, values["y"]));
        ASSERT_EQ(ZRC_Set_DSA_Params(unit, unit->p, unit->q, unit->g, unit->x, unit->y), 0U) << "its own";
        EXPECT_EQ(ZRC_Set_DSA_Params(unit, unit->p, unit->q, unit->g, unit->x, unit->g), 0x0C01002EU);
    }
}

TEST(Dsa, RefusesWhatCannotBeLoaded)
{
    const dsa_unit unit = tiny_key<dsa_unit>(7);
    const auto set = [&](const bigint& p, const bigint& q, const bigint& g, const bigint& x, const bigint& y) {
        const std::uint32_t code = ZRC_Set_DSA_Params(unit, p, q, g, x, y);
        EXPECT_EQ(code == 0, unit->p != nullptr);
        return code;
    };
    const bigint p = of({227}), q = of({113}), g = of({4}), x = of({5});
    EXPECT_EQ(set(p, q, g, nullptr, nullptr), 0U);
    EXPECT_EQ(set(of({227, 0}), of({113, 0, 0}), of({4, 0}), of({5, 0}), nullptr), 0U) << "zero words on top";
    EXPECT_EQ(unit->y->data[0], 4U * 4 * 4 * 4 * 4 % 227);
    for (const word_list& bad : {word_list{}, {0}, {1}, {2}, {3}, {226}, {225}, {113}})
        EXPECT_EQ(set(of(bad), q, g, x, nullptr), 0x0C01002BU);
    for (const word_list& bad : {word_list{}, {0}, {1}, {2}, {226}, {227}, {114}, {111}, {0, 1}})
        EXPECT_EQ(set(p, of(bad), g, x, nullptr), 0x0C01002BU);
    for (const word_list& bad : {word_list{}, {0}, {1}, {226}, {227}, {228}, {2}})
        EXPECT_EQ(set(p, q, of(bad), x, nullptr), 0x0C01002BU);
    for (const word_list& bad : {word_list{0}, {113}, {114}, {5, 1}})
        EXPECT_EQ(set(p, q, g, of(bad), nullptr), 0x0C01002EU);
    for (const word_list& bad : {word_list{0}, {1}, {226}, {227}, {2}}) // 2 has another order
        EXPECT_EQ(set(p, q, g, nullptr, of(bad)), 0x0C01002EU);
    EXPECT_EQ(set(of(word_list(513, 1)), q, g, nullptr, nullptr), 0x0C010048U);
    EXPECT_EQ(set(nullptr, q, g, nullptr, nullptr), 0x0C01002BU);
    EXPECT_EQ(ZRC_Set_DSA_Params(nullptr, p, q, g, nullptr, nullptr), 0x0C010049U);
}

// Numbers that get into a unit behind the back of ZRC_Set_DSA_Params.
TEST(Dsa, NothingHangsOnAbsurdNumbers)
{
    const struct {
        std::uint32_t p, q, g, x, y, sign, verify, generate;
    } kCases[] = {{226, 113, 4, 5, 7, 0x0C050040, 0x0C060040, 0x0C080040}, // even p
                  {0, 113, 4, 5, 7, 0x0C050040, 0x0C060040, 0x0C080040},
                  {227, 0, 4, 5, 7, 0x0C05001C, 0x0C06000B, 0x0C080048},
                  {227, 1, 4, 5, 7, 0x0C05001C, 0x0C06000B, 0x0C080048},
                  {227, 4, 4, 5, 7, 0x0C050041, 0x0C06005E, 0},   // even q
                  {227, 113, 0, 5, 7, 0x0C050053, 0x0C06005E, 0}, // r is always 0
                  {227, 113, 4, 5, 0, 0, 0x0C06005E, 0},
                  {113, 227, 4, 5, 7, 0, 0x0C06005E, 0}}; // q > p
    for (const auto& one : kCases) {
        SCOPED_TRACE(testing::Message() << one.p << ' ' << one.q << ' ' << one.g << ' ' << one.y);
        const dsa_unit unit = tiny_key<dsa_unit>(5);
        const std::pair<ZRC_BIGINT*, std::uint32_t> numbers[] = {
            {unit->p, one.p}, {unit->q, one.q}, {unit->g, one.g}, {unit->x, one.x}, {unit->y, one.y}};
        for (const auto& [number, value] : numbers) {
            ASSERT_EQ(ZRC_Set_BIGINT_Word(number, value), 0U);
            if (value == 0) number->length = 0;
        }
        signature s{{1}, {2}}; // with the even q, s has no inverse
        EXPECT_EQ(run(unit, kVerify, ZRC_SHA256, kMessage, s), one.verify);
        EXPECT_EQ(run(unit, kSign, ZRC_SHA256, kMessage, s), one.sign);
        EXPECT_EQ(ZRC_Generate_DSA_Key_Pair(unit), one.generate);
    }
}

TEST(Dsa, RefusesWhatCannotBeGeneratedOrVerified)
{
    const dsa_unit fresh{ZRC_New_DSA()}, unit = tiny_key<dsa_unit>(5);
    for (ZRC_DSA_UNIT* const none : {static_cast<ZRC_DSA_UNIT*>(nullptr), fresh.get()})
        EXPECT_EQ(ZRC_Generate_DSA_Key_Pair(none), 0x0C080049U);
    EXPECT_EQ(ZRC_Generate_DSA_Params(nullptr, 1024, 160, ZRC_SHA1), 0x0C070049U);
    constexpr struct {
        std::int32_t p_bits, q_bits, digest;
        std::uint32_t code;
    } kSizes[] = {{1024, 224, ZRC_SHA256, 0x0C070048}, {512, 160, ZRC_SHA1, 0x0C070048},
                  {-1, -1, ZRC_SHA256, 0x0C070048},    {2048, 256, ZRC_SHA224, 0x0C070048},
                  {1024, 160, ZRC_MD5, 0x0C070048},    {1024, 160, 77, 0x0C070022}};
    for (const auto& one : kSizes)
        EXPECT_EQ(ZRC_Generate_DSA_Params(unit, one.p_bits, one.q_bits, one.digest), one.code);
    EXPECT_TRUE(unit->p && unit->x) << "as it was";

    signature s{{1}, {1}};
    ZRC_Free_BIGINT(std::exchange(unit->y, nullptr));
    EXPECT_EQ(run(unit, kVerify, ZRC_SHA256, kMessage, s), 0x0C060046U);
}

} // namespace
