// The digest unit and the eight algorithms behind it: published vectors, pieces, records, every code of the headers.
#include "kestrim_crypto.h"
#include "tests/sanitized.hpp"
#include "tests/support.hpp"
#include "tests/vector_file.hpp"

#include <cctype>
#include <cstring>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

namespace {

using test::bytes;
using test::expect_codes;
using test::hex;

struct algorithm {
    std::int32_t id;
    const char* name;
    std::int32_t digest_length, block_length, record_length;
    const char *file, *section;
    bool takes_empty; // update accepts zero bytes
};

constexpr algorithm kAlgorithms[] = {
    {ZRC_SHA1, "SHA1", 20, 64, 164, "sha.txt", "SHA-1", true},
    {ZRC_SHA224, "SHA224", 28, 64, 176, "sha.txt", "SHA-224", true},
    {ZRC_SHA256, "SHA256", 32, 64, 176, "sha.txt", "SHA-256", true},
    {ZRC_SHA384, "SHA384", 48, 128, 336, "sha.txt", "SHA-384", true},
    {ZRC_SHA512, "SHA512", 64, 128, 336, "sha.txt", "SHA-512", true},
    {ZRC_MD5, "MD5", 16, 64, 160, "md5.txt", "MD5", false},
    {ZRC_HAS160, "HAS160", 20, 64, 92, "has160.txt", "HAS-160", false},
    {ZRC_MDC2, "MDC2", 16, 8, 32, "mdc2.txt", "MDC-2", true},
};
constexpr std::int32_t kUnknownIds[] = {0x05000600, 0x05000000, 0x05000301, 0, -1, ZRC_HMAC_SHA256};

using unit_ptr = test::owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit>;

unit_ptr unit_for(std::int32_t id)
{
    unit_ptr unit{ZRC_New_DIGEST_Unit()};
    EXPECT_EQ(ZRC_Init_DIGEST(unit, id), 0U);
    return unit;
}

void feed(const unit_ptr& unit, std::span<const std::uint8_t> data)
{
    EXPECT_EQ(ZRC_Update_DIGEST(unit, data.data(), std::int32_t(data.size())), 0U);
}

std::string final_of(const unit_ptr& unit)
{
    bytes digest(64);
    std::int32_t length = -1;
    EXPECT_EQ(ZRC_Final_DIGEST(unit, digest.data(), &length), 0U);
    digest.resize(std::size_t(length));
    return hex(digest);
}

// The one-shot digest; checks that not a byte behind it is written.
std::string digest_of(std::int32_t id, std::span<const std::uint8_t> data)
{
    bytes digest(65, 0xEE);
    std::int32_t length = -1;
    EXPECT_EQ(ZRC_DIGEST(id, data.data(), std::int32_t(data.size()), digest.data(), &length), 0U);
    for (std::size_t i = std::size_t(length); i < digest.size(); ++i)
        EXPECT_EQ(digest[i], 0xEE);
    digest.resize(std::size_t(length));
    return hex(digest);
}

TEST(Digest, PublishedVectors)
{
    test::repeatable random{1};
    for (const algorithm& a : kAlgorithms) {
        const unit_ptr unit = unit_for(a.id); // one unit for all messages
        for (const test::stanza& vector : test::read_vectors(a.file, a.section)) {
            SCOPED_TRACE(vector.place);
            const bytes& message = vector["message"];
            const std::string expected = hex(vector["digest"]);

            const std::size_t longest = 1 + random.upto(message.size() > 5000 ? 5000 : 150);
            random.pieces(message, longest, [&](auto piece) { feed(unit, piece); });
            EXPECT_EQ(final_of(unit), expected);

            if (message.empty() && !a.takes_empty) continue;
            const std::size_t shift = random.upto(16);
            bytes shifted(shift + message.size() + 1);
            std::copy(message.begin(), message.end(), shifted.begin() + std::ptrdiff_t(shift));
            EXPECT_EQ(digest_of(a.id, std::span{shifted}.subspan(shift, message.size())), expected);
        }
    }
}

TEST(Digest, UnitLife)
{
    static constexpr ZRC_DIGEST_UNIT kFresh{};
    ZRC_Clean_DIGEST_Unit(nullptr);
    ZRC_Free_DIGEST_Unit(nullptr);
    const unit_ptr unit{ZRC_New_DIGEST_Unit()};
    EXPECT_EQ(std::memcmp(unit, &kFresh, sizeof kFresh), 0);
    ZRC_Clean_DIGEST_Unit(unit);

    for (const algorithm& a : kAlgorithms) {
        EXPECT_EQ(ZRC_Init_DIGEST(unit, a.id), 0U) << a.name; // over the algorithm before it
        EXPECT_EQ(ZRC_Get_DIGEST_Alg_ID(unit), a.id);
        EXPECT_EQ(unit->digest_length, a.digest_length);
        EXPECT_EQ(unit->block_length, a.block_length);
        EXPECT_EQ(unit->state_length, a.record_length);
        EXPECT_EQ(unit->initialized, -1);
        EXPECT_EQ(ZRC_Update_DIGEST(unit, bytes(1).data(), 0), a.takes_empty ? 0U : 0x0A02005BU) << a.name;
        EXPECT_EQ(ZRC_Final_DIGEST(unit, bytes(64).data(), nullptr), 0U);
    }
    for (int twice = 0; twice < 2; ++twice) {
        ZRC_Clean_DIGEST_Unit(unit);
        EXPECT_EQ(std::memcmp(unit, &kFresh, sizeof kFresh), 0);
    }
    for (const std::int32_t id : kUnknownIds) {
        EXPECT_EQ(ZRC_Init_DIGEST(unit, id), 0x0A010059U) << id;
        EXPECT_EQ(unit->algorithm_id, 0);
        EXPECT_EQ(ZRC_Update_DIGEST(unit, bytes(1).data(), 1), 0x0A02005BU);
        EXPECT_EQ(ZRC_Final_DIGEST(unit, bytes(64).data(), nullptr), 0x0A030018U);
    }
}

TEST(Digest, UnitCodes)
{
    const unit_ptr sha = unit_for(ZRC_SHA256), fresh{ZRC_New_DIGEST_Unit()}, broken = unit_for(ZRC_SHA256);
    static_cast<ZRC_SHA256_STATE*>(broken->state)->work_count = 65;
    std::uint8_t byte = 0x61, output[64] = {0xEE};
    std::int32_t length = 77;
    expect_codes({
        {"init null", ZRC_Init_DIGEST(nullptr, ZRC_SHA256), 0x0A010049},
        {"init null, unknown", ZRC_Init_DIGEST(nullptr, 0), 0x0A010049},
        {"update null unit", ZRC_Update_DIGEST(nullptr, &byte, 1), 0x0A020049},
        {"update null data", ZRC_Update_DIGEST(sha, nullptr, 1), 0x0A020049},
        {"update null data, length 0", ZRC_Update_DIGEST(sha, nullptr, 0), 0x0A020049},
        {"update null data, length -1", ZRC_Update_DIGEST(sha, nullptr, -1), 0x0A020049},
        {"update length -1", ZRC_Update_DIGEST(sha, &byte, -1), 0x0A02002B},
        {"update length min", ZRC_Update_DIGEST(sha, &byte, INT32_MIN), 0x0A02002B},
        {"update fresh", ZRC_Update_DIGEST(fresh, &byte, 1), 0x0A02005B},
        {"update broken record", ZRC_Update_DIGEST(broken, &byte, 1), 0x0A02005B},
        {"final null unit", ZRC_Final_DIGEST(nullptr, output, &length), 0x0A030049},
        {"final null output", ZRC_Final_DIGEST(sha, nullptr, &length), 0x0A030049},
        {"final fresh", ZRC_Final_DIGEST(fresh, output, &length), 0x0A030018},
        {"final broken record", ZRC_Final_DIGEST(broken, output, &length), 0x0A030018},
        {"one-shot null data", ZRC_DIGEST(ZRC_SHA256, nullptr, 1, output, &length), 0x0A050049},
        {"one-shot null data, unknown", ZRC_DIGEST(0, nullptr, 1, output, &length), 0x0A050049},
        {"one-shot unknown", ZRC_DIGEST(0x05000600, &byte, 1, output, &length), 0x0A050022},
        {"one-shot length -1", ZRC_DIGEST(ZRC_SHA256, &byte, -1, output, &length), 0x0A05005B},
        {"one-shot MD5 of nothing", ZRC_DIGEST(ZRC_MD5, &byte, 0, output, &length), 0x0A05005B},
        {"one-shot HAS-160 of nothing", ZRC_DIGEST(ZRC_HAS160, &byte, 0, output, &length), 0x0A05005B},
        {"one-shot null output", ZRC_DIGEST(ZRC_SHA256, &byte, 1, nullptr, &length), 0x0A050018},
        {"table null", zrc_Init_DIGEST_Alg(nullptr, ZRC_SHA256), 0x0A040049},
        {"table unknown", zrc_Init_DIGEST_Alg(fresh, 0x05000600), 0x0A040029},
    });
    EXPECT_EQ(fresh->algorithm_id, 0);
    EXPECT_EQ(output[0], 0xEE);
    EXPECT_EQ(length, 77);
    EXPECT_EQ(final_of(sha), digest_of(ZRC_SHA256, {&byte, 0})) << "refused input changed the record";
    EXPECT_EQ(ZRC_DIGEST(ZRC_SHA256, &byte, 1, output, nullptr), 0U);

    EXPECT_EQ(zrc_Init_DIGEST_Alg(fresh, ZRC_SHA384), 0U);
    EXPECT_EQ(fresh->state_length, 336);
    EXPECT_EQ(fresh->state, nullptr);
}

TEST(Digest, NoMdc2HoldsForTheFirstInitOnly)
{
    for (const std::int32_t first : {ZRC_MDC2, ZRC_SHA256}) {
        const unit_ptr unit{zrc_New_DIGEST_Unit_Ex(1)};
        EXPECT_EQ(ZRC_Init_DIGEST(unit, first), first == ZRC_MDC2 ? 0x0A010059U : 0U);
        EXPECT_EQ(ZRC_Init_DIGEST(unit, ZRC_MDC2), 0U);
    }
    const unit_ptr refusing{zrc_New_DIGEST_Unit_Ex(0x1FF)}, low_byte_zero{zrc_New_DIGEST_Unit_Ex(0x100)};
    EXPECT_EQ(zrc_Init_DIGEST_Alg(refusing, ZRC_MDC2), 0x0A040029U);
    EXPECT_EQ(refusing->algorithm_id, 0);
    EXPECT_EQ(ZRC_Init_DIGEST(low_byte_zero, ZRC_MDC2), 0U);
}

TEST(Digest, Queries)
{
    for (const algorithm& a : kAlgorithms) {
        EXPECT_STREQ(ZRC_Get_DIGEST_Alg_Name(a.id), a.name);
        EXPECT_EQ(ZRC_Get_DIGEST_Length(a.id), a.digest_length);
    }
    for (const std::int32_t id : kUnknownIds) {
        EXPECT_EQ(ZRC_Get_DIGEST_Alg_Name(id), nullptr);
        EXPECT_EQ(ZRC_Get_DIGEST_Length(id), 0);
    }
    EXPECT_EQ(ZRC_Get_DIGEST_Alg_ID(nullptr), 0);
    EXPECT_EQ(ZRC_Get_DIGEST_Alg_ID_By_Name(nullptr), 0);

    // Each name ends where readable memory does; the unterminated ones are 16 characters long.
    const std::size_t page = std::size_t(sysconf(_SC_PAGESIZE));
    void* const pages = mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    ASSERT_NE(pages, MAP_FAILED);
    char* const end = static_cast<char*>(pages) + page;
    ASSERT_EQ(mprotect(end, page, PROT_NONE), 0);
    const auto look_up = [&](std::string_view name) {
        return ZRC_Get_DIGEST_Alg_ID_By_Name(std::copy_backward(name.begin(), name.end(), end));
    };
    using namespace std::string_view_literals;
    for (const algorithm& a : kAlgorithms) {
        std::string name{a.name, std::strlen(a.name) + 1};
        EXPECT_EQ(look_up(name), a.id);
        std::ranges::transform(name, name.begin(), [](unsigned char c) { return char(std::tolower(c)); });
        EXPECT_EQ(look_up(name), a.id);
    }
    for (const std::string_view name : {"SHA-256\0"sv, "SHA256X\0"sv, "SHA25\0"sv, "SHA\xB2\x35\x36\0"sv, " MD5\0"sv,
                                        "\0"sv, "SHA256          "sv, "AAAAAAAAAAAAAAAA"sv})
        EXPECT_EQ(look_up(name), 0) << name;
    munmap(pages, 2 * page);
}

// ---- The algorithms behind the unit ----

// However a message comes in, the record chains what the exported compression makes of its whole blocks and
// keeps the rest.
template <class State>
void expect_record(std::uint32_t (*init)(State*), auto update, auto compress)
{
    constexpr std::size_t kBlock = sizeof State::buffer, kRest = kBlock - 3;
    test::repeatable random{3};
    const bytes message = random.data(3 * kBlock + kRest);
    const auto chain = [](const State& s) { return hex({reinterpret_cast<const std::uint8_t*>(s.h), sizeof s.h}); };
    State blockwise;
    ASSERT_EQ(init(&blockwise), 0U);
    for (std::size_t at = 0; at + kBlock <= message.size(); at += kBlock)
        ASSERT_EQ(compress(&blockwise, message.data() + at), 0U);
    for (const std::size_t longest : {std::size_t{1}, kBlock + 3, message.size()}) {
        State s;
        ASSERT_EQ(init(&s), 0U);
        random.pieces(message, longest, [&](auto p) { ASSERT_EQ(update(&s, p.data(), std::uint32_t(p.size())), 0U); });
        EXPECT_EQ(chain(s), chain(blockwise));
        EXPECT_EQ(hex({s.buffer, kRest}), hex(std::span{message}.last(kRest)));
    }
}

TEST(DigestRecord, FollowsTheBlocks)
{
    expect_record(zrc_Init_SHA1, zrc_Update_SHA1, comp_SHA1);
    expect_record(zrc_Init_SHA256, zrc_Update_SHA256, comp_SHA256);
    expect_record(zrc_Init_SHA512, zrc_Update_SHA512, comp_SHA512);
    expect_record(zrc_Init_MD5, zrc_Update_MD5, comp_MD5);
    expect_record(zrc_Init_HAS160, zrc_Update_HAS160, comp_HAS160);
    expect_record(zrc_Init_MDC2, zrc_Update_MDC2, [](auto* s, const std::uint8_t* b) { return mdc2_comp(s, b, 8); });
}

// The digests that share one record design, with their codes.
template <class State>
struct md_functions {
    std::int32_t id;
    std::uint32_t (*init)(State*);
    std::uint32_t (*update)(State*, const std::uint8_t*, std::uint32_t);
    std::uint32_t (*final)(State*, std::uint8_t*);
    std::uint32_t init_null, update_null, update_work, update_buffer, update_empty, final_null, final_work,
        final_buffer;
};

template <class State>
void expect_md_codes(const md_functions<State>& f)
{
    constexpr std::uint32_t kBlock = sizeof State::buffer;
    const bytes m = test::repeatable{4}.data(3 * kBlock);
    State s;
    std::uint8_t output[64];
    const auto record = [&](std::uint32_t work, std::uint32_t buffered) { // work bytes of m, then buffered bytes of m
        EXPECT_EQ(f.init(&s), 0U);
        std::memcpy(s.work_block, m.data(), std::min(work, kBlock));
        std::memcpy(s.buffer, m.data() + std::min(work, kBlock), std::min(buffered, kBlock));
        s.work_count = work;
        s.buffer_count = buffered;
        std::memset(output, 0xEE, sizeof output);
    };
    const auto expect_refused = [&](std::uint32_t expected, auto call) {
        const State before = s;
        EXPECT_EQ(call(), expected) << std::hex << expected << std::dec << " " << s.work_count << " " << s.buffer_count;
        EXPECT_EQ(std::memcmp(&s, &before, sizeof s), 0) << "a refused call changed the record";
        EXPECT_EQ(std::count(output, output + 64, 0xEE), 64) << "a refused call wrote output";
    };
    const auto update = [&] { return f.update(&s, m.data(), 1); };
    const auto finish = [&] { return f.final(&s, output); };
    const auto of_message = [&](std::size_t size) {
        const unit_ptr unit = unit_for(f.id);
        if (size != 0) feed(unit, {m.data(), size});
        return final_of(unit);
    };

    SCOPED_TRACE(ZRC_Get_DIGEST_Alg_Name(f.id));
    record(0, 3);
    expect_codes({{"init", f.init(nullptr), f.init_null},
                  {"update", f.update(nullptr, m.data(), 1), f.update_null},
                  {"final", f.final(nullptr, output), f.final_null}});
    expect_refused(f.update_null, [&] { return f.update(&s, nullptr, 1); });
    expect_refused(f.update_null, [&] { return f.update(&s, nullptr, 0); });
    expect_refused(f.update_empty, [&] { return f.update(&s, m.data(), 0); });
    expect_refused(f.final_null, [&] { return f.final(&s, nullptr); });
    for (const std::uint32_t above : {kBlock + 1, kBlock + 2, 0x100 + kBlock, UINT32_MAX}) {
        record(above, 0);
        expect_refused(f.update_work, update);
        expect_refused(f.final_work, finish);
        record(0, above);
        expect_refused(f.update_buffer, update);
        expect_refused(f.final_buffer, finish);
    }
    record(kBlock, 0);
    expect_refused(f.final_work, finish);
    EXPECT_EQ(update(), 0U) << "update takes a full work block";

    // A full buffer is compressed by the next update.
    record(0, kBlock);
    EXPECT_EQ(f.update(&s, m.data() + kBlock, 5), 0U);
    EXPECT_EQ(s.buffer_count, 5U);
    EXPECT_EQ(s.bit_count[0], kBlock * 8);
    EXPECT_EQ(finish(), 0U);
    const std::size_t length = std::size_t(ZRC_Get_DIGEST_Length(f.id));
    EXPECT_EQ(hex({output, length}), of_message(kBlock + 5));

    // Bytes that are already in the work block come first in the message.
    for (const std::uint32_t work : {0U, 10U, kBlock - 9, kBlock - 8, kBlock - 1}) {
        for (const std::uint32_t buffered : {0U, 1U, kBlock - 10, kBlock - 1, kBlock}) {
            record(work, buffered);
            EXPECT_EQ(finish(), 0U);
            EXPECT_EQ(hex({output, length}), of_message(work + buffered)) << work << " " << buffered;
        }
    }

    // 2^32 bits: the low word of the count carries into the high word.
    record(0, 0);
    s.bit_count[0] = 0U - kBlock * 8;
    EXPECT_EQ(f.update(&s, m.data(), kBlock), 0U);
    EXPECT_EQ(s.bit_count[0], 0U);
    EXPECT_EQ(s.bit_count[1], 1U);
}

TEST(DigestRecord, CodesOfShaAndMd5)
{
    expect_md_codes<ZRC_SHA1_STATE>({ZRC_SHA1, zrc_Init_SHA1, zrc_Update_SHA1, zrc_Final_SHA1, 0x1B010049, 0x1B020049,
                                     0x1B020049, 0x1B020059, 0, 0x1B030049, 0x1B030006, 0x1B030059});
    expect_md_codes<ZRC_SHA256_STATE>({ZRC_SHA224, zrc_Init_SHA224, zrc_Update_SHA224, zrc_Final_SHA224, 0x1B050049,
                                       0x1B060049, 0x1B06005C, 0x1B06005C, 0, 0x1B070049, 0x1B070019, 0x1B070019});
    expect_md_codes<ZRC_SHA256_STATE>({ZRC_SHA256, zrc_Init_SHA256, zrc_Update_SHA256, zrc_Final_SHA256, 0x1B080049,
                                       0x1B090049, 0x1B090006, 0x1B090059, 0, 0x1B0A0049, 0x1B0A0059, 0x1B0A0059});
    expect_md_codes<ZRC_SHA512_STATE>({ZRC_SHA384, zrc_Init_SHA384, zrc_Update_SHA384, zrc_Final_SHA384, 0x1B0C0049,
                                       0x1B0D0049, 0x1B0D005C, 0x1B0D005C, 0, 0x1B0E0049, 0x1B0E0049, 0x1B210059});
    expect_md_codes<ZRC_SHA512_STATE>({ZRC_SHA512, zrc_Init_SHA512, zrc_Update_SHA512, zrc_Final_SHA512, 0x1B0F0049,
                                       0x1B200049, 0x1B200049, 0x1B200059, 0, 0x1B210049, 0x1B210049, 0x1B030059});
    expect_md_codes<ZRC_MD5_STATE>({ZRC_MD5, zrc_Init_MD5, zrc_Update_MD5, zrc_Final_MD5, 0x12010049, 0x12020049,
                                    0x12020059, 0x12020059, 0x1202002B, 0x12030049, 0x12030059, 0x12030059});
}

TEST(DigestRecord, CodesOfCompressionsHas160AndMdc2)
{
    ZRC_SHA1_STATE sha1{};
    ZRC_SHA256_STATE sha256{};
    ZRC_SHA512_STATE sha512{};
    ZRC_MD5_STATE md5{};
    ZRC_HAS160_STATE has160{};
    ZRC_MDC2_STATE mdc2{};
    std::uint8_t block[128] = {}, output[64] = {};
    expect_codes({
        {"SHA-1", comp_SHA1(nullptr, block), 0x1B040049},
        {"SHA-1 null block", comp_SHA1(&sha1, nullptr), 0x1B040049},
        {"SHA-256", comp_SHA256(nullptr, block), 0x1B0B0049},
        {"null block", comp_SHA256(&sha256, nullptr), 0x1B0B0049},
        {"SHA-512", comp_SHA512(nullptr, block), 0x1B200049},
        {"null block", comp_SHA512(&sha512, nullptr), 0x1B200049},
        {"MD5", comp_MD5(nullptr, block), 0x12020049},
        {"null block", comp_MD5(&md5, nullptr), 0x12020049},
        {"HAS-160", comp_HAS160(nullptr, block), 0x0E020049},
        {"null block", comp_HAS160(&has160, nullptr), 0x0E020049},
        {"HAS-160 init", zrc_Init_HAS160(nullptr), 0x0E010049},
        {"HAS-160 update", zrc_Update_HAS160(nullptr, block, 1), 0x0E020049},
        {"HAS-160 update null data", zrc_Update_HAS160(&has160, nullptr, 1), 0x0E020049},
        {"HAS-160 update of nothing", zrc_Update_HAS160(&has160, block, 0), 0x0E02002B},
        {"HAS-160 update of nothing, null data", zrc_Update_HAS160(&has160, nullptr, 0), 0x0E02002B},
        {"HAS-160 final", zrc_Final_HAS160(nullptr, output), 0x0E030049},
        {"HAS-160 final null output", zrc_Final_HAS160(&has160, nullptr), 0x0E030049},
        {"MDC-2 blocks", mdc2_comp(nullptr, block, 8), 0x13020049},
        {"MDC-2 blocks null data", mdc2_comp(&mdc2, nullptr, 8), 0x13020049},
        {"MDC-2 no blocks", mdc2_comp(&mdc2, nullptr, 0), 0},
        {"MDC-2 no whole block", mdc2_comp(&mdc2, block, 7), 0},
        {"MDC-2 init", zrc_Init_MDC2(nullptr), 0x13010049},
        {"MDC-2 update", zrc_Update_MDC2(nullptr, block, 1), 0x13020049},
        {"MDC-2 update null data", zrc_Update_MDC2(&mdc2, nullptr, 1), 0x13020049},
        {"MDC-2 update of nothing, null data", zrc_Update_MDC2(&mdc2, nullptr, 0), 0},
        {"MDC-2 final", zrc_Final_MDC2(nullptr, output), 0x13030049},
        {"MDC-2 final null output", zrc_Final_MDC2(&mdc2, nullptr), 0x13030049},
    });
    static constexpr ZRC_MDC2_STATE kUntouched{};
    EXPECT_EQ(std::memcmp(&mdc2, &kUntouched, sizeof mdc2), 0);

    for (const std::uint32_t pad_type : {1U, 2U}) {
        for (const std::uint32_t count : {7U, 8U, 9U, UINT32_MAX}) {
            mdc2 = {count, {}, {}, {}, pad_type};
            EXPECT_EQ(zrc_Update_MDC2(&mdc2, block, 1), count > 7 ? 0x13020059U : 0U) << count;
            mdc2 = {count, {}, {}, {}, pad_type};
            EXPECT_EQ(zrc_Final_MDC2(&mdc2, output), count > (pad_type == 2 ? 7U : 8U) ? 0x13030059U : 0U) << count;
        }
    }
}

TEST(DigestRecord, Has160PassesNoCarryIntoTheHighWord)
{
    ZRC_HAS160_STATE s;
    ASSERT_EQ(zrc_Init_HAS160(&s), 0U);
    s.bit_count_low = 0xFFFFFFF8; // 63 bytes in the buffer
    const std::uint8_t byte = 0;
    EXPECT_EQ(zrc_Update_HAS160(&s, &byte, 1), 0U);
    EXPECT_EQ(s.bit_count_low, 0U);
    EXPECT_EQ(s.bit_count_high, 0U);

    // The top bits of one length do count: 2^29 bytes and 8, which all lie in the one zero page.
    if (test::runs_slowly()) GTEST_SKIP() << "not 512 MiB";
    constexpr std::size_t kSize = (std::size_t{1} << 29) + 8;
    void* const zeros = mmap(nullptr, kSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (zeros == MAP_FAILED) GTEST_SKIP() << "no room for a message of 512 MiB";
    EXPECT_EQ(zrc_Update_HAS160(&s, static_cast<const std::uint8_t*>(zeros), std::uint32_t(kSize)), 0U);
    EXPECT_EQ(s.bit_count_low, 64U);
    EXPECT_EQ(s.bit_count_high, 1U);
    munmap(zeros, kSize);
}

TEST(DigestRecord, Mdc2PadTypes)
{
    const bytes message = test::repeatable{5}.data(24);
    for (std::size_t size = 0; size <= 16; ++size) {
        ZRC_MDC2_STATE s;
        bytes digest(16), marked(message.begin(), message.begin() + std::ptrdiff_t(size));
        ASSERT_EQ(zrc_Init_MDC2(&s), 0U);
        EXPECT_EQ(s.pad_type, 1U);
        s.pad_type = 2;
        ASSERT_EQ(zrc_Update_MDC2(&s, message.data(), std::uint32_t(size)), 0U);
        ASSERT_EQ(zrc_Final_MDC2(&s, digest.data()), 0U);
        marked.push_back(0x80);
        EXPECT_EQ(hex(digest), digest_of(ZRC_MDC2, marked)) << "pad type 2 is a 0x80 byte, then zeros";
        marked.resize((marked.size() + 7) / 8 * 8);
        EXPECT_EQ(hex(digest), digest_of(ZRC_MDC2, marked)) << "trailing zero bytes of the last block do not count";
    }
}

TEST(DigestRecord, DesVectors)
{
    for (const test::stanza& vector : test::read_vectors("mdc2.txt", "DES")) {
        bytes block = vector["plaintext"];
        ZRC_MDC2_DES_KEY round_keys;
        init_MDC2_DES_KEY(vector["key"].data(), &round_keys);
        encrypt_MDC2_DES_Block(block.data(), &round_keys);
        EXPECT_EQ(hex(block), hex(vector["ciphertext"])) << vector.place;

        init_MDC2_DES_KEY(nullptr, &round_keys);
        init_MDC2_DES_KEY(block.data(), nullptr);
        encrypt_MDC2_DES_Block(nullptr, &round_keys);
        encrypt_MDC2_DES_Block(block.data(), nullptr);
        EXPECT_EQ(hex(block), hex(vector["ciphertext"])) << "a null argument does nothing";
    }
}

} // namespace
