// The RSA encodings with a salt or seed of the test's own, without memory, what they leave behind, and that decoding
// takes no branch and reads no address that depends on the encoded message.
#include "pubkey/rsa_padding.hpp"
#include "tests/allocator.hpp"
#include "tests/pubkey/rsa_encoder.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

using test::bytes;
using test::codes_with_failing_allocations;
using test::digest_of;
using test::length_of;
using test::number;
using test::read_vectors;
using test::rsa_encoder;
using codes = std::vector<std::uint32_t>;

bytes front_padded(bytes value, std::int32_t size)
{
    value.insert(value.begin(), std::size_t(size) - value.size(), 0);
    return value;
}

} // namespace

TEST(RsaPaddingKnownAnswer, Pss)
{
    for (const auto& stanza : read_vectors("rsa.txt", "pss")) {
        rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
        const bytes hash = digest_of(number(stanza["digest"]), stanza["message"]);
        bytes output(std::size_t(key.k()), 0xEE);
        EXPECT_EQ(ZRC_Update_DIGEST(key.unit.digest, hash.data(), 5), 0U) << "which is dropped";
        EXPECT_EQ(zrc::encode_pss_with_salt(key.unit, output, hash, stanza["salt"], *key.unit.digest), 0U);
        EXPECT_EQ(output, front_padded(stanza["em"], key.k())) << stanza.place;
    }
}

TEST(RsaPaddingKnownAnswer, Oaep)
{
    for (const auto& stanza : read_vectors("rsa.txt", "oaep")) {
        rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
        const bytes& em = stanza["em"];
        for (const auto form : {zrc::oaep_form::v20, zrc::oaep_form::v21}) {
            const std::size_t without_zero = form == zrc::oaep_form::v20 ? 1 : 0;
            bytes output(em.size() + 5, 0xEE);
            std::ranges::copy(stanza["message"], output.begin() + 3); // the message may overlap the output
            const zrc::byte_span message{output.data() + 3, stanza["message"].size()};
            EXPECT_EQ(zrc::encode_oaep_with_seed(key.unit, message, output, {}, form, stanza["seed"]),
                      std::int32_t(em.size() - without_zero));
            output.resize(em.size() - without_zero);
            EXPECT_EQ(output, bytes(em.begin() + std::ptrdiff_t(without_zero), em.end())) << stanza.place;
        }
    }
}

// With the label's digest cut by the 01, the message is as long as the standard's longest and one byte more.
TEST(RsaPaddingKnownAnswer, OaepWithTheLongestMessage)
{
    rsa_encoder key{512, ZRC_SHA1, ZRC_SHA1};
    const bytes message(64 - 41, 0x5A), seed(20, 0x33);
    bytes em(64);
    ASSERT_EQ(zrc::encode_oaep_with_seed(key.unit, message, em, {}, zrc::oaep_form::v21, seed), 64);
    const std::span<std::uint8_t> masked_seed{em.data() + 1, 20}, db{em.data() + 21, 43};
    EXPECT_EQ(zrc::add_mgf1_mask(masked_seed, db, ZRC_SHA1), 0U);
    EXPECT_EQ(zrc::add_mgf1_mask(db, masked_seed, ZRC_SHA1), 0U);
    bytes expected = digest_of(ZRC_SHA1, {});
    expected.back() = 1;
    expected.insert(expected.end(), message.begin(), message.end());
    EXPECT_EQ(bytes(db.begin(), db.end()), expected);
    EXPECT_EQ(bytes(masked_seed.begin(), masked_seed.end()), seed);
}

TEST(RsaPaddingAllocation, EveryFailureHasItsCodeAndNothingIsLeft)
{
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    bytes mask(40), hash(32, 1), salt(20, 2), pss(128), emsa(128), oaep(128), out(128);

    EXPECT_EQ(codes_with_failing_allocations([&] { return PKCS1_MGF1(mask.data(), 40, hash.data(), 32, ZRC_SHA1); }),
              (codes{0x180E003A, 0}));
    EXPECT_EQ(codes_with_failing_allocations([&] {
                  const std::uint32_t code = zrc::encode_pss_with_salt(key.unit, pss, hash, salt, *key.unit.digest);
                  EXPECT_EQ(code != 0, pss == bytes(128));
                  return code;
              }),
              (codes{0x180F0059, 0}));
    EXPECT_EQ(codes_with_failing_allocations([&] {
                  return ZRC_Check_RSASSA_PKCS1_PSS_Encode(&key.unit, pss.data(), 128, hash.data(), 32, 20,
                                                           key.unit.digest);
              }),
              (codes{0x1810003B, 0x18100059, 0}));
    EXPECT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(emsa.data(), 128, hash.data(), 32, ZRC_SHA256), 0);
    EXPECT_EQ(codes_with_failing_allocations([&] {
                  return ZRC_Check_EMSA_PKCS1_v1_5_Encode(emsa.data() + 1, 127, 128, hash.data(), 32, ZRC_SHA256);
              }),
              (codes{0x180D003A, 0}));
    EXPECT_EQ(codes_with_failing_allocations([&] {
                  const auto length = zrc::encode_oaep_with_seed(key.unit, salt, oaep, {}, zrc::oaep_form::v21, hash);
                  EXPECT_EQ(length < 0, oaep == bytes(128));
                  return length == 128 ? 0 : std::uint32_t(length);
              }),
              (codes{std::uint32_t(-1), std::uint32_t(-1), 0}));
    EXPECT_EQ(codes_with_failing_allocations([&] {
                  const auto length =
                      ZRC_Decode_RSAES_OAEP_PADDING(&key.unit, oaep.data(), 128, out.data(), 128, nullptr, 0, 1);
                  EXPECT_EQ(length == 0, out == bytes(128));
                  return length == 20 ? 0 : std::uint32_t(length + 1);
              }),
              (codes{1, 1, 1, 0}));
}

TEST(RsaPaddingWiping, WorkingMemoryIsCleanWhenItIsReleased)
{
    rsa_encoder key{1024, ZRC_SHA512, ZRC_SHA384};
    const bytes message(20, 0x5A);
    bytes hash(64, 1), block(128), out(128);
    ASSERT_EQ(ZRC_Rand_Bytes(out.data(), 1), 0U);

    test::release_watch watch;
    rsa_encoder small{512, ZRC_MD5, 0};
    const auto verify = [&] {
        return ZRC_Check_RSASSA_PKCS1_PSS_Encode(&key.unit, block.data(), 128, hash.data(), 64, 20, key.unit.digest);
    };
    EXPECT_EQ(ZRC_Add_RSASSA_PKCS1_PSS_Encode(&key.unit, block.data(), 128, hash.data(), 64, 20, key.unit.digest), 0U);
    EXPECT_EQ(verify(), 0U);
    block[3] ^= 1;
    EXPECT_EQ(verify(), 0x18100059U);

    block.resize(64);
    for (const std::int32_t form : {0, 1}) {
        const std::int32_t size = 63 + form;
        EXPECT_EQ(ZRC_Encode_RSAES_OAEP_PADDING(&small.unit, message.data(), 20, block.data(), 64, nullptr, 0, form),
                  size);
        EXPECT_EQ(ZRC_Decode_RSAES_OAEP_PADDING(&small.unit, block.data(), size, out.data(), 64, nullptr, 0, form), 20);
        block[9] ^= 1;
        EXPECT_EQ(ZRC_Decode_RSAES_OAEP_PADDING(&small.unit, block.data(), size, out.data(), 64, nullptr, 0, form), 0);
    }
    EXPECT_EQ(ZRC_Check_EMSA_PKCS1_v1_5_Encode(out.data(), 64, 128, hash.data(), 64, ZRC_SHA512), 0x180D000CU);
    EXPECT_EQ(PKCS1_MGF1(out.data(), 50, hash.data(), 0, ZRC_HAS160), 0x0A02005BU);
    EXPECT_EQ(test::dirty_releases, 0);
}

#if __has_include(<valgrind/memcheck.h>)

#include <valgrind/memcheck.h>

namespace {

// Outside of valgrind these tests are skipped:   valgrind <program> --gtest_filter='ConstantTime*'
class ConstantTimeRsaPadding : public testing::Test {
protected:
    void SetUp() override
    {
        if (!RUNNING_ON_VALGRIND) GTEST_SKIP() << "not under valgrind";
    }

    // Errors since the last call.
    static unsigned long errors()
    {
        static unsigned long before = 0;
        const unsigned long now = VALGRIND_COUNT_ERRORS;
        return now - std::exchange(before, now);
    }

    static void hide(bytes& secret) { VALGRIND_MAKE_MEM_UNDEFINED(secret.data(), secret.size()); }

    // The result of `run` with `secret` undefined; the result is public again.
    static auto with_hidden(bytes secret, auto run)
    {
        hide(secret);
        auto result = run(secret);
        VALGRIND_MAKE_MEM_DEFINED(&result, sizeof result);
        return result;
    }
};

TEST_F(ConstantTimeRsaPadding, FindingTheMessage)
{
    const auto check = [](const char* section, auto find) {
        for (const auto& stanza : read_vectors("rsa.txt", section)) {
            const auto message = stanza.values.find("message");
            const std::size_t expected = message == stanza.values.end() ? 0 : message->second.size();
            for (const std::size_t bound : {1U, 30U, 256U}) {
                errors();
                const std::size_t length =
                    with_hidden(stanza["em"], [&](bytes& em) { return find(stanza, em, bound); });
                EXPECT_EQ(errors(), 0U) << stanza.place;
                EXPECT_EQ(length, expected <= bound ? expected : 0);
            }
        }
    };
    for (const char* section : {"pkcs1 type 1", "pkcs1 type 2", "pkcs1 decryption invalid"})
        check(section, [](auto&, const bytes& em, std::size_t bound) {
            return zrc::find_pkcs1_message(zrc::byte_span{em}.subspan(1), bound);
        });
    for (const char* section : {"oaep", "oaep invalid"})
        check(section, [](auto& stanza, bytes& em, std::size_t bound) {
            rsa_encoder key{number(stanza["bits"]), number(stanza["digest"]), number(stanza["mgf"])};
            return zrc::find_oaep_message(key.unit, em, {}, zrc::oaep_form::v21, bound - 1);
        });
}

TEST_F(ConstantTimeRsaPadding, Encoding)
{
    rsa_encoder key{1024, ZRC_SHA256, ZRC_SHA256};
    bytes message(40, 1), seed(32, 2), output(128);
    errors();
    hide(message);
    hide(seed);
    EXPECT_EQ(zrc::encode_oaep_with_seed(key.unit, message, output, {}, zrc::oaep_form::v21, seed), 128);
    EXPECT_EQ(zrc::encode_pss_with_salt(key.unit, output, seed, message, *key.unit.digest), 0U);
    EXPECT_EQ(errors(), 0U);
}

// The check itself: copying the message takes its length, which the caller is told, and that is seen.
TEST_F(ConstantTimeRsaPadding, TheCopyTakesTheReturnedLength)
{
    rsa_encoder key{2048, ZRC_SHA1, ZRC_SHA1};
    const auto stanza = read_vectors("rsa.txt", "pkcs1 type 2").front();
    errors();
    with_hidden(stanza["em"], [&](const bytes& em) {
        bytes out(256);
        return ZRC_Decode_RSAES_PKCS1_PADDING(&key.unit, em.data() + 1, length_of(em) - 1, out.data(), 256);
    });
    EXPECT_NE(errors(), 0U);
}

} // namespace

#endif
