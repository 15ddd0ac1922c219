// BIGINT values, their conversions, and the pool of temporaries.
#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace {

using test::bigint;
using test::bytes;
using test::hex;
using test::of;
using test::of_bytes;
using test::pool_ptr;
using test::word_list;
using test::words_of;

using fields = std::tuple<std::uint32_t*, std::int32_t, std::int32_t, std::uint32_t>;

fields fields_of(const ZRC_BIGINT& bn)
{
    return {bn.data, bn.length, bn.allocated, bn.flags};
}

std::string take(char* text)
{
    const test::text_ptr owner{text};
    return text ? text : "(null)";
}

bytes to_binary(const ZRC_BIGINT& bn, std::int32_t (*convert)(const ZRC_BIGINT*, std::uint8_t*))
{
    bytes out(4 * std::size_t(bn.length) + 2, 0xEE);
    const std::int32_t count = convert(&bn, out.data());
    EXPECT_EQ(std::count(out.begin() + count, out.end(), 0xEE), std::ptrdiff_t(out.size()) - count);
    out.resize(std::size_t(count));
    return out;
}

const ZRC_BIGINT* const kSharedZero = ZRC_Value_Zero_BIGINT();
const ZRC_BIGINT* const kSharedOne = ZRC_Value_One_BIGINT();

// A value over words that are not the library's.
struct static_value {
    std::uint32_t words[2] = {5, 6};
    ZRC_BIGINT bn{words, 2, 2, ZRC_BIGINT_STATIC};
};

// Life

TEST(Bigint, NewIsZeroWithoutAnArray)
{
    EXPECT_EQ(fields_of(*bigint{ZRC_New_BIGINT()}), (fields{nullptr, 0, 0, 1}));
}

TEST(Bigint, InitZeroesAllFieldsOnlyIfAFlagWasSet)
{
    std::uint32_t words[3] = {7, 8, 9};
    for (const std::uint32_t flags : {1U, 2U, 4U, 7U, 9U}) {
        ZRC_BIGINT bn{words, 2, 3, flags};
        EXPECT_EQ(ZRC_Init_BIGINT(&bn), 0U);
        EXPECT_EQ(fields_of(bn), (fields{nullptr, 0, 0, 4})) << flags;
    }
    for (const std::uint32_t flags : {0U, 8U}) {
        ZRC_BIGINT bn{words, 2, 3, flags};
        EXPECT_EQ(ZRC_Init_BIGINT(&bn), 0U);
        EXPECT_EQ(fields_of(bn), (fields{words, 2, 3, flags | 4})) << flags;
    }
    EXPECT_EQ(words[0], 7U);
}

TEST(Bigint, ClearReleasesTheArrayAndKeepsTheStructure)
{
    for (const std::uint32_t flags : {0U, 1U, 2U, 4U, 6U}) { // a static array too
        ZRC_BIGINT bn{static_cast<std::uint32_t*>(ZRC_Calloc(5, 4)), 3, 5, flags};
        ZRC_Clear_BIGINT(&bn);
        EXPECT_EQ(fields_of(bn), (fields{nullptr, 0, 0, flags & ~2U})) << flags;
    }
    ZRC_BIGINT without_array{nullptr, 3, 5, 6};
    ZRC_Clear_BIGINT(&without_array);
    EXPECT_EQ(fields_of(without_array), (fields{nullptr, 0, 0, 6}));
    ZRC_Clear_BIGINT(nullptr);
}

TEST(Bigint, FreeTakesAStructureThatIsNotItsOwn)
{
    ZRC_BIGINT bn{};
    ASSERT_EQ(ZRC_Init_BIGINT(&bn), 0U);
    ASSERT_EQ(ZRC_Set_BIGINT_Bit(&bn, 70), 0U);
    EXPECT_EQ(ZRC_Free_BIGINT(&bn), 0U);
    EXPECT_EQ(fields_of(bn), (fields{nullptr, 0, 0, 4}));
}

TEST(Bigint, SharedConstantsAreOneWordEachAndSurviveClearAndFree)
{
    const std::uint32_t values[] = {0, 1};
    const ZRC_BIGINT* constants[] = {kSharedZero, kSharedOne};
    for (std::size_t i = 0; i < 2; ++i) {
        auto* bn = const_cast<ZRC_BIGINT*>(constants[i]);
        ZRC_Clear_BIGINT(bn);
        EXPECT_EQ(ZRC_Free_BIGINT(bn), 0U);
        EXPECT_EQ(zrc_Expand_BIGINT(bn, 1), bn);
        EXPECT_EQ(zrc_Expand_BIGINT(bn, 2), nullptr);
        EXPECT_EQ(bn->allocated, 1);
        EXPECT_EQ(bn->flags, 2U);
        EXPECT_EQ(words_of(*bn), word_list{values[i]});
    }
}

TEST(Bigint, ExpandGrowsExactlyAndKeepsTheValue)
{
    const bigint bn = of({1, 2, 3});
    std::uint32_t* const old = bn->data;
    for (const std::int32_t words : {-1, 0, 3}) {
        EXPECT_EQ(zrc_Expand_BIGINT(bn.get(), words), bn.get());
        EXPECT_EQ(bn->allocated, 3);
    }
    EXPECT_EQ(zrc_Expand_BIGINT(bn.get(), 0x1000000), nullptr);
    EXPECT_EQ(zrc_Expand_BIGINT(bn.get(), INT32_MAX), nullptr);
    EXPECT_EQ(bn->data, old);
    EXPECT_EQ(zrc_Expand_BIGINT(bn.get(), 5), bn.get());
    EXPECT_EQ(bn->allocated, 5);
    EXPECT_EQ(words_of(*bn), (word_list{1, 2, 3}));
    EXPECT_EQ(zrc_Expand_BIGINT(nullptr, 5), nullptr);

    static_value fixed;
    EXPECT_EQ(zrc_Expand_BIGINT(&fixed.bn, 2), &fixed.bn);
    EXPECT_EQ(zrc_Expand_BIGINT(&fixed.bn, 3), nullptr);
    EXPECT_EQ(words_of(fixed.bn), (word_list{5, 6}));
}

// Accessors

TEST(Bigint, LengthInBits)
{
    for (std::uint32_t bits = 0; bits <= 32; ++bits) {
        const auto largest = std::uint32_t((std::uint64_t{1} << bits) - 1);
        EXPECT_EQ(zrc_Get_BIGINT_Bits_Word(largest), bits);
        EXPECT_EQ(zrc_Get_BIGINT_Bits_Word(largest - largest / 2), bits);
        EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(of({0, 0, largest}).get()), 64 + bits);
    }
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(nullptr), 0U);
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(of({}).get()), 0U);
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(kSharedZero), 0U);
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(kSharedOne), 1U);
}

TEST(Bigint, GetWordOfNullIsOneAndOfALongValueAllOnes)
{
    EXPECT_EQ(ZRC_Get_BIGINT_Word(nullptr), 1U);
    EXPECT_EQ(ZRC_Get_BIGINT_Word(of({}).get()), 0U);
    EXPECT_EQ(ZRC_Get_BIGINT_Word(kSharedZero), 0U);
    EXPECT_EQ(ZRC_Get_BIGINT_Word(of({77}).get()), 77U);
    EXPECT_EQ(ZRC_Get_BIGINT_Word(of({77, 1}).get()), 0xFFFFFFFFU);
}

TEST(Bigint, SetWord)
{
    const bigint bn{ZRC_New_BIGINT()};
    EXPECT_EQ(ZRC_Set_BIGINT_Word(bn.get(), 0), 0U);
    EXPECT_EQ(bn->allocated, 1);
    EXPECT_EQ(bn->length, 0);
    EXPECT_EQ(ZRC_Set_BIGINT_Word(bn.get(), 9), 0U);
    EXPECT_EQ(words_of(*bn), word_list{9});
    const bigint longer = of({1, 2, 3});
    EXPECT_EQ(ZRC_Set_BIGINT_Word(longer.get(), 0xFFFFFFFF), 0U);
    EXPECT_EQ(words_of(*longer), word_list{0xFFFFFFFF});
    EXPECT_EQ(longer->allocated, 3);
}

TEST(Bigint, SetBitZeroFillsWhatItAdds)
{
    const bigint bn{ZRC_New_BIGINT()};
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn.get(), 100), 0U);
    EXPECT_EQ(words_of(*bn), (word_list{0, 0, 0, 16}));
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn.get(), 31), 0U);
    EXPECT_EQ(words_of(*bn), (word_list{0x80000000, 0, 0, 16}));

    const bigint shorter = of({1, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    shorter->length = 1; // a longer value's words are left above it
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(shorter.get(), 65), 0U);
    EXPECT_EQ(words_of(*shorter), (word_list{1, 0, 2}));
    EXPECT_EQ(shorter->allocated, 4);

    const struct {
        std::int32_t bit, set;
    } cases[] = {{0, 1}, {1, 0}, {65, 1}, {64, 0}, {95, 0}, {96, 0}, {-1, 0}, {INT32_MAX, 0}, {INT32_MIN, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(ZRC_Is_BIGINT_Bit_Set(shorter.get(), c.bit), c.set) << c.bit;
    EXPECT_EQ(ZRC_Is_BIGINT_Bit_Set(kSharedZero, 0), 0);
}

TEST(Bigint, TheLongestValueHas16777215Words)
{
    constexpr std::int32_t kMostBits = 32 * 0xFFFFFF;
    const bigint bn{ZRC_New_BIGINT()};
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn.get(), kMostBits), 0x04210016U);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn.get(), INT32_MAX), 0x04210016U);
    const std::uint8_t one = 1;
    EXPECT_EQ(ZRC_Binary_To_BIGINT(&one, kMostBits / 8 + 1, bn.get()), nullptr); // not read that far
    EXPECT_EQ(ZRC_Binary_To_BIGINT(&one, INT32_MAX, nullptr), nullptr);
    EXPECT_EQ(bn->data, nullptr);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn.get(), kMostBits - 1), 0U);
    EXPECT_EQ(bn->allocated, 0xFFFFFF);
    EXPECT_EQ(ZRC_Get_BIGINT_Bits_Length(bn.get()), std::uint32_t(kMostBits));
    EXPECT_EQ(ZRC_HEX_To_BIGINT(std::string(kMostBits / 4 + 1, '0').c_str()), nullptr);
}

TEST(Bigint, CompareGoesByNumberOfWordsFirst)
{
    const word_list ascending[] = {{}, {0}, {1}, {2}, {0xFFFFFFFF}, {0, 1}, {1, 1}, {0, 2}, {5, 0x80000000}, {0, 0, 1}};
    const auto count = std::int32_t(std::size(ascending));
    for (std::int32_t i = 0; i < count; ++i)
        for (std::int32_t k = 0; k < count; ++k)
            EXPECT_EQ(ZRC_Cmp_BIGINT(of(ascending[i]).get(), of(ascending[k]).get()), (i > k) - (i < k))
                << i << ' ' << k;
    EXPECT_EQ(ZRC_Cmp_BIGINT(kSharedZero, of({}).get()), 1);
    EXPECT_EQ(ZRC_Cmp_BIGINT(nullptr, kSharedOne), 1);
    EXPECT_EQ(ZRC_Cmp_BIGINT(kSharedOne, nullptr), 1);

    const std::uint32_t a[] = {9, 1, 7}, b[] = {1, 2, 7};
    const std::int32_t expected[] = {0, 1, -1, -1};
    for (std::int32_t words = 0; words <= 3; ++words) {
        EXPECT_EQ(zrc_Cmp_BIGINT_Words(a, b, words), expected[words]) << words;
        EXPECT_EQ(zrc_Cmp_BIGINT_Words(b, a, words), -expected[words]) << words;
    }
    EXPECT_EQ(zrc_Cmp_BIGINT_Words(nullptr, b, 1), 1);
    EXPECT_EQ(zrc_Cmp_BIGINT_Words(a, nullptr, 1), 1);
}

TEST(Bigint, SwapKeepsFlagOneTakesFlagTwoAndClearsFlagFour)
{
    std::uint32_t words_a[] = {1, 2}, words_b[] = {3};
    for (std::uint32_t flags = 0; flags < 64; ++flags) {
        ZRC_BIGINT a{words_a, 1, 2, flags & 7}, b{words_b, 0, 1, flags >> 3};
        ZRC_Swap_BIGINT(&a, &b);
        EXPECT_EQ(fields_of(a), (fields{words_b, 0, 1, (flags & 1) + (flags >> 3 & 2)})) << flags;
        EXPECT_EQ(fields_of(b), (fields{words_a, 1, 2, (flags >> 3 & 1) + (flags & 2)})) << flags;
    }
    const bigint bn = of({4});
    ZRC_Swap_BIGINT(bn.get(), nullptr);
    ZRC_Swap_BIGINT(nullptr, bn.get());
    ZRC_Swap_BIGINT(bn.get(), bn.get());
    EXPECT_EQ(words_of(*bn), word_list{4});
    EXPECT_EQ(bn->flags, 1U);
}

TEST(Bigint, CopyTakesTheWordsAsTheyAre)
{
    const bigint bn = of({1, 2, 3});
    for (const word_list& words : {word_list{9, 8}, word_list{}, word_list{1, 2, 3, 4, 5}, word_list{7, 0}}) {
        EXPECT_EQ(ZRC_Copy_BIGINT(bn.get(), of(words).get()), 0U);
        EXPECT_EQ(words_of(*bn), words);
        EXPECT_EQ(words_of(*bigint{ZRC_Dup_BIGINT(bn.get())}), words);
    }
    EXPECT_EQ(bn->allocated, 5);
    EXPECT_EQ(ZRC_Copy_BIGINT(bn.get(), bn.get()), 0U);
    EXPECT_EQ(ZRC_Copy_BIGINT(bn.get(), kSharedZero), 0U);
    EXPECT_EQ(words_of(*bn), word_list{0});
    const bigint copy{ZRC_Dup_BIGINT(kSharedOne)};
    EXPECT_EQ(copy->flags, 1U);
    EXPECT_EQ(ZRC_Dup_BIGINT(nullptr), nullptr);
}

TEST(Bigint, EveryCode)
{
    ZRC_BIGINT full{nullptr, 0, 0, ZRC_BIGINT_STATIC};
    static_value fixed;
    const bigint bn = of({1, 2, 3});
    EXPECT_EQ(ZRC_Init_BIGINT(nullptr), 0x04010049U);
    EXPECT_EQ(ZRC_Free_BIGINT(nullptr), 0x04020049U);
    EXPECT_EQ(ZRC_Set_BIGINT_Word(nullptr, 1), 0x04200049U);
    EXPECT_EQ(ZRC_Set_BIGINT_Word(&full, 1), 0x04200016U);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(nullptr, 1), 0x04210049U);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn.get(), -1), 0x04210049U);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(&fixed.bn, 64), 0x04210016U);
    EXPECT_EQ(ZRC_Copy_BIGINT(nullptr, bn.get()), 0x041F0049U);
    EXPECT_EQ(ZRC_Copy_BIGINT(bn.get(), nullptr), 0x041F0049U);
    EXPECT_EQ(ZRC_Copy_BIGINT(&fixed.bn, bn.get()), 0x041F0016U);
    EXPECT_EQ(words_of(fixed.bn), (word_list{5, 6}));
    EXPECT_EQ(words_of(*bn), (word_list{1, 2, 3}));
}

// Conversions

struct conversion {
    bytes in;
    word_list words;
    std::string unsigned_bytes, signed_bytes, text, decimal;
};

const conversion kConversions[] = {
    {{}, {}, "", "", "0", "0"},
    {{0}, {}, "", "", "0", "0"},
    {{0, 0, 0, 0, 0, 0, 0, 0, 0}, {}, "", "", "0", "0"},
    {{0, 0, 1}, {1}, "01", "01", "01", "1"},
    {{0x7F}, {0x7F}, "7f", "7f", "7F", "127"},
    {{0x80}, {0x80}, "80", "0080", "80", "128"},
    {{0x0A, 0xBC}, {0xABC}, "0abc", "0abc", "0ABC", "2748"},
    {{0xFF, 0xFF, 0xFF}, {0xFFFFFF}, "ffffff", "00ffffff", "FFFFFF", "16777215"},
    {{0x3B, 0x9A, 0xCA, 0}, {1000000000}, "3b9aca00", "3b9aca00", "3B9ACA00", "1000000000"},
    {{0x80, 0, 0, 0}, {0x80000000}, "80000000", "0080000000", "80000000", "2147483648"},
    {{1, 2, 3, 4, 5}, {0x02030405, 1}, "0102030405", "0102030405", "0102030405", "4328719365"},
    {{0, 0, 0, 0, 0, 9, 8, 7, 6}, {0x09080706}, "09080706", "09080706", "09080706", "151521030"},
    {{0x81, 0, 0, 0, 0, 0, 0},
     {0, 0x810000},
     "81000000000000",
     "0081000000000000",
     "81000000000000",
     "36310271995674624"},
};

TEST(Bigint, ConvertsBytesAndTexts)
{
    const bigint reused = of({1, 2, 3, 4});
    for (const conversion& c : kConversions) {
        const std::uint8_t nothing = 0;
        const std::uint8_t* in = c.in.empty() ? &nothing : c.in.data();
        const bigint bn{ZRC_Binary_To_BIGINT(in, std::int32_t(c.in.size()), nullptr)};
        ASSERT_NE(bn, nullptr);
        EXPECT_EQ(words_of(*bn), c.words) << hex(c.in);
        EXPECT_EQ(bn->allocated, std::int32_t(c.in.size() + 3) / 4) << hex(c.in);
        EXPECT_EQ(ZRC_Binary_To_BIGINT(in, std::int32_t(c.in.size()), reused.get()), reused.get());
        EXPECT_EQ(words_of(*reused), c.words) << hex(c.in);
        EXPECT_EQ(hex(to_binary(*bn, ZRC_BIGINT_To_Binary_Unsigned)), c.unsigned_bytes);
        EXPECT_EQ(hex(to_binary(*bn, ZRC_BIGINT_To_Binary)), c.signed_bytes);
        EXPECT_EQ(take(ZRC_BIGINT_To_HEX(bn.get())), c.text);
        EXPECT_EQ(take(ZRC_Dump_BIGINT(bn.get())), "0x" + c.text);
        EXPECT_EQ(take(ZRC_BIGINT_To_DEC(bn.get())), c.decimal);
    }
}

TEST(Bigint, ConvertsThePublishedDecimals)
{
    for (const test::stanza& vector : test::read_vectors("bigint_decimal.txt", "decimal")) {
        const bytes& value = vector["value"];
        std::string decimal = hex(vector["decimal"]); // two digits a byte
        decimal.erase(0, std::min(decimal.find_first_not_of('0'), decimal.size() - 1));
        const bigint bn = of_bytes(value);
        EXPECT_EQ(take(ZRC_BIGINT_To_DEC(bn.get())), decimal) << vector.place;
        if (value[0] == 0) continue; // text with needless zeros
        const bigint parsed{ZRC_HEX_To_BIGINT(hex(value).c_str())};
        EXPECT_EQ(ZRC_Cmp_BIGINT(parsed.get(), bn.get()), 0) << vector.place;
    }
}

TEST(Bigint, TextsOfTheSharedZero)
{
    EXPECT_EQ(take(ZRC_BIGINT_To_HEX(kSharedZero)), "");
    EXPECT_EQ(take(ZRC_Dump_BIGINT(kSharedZero)), "0x");
    EXPECT_EQ(take(ZRC_BIGINT_To_DEC(kSharedZero)), "0");
    EXPECT_TRUE(to_binary(*kSharedZero, ZRC_BIGINT_To_Binary_Unsigned).empty());
    EXPECT_TRUE(to_binary(*kSharedZero, ZRC_BIGINT_To_Binary).empty());
    EXPECT_EQ(take(ZRC_BIGINT_To_DEC(of({12, 0, 0}).get())), "12"); // zero words on top are no digits
    EXPECT_EQ(take(ZRC_BIGINT_To_HEX(of({12, 0, 0}).get())), "0C");
}

TEST(Bigint, HexTextIsNotStripped)
{
    const struct {
        const char* text;
        word_list words;
    } cases[] = {
        {"0", {0}},
        {"f", {15}},
        {"00000000FF", {255, 0}},
        {"0000000000000000", {0, 0}},
        {"123456789abcdefABCDEF", {0xEFABCDEF, 0x6789ABCD, 0x12345}},
        {"0x10", {0}},
        {"12 34", {0x12}},
        {"aG", {10}},
        {"@`/:gG", {}},
        {"-1", {}},
        {"\xB1", {}},
    };
    for (const auto& c : cases) {
        const bigint bn{ZRC_HEX_To_BIGINT(c.text)};
        ASSERT_NE(bn, nullptr) << c.text;
        EXPECT_EQ(words_of(*bn), c.words) << c.text;
    }
    EXPECT_EQ(ZRC_HEX_To_BIGINT(""), nullptr);
    EXPECT_EQ(ZRC_HEX_To_BIGINT(nullptr), nullptr);
}

TEST(Bigint, ConversionsRefuseNulls)
{
    const bigint bn = of({1});
    std::uint8_t byte = 0x55;
    static_value fixed;
    const bytes twelve(12, 1);
    EXPECT_EQ(ZRC_Binary_To_BIGINT(nullptr, 0, bn.get()), nullptr);
    EXPECT_EQ(ZRC_Binary_To_BIGINT(&byte, -1, bn.get()), nullptr);
    EXPECT_EQ(ZRC_Binary_To_BIGINT(twelve.data(), 12, &fixed.bn), nullptr); // cannot grow
    EXPECT_EQ(words_of(fixed.bn), (word_list{5, 6}));
    EXPECT_EQ(words_of(*bn), word_list{1});
    for (const auto convert : {ZRC_BIGINT_To_Binary, ZRC_BIGINT_To_Binary_Unsigned}) {
        EXPECT_EQ(convert(nullptr, &byte), 0);
        EXPECT_EQ(convert(bn.get(), nullptr), 0);
    }
    EXPECT_EQ(byte, 0x55);
    for (const auto convert : {ZRC_BIGINT_To_HEX, ZRC_BIGINT_To_DEC, ZRC_Dump_BIGINT})
        EXPECT_EQ(convert(nullptr), nullptr);
}

TEST(Bigint, PrintsALineAndNothingForNull)
{
    testing::internal::CaptureStdout();
    ZRC_Print_BIGINT(of({0xABC}).get());
    ZRC_Print_BIGINT(nullptr);
    ZRC_Print_BIGINT(of({}).get());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0x0ABC\n0x0\n");
}

// The pool

TEST(BigintPool, NineTemporariesTakeTwoBlocksOnce)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    EXPECT_EQ(pool->depth, -1);
    EXPECT_EQ(pool->capacity, 0);
    std::array<ZRC_BIGINT*, 9> first{};
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool.get()), 0U);
        for (std::size_t i = 0; i < first.size(); ++i) {
            ZRC_BIGINT* bn = ZRC_Get_BIGINT_Pool(pool.get());
            ASSERT_NE(bn, nullptr);
            EXPECT_EQ(bn->length, 0);
            EXPECT_EQ(bn->flags, 4U);
            EXPECT_EQ(bn->allocated, round == 0 ? 0 : 4); // the array stays
            if (round == 0) first[i] = bn;
            EXPECT_EQ(bn, first[i]);
            EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn, 127), 0U);
            EXPECT_EQ(words_of(*bn), (word_list{0, 0, 0, 0x80000000}));
        }
        EXPECT_EQ(pool->capacity, 16);
        EXPECT_EQ(pool->used, 9);
        EXPECT_EQ(pool->frame_count[0], 9U);
        EXPECT_TRUE(pool->head->next == pool->tail && pool->tail->prev == pool->head && pool->current == pool->tail);
        EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool.get()), 0U);
        EXPECT_EQ(pool->used, 0);
        EXPECT_EQ(pool->depth, -1);
        EXPECT_EQ(pool->frame_count[0], 0U);
    }
}

// Random nesting, against what a stack of frames over an endless list would do.
TEST(BigintPool, FramesTakeBackTheirOwnInOrder)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    test::repeatable random{43};
    std::vector<ZRC_BIGINT*> known; // by number
    std::vector<std::int32_t> frames;
    std::int32_t out = 0;
    for (int step = 0; step < 20000; ++step) {
        const std::size_t what = random.upto(9);
        if (frames.empty() || (what < 2 && frames.size() < 80)) {
            ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool.get()), 0U);
            frames.push_back(out);
        } else if (what < 4) {
            ASSERT_EQ(ZRC_Finish_BIGINT_Pool(pool.get()), 0U);
            out = frames.back();
            frames.pop_back();
        } else {
            ZRC_BIGINT* bn = ZRC_Get_BIGINT_Pool(pool.get());
            if (std::size_t(out) == known.size()) known.push_back(bn);
            ASSERT_EQ(bn, known[std::size_t(out)]);
            ASSERT_EQ(bn->length, 0);
            ASSERT_EQ(ZRC_Set_BIGINT_Word(bn, 1), 0U);
            ++out;
            ASSERT_EQ(bn, &pool->current->bigint[(out - 1) % 8]);
        }
        ASSERT_EQ(pool->used, out);
        ASSERT_EQ(pool->depth, std::int32_t(frames.size()) - 1);
        ASSERT_EQ(pool->capacity, std::int32_t(known.size() + 7) / 8 * 8);
    }
    EXPECT_GT(known.size(), 16U);
}

TEST(BigintPool, EightyFramesAndNoMore)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    for (int frame = 0; frame < 80; ++frame)
        ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool.get()), 0U) << frame;
    EXPECT_EQ(ZRC_Start_BIGINT_Pool(pool.get()), 0x041B0057U);
    EXPECT_EQ(pool->depth, 79);
    for (int frame = 0; frame < 80; ++frame)
        ASSERT_EQ(ZRC_Finish_BIGINT_Pool(pool.get()), 0U) << frame;
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool.get()), 0x041C002BU);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintPool, AGetWithoutAFrameIsNotCounted)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    for (int i = 0; i < 10; ++i)
        ASSERT_NE(ZRC_Get_BIGINT_Pool(pool.get()), nullptr);
    EXPECT_EQ(pool->capacity, 16);
    EXPECT_EQ(pool->depth, -1);
    EXPECT_EQ(zrc_Release_BIGINT_POOL(pool.get(), 11), 0x041D002BU);
    EXPECT_EQ(pool->used, 10);
    EXPECT_EQ(zrc_Release_BIGINT_POOL(pool.get(), 2), 0U);
    EXPECT_EQ(pool->used, 8);
    EXPECT_EQ(pool->current, pool->head);
    EXPECT_EQ(ZRC_Get_BIGINT_Pool(pool.get()), &pool->tail->bigint[0]);
    EXPECT_EQ(zrc_Release_BIGINT_POOL(pool.get(), 9), 0U);

    ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool.get()), 0U);
    ASSERT_NE(ZRC_Get_BIGINT_Pool(pool.get()), nullptr);
    ASSERT_EQ(zrc_Release_BIGINT_POOL(pool.get(), 1), 0U); // behind the frame's back
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool.get()), 0x041D002BU);
    EXPECT_EQ(pool->used, 0);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintPool, ClearKeepsTheCountersAndTail)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool.get()), 0U);
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(ZRC_Set_BIGINT_Bit(ZRC_Get_BIGINT_Pool(pool.get()), 500), 0U);
    const auto tail = reinterpret_cast<std::uintptr_t>(pool->tail);
    EXPECT_EQ(ZRC_Clear_BIGINT_Pool(pool.get()), 0U);
    EXPECT_EQ(pool->head, nullptr);
    EXPECT_EQ(pool->current, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pool->tail), tail);
    EXPECT_EQ(pool->used, 9);
    EXPECT_EQ(pool->capacity, 16);
    EXPECT_EQ(pool->frame_count[0], 9U);
    EXPECT_EQ(pool->depth, 0);
    EXPECT_EQ(ZRC_Get_BIGINT_Pool(pool.get()), nullptr);
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool.get()), 0U);
}

TEST(BigintPool, RefusesNulls)
{
    EXPECT_EQ(zrc_Init_BIGINT_Pool(nullptr), 1U);
    EXPECT_EQ(ZRC_Start_BIGINT_Pool(nullptr), 0x041B0049U);
    EXPECT_EQ(ZRC_Get_BIGINT_Pool(nullptr), nullptr);
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(nullptr), 0x041C0049U);
    EXPECT_EQ(zrc_Release_BIGINT_POOL(nullptr, 1), 0x041D0049U);
    EXPECT_EQ(ZRC_Clear_BIGINT_Pool(nullptr), 0x041A0049U);
    EXPECT_EQ(ZRC_Free_BIGINT_Pool(nullptr), 0x04190049U);
}

} // namespace
