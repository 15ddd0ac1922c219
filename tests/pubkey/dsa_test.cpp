// DSA through the public interface, in non-proven mode.
#include "tests/pubkey/dsa_fixture.hpp"

#include <cstring>
#include <utility>

namespace {

using test::bigint;
using test::bytes;
using test::dsa_signature;
using test::dsa_unit;

constexpr std::uint32_t kVerify = 0, kSign = 1;
const bytes kMessage{'m', 'e', 's', 's', 'a', 'g', 'e'};

test::stanza sample()
{
    return test::group_vectors("dsa.txt", "key pairs").back();
}

// A changed y is not of the group any more, and is refused when it is loaded.
TEST(Dsa, VerifiesPublishedSignatures)
{
    for (const char* section : {"signatures", "verifications"}) {
        for (const test::stanza& values : test::group_vectors("dsa.txt", section)) {
            SCOPED_TRACE(values.place);
            const bool good = values.values.count("result") == 0 || values["result"] == bytes{0};
            const dsa_unit unit{ZRC_New_DSA()};
            const bigint y = test::of_bytes(values["y"]);
            const std::uint32_t loaded =
                ZRC_Set_DSA_Params(unit.get(), test::of_bytes(values["p"]).get(), test::of_bytes(values["q"]).get(),
                                   test::of_bytes(values["g"]).get(), nullptr, y.get());
            dsa_signature s = test::of_values(values["r"], values["s"]);
            const std::uint32_t verified =
                loaded == 0 ? test::run_dsa(unit.get(), kVerify, test::word_of(values, "digest"), values["msg"], s) : 0;
            EXPECT_TRUE(good ? (loaded | verified) == 0 : loaded == 0x0C01002E || verified == 0x0C06005E)
                << std::hex << loaded << ' ' << verified;
        }
    }
}

TEST(Dsa, KeyPairs)
{
    for (const test::stanza& values : test::group_vectors("dsa.txt", "key pairs")) {
        SCOPED_TRACE(values.place);
        const dsa_unit unit = test::dsa_key(values, true);
        EXPECT_TRUE(test::equal(unit->y, values, "y"));
        ASSERT_EQ(ZRC_Set_DSA_Params(unit.get(), unit->p, unit->q, unit->g, unit->x, unit->y), 0U) << "its own";
        const bigint other{ZRC_Dup_BIGINT(unit->g)};
        EXPECT_EQ(ZRC_Set_DSA_Params(unit.get(), unit->p, unit->q, unit->g, unit->x, other.get()), 0x0C01002EU);
    }
}

TEST(Dsa, SignsWithEveryDigest)
{
    for (const std::int32_t digest :
         {ZRC_SHA1, ZRC_SHA224, ZRC_SHA256, ZRC_SHA384, ZRC_SHA512, ZRC_MD5, ZRC_HAS160, ZRC_MDC2}) {
        SCOPED_TRACE(digest);
        const dsa_unit signer = test::dsa_key(sample(), true), verifier = test::dsa_key(sample(), false);
        dsa_signature s;
        ASSERT_EQ(test::run_dsa(signer.get(), kSign, digest, kMessage, s), 0U);
        EXPECT_EQ(s.R_length, std::int32_t(ZRC_Get_DSA_Length(signer.get())));
        EXPECT_EQ(s.S_length, s.R_length);
        EXPECT_EQ(test::run_dsa(verifier.get(), kVerify, digest, kMessage, s), 0U);
        EXPECT_EQ(test::run_dsa(verifier.get(), kVerify, digest, {'m'}, s), 0x0C06005EU);

        ASSERT_EQ(ZRC_Update_DSA(signer.get(), kMessage.data(), 7), 0U) << "a message that Init drops";
        ASSERT_EQ(ZRC_Init_DSA(signer.get(), kVerify, digest), 0U);
        for (const std::uint8_t byte : kMessage)
            ASSERT_EQ(ZRC_Update_DSA(signer.get(), &byte, 1), 0U);
        EXPECT_EQ(ZRC_Final_DSA(signer.get(), s.R, &s.R_length, s.S, &s.S_length), 0U) << "fed in pieces";
    }
}

// q has 7 bits: of a digest, 7 count; r and s come out as 0 now and then, and are drawn again.
TEST(Dsa, TinyGroup)
{
    const dsa_unit unit = test::tiny_dsa_key(5);
    for (int i = 0; i < 500 / test::kShare; ++i) {
        dsa_signature s;
        ASSERT_EQ(test::run_dsa(unit.get(), kSign, ZRC_SHA256, {std::uint8_t(i)}, s), 0U);
        EXPECT_TRUE(s.R_length == 1 && s.R[0] > 0 && s.R[0] < 113 && s.S_length == 1 && s.S[0] > 0 && s.S[0] < 113);
        ASSERT_EQ(test::run_dsa(unit.get(), kVerify, ZRC_SHA256, {std::uint8_t(i)}, s), 0U);
    }
}

TEST(Dsa, RefusesRAndSOutOfRange)
{
    const dsa_unit unit = test::dsa_key(sample(), true);
    bytes q(ZRC_Get_DSA_Length(unit.get())), zero(q.size()), above(q.size() + 8, 0xFF);
    ZRC_BIGINT_To_Binary_Unsigned(unit->q, q.data());
    dsa_signature good;
    ASSERT_EQ(test::run_dsa(unit.get(), kSign, ZRC_SHA256, kMessage, good), 0U);
    const bytes R{good.R, good.R + good.R_length}, S{good.S, good.S + good.S_length};
    bytes long_R(8), long_S(8);
    long_R.insert(long_R.end(), R.begin(), R.end());
    long_S.insert(long_S.end(), S.begin(), S.end());
    const struct {
        bytes R, S;
        std::uint32_t code;
    } kCases[] = {{R, S, 0},           {long_R, long_S, 0}, {zero, S, 0x0C060037},  {R, zero, 0x0C060037},
                  {{}, S, 0x0C060037}, {R, {}, 0x0C060037}, {q, S, 0x0C06000B},     {R, q, 0x0C06000B},
                  {S, R, 0x0C06005E},  {R, R, 0x0C06005E},  {above, S, 0x0C06000B}, {R, above, 0x0C06000B}};
    for (const auto& one : kCases) {
        dsa_signature s = test::of_values(one.R, one.S);
        EXPECT_EQ(test::run_dsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), one.code);
    }
    dsa_signature negative = good;
    negative.S_length = -1;
    EXPECT_EQ(test::run_dsa(unit.get(), kVerify, ZRC_SHA256, kMessage, negative), 0x0C060005U);
}

TEST(Dsa, RefusesWhatCannotBeLoaded)
{
    const dsa_unit unit = test::dsa_key(sample(), true);
    const auto set = [&](test::word_list p, test::word_list q, test::word_list g, test::word_list x,
                         test::word_list y) {
        const bigint new_x = x.empty() ? nullptr : test::of(x), new_y = y.empty() ? nullptr : test::of(y);
        const std::uint32_t code = ZRC_Set_DSA_Params(unit.get(), test::of(p).get(), test::of(q).get(),
                                                      test::of(g).get(), new_x.get(), new_y.get());
        EXPECT_EQ(code == 0, unit->p != nullptr);
        return code;
    };
    const test::word_list p{227}, q{113}, g{4}, none;
    EXPECT_EQ(set(p, q, g, none, none), 0U);
    EXPECT_EQ(set({227, 0}, {113, 0, 0}, {4, 0}, {5, 0}, none), 0U) << "zero words on top";
    EXPECT_EQ(unit->y->data[0], 4U * 4 * 4 * 4 * 4 % 227);
    const test::word_list bad_p[] = {{}, {0}, {1}, {2}, {3}, {226}, {225}, {113}},
                          bad_q[] = {{0}, {1}, {2}, {226}, {227}, {114}, {111}, {0, 1}},
                          bad_g[] = {{}, {0}, {1}, {226}, {227}, {228}, {2}};
    for (const auto& bad : bad_p)
        EXPECT_EQ(set(bad, q, g, {5}, none), 0x0C01002BU);
    for (const auto& bad : bad_q)
        EXPECT_EQ(set(p, bad, g, {5}, none), 0x0C01002BU);
    for (const auto& bad : bad_g)
        EXPECT_EQ(set(p, q, bad, {5}, none), 0x0C01002BU);
    for (const test::word_list& bad : {test::word_list{0}, {113}, {114}, {5, 1}})
        EXPECT_EQ(set(p, q, g, bad, none), 0x0C01002EU);
    for (const test::word_list& bad : {test::word_list{0}, {1}, {226}, {227}, {2}}) // 2 has another order
        EXPECT_EQ(set(p, q, g, none, bad), 0x0C01002EU);
    test::word_list huge(513, 1);
    EXPECT_EQ(set(huge, q, g, none, none), 0x0C010048U);
    EXPECT_EQ(ZRC_Set_DSA_Params(unit.get(), nullptr, test::of(q).get(), test::of(g).get(), nullptr, nullptr),
              0x0C01002BU);
    EXPECT_EQ(ZRC_Set_DSA_Params(nullptr, test::of(p).get(), test::of(q).get(), test::of(g).get(), nullptr, nullptr),
              0x0C010049U);
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
        const dsa_unit unit = test::tiny_dsa_key(5);
        const std::pair<ZRC_BIGINT*, std::uint32_t> numbers[] = {
            {unit->p, one.p}, {unit->q, one.q}, {unit->g, one.g}, {unit->x, one.x}, {unit->y, one.y}};
        for (const auto& [number, value] : numbers) {
            ASSERT_EQ(ZRC_Set_BIGINT_Word(number, value), 0U);
            if (value == 0) number->length = 0;
        }
        dsa_signature s = test::of_values({1}, {3});
        EXPECT_EQ(test::run_dsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), one.verify);
        EXPECT_EQ(test::run_dsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), one.sign);
        EXPECT_EQ(ZRC_Generate_DSA_Key_Pair(unit.get()), one.generate);
    }
}

TEST(Dsa, RefusesMissingArguments)
{
    const dsa_unit fresh{ZRC_New_DSA()}, unit = test::dsa_key(sample(), true);
    std::uint8_t buffer[64] = {};
    std::int32_t length = 32;
    const auto final = [&](ZRC_DSA_UNIT* on, int missing) {
        return ZRC_Final_DSA(on, missing == 1 ? nullptr : buffer, missing == 2 ? nullptr : &length,
                             missing == 3 ? nullptr : buffer, missing == 4 ? nullptr : &length);
    };
    EXPECT_EQ(ZRC_Init_DSA(nullptr, kSign, ZRC_SHA256), 0x0C020049U);
    EXPECT_EQ(ZRC_Init_DSA(fresh.get(), kSign, 77), 0x0C020022U);
    EXPECT_EQ(ZRC_Update_DSA(nullptr, buffer, 1), 0x0C030049U);
    EXPECT_EQ(ZRC_Update_DSA(fresh.get(), buffer, 1), 0x0C030049U) << "no digest";
    EXPECT_EQ(final(nullptr, 0), 0x0C040049U);
    for (int missing = 1; missing <= 4; ++missing)
        EXPECT_EQ(final(unit.get(), missing), 0x0C040049U);
    EXPECT_EQ(ZRC_Sign_DSA(unit.get(), buffer, &length, buffer, &length), 0x0C050049U) << "no digest";
    EXPECT_EQ(ZRC_Verify_DSA(unit.get(), buffer, 32, buffer, 32), 0x0C060049U);
    ASSERT_EQ(ZRC_Init_DSA(unit.get(), kSign, ZRC_MD5), 0U);
    EXPECT_EQ(ZRC_Update_DSA(unit.get(), nullptr, 1), 0x0C030049U);
    EXPECT_EQ(ZRC_Update_DSA(unit.get(), buffer, -1), 0x0C03002BU);
    EXPECT_EQ(ZRC_Update_DSA(unit.get(), buffer, 0), 0U);
    EXPECT_EQ(ZRC_Verify_DSA(unit.get(), nullptr, 32, buffer, 32), 0x0C060049U);
    ZRC_Free_BIGINT(std::exchange(unit->x, nullptr));
    ZRC_Free_BIGINT(std::exchange(unit->y, nullptr));
    EXPECT_EQ(final(unit.get(), 0), 0x0C050045U);
    EXPECT_EQ(ZRC_Verify_DSA(unit.get(), buffer, 32, buffer, 32), 0x0C060046U);
    EXPECT_EQ(ZRC_Get_DSA_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Get_DSA_Length(fresh.get()), 0U);
    EXPECT_EQ(ZRC_Generate_DSA_Key_Pair(nullptr), 0x0C080049U);
    EXPECT_EQ(ZRC_Generate_DSA_Key_Pair(fresh.get()), 0x0C080049U);
    ZRC_Clean_DSA(nullptr);
    ZRC_Free_DSA(nullptr);

    EXPECT_EQ(ZRC_Generate_DSA_Params(nullptr, 1024, 160, ZRC_SHA1), 0x0C070049U);
    constexpr struct {
        std::int32_t p_bits, q_bits, digest;
        std::uint32_t code;
    } kSizes[] = {{1024, 224, ZRC_SHA256, 0x0C070048}, {512, 160, ZRC_SHA1, 0x0C070048},
                  {-1, -1, ZRC_SHA256, 0x0C070048},    {2048, 256, ZRC_SHA224, 0x0C070048},
                  {1024, 160, ZRC_MD5, 0x0C070048},    {1024, 160, 77, 0x0C070022}};
    for (const auto& one : kSizes)
        EXPECT_EQ(ZRC_Generate_DSA_Params(unit.get(), one.p_bits, one.q_bits, one.digest), one.code);
    EXPECT_NE(unit->p, nullptr) << "as it was";
}

TEST(Dsa, GeneratesParametersAndKeys)
{
    const dsa_unit unit = test::dsa_key(sample(), true);
    ASSERT_EQ(ZRC_Generate_DSA_Params(unit.get(), 1024, 160, ZRC_SHA1), 0U);
    EXPECT_TRUE(unit->seed_length == 20 && unit->seed_digest_id == ZRC_SHA1 && !unit->x && !unit->y);
    ASSERT_EQ(ZRC_Generate_DSA_Key_Pair(unit.get()), 0U);
    const bigint x{ZRC_Dup_BIGINT(unit->x)}, y{ZRC_Dup_BIGINT(unit->y)};
    ASSERT_EQ(ZRC_Generate_DSA_Key_Pair(unit.get()), 0U);
    EXPECT_NE(ZRC_Cmp_BIGINT(unit->x, x.get()), 0);
    ASSERT_EQ(ZRC_Set_DSA_Params(unit.get(), unit->p, unit->q, unit->g, x.get(), y.get()), 0U);
    EXPECT_EQ(unit->seed_length, 0);
    dsa_signature s;
    ASSERT_EQ(test::run_dsa(unit.get(), kSign, ZRC_SHA256, kMessage, s), 0U);
    EXPECT_EQ(test::run_dsa(unit.get(), kVerify, ZRC_SHA256, kMessage, s), 0U);
}

} // namespace
