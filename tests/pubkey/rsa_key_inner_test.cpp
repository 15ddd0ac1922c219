// RSA from inside: the key check against its definition, both roads of the private operation, failing allocations, what
// is left in memory, and that no branch or address depends on the private numbers.
#include "bigint/mod_exp.hpp"
#include "bigint/product.hpp"
#include "pubkey/rsa_key.hpp"
#include "pubkey/rsa_padding.hpp"
#include "tests/pubkey/inner_fixture.hpp"
#include "tests/pubkey/rsa_unit.hpp"

#include <cstring>
#include <functional>
#include <numeric>

namespace {

using namespace test;

using zrc::private_outcome;
using zrc::private_step;

void set(ZRC_BIGINT* number, std::uint64_t value)
{
    EXPECT_TRUE(zrc_Expand_BIGINT(number, 2));
    number->data[0] = std::uint32_t(value);
    number->data[1] = std::uint32_t(value >> 32);
    number->length = value >> 32 != 0 ? 2 : value != 0;
}

// The definition: e d = 1 modulo (p - 1)(q - 1), or modulo that by the greatest common divisor of its factors.
TEST(RsaKeyPair, IsJudgedAsItIsDefined)
{
    const rsa_unit unit = rsa_key{512}.unit("nedc");
    constexpr std::uint64_t kWord = std::uint64_t{1} << 32, kLargest = kShare == 1 ? 14 : 8;
    std::vector<std::uint64_t> primes{65537, kWord - 1, kWord, kWord + 1, kWord + 2, kWord + 3, 2 * kWord};
    for (std::uint64_t prime = 0; prime <= kLargest; ++prime)
        primes.push_back(prime);
    for (const std::uint64_t p : primes) {
        for (const std::uint64_t q : primes) {
            if (std::min(p, q) > 65537) continue;
            set(unit->p, p);
            set(unit->q, q);
            const std::uint64_t phi = p == 0 || q == 0 ? 0 : (p - 1) * (q - 1);
            const std::uint64_t lambda = phi == 0 ? 0 : phi / std::gcd(p - 1, q - 1);
            const auto expect_right = [&](std::uint64_t e, std::uint64_t d) {
                set(unit->e, e);
                set(unit->d, d);
                const bool is_pair = phi != 0 && (e * d % phi == 1 || e * d % lambda == 1);
                EXPECT_EQ(zrc::verify_RSA_KEY(unit), is_pair ? 0U : 1U) << p << ' ' << q << ' ' << e << ' ' << d;
            };
            for (const std::uint64_t e : {0U, 1U, 3U, 7U})
                for (std::uint64_t d = 0; d <= 40 && std::max(p, q) <= kLargest; ++d)
                    expect_right(e, d);
            for (const std::uint64_t modulus : {phi, lambda, 3 * phi, p - 1, q - 1}) // whose words change
                for (const std::uint64_t addend : {0U, 1U, 2U})
                    expect_right(1, modulus + addend);
        }
    }
}

// Calls `operation` without one of the numbers.
void without(const rsa_unit& unit, rsa_part part, const std::function<void()>& operation)
{
    ZRC_BIGINT* const taken = std::exchange((*unit).*part, nullptr);
    operation();
    (*unit).*part = taken;
}

TEST(RsaKeyPair, NeedsFiveNumbersAndDoesNotLookAtTheModulus)
{
    EXPECT_EQ(zrc::verify_RSA_KEY(nullptr), 1U);
    const rsa_unit unit = rsa_key{512}.unit("nedc");
    unit->n->data[0] ^= 2;
    EXPECT_EQ(zrc::verify_RSA_KEY(unit), 0U) << "n is not compared with p q";
    for (const rsa_part part : kRsaParts) {
        const bool needed = part != &ZRC_RSA_UNIT::dP && part != &ZRC_RSA_UNIT::dQ && part != &ZRC_RSA_UNIT::qInv;
        without(unit, part, [&] { EXPECT_EQ(zrc::verify_RSA_KEY(unit), needed ? 1U : 0U); });
    }
}

bigint power_by_definition(const rsa_unit& unit, const bigint& x)
{
    bigint result{ZRC_New_BIGINT()}; // stays 0 for a base of 0
    EXPECT_EQ(ZRC_Mod_Exp_Mont_BIGINT(result, x, unit->d, unit->n, unit->pool), 0U);
    return result;
}

// Both roads give the power, with either prime in front.
void expect_powers(const rsa_unit& unit)
{
    repeatable random{7};
    for (int i = 0; i < 14; ++i) {
        bigint x = i < 3 ? of({std::uint32_t(i)}) : of_bytes(random.data(zrc::rsa_modulus_bytes(*unit)));
        if (i == 0) x->length = 0;
        if (i > 9) x = bigint{ZRC_Dup_BIGINT(i % 2 != 0 ? unit->p : unit->q)};
        if (i == 9) ZRC_Sub_BIGINT(x, unit->n, of({1}));
        EXPECT_EQ(ZRC_Div_BIGINT(nullptr, x, x, unit->n, unit->pool), 0U);
        const word_list expected = words_of(power_by_definition(unit, x));
        const bigint y{ZRC_New_BIGINT()};
        EXPECT_EQ(zrc::crt_RSA(unit, y, x), 0U);
        while (y->length > 0 && y->data[y->length - 1] == 0)
            --y->length;
        EXPECT_EQ(words_of(y), expected);
        for (const std::uint32_t mode : {0U, 8U}) {
            if (!unit->blinding) continue;
            const bigint z{ZRC_Dup_BIGINT(x)};
            unit->mode = mode;
            EXPECT_EQ(zrc::rsa_private_operation(*unit, *z, *z, true).failed, private_step::done);
            EXPECT_EQ(words_of(z), expected);
        }
        std::swap(unit->p, unit->q);
        std::swap(unit->dP, unit->dQ);
        ASSERT_EQ(ZRC_Mod_Inverse_BIGINT(unit->qInv, unit->q, unit->p, unit->pool), 0U);
    }
}

TEST(RsaPrivateOperation, BothRoadsGiveThePower)
{
    for (const int bits : {256, 512, 1024, 2041, 2049})
        expect_powers(rsa_key{bits}.unit("nedc"));
    const rsa_unit unit = rsa_key{512}.unit("nedc"); // and with primes of 256 and 128 bits
    zrc::drop_blinding(*unit);
    const bigint order = rsa_key{256}.q;
    EXPECT_EQ(ZRC_Copy_BIGINT(unit->q, order), 0U);
    order->data[0] -= 1;
    EXPECT_EQ(ZRC_Mtp_BIGINT(unit->n, unit->p, unit->q, unit->pool), 0U);
    EXPECT_EQ(ZRC_Div_BIGINT(nullptr, unit->dQ, unit->d, order, unit->pool), 0U);
    EXPECT_EQ(ZRC_Mod_Inverse_BIGINT(unit->qInv, unit->q, unit->p, unit->pool), 0U);
    expect_powers(unit);
}

// A wrong dP shows which road was taken. With a pair of ones the blinded base is the base.
TEST(RsaPrivateOperation, TheRemainderTheoremIsForWholeKeysEncodingsAndLongBases)
{
    const rsa_unit unit = rsa_key{512}.unit("nedc");
    ASSERT_EQ(ZRC_Set_BIGINT_Word(unit->blinding, 1) | ZRC_Set_BIGINT_Word(unit->unblinding, 1), 0U);
    ASSERT_EQ(ZRC_Add_BIGINT_Word(unit->dP, 1), 0U);
    const auto inverse_bits = std::int32_t(ZRC_Get_BIGINT_Bits_Length(unit->qInv));
    const auto takes_crt = [&](std::int32_t base_bits) {
        const bigint x{ZRC_New_BIGINT()}, y{ZRC_New_BIGINT()};
        EXPECT_EQ(ZRC_Set_BIGINT_Bit(x, base_bits - 1), 0U);
        EXPECT_EQ(zrc::rsa_private_operation(*unit, *y, *x, false).failed, private_step::done);
        return words_of(y) != words_of(power_by_definition(unit, x));
    };
    constexpr struct {
        std::uint32_t mode, use_crt;
        std::int32_t flags, bits; // of the base, or above qInv
        bool crt;
    } kCases[] = {{0xFFFF01, 1, 0x0F, 511, true},    {1, 1, 0x0F, 9, true},     {1, 1, 0x0F, 8, false},
                  {0x05000300, 1, 0x0F, 511, false}, {16, 0, 0x0F, 511, false}, {16, 2, 0x08, 511, true},
                  {16, 1, 0x17, 511, false}};
    for (const auto& c : kCases) {
        unit->mode = c.mode;
        unit->use_crt = c.use_crt;
        unit->key_flags = c.flags;
        EXPECT_EQ(takes_crt(c.bits < 10 ? inverse_bits + c.bits : c.bits), c.crt) << c.mode << ' ' << c.bits;
    }
    unit->key_flags = 0x0F;
    for (const rsa_part part : kRsaParts) {
        if (part == &ZRC_RSA_UNIT::n || part == &ZRC_RSA_UNIT::e || part == &ZRC_RSA_UNIT::d) continue;
        without(unit, part, [&] {
            EXPECT_FALSE(takes_crt(511));
            EXPECT_EQ(zrc::crt_RSA(unit, unit->e, unit->n), 1U);
        });
    }
}

TEST(RsaPrivateOperation, SaysWhereItEndedAndMakesAMissingBlinding)
{
    const rsa_unit unit = rsa_key{512}.unit("nedc");
    const bigint x = of({5}), y = of({9});
    unit->mode = 8;
    const auto ends = [&](bool check) { return zrc::rsa_private_operation(*unit, *y, *x, check).failed; };
    unit->d->data[0] ^= 2;
    EXPECT_EQ(ends(true), private_step::key_pair);
    unit->p->data[0] ^= 1; // an even prime
    EXPECT_EQ(ends(false), private_step::crt);
    EXPECT_EQ(words_of(y), word_list{9}) << "unchanged";
    unit->p->data[0] ^= 1;
    zrc::drop_blinding(*unit);
    without(unit, &ZRC_RSA_UNIT::e, [&] { EXPECT_EQ(ends(false), private_step::blinding); });
    without(unit, &ZRC_RSA_UNIT::d, [&] { EXPECT_EQ(ends(true), private_step::done); });
    EXPECT_TRUE(unit->blinding && unit->unblinding);
}

// Every call at every place without memory: its codes, in order and without repetitions; outputs that stay untouched
// unless it works; nothing secret in what is released or kept.
class RsaWithoutMemory : public without_memory {
protected:
    using step = std::function<std::uint32_t(const rsa_unit&)>;

    // `prepare` makes a new unit each time.
    static void expect_codes(const char* name, const codes& expected, const std::function<rsa_unit()>& prepare,
                             const step& operation)
    {
        const codes answers = distinct_codes([&] {
            const rsa_unit unit = with_memory(prepare);
            const int planned = std::exchange(allocations_until_failure, -1);
            const release_watch watch;
            allocations_until_failure = planned;
            const std::uint32_t code = operation(unit);
            allocations_until_failure = -1;
            EXPECT_EQ(dirty_releases, 0) << name << ", after " << planned << " allocations";
            if (unit->pool) expect_clean(*unit->pool);
            return code;
        });
        EXPECT_EQ(answers, expected) << name;
    }

    // A call with an output and its length.
    template <class Call>
    step writing(Call call)
    {
        return [this, call](const rsa_unit& unit) {
            std::fill(std::begin(out), std::end(out), std::uint8_t{0xA7});
            std::int32_t length = -77;
            const std::uint32_t code = call(unit.get(), out, &length);
            EXPECT_EQ(length == -77, code != 0);
            EXPECT_EQ(std::count(std::begin(out), std::end(out), 0xA7) == 64, code != 0);
            return code;
        };
    }

    // A unit with n, e, d or all of the key, after an Init.
    auto ready(const char* parts, bool signing, std::uint32_t mode, std::uint32_t operation, bool blinded = true)
    {
        return [=, this] {
            rsa_unit unit = key.unit(parts);
            if (!blinded) unit.reset(ZRC_Dup_RSA(unit));
            EXPECT_EQ(signing ? ZRC_Init_RSASSA(unit, ZRC_SHA256, mode, operation)
                              : ZRC_Init_RSAES(unit, mode, operation, 0),
                      0U);
            return unit;
        };
    }

    const rsa_key key{512};
    std::uint8_t out[64] = {};
};

TEST_F(RsaWithoutMemory, Units)
{
    const auto fresh = [] { return rsa_unit{ZRC_New_RSA()}; };
    const rsa_unit whole = key.unit("nedc");
    EXPECT_EQ(codes_with_failing_allocations([&] { return fresh() ? 0U : 1U; }), (codes{1, 1, 0}));
    EXPECT_EQ(codes_with_failing_allocations([&] { return rsa_unit{ZRC_Dup_RSA(whole)} ? 0U : 1U; }).size(),
              2 + 2 * 8 + 1U);
    const auto load = [&](const rsa_unit& unit, bool all) {
        const std::uint32_t code = all ? key.load(unit, "nedc") : ZRC_Set_RSA_Public_Params(unit, key.n, key.e);
        EXPECT_EQ(unit->n == nullptr, (code & 0xFFFF) == ZRC_ERR_MALLOC);
        EXPECT_EQ(unit->key_flags, !unit->n ? 0 : all ? 0x0F : 3);
        EXPECT_EQ(unit->blinding != nullptr, all && code == 0);
        return code;
    };
    expect_codes("public", {0x1802003A, 0}, fresh, [&](auto& unit) { return load(unit, false); });
    expect_codes("private", {0x1801003A, 0x18010059, 0}, fresh, [&](auto& unit) { return load(unit, true); });
}

TEST_F(RsaWithoutMemory, Inits)
{
    const auto fresh = [&] { return key.unit("ned"); };
    const auto used = ready("ned", true, 2, 1);
    const auto no_pool = [&] {
        rsa_unit unit = used();
        EXPECT_EQ(ZRC_Free_BIGINT_Pool(std::exchange(unit->pool, nullptr)), 0U);
        return unit;
    };
    const step encryption = [](const rsa_unit& unit) { return ZRC_Init_RSAES(unit, 8, 0, ZRC_SHA256); };
    const step signature = [](const rsa_unit& unit) { return ZRC_Init_RSASSA(unit, ZRC_SHA512, 2, 0); };
    expect_codes("encryption", {0x18080059, 0}, fresh, encryption);
    expect_codes("encryption, again", {0x18080059, 0}, no_pool, encryption);
    expect_codes("signature", {0x18030023, 0x18030059, 0}, fresh, signature); // the unit, its record
    expect_codes("signature, again", {0x18030023, 0}, used, signature);
    expect_codes("signature, without a pool", {0x18030023, 0x18030059, 0}, no_pool, signature);
}

TEST_F(RsaWithoutMemory, Encryption)
{
    bytes sent(63, 0x11);
    const auto encrypt = writing([&](auto* unit, auto* output, auto* length) {
        return ZRC_Encrypt_RSAES(unit, output, length, sent.data(), 3);
    });
    for (const auto& [mode, operation] : {std::pair{0U, 0U}, {0U, 1U}, {32U, 0U}})
        expect_codes("encryption", {0x1809003A, 0x18090059, 0}, ready("ned", false, mode, operation), encrypt);
    expect_codes("OAEP", {0x1809003A, 0x18090012, 0x18090059, 0}, ready("ned", false, 16, 0), encrypt);

    const auto decrypt = writing([&](auto* unit, auto* output, auto* length) {
        return ZRC_Decrypt_RSAES(unit, output, length, sent.data(), length_of(sent));
    });
    expect_codes("public", {0x180A003A, 0x180A0059, 0}, ready("ned", false, 0, 0), decrypt);
    for (const bool blinded : {true, false}) // 0x18060059: the blinding is taken off
        expect_codes("plain", {0x180A003A, 0x180A0059, 0x18060059, 0}, ready("ned", false, 0, 1, blinded), decrypt);
    for (const std::uint32_t mode : {ZRC_RSAES_OAEP_V20, ZRC_RSAES_OAEP_V21, ZRC_RSAES_PKCS1_V15}) {
        sent = rsa_encrypt(key.unit("ne"), mode, 0, bytes(3)).output;
        codes expected{0x180A003A, 0x180A002E, 0x180A0059, 0x18060059, 0x180A000E, 0};
        if (mode == ZRC_RSAES_PKCS1_V15) expected.erase(expected.end() - 2);
        expect_codes("with primes", expected, ready("nedc", false, mode, 1), decrypt);
    }
}

TEST_F(RsaWithoutMemory, Signatures)
{
    const auto sign = writing(ZRC_Final_RSASSA);
    expect_codes("raw, with primes", {0x1806003A, 0x18060059, 0x1806002E, 0x040A003A, 0x18060059, 0},
                 ready("nedc", true, 0, 1), sign);
    expect_codes("PKCS #1", {0x1806003A, 0x18060059, 0x040A003A, 0x18060059, 0}, ready("ned", true, 1, 1), sign);
    expect_codes("PSS, blinding made", {0x1806003A, 0x18060012, 0x18060005, 0x18060059, 0x040A003A, 0x18060059, 0},
                 ready("ned", true, 2, 1, false), sign);
    expect_codes("PSS, with primes", {0x1806003A, 0x18060012, 0x18060059, 0x1806002E, 0x18060059, 0},
                 ready("nedc", true, 2, 1), sign);
    const codes checks[] = {{0x1807003A}, {0x1807002B}, {0x1810003B, 0x18100059}};
    for (const std::uint32_t mode : {0U, 1U, 2U}) {
        bytes signature = rsa_sign(key.unit("nedc"), ZRC_SHA256, mode, {}).output;
        codes expected{0x1807003A, 0x18070059, 0x040A003A, 0};
        expected.insert(expected.end() - 1, checks[mode].begin(), checks[mode].end());
        expect_codes("verification", expected, ready("ne", true, mode, 0), [&](const rsa_unit& unit) {
            std::int32_t length = 64;
            return ZRC_Final_RSASSA(unit, signature.data(), &length);
        });
    }
}

TEST_F(RsaWithoutMemory, Encodings)
{
    const auto unit = [] { return std::move(rsa_encoder{1024, ZRC_SHA256, ZRC_SHA384}.owner); };
    bytes hash(32, 1), salt(20, 2), em(128), message(128);
    std::uint8_t *const h = hash.data(), *const block = em.data();
    expect_codes("MGF1", {0x180E003A, 0}, unit, [&](auto&) { return PKCS1_MGF1(out, 40, h, 32, ZRC_SHA1); });
    expect_codes("OAEP", {1, 0}, unit, [&](const rsa_unit& one) {
        const auto length = zrc::encode_oaep_with_seed(*one, salt, em, {}, zrc::oaep_form::v21, hash);
        EXPECT_EQ(length < 0, em == bytes(128));
        return length == 128 ? 0U : 1U;
    });
    expect_codes("OAEP decoding", {1, 0}, unit, [&](const rsa_unit& one) {
        const auto length = ZRC_Decode_RSAES_OAEP_PADDING(one, block, 128, message.data(), 128, nullptr, 0, 1);
        EXPECT_EQ(length == 0, message == bytes(128));
        return length == 20 ? 0U : 1U;
    });
    std::ranges::fill(em, std::uint8_t{0});
    expect_codes("PSS", {0x180F0059, 0}, unit, [&](const rsa_unit& one) {
        const std::uint32_t code = zrc::encode_pss_with_salt(*one, em, hash, salt, *one->digest);
        EXPECT_EQ(code != 0, em == bytes(128));
        return code;
    });
    expect_codes("PSS check", {0x1810003B, 0x18100059, 0}, unit, [&](const rsa_unit& one) {
        return ZRC_Check_RSASSA_PKCS1_PSS_Encode(one, block, 128, h, 32, 20, one->digest);
    });
    EXPECT_EQ(ZRC_Add_EMSA_PKCS1_v1_5_Encode(block, 128, h, 32, ZRC_SHA256), 0);
    expect_codes("EMSA check", {0x180D003A, 0}, unit,
                 [&](auto&) { return ZRC_Check_EMSA_PKCS1_v1_5_Encode(block + 1, 127, 128, h, 32, ZRC_SHA256); });
}

// A search for a prime whose test fails for want of memory ends with the candidate as it stands. The test of the pair
// is there to find that out. In the end a pool and its blocks are released, and hold no numbers.
TEST_F(RsaWithoutMemory, GenerationFailsOrGivesAKeyAndLeavesNothing)
{
    const bigint e = of({65537});
    code_set seen;
    bool done = false;
    for (int allocations = 0; !done; allocations += allocations < 60 ? 1 : 31) {
        const release_watch watch;
        rsa_unit unit{ZRC_New_RSA()};
        allocations_until_failure = allocations;
        const std::uint32_t code = ZRC_Generate_RSA_Params_Ex(unit, e, 600, 2);
        done = std::exchange(allocations_until_failure, -1) >= 0;
        seen.insert(code);
        expect_clean(*unit->pool);
        EXPECT_TRUE(code != 0 || (unit->key_flags == 0x1F && zrc::verify_RSA_KEY(unit) == 0));
        const auto blocks = int(std::size_t(unit->pool->capacity) / std::size(ZRC_BIGINT_POOL_BLOCK{}.bigint));
        unit.reset();
        EXPECT_EQ(dirty_releases, 1 + blocks);
        EXPECT_EQ(watch.live_blocks(), 0U);
    }
    for (const std::uint32_t code : {0U, 0x180B001BU, 0x180B003AU, 0x180B0036U})
        EXPECT_TRUE(seen.contains(code)) << std::hex << code;
}

void force_kernel(auto& kernels, const char* name)
{
    for (const auto& entry : kernels.list())
        if (std::strcmp(entry.name, name) == 0) kernels.force(entry.run);
}

// Valgrind executes ADX instructions, although the processor it shows has none; it knows no AVX-512. Public are the
// lengths of the numbers, that p and q are odd with a top word that is not zero, and the bit length of qInv, which
// decides upon the road.
using ConstantTimeRsa = constant_time;
TEST_F(ConstantTimeRsa, PrivateOperation)
{
    const rsa_unit unit = rsa_key{512}.unit("nedc");
    const bigint x = of(word_list(15, 0xFEDCBA98)), expected = power_by_definition(unit, x);
    const auto hide_words = [](const ZRC_BIGINT* number, std::int32_t below, std::int32_t above) {
        hide(number->data + below, 4 * std::size_t(number->length - below - above));
    };
    for (const char* kernels : {"adx", "portable"}) {
        force_kernel(zrc::mod_exp_kernels, kernels);
        force_kernel(zrc::product_kernels, kernels);
        for (const auto& [mode, check] : {std::pair{0U, false}, {0U, true}, {1U, false}, {1U, true}}) {
            SCOPED_TRACE(testing::Message() << kernels << ", mode " << mode << (check ? ", with the check" : ""));
            const bigint y{ZRC_New_BIGINT()};
            for (const ZRC_BIGINT* exponent : {unit->d, unit->dP, unit->dQ})
                hide_words(exponent, 0, 0);
            for (const ZRC_BIGINT* prime : {unit->p, unit->q})
                hide_words(prime, 1, 1);
            hide_words(unit->qInv, 0, 1);
            unit->mode = mode;
            private_outcome outcome{};
            const auto errors =
                errors_of([&, with_check = check] { outcome = zrc::rsa_private_operation(*unit, *y, *x, with_check); });
            reveal(y);
            EXPECT_EQ(errors, check ? 1U : 0U) << "the answer of the check is seen";
            EXPECT_EQ(outcome.failed, private_step::done);
            EXPECT_EQ(words_of(y), words_of(expected));
        }
    }
    zrc::mod_exp_kernels.force(nullptr);
    zrc::product_kernels.force(nullptr);
}

} // namespace
