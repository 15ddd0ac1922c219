// The schemes of RSA without memory at every place where they ask for it: codes, untouched outputs, and nothing secret
// left in what is released or kept.
#include "tests/allocator.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

namespace {

using test::bytes;
using test::rsa_key;
using test::rsa_unit;
using codes = std::vector<std::uint32_t>;

// No temporary that the pool keeps holds anything, and none is out.
void expect_clean(const ZRC_RSA_UNIT& unit)
{
    EXPECT_EQ(unit.pool->depth, -1);
    EXPECT_EQ(unit.pool->used, 0);
    for (const ZRC_BIGINT_POOL_BLOCK* block = unit.pool->head; block; block = block->next) {
        for (const ZRC_BIGINT& bn : block->bigint)
            EXPECT_TRUE(std::all_of(bn.data, bn.data + bn.allocated, [](std::uint32_t word) { return word == 0; }));
    }
}

class RsaSchemesWithoutMemory : public testing::Test {
protected:
    // The approved generator stays locked when an allocation of its own fails: it is started before.
    static void SetUpTestSuite()
    {
        std::uint8_t drawn = 0;
        ASSERT_EQ(ZRC_Rand_Bytes(&drawn, 1), 0U);
    }

    using step = std::function<std::uint32_t(const rsa_unit&)>;

    // What `operation` answers until it works, without repetitions, each time with a new unit that `prepare` has made.
    static codes run(const std::function<rsa_unit()>& prepare, const step& operation)
    {
        codes answers = test::codes_with_failing_allocations([&] {
            const int planned = std::exchange(test::allocations_until_failure, -1);
            const rsa_unit unit = prepare();
            const test::release_watch watch;
            test::allocations_until_failure = planned;
            const std::uint32_t code = operation(unit);
            test::allocations_until_failure = -1;
            EXPECT_EQ(test::dirty_releases, 0) << "after " << planned << " allocations";
            expect_clean(*unit);
            return code;
        });
        answers.erase(std::unique(answers.begin(), answers.end()), answers.end());
        return answers;
    }

    // A call that writes to no output and no length, unless it works.
    template <class Call>
    step writing(Call call)
    {
        return [this, call](const rsa_unit& unit) {
            std::fill(output_.begin(), output_.end(), std::uint8_t{0xA7});
            std::int32_t length = -77;
            const std::uint32_t code = call(unit.get(), output_.data(), &length);
            EXPECT_EQ(length == -77, code != 0);
            EXPECT_EQ(std::count(output_.begin(), output_.end(), 0xA7) == 64, code != 0);
            return code;
        };
    }

    // A unit with the key, and with the blinding dropped if it is to be made anew.
    rsa_unit ready(bool with_primes, bool with_blinding = true) const
    {
        rsa_unit unit = with_primes ? key_.with_everything() : key_.with_private_exponent();
        if (with_blinding) return unit;
        rsa_unit copy{ZRC_Dup_RSA(unit.get())};
        EXPECT_FALSE(copy->blinding);
        return copy;
    }

    const rsa_key key_{512};
    bytes output_ = bytes(64);
    const bytes ciphertext_ = bytes(63, 0x11);
};

TEST_F(RsaSchemesWithoutMemory, Inits)
{
    const auto fresh = [&] { return ready(false); };
    const auto used = [&] {
        rsa_unit unit = ready(false);
        EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, 2, 1), 0U);
        return unit;
    };
    const step encryption = [](const rsa_unit& unit) { return ZRC_Init_RSAES(unit.get(), 8, 0, ZRC_SHA256); };
    const step signature = [](const rsa_unit& unit) { return ZRC_Init_RSASSA(unit.get(), ZRC_SHA512, 2, 0); };
    EXPECT_EQ(run(fresh, encryption), (codes{0x18080059, 0}));
    EXPECT_EQ(run(used, encryption), (codes{0x18080059, 0}));
    EXPECT_EQ(run(fresh, signature), (codes{0x18030023, 0x18030059, 0})) << "the unit, its record";
    EXPECT_EQ(run(used, signature), (codes{0x18030023, 0}));

    const rsa_unit unit = ready(false);
    EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, 2, 1), 0U);
    EXPECT_EQ(ZRC_Free_BIGINT_Pool(std::exchange(unit->pool, nullptr)), 0U);
    test::allocations_until_failure = 1; // the digest's record, and then the pool
    EXPECT_EQ(signature(unit), 0x18030059U);
    test::allocations_until_failure = 1;
    EXPECT_EQ(encryption(unit), 0x18080059U);
    test::allocations_until_failure = -1;
    EXPECT_FALSE(unit->pool);
}

TEST_F(RsaSchemesWithoutMemory, Encryption)
{
    const struct {
        std::uint32_t mode, operation;
        codes answers;
    } cases[] = {
        {ZRC_RSAES_NO_PADDING, 0, {0x1809003A, 0x18090059, 0}},
        {ZRC_RSAES_NO_PADDING, 1, {0x1809003A, 0x18090059, 0}},
        {ZRC_RSAES_PKCS1_V15, 0, {0x1809003A, 0x18090059, 0}},
        {ZRC_RSAES_OAEP_V21, 0, {0x1809003A, 0x18090012, 0x18090059, 0}},
    };
    for (const auto& c : cases) {
        const auto prepare = [&] {
            rsa_unit unit = ready(false);
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), c.mode, c.operation, 0), 0U);
            return unit;
        };
        EXPECT_EQ(run(prepare, writing([](auto* unit, auto* output, auto* length) {
                          const std::uint8_t message[] = {1, 2, 3};
                          return ZRC_Encrypt_RSAES(unit, output, length, message, 3);
                      })),
                  c.answers)
            << c.mode << ' ' << c.operation;
    }
}

// 0x18060059 is for the blinding that is taken off. The conversion of the input has no failure of its own when the
// blinding has been made in the same pool, whose numbers have their arrays by then.
TEST_F(RsaSchemesWithoutMemory, Decryption)
{
    const struct {
        const char* name;
        std::function<rsa_unit()> prepare;
        std::uint32_t operation;
        codes answers;
    } cases[] = {
        {"public", [&] { return ready(false); }, 0, {0x180A003A, 0x180A0059, 0}},
        {"plain", [&] { return ready(false); }, 1, {0x180A003A, 0x180A0059, 0x18060059, 0}},
        {"with primes", [&] { return ready(true); }, 1, {0x180A003A, 0x180A002E, 0x180A0059, 0x18060059, 0}},
        {"blinding made", [&] { return ready(false, false); }, 1, {0x180A003A, 0x180A0059, 0x18060059, 0}},
    };
    for (const auto& c : cases) {
        const auto prepare = [&] {
            rsa_unit unit = c.prepare();
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), 0, c.operation, 0), 0U);
            return unit;
        };
        EXPECT_EQ(run(prepare, writing([&](auto* unit, auto* output, auto* length) {
                          return ZRC_Decrypt_RSAES(unit, output, length, ciphertext_.data(), 63);
                      })),
                  c.answers)
            << c.name;
    }
}

// Messages that are decoded, at every place without memory.
TEST_F(RsaSchemesWithoutMemory, Decoding)
{
    for (const std::uint32_t mode : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21, ZRC_RSAES_PKCS1_V15}) {
        const rsa_unit sender = ready(true);
        EXPECT_EQ(ZRC_Init_RSAES(sender.get(), mode, 0, 0), 0U);
        const bytes sent = test::rsa_encrypt(sender, {1, 2, 3}).output;
        const auto prepare = [&] {
            rsa_unit unit = ready(true);
            EXPECT_EQ(ZRC_Init_RSAES(unit.get(), mode, 1, 0), 0U);
            return unit;
        };
        const codes answers = run(prepare, [&](const rsa_unit& unit) {
            std::uint8_t message[64] = {};
            std::int32_t length = 3;
            const std::uint32_t code = ZRC_Decrypt_RSAES(unit.get(), message, &length, sent.data(), 64);
            EXPECT_EQ(length, 3);
            EXPECT_EQ(message[2], code == 0 ? 3 : 0);
            return code;
        });
        codes expected{0x180A003A, 0x180A002E, 0x180A0059, 0x18060059};
        if (mode != ZRC_RSAES_PKCS1_V15) expected.push_back(0x180A000E);
        expected.push_back(0);
        EXPECT_EQ(answers, expected) << mode;
    }
}

TEST_F(RsaSchemesWithoutMemory, Signing)
{
    const struct {
        const char* name;
        bool primes, blinding;
        std::uint32_t mode;
        codes answers;
    } cases[] = {
        {"raw, with primes",
         true,
         true,
         ZRC_RSASSA_NO_ENCODE,
         {0x1806003A, 0x18060059, 0x1806002E, 0x040A003A, 0x18060059, 0}},
        {"PKCS #1", false, true, ZRC_RSASSA_PKCS1_V15, {0x1806003A, 0x18060059, 0x040A003A, 0x18060059, 0}},
        {"PSS, blinding made",
         false,
         false,
         ZRC_RSASSA_PSS,
         {0x1806003A, 0x18060012, 0x18060005, 0x18060059, 0x040A003A, 0x18060059, 0}},
        {"PSS, with primes",
         true,
         true,
         ZRC_RSASSA_PSS,
         {0x1806003A, 0x18060012, 0x18060059, 0x1806002E, 0x18060059, 0}},
    };
    for (const auto& c : cases) {
        const auto prepare = [&] {
            rsa_unit unit = ready(c.primes, c.blinding);
            EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, c.mode, 1), 0U);
            return unit;
        };
        EXPECT_EQ(run(prepare, writing(ZRC_Final_RSASSA)), c.answers) << c.name;
    }
}

TEST_F(RsaSchemesWithoutMemory, Verifying)
{
    const struct {
        std::uint32_t mode;
        codes answers;
    } cases[] = {
        {ZRC_RSASSA_NO_ENCODE, {0x1807003A, 0x18070059, 0x040A003A, 0x1807003A, 0}},
        {ZRC_RSASSA_PKCS1_V15, {0x1807003A, 0x18070059, 0x040A003A, 0x1807002B, 0}},
        {ZRC_RSASSA_PSS, {0x1807003A, 0x18070059, 0x040A003A, 0x1810003B, 0x18100059, 0}},
    };
    for (const auto& c : cases) {
        bytes signature = test::rsa_sign(ready(true), ZRC_SHA256, c.mode, {'a'}).output;
        const auto prepare = [&] {
            rsa_unit unit = key_.with_public_values();
            EXPECT_EQ(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, c.mode, 0), 0U);
            EXPECT_EQ(ZRC_Update_RSASSA(unit.get(), reinterpret_cast<const std::uint8_t*>("a"), 1), 0U);
            return unit;
        };
        EXPECT_EQ(run(prepare,
                      [&](const rsa_unit& unit) {
                          std::int32_t length = 64;
                          return ZRC_Final_RSASSA(unit.get(), signature.data(), &length);
                      }),
                  c.answers)
            << c.mode;
    }
}

} // namespace
