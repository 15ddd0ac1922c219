// BIGINT values, their conversions, and the pool of temporaries.
#include "kestrim_crypto.h"
#include "tests/bigint/bigint_value.hpp"
#include "tests/vector_file.hpp"

#include <array>
#include <string>
#include <tuple>

namespace {

using test::bigint;
using test::bytes;
using test::fixed_value;
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

std::string to_binary(const ZRC_BIGINT* bn, decltype(ZRC_BIGINT_To_Binary)* convert)
{
    bytes out(4 * std::size_t(bn->length) + 2, 0xEE);
    const auto count = std::size_t(convert(bn, out.data()));
    EXPECT_EQ(bytes(out.begin() + std::ptrdiff_t(count), out.end()), bytes(out.size() - count, 0xEE));
    return hex(std::span{out}.first(count));
}

// Hexadecimal, dumped, decimal; the bytes of both forms.
using texts = std::array<std::string, 5>;

texts texts_of(const ZRC_BIGINT* bn)
{
    return {take(ZRC_BIGINT_To_HEX(bn)), take(ZRC_Dump_BIGINT(bn)), take(ZRC_BIGINT_To_DEC(bn)),
            to_binary(bn, ZRC_BIGINT_To_Binary_Unsigned), to_binary(bn, ZRC_BIGINT_To_Binary)};
}

const ZRC_BIGINT* const kSharedZero = ZRC_Value_Zero_BIGINT();
const ZRC_BIGINT* const kSharedOne = ZRC_Value_One_BIGINT();

TEST(Bigint, InitZeroesAllFieldsOnlyIfAFlagWasSet)
{
    std::uint32_t words[3] = {7, 8, 9};
    for (const std::uint32_t flags : {0U, 1U, 2U, 4U, 7U, 8U, 9U}) {
        ZRC_BIGINT bn{words, 2, 3, flags};
        EXPECT_EQ(ZRC_Init_BIGINT(&bn), 0U);
        EXPECT_EQ(fields_of(bn), (flags & 7) != 0 ? (fields{nullptr, 0, 0, 4}) : (fields{words, 2, 3, flags | 4}));
    }
    EXPECT_EQ(words[0], 7U);
    EXPECT_EQ(fields_of(*bigint{ZRC_New_BIGINT()}), (fields{nullptr, 0, 0, 1}));
}

TEST(Bigint, ClearReleasesTheArrayAndKeepsTheStructure)
{
    for (const std::uint32_t flags : {0U, 1U, 2U, 4U, 6U}) { // a static array too
        ZRC_BIGINT bn{static_cast<std::uint32_t*>(ZRC_Calloc(5, 4)), 3, 5, flags}, without_array{nullptr, 3, 5, flags};
        if (flags == 4)
            EXPECT_EQ(ZRC_Free_BIGINT(&bn), 0U);
        else
            ZRC_Clear_BIGINT(&bn);
        ZRC_Clear_BIGINT(&without_array);
        EXPECT_EQ(fields_of(bn), (fields{nullptr, 0, 0, flags & ~2U})) << flags;
        EXPECT_EQ(fields_of(without_array), (fields{nullptr, 0, 0, flags})) << flags;
    }
    ZRC_Clear_BIGINT(nullptr);
}

TEST(Bigint, SharedConstantsAreOneWordEachAndSurviveClearAndFree)
{
    for (const std::uint32_t value : {0U, 1U}) {
        auto* const bn = const_cast<ZRC_BIGINT*>(value == 0 ? kSharedZero : kSharedOne);
        ZRC_Clear_BIGINT(bn);
        EXPECT_EQ(ZRC_Free_BIGINT(bn), 0U);
        EXPECT_EQ(zrc_Expand_BIGINT(bn, 1), bn);
        EXPECT_EQ(zrc_Expand_BIGINT(bn, 2), nullptr);
        EXPECT_EQ(fields_of(*bn), (fields{bn->data, 1, 1, 2}));
        EXPECT_EQ(words_of(*bn), word_list{value});
    }
}

TEST(Bigint, ExpandGrowsExactlyAndKeepsTheValue)
{
    const bigint bn = of({1, 2, 3});
    const fields before = fields_of(*bn);
    for (const std::int32_t words : {-1, 0, 3, 0x1000000, INT32_MAX}) {
        EXPECT_EQ(zrc_Expand_BIGINT(bn, words), words <= 3 ? bn.get() : nullptr);
        EXPECT_EQ(fields_of(*bn), before);
    }
    EXPECT_EQ(zrc_Expand_BIGINT(bn, 5), bn.get());
    EXPECT_EQ(bn->allocated, 5);
    EXPECT_EQ(words_of(bn), (word_list{1, 2, 3}));
    EXPECT_EQ(zrc_Expand_BIGINT(nullptr, 5), nullptr);

    fixed_value fixed{{5, 6}};
    EXPECT_EQ(zrc_Expand_BIGINT(fixed, 2), &fixed.bn);
    EXPECT_EQ(zrc_Expand_BIGINT(fixed, 3), nullptr);
    EXPECT_EQ(words_of(fixed.bn), (word_list{5, 6}));
}

TEST(Bigint, SetWordAndSetBit)
{
    const bigint bn = of({}), longer = of({1, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    EXPECT_EQ(ZRC_Set_BIGINT_Word(bn, 0), 0U);
    EXPECT_TRUE(bn->allocated == 1 && bn->length == 0);
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(bn, 100) | ZRC_Set_BIGINT_Bit(bn, 31), 0U);
    EXPECT_EQ(words_of(bn), (word_list{0x80000000, 0, 0, 16}));

    EXPECT_EQ(ZRC_Set_BIGINT_Word(longer, 1), 0U);
    EXPECT_EQ(words_of(longer), word_list{1});
    EXPECT_EQ(ZRC_Set_BIGINT_Bit(longer, 65), 0U); // a longer value's words were left above
    EXPECT_EQ(words_of(longer), (word_list{1, 0, 2}));
    EXPECT_EQ(longer->allocated, 4);
    for (const std::int32_t bit : {0, 1, 65, 64, 95, 96, -1, INT32_MAX, INT32_MIN})
        EXPECT_EQ(ZRC_Is_BIGINT_Bit_Set(longer, bit), bit == 0 || bit == 65) << bit;
}

TEST(Bigint, CompareGoesByNumberOfWordsFirst)
{
    const word_list ascending[] = {{}, {0}, {1}, {2}, {0xFFFFFFFF}, {0, 1}, {1, 1}, {0, 2}, {5, 0x80000000}, {0, 0, 1}};
    for (std::size_t i = 0; i < std::size(ascending); ++i)
        for (std::size_t k = 0; k < std::size(ascending); ++k) {
            const bigint a = of(ascending[i]), b = of(ascending[k]);
            EXPECT_EQ(ZRC_Cmp_BIGINT(a, b), (i > k) - (i < k)) << i << ' ' << k;
            if (a->length == 0 || a->length != b->length) continue;
            EXPECT_EQ(zrc_Cmp_BIGINT_Words(a->data, b->data, a->length), (i > k) - (i < k)) << i << ' ' << k;
        }
    const std::uint32_t word = 0;
    EXPECT_TRUE(ZRC_Cmp_BIGINT(nullptr, kSharedOne) == 1 && ZRC_Cmp_BIGINT(kSharedOne, nullptr) == 1);
    EXPECT_TRUE(zrc_Cmp_BIGINT_Words(nullptr, &word, 1) == 1 && zrc_Cmp_BIGINT_Words(&word, nullptr, 1) == 1);
    EXPECT_EQ(zrc_Cmp_BIGINT_Words(&word, &word, 0), 0);
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
}

TEST(Bigint, EveryCode)
{
    fixed_value full{{}}, fixed{{5, 6}};
    const bigint bn = of({1, 2, 3});
    test::expect_codes({{ZRC_Get_BIGINT_Word(nullptr), 1},
                        {ZRC_Get_BIGINT_Word(of({})), 0},
                        {ZRC_Get_BIGINT_Word(kSharedZero), 0},
                        {ZRC_Get_BIGINT_Word(of({77})), 77},
                        {ZRC_Get_BIGINT_Word(of({77, 1})), 0xFFFFFFFF},
                        {ZRC_Get_BIGINT_Bits_Length(nullptr), 0},
                        {ZRC_Get_BIGINT_Bits_Length(of({})), 0},
                        {ZRC_Get_BIGINT_Bits_Length(of({0, 0, 0x80000000})), 96},
                        {zrc_Get_BIGINT_Bits_Word(0), 0},
                        {ZRC_Init_BIGINT(nullptr), 0x04010049},
                        {ZRC_Free_BIGINT(nullptr), 0x04020049},
                        {ZRC_Set_BIGINT_Word(nullptr, 1), 0x04200049},
                        {ZRC_Set_BIGINT_Word(full, 1), 0x04200016},
                        {ZRC_Set_BIGINT_Bit(nullptr, 1), 0x04210049},
                        {ZRC_Set_BIGINT_Bit(bn, -1), 0x04210049},
                        {ZRC_Set_BIGINT_Bit(fixed, 64), 0x04210016},
                        {ZRC_Set_BIGINT_Bit(bn, 32 * 0xFFFFFF), 0x04210016},
                        {ZRC_Copy_BIGINT(nullptr, bn), 0x041F0049},
                        {ZRC_Copy_BIGINT(bn, nullptr), 0x041F0049},
                        {ZRC_Copy_BIGINT(fixed, bn), 0x041F0016},
                        {zrc_Init_BIGINT_Pool(nullptr), 1},
                        {ZRC_Start_BIGINT_Pool(nullptr), 0x041B0049},
                        {ZRC_Finish_BIGINT_Pool(nullptr), 0x041C0049},
                        {zrc_Release_BIGINT_POOL(nullptr, 1), 0x041D0049},
                        {ZRC_Clear_BIGINT_Pool(nullptr), 0x041A0049},
                        {ZRC_Free_BIGINT_Pool(nullptr), 0x04190049}});
    EXPECT_EQ(ZRC_Get_BIGINT_Pool(nullptr), nullptr);
    EXPECT_EQ(words_of(fixed.bn), (word_list{5, 6}));
    EXPECT_EQ(words_of(bn), (word_list{1, 2, 3}));
}

TEST(Bigint, ConvertsThePublishedNumbers)
{
    const bigint reused = of({1, 2, 3, 4});
    for (const test::stanza& vector : test::read_vectors("bigint_decimal.txt", "decimal")) {
        SCOPED_TRACE(vector.place);
        bytes value = vector["value"];
        std::string decimal = hex(vector["decimal"]); // two digits a byte
        decimal.erase(0, std::min(decimal.find_first_not_of('0'), decimal.size() - 1));
        const auto size = std::int32_t(value.size());
        const bigint bn = of_bytes(value);
        EXPECT_EQ(bn->allocated, (size + 3) / 4);
        EXPECT_EQ(ZRC_Binary_To_BIGINT(value.data(), size, reused), reused.get());
        EXPECT_EQ(words_of(reused), words_of(bn));

        value.erase(value.begin(), std::ranges::find_if(value, [](std::uint8_t byte) { return byte != 0; }));
        const std::string digits = hex(value), sign = digits > "8" ? "00" : "";
        std::string text = value.empty() ? "0" : digits;
        std::ranges::transform(text, text.begin(), [](char digit) { return digit >= 'a' ? char(digit - 32) : digit; });
        EXPECT_EQ(texts_of(bn), (texts{text, "0x" + text, decimal, digits, sign + digits}));
        if (value.empty()) continue;
        EXPECT_EQ(ZRC_Cmp_BIGINT(bigint{ZRC_HEX_To_BIGINT(text.c_str())}, bn), 0);
    }
}

TEST(Bigint, ConvertsWhatHasAFormOfItsOwn)
{
    EXPECT_EQ(words_of(of_bytes({0, 0, 0, 0, 1, 2, 3, 4, 5})), (word_list{0x02030405, 1}));
    EXPECT_EQ(words_of(of_bytes({0, 0, 0, 0, 0, 0, 0, 0, 0})), word_list{});
    EXPECT_EQ(texts_of(of({})), (texts{"0", "0x0", "0", "", ""}));
    EXPECT_EQ(texts_of(of({0x80})), (texts{"80", "0x80", "128", "80", "0080"})); // a byte for the sign
    EXPECT_EQ(texts_of(kSharedZero), (texts{"", "0x", "0", "", ""}));
    EXPECT_EQ(take(ZRC_BIGINT_To_DEC(of({12, 0, 0}))), "12"); // zero words on top are no digits
    EXPECT_EQ(take(ZRC_BIGINT_To_HEX(of({12, 0, 0}))), "0C");

    testing::internal::CaptureStdout();
    ZRC_Print_BIGINT(of({0xABC}));
    ZRC_Print_BIGINT(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "0x0ABC\n");
}

TEST(Bigint, HexTextIsNotStripped)
{
    const std::pair<const char*, word_list> cases[] = {{"0", {0}},
                                                       {"00000000FF", {255, 0}},
                                                       {"123456789abcdefABCDEF", {0xEFABCDEF, 0x6789ABCD, 0x12345}},
                                                       {"0x10", {0}},
                                                       {"12 34", {0x12}},
                                                       {"aG", {10}},
                                                       {"@`/:gG", {}},
                                                       {"-1", {}},
                                                       {"\xB1", {}}};
    for (const auto& [text, words] : cases) {
        const bigint bn{ZRC_HEX_To_BIGINT(text)};
        ASSERT_NE(bn, nullptr) << text;
        EXPECT_EQ(words_of(bn), words) << text;
    }
}

TEST(Bigint, ConversionsRefuseArguments)
{
    const bigint bn = of({1});
    const bytes twelve(12, 1);
    std::uint8_t byte = 0x55;
    fixed_value fixed{{5, 6}};
    EXPECT_EQ(ZRC_Binary_To_BIGINT(nullptr, 0, bn), nullptr);
    EXPECT_EQ(ZRC_Binary_To_BIGINT(&byte, -1, bn), nullptr);
    EXPECT_EQ(ZRC_Binary_To_BIGINT(&byte, INT32_MAX, nullptr), nullptr); // not read that far
    EXPECT_EQ(ZRC_Binary_To_BIGINT(twelve.data(), 12, fixed), nullptr);  // cannot grow
    EXPECT_TRUE(words_of(fixed.bn) == (word_list{5, 6}) && words_of(bn) == word_list{1});
    for (const auto convert : {ZRC_BIGINT_To_Binary, ZRC_BIGINT_To_Binary_Unsigned})
        EXPECT_TRUE(convert(nullptr, &byte) == 0 && convert(bn, nullptr) == 0 && byte == 0x55);
    for (const auto convert : {ZRC_BIGINT_To_HEX, ZRC_BIGINT_To_DEC, ZRC_Dump_BIGINT})
        EXPECT_EQ(convert(nullptr), nullptr);
    EXPECT_TRUE(!ZRC_HEX_To_BIGINT("") && !ZRC_HEX_To_BIGINT(nullptr));
}

TEST(BigintPool, EightyFramesAndNoMore)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    for (int frame = 0; frame < 80; ++frame)
        ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool), 0U) << frame;
    EXPECT_EQ(ZRC_Start_BIGINT_Pool(pool), 0x041B0057U);
    EXPECT_EQ(pool->depth, 79);
    for (int frame = 0; frame < 80; ++frame)
        ASSERT_EQ(ZRC_Finish_BIGINT_Pool(pool), 0U) << frame;
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool), 0x041C002BU);
    EXPECT_EQ(pool->depth, -1);
}

TEST(BigintPool, AGetWithoutAFrameIsNotCounted)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    for (int i = 0; i < 10; ++i)
        ASSERT_NE(ZRC_Get_BIGINT_Pool(pool), nullptr);
    EXPECT_EQ(zrc_Release_BIGINT_POOL(pool, 11), 0x041D002BU);
    EXPECT_TRUE(pool->capacity == 16 && pool->depth == -1 && pool->used == 10);
    EXPECT_EQ(zrc_Release_BIGINT_POOL(pool, 2), 0U);
    EXPECT_TRUE(pool->used == 8 && pool->current == pool->head);
    EXPECT_EQ(ZRC_Get_BIGINT_Pool(pool), &pool->tail->bigint[0]);

    ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool), 0U);
    ASSERT_NE(ZRC_Get_BIGINT_Pool(pool), nullptr);
    ASSERT_EQ(zrc_Release_BIGINT_POOL(pool, 10), 0U); // behind the frame's back
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool), 0x041D002BU);
    EXPECT_TRUE(pool->used == 0 && pool->depth == -1);
}

TEST(BigintPool, ClearKeepsTheCountersAndTail)
{
    const pool_ptr pool{ZRC_New_BIGINT_Pool()};
    ASSERT_EQ(ZRC_Start_BIGINT_Pool(pool), 0U);
    for (int i = 0; i < 9; ++i)
        ASSERT_EQ(ZRC_Set_BIGINT_Bit(ZRC_Get_BIGINT_Pool(pool), 500), 0U);
    const auto tail = reinterpret_cast<std::uintptr_t>(pool->tail);
    EXPECT_EQ(ZRC_Clear_BIGINT_Pool(pool), 0U);
    EXPECT_TRUE(!pool->head && !pool->current && reinterpret_cast<std::uintptr_t>(pool->tail) == tail);
    EXPECT_TRUE(pool->used == 9 && pool->capacity == 16 && pool->frame_count[0] == 9 && pool->depth == 0);
    EXPECT_EQ(ZRC_Get_BIGINT_Pool(pool), nullptr);
    EXPECT_EQ(ZRC_Finish_BIGINT_Pool(pool), 0U);
}

} // namespace
