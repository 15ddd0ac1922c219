// Hash_DRBG: published outputs and states, every kernel, the continuous test, limits, codes, and the one state of a
// process with its lock.
#include "digest/sha_constants.hpp"
#include "kestrim/bigint.h"
#include "kestrim/bigint_arithmetic.h"
#include "kestrim/digest.h"
#include "kestrim/drbg.h"
#include "kestrim/memory.h"
#include "kestrim/state.h"
#include "random/drbg_saved_state.hpp"
#include "random/hashgen.hpp"
#include "tests/allocator.hpp"
#include "tests/fresh_process.hpp"
#include "tests/random/child_process.hpp"
#include "tests/runnable.hpp"
#include "tests/support.hpp"

#include <atomic>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <thread>

namespace {

using test::bytes;
using test::hex;
using test::in_a_child;
using test::in_a_fresh_process;
using test::operator+;
using unit_ptr = test::owned<ZRC_DRBG_UNIT, zrc_Free_DRBG_Unit>;

struct digest {
    std::int32_t id;
    const char* name;
    std::int32_t strength, seedlen, outlen;
};
constexpr digest kDigests[] = {
    {ZRC_SHA1, "SHA-1", 10, 55, 20},      {ZRC_SHA224, "SHA-224", 14, 55, 28},  {ZRC_SHA256, "SHA-256", 16, 55, 32},
    {ZRC_SHA384, "SHA-384", 24, 111, 48}, {ZRC_SHA512, "SHA-512", 32, 111, 64}, {ZRC_HAS160, "HAS-160", 10, 55, 20},
};
constexpr auto kPublishedDigests = std::span{kDigests}.first<5>(); // nobody has published outputs for HAS-160

std::int32_t size(const bytes& value)
{
    return std::int32_t(value.size());
}

// Null for nothing, which setters take for "not given".
const std::uint8_t* given(const bytes& value)
{
    return value.empty() ? nullptr : value.data();
}

unit_ptr instantiated(std::int32_t id, const bytes& entropy, const bytes& nonce, const bytes& personalization = {},
                      std::int32_t prediction_resistance = 0)
{
    unit_ptr u{zrc_New_DRBG_Unit()};
    EXPECT_EQ(zrc_Init_DRBG(u, id, 0, prediction_resistance, 1), 0U);
    EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(u, given(entropy), size(entropy), given(nonce), size(nonce),
                                             given(personalization), size(personalization)),
              0U);
    EXPECT_EQ(zrc_Instantiate_DRBG(u), 0U);
    return u;
}

unit_ptr sample_unit(std::int32_t id, std::uint8_t seed = 1)
{
    return instantiated(id, bytes(32, seed), bytes(16, 2));
}

bytes generate(ZRC_DRBG_UNIT* unit, std::size_t length, const bytes& additional = {}, const bytes& entropy = {})
{
    bytes out(length);
    const auto set = zrc_Set_Generate_DRBG_Param;
    EXPECT_EQ(set(unit, given(additional), size(additional), given(entropy), size(entropy)), 0U);
    EXPECT_EQ(zrc_Generate_DRBG(unit, out.data(), size(out)), 0U);
    return out;
}

void reseed(ZRC_DRBG_UNIT* unit, const bytes& entropy, const bytes& additional)
{
    const auto set = zrc_Set_Reseed_DRBG_Param;
    EXPECT_EQ(set(unit, given(additional), size(additional), given(entropy), size(entropy)), 0U);
    EXPECT_EQ(zrc_Reseed_DRBG(unit), 0U);
}

std::string hex_of(const std::uint8_t* data, std::int32_t length)
{
    return hex({data, std::size_t(length)});
}

TEST(Drbg, GivesThePublishedOutputs)
{
    std::vector<std::string> sections;
    for (const std::string inputs : {" personalization=no additional=no", " personalization=no additional=yes",
                                     " personalization=yes additional=no", " personalization=yes additional=yes"})
        for (const std::string kind : {"no_reseed ", "reseed ", "prediction_resistance "})
            for (const digest& d : kPublishedDigests)
                sections.push_back(kind + d.name + inputs);
    for (std::size_t i = 0; i < sections.size(); ++i) {
        for (const test::stanza& v : test::read_vectors("hash_drbg.txt", sections[i])) {
            const std::int32_t id = kPublishedDigests[i % kPublishedDigests.size()].id;
            const bool resists = v.values.contains("entropy_pr_1");
            const bytes first = resists ? v["entropy_pr_1"] : bytes{}, second = resists ? v["entropy_pr_2"] : bytes{};
            const unit_ptr unit = instantiated(id, v["entropy"], v["nonce"], v["personalization"], resists);
            if (v.values.contains("entropy_reseed")) reseed(unit, v["entropy_reseed"], v["additional_reseed"]);
            const bytes& out = v["returned_bits"];
            generate(unit, out.size(), v["additional_1"], first);
            EXPECT_EQ(hex(generate(unit, out.size(), v["additional_2"], second)), hex(out)) << v.place;
        }
    }
}

TEST(Drbg, GoesThroughThePublishedStates)
{
    for (const digest& d : kPublishedDigests) {
        for (const test::stanza& v : test::read_vectors("hash_drbg.txt", std::string{"intermediate "} + d.name)) {
            const unit_ptr unit = instantiated(d.id, v["entropy"], v["nonce"], v["personalization"]);
            const auto expect_state = [&](const char* name_of_v, const char* name_of_c) {
                EXPECT_EQ(hex_of(unit->V, d.seedlen), hex(v[name_of_v])) << v.place;
                EXPECT_EQ(hex_of(unit->C, d.seedlen), hex(v[name_of_c])) << v.place;
            };
            expect_state("V_instantiate", "C_instantiate");
            bytes material = v["entropy"], derived(std::size_t(d.seedlen));
            for (const char* piece : {"nonce", "personalization"})
                material.insert(material.end(), v[piece].begin(), v[piece].end());
            EXPECT_EQ(Hash_df(d.id, material.data(), size(material), derived.data(), d.seedlen), 0U);
            EXPECT_EQ(hex(derived), hex(v["V_instantiate"])) << v.place;
            reseed(unit, v["entropy_reseed"], v["additional_reseed"]);
            expect_state("V_reseed", "C_reseed");
            EXPECT_EQ(hex(generate(unit, v["output_1"].size(), v["additional_1"])), hex(v["output_1"]));
            expect_state("V_generate_1", "C_reseed");
            EXPECT_EQ(hex(generate(unit, v["returned_bits"].size(), v["additional_2"])), hex(v["returned_bits"]));
            expect_state("V_generate_2", "C_reseed");
            EXPECT_EQ(unit->reseed_counter, v["counter_after"].at(0));
        }
    }
    for (const digest& d : kDigests) {
        const unit_ptr u = sample_unit(d.id);
        EXPECT_TRUE(u->security_strength == d.strength && u->min_entropy_length == d.strength);
        EXPECT_TRUE(u->min_nonce_length == d.strength / 2 && u->seedlen == d.seedlen && u->outlen == d.outlen);
    }
}

// Generate as the standard writes it, byte by byte and block by block, over the digest unit.
struct plain_drbg {
    digest d;
    bytes v, c;

    bytes hash(const bytes& message) const
    {
        bytes result(std::size_t(d.outlen));
        EXPECT_EQ(ZRC_DIGEST(d.id, message.data(), size(message), result.data(), nullptr), 0U);
        return result;
    }

    static void add(bytes& v, const bytes& number)
    {
        unsigned carry = 0;
        for (std::size_t i = 0; i < v.size(); ++i, carry >>= 8) {
            carry += v[v.size() - 1 - i] + (i < number.size() ? unsigned{number[number.size() - 1 - i]} : 0);
            v[v.size() - 1 - i] = std::uint8_t(carry);
        }
    }

    bytes generate(std::size_t length, const bytes& counter)
    {
        bytes out;
        for (bytes data = v; out.size() < length; add(data, {1}))
            out = out + hash(data);
        for (const bytes& number : {hash(bytes{3} + v), c, counter})
            add(v, number);
        return out;
    }
};

TEST(Drbg, GeneratesWhatTheStandardSaysAtEveryLength)
{
    test::repeatable random{90};
    for (const digest& d : kDigests) {
        for (const bool wraps : {false, true}) { // V + 1, V + 2, ... carry through all bytes
            const unit_ptr unit = sample_unit(d.id);
            const auto seedlen = std::size_t(d.seedlen), outlen = std::size_t(d.outlen);
            bytes v = wraps ? bytes(seedlen, 0xFF) : random.data(seedlen), c = wraps ? v : random.data(seedlen);
            if (wraps) v.back() = c.back() = 0xF9;
            plain_drbg next{d, v, c};
            const bytes stream = next.generate(20'100, {1, 2, 3});
            test::with_each_kernel(zrc::hashgen_kernels, [&] {
                for (std::size_t length = 1; length <= 20'003; length += length == 600 ? 20'003 - 600 : 1) {
                    std::copy(v.begin(), v.end(), unit->V);
                    std::copy(c.begin(), c.end(), unit->C);
                    unit->reseed_counter = 0x010203;
                    std::fill_n(unit->last_block, 64, std::uint8_t(0));
                    const bytes out = generate(unit, length);
                    ASSERT_TRUE(std::equal(out.begin(), out.end(), stream.begin())) << d.name << length;
                    ASSERT_EQ(hex_of(unit->V, d.seedlen), hex(next.v)) << d.name << length;
                    const auto last = stream.begin() + std::ptrdiff_t((length - 1) / outlen * outlen);
                    ASSERT_TRUE(std::equal(last, last + d.outlen, unit->last_block)) << d.name << length;
                    ASSERT_EQ(unit->last_block_length, d.outlen);
                }
            });
        }
    }
}

// Blocks of their own number up to `from`, and then the same block again and again.
template <std::size_t From, int Repeated = 0xEE>
void stuck(zrc::sha256_hashgen::initial_value, zrc::sha256_hashgen::block, std::size_t count, std::size_t digest_bytes,
           std::uint8_t* digests) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
        std::memset(digests + i * digest_bytes, i < From ? int(i) : Repeated, digest_bytes);
}

TEST(Drbg, StopsAtABlockThatRepeatsTheOneBefore)
{
    const auto expect_stop = [](ZRC_DRBG_UNIT* unit, std::size_t length) {
        bytes out(length, 0xA5);
        EXPECT_EQ(zrc_Generate_DRBG(unit, out.data(), size(out)), 0x0B0A0067U);
        EXPECT_EQ(out, bytes(length));
    };
    for (const digest& d : kDigests) {
        const bytes first = generate(sample_unit(d.id), std::size_t(d.outlen));
        for (const std::size_t length : {std::size_t{1}, first.size(), 3 * first.size(), std::size_t{10'000}}) {
            const unit_ptr unit = sample_unit(d.id);
            std::copy(first.begin(), first.end(), unit->last_block);
            const std::string v = hex_of(unit->V, d.seedlen);
            expect_stop(unit, length);
            EXPECT_EQ(hex_of(unit->V, d.seedlen), v);
            EXPECT_EQ(unit->reseed_counter, 1);
            unit->last_block[d.outlen - 1] ^= 1; // all but equal
            EXPECT_EQ(generate(unit, first.size()), first);
        }
    }
    for (const auto run : {stuck<0>, stuck<0, 0>, stuck<100>}) {
        const zrc::sha256_hashgen broken{run, zrc::kHashgenPortable.pair};
        zrc::hashgen_kernels.force(&broken);
        expect_stop(sample_unit(ZRC_SHA256), 128 * 32);
    }
    // As long as all of the block that is kept is zero, there is none: the first one may be zero, too.
    const zrc::sha256_hashgen counting{stuck<100>, zrc::kHashgenPortable.pair};
    zrc::hashgen_kernels.force(&counting);
    const bytes out = generate(sample_unit(ZRC_SHA256), 101 * 32);
    for (std::size_t i = 0; i < 100 * 32; ++i)
        ASSERT_EQ(out[i], i / 32);
    zrc::hashgen_kernels.force(nullptr);
}

constexpr std::size_t kScanned = 65536; // bytes of stack
std::uint8_t scanned[kScanned];

[[gnu::noinline]] void fill_dead_stack()
{
    std::uint8_t below[kScanned];
    std::memset(below, 0x5A, kScanned);
    __asm__ __volatile__("" : : "r"(below) : "memory"); // as if somebody read it
}

[[gnu::noinline]] std::uint32_t generate_below(ZRC_DRBG_UNIT* unit, std::uint8_t* out, std::int32_t length)
{
    volatile std::uint8_t frame[64];
    frame[0] = 1;
    return zrc_Generate_DRBG(unit, out, length) + frame[0] - 1;
}

// The kernel reads it for us: to C++ there is nothing there.
[[gnu::noinline]] bool copy_dead_stack(int memory)
{
    const auto top = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return pread(memory, scanned, kScanned, off_t(top - kScanned)) == ssize_t(kScanned);
}

// How many of the 32-bit words of `value` lie in what was copied, in whatever byte order.
std::size_t words_left(const bytes& value)
{
    std::size_t left = 0;
    for (std::size_t at = 0; at + 4 <= value.size(); at += 4) {
        const bytes word(&value[at], &value[at] + 4), turned(word.rbegin(), word.rend());
        const auto found = [](const bytes& w) {
            return std::search(std::begin(scanned), std::end(scanned), w.begin(), w.end()) != std::end(scanned);
        };
        if (found(word) || found(turned)) ++left;
    }
    return left;
}

TEST(Drbg, LeavesNothingOfVOnTheStack)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer has a stack of its own";
#endif
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    ASSERT_GE(memory, 0);
    fill_dead_stack();                    // which makes the stack that large
    ASSERT_TRUE(copy_dead_stack(memory)); // a function's first call, which looks for it, saves registers on the stack
    static std::uint8_t out[4096];
    for (const digest& d : kDigests) {
        for (const std::int32_t length : {16, 100, 4096}) {
            test::with_each_kernel(zrc::hashgen_kernels, [&] {
                const unit_ptr unit = sample_unit(d.id);
                const bytes v(unit->V, unit->V + d.seedlen);
                fill_dead_stack();
                const std::uint32_t code = generate_below(unit, out, length);
                ASSERT_TRUE(copy_dead_stack(memory));
                EXPECT_EQ(code, 0U);
                EXPECT_LT(words_left(v), 3U) << d.name << " " << length;
            });
        }
    }
    close(memory);
}

TEST(Drbg, ReseedsAtTheLimitAndWithPredictionResistance)
{
    const unit_ptr unit = sample_unit(ZRC_SHA256), same = sample_unit(ZRC_SHA256);
    unit->reseed_counter = same->reseed_counter = 100'000'000; // the last one without a reseed
    EXPECT_EQ(generate(unit, 40), generate(same, 40));
    EXPECT_EQ(unit->reseed_counter, 100'000'001);
    EXPECT_NE(generate(unit, 40), generate(same, 40)); // both have fresh entropy of their own
    EXPECT_EQ(unit->reseed_counter, 2);

    const unit_ptr fresh = instantiated(ZRC_SHA256, bytes(32, 1), bytes(16, 2), {}, 1);
    EXPECT_NE(generate(fresh, 40), generate(sample_unit(ZRC_SHA256), 40));
    EXPECT_EQ(fresh->reseed_counter, 2);

    std::uint8_t out[1] = {0xA5};
    EXPECT_EQ(zrc_Generate_DRBG(unit, out, 0x7FFFFFF1), 0x0B0A0026U);
    EXPECT_EQ(out[0], 0xA5);
}

TEST(Drbg, InputsAreUsedOnceAndReleased)
{
    const test::release_watch watch;
    for (unit_ptr replaced = sample_unit(ZRC_SHA256); replaced; replaced.reset())
        for (int i = 0; i < 2; ++i)
            zrc_Set_Instantiate_DRBG_Param(replaced, &bytes(32, 1)[0], 32, &bytes(8, 1)[0], 8, nullptr, 0);
    EXPECT_EQ(watch.live_blocks(), 0U);

    const unit_ptr unit = instantiated(ZRC_SHA512, bytes(40, 1), bytes(16, 2), bytes(9, 3));
    const ZRC_DRBG_INPUT& input = *unit->input;
    EXPECT_TRUE(!input.entropy && !input.nonce && !input.personalization);
    EXPECT_EQ(input.entropy_length + input.nonce_length + input.personalization_length, 0);
    generate(unit, 10, bytes(5, 4), bytes(40, 5));
    EXPECT_TRUE(!unit->additional_input && unit->additional_input_length == 0 && !input.entropy);
    reseed(unit, bytes(40, 6), bytes(70, 7));
    EXPECT_TRUE(!unit->additional_input && !input.entropy);

    EXPECT_EQ(ZRC_Uninstantiate_DRBG(unit), 0U);
    const auto* left = reinterpret_cast<const std::uint8_t*>(unit.get());
    EXPECT_EQ(bytes(left, left + offsetof(ZRC_DRBG_UNIT, input)), bytes(offsetof(ZRC_DRBG_UNIT, input)));
    std::uint8_t out[1];
    EXPECT_EQ(zrc_Generate_DRBG(unit, out, 1), 0x0B040034U);
    EXPECT_EQ(zrc_Init_DRBG(unit, ZRC_SHA256, 0, 0, 1) | zrc_Instantiate_DRBG(unit), 0U); // collects its inputs
    EXPECT_NE(generate(unit, 32), generate(unit, 32));
}

TEST(Drbg, RefusesBadInput)
{
    const unit_ptr unit{zrc_New_DRBG_Unit()}, fresh{zrc_New_DRBG_Unit()};
    ASSERT_EQ(zrc_Init_DRBG(unit, ZRC_SHA256, 0, 0, 1), 0U);
    ZRC_DRBG_UNIT* const u = unit;
    std::uint8_t d[64] = {1};
    zrc_Free_DRBG_Unit(nullptr);
    const auto instantiate_with = [&](ZRC_DRBG_UNIT* on, std::int32_t entropy, std::int32_t nonce, std::int32_t text) {
        return zrc_Set_Instantiate_DRBG_Param(on, d, entropy, d, nonce, d, text);
    };
    const auto in_unit = [&](std::int32_t& length, const auto& call) { // with a length that no setter lets through
        length = 0x7FFFFFF1;
        const std::uint32_t code = call(u);
        length = 0;
        return code;
    };
    test::expect_codes({{zrc_Init_DRBG(nullptr, ZRC_SHA256, 0, 0, 1), 0x0B010049},
                        {zrc_Init_DRBG(fresh, ZRC_SHA256, 1, 0, 1), 0x0B010048},
                        {zrc_Init_DRBG(fresh, ZRC_MD5, 0, 0, 1), 0x0B070048},
                        {zrc_Init_HashDRBG(nullptr, ZRC_SHA256), 0x0B070049},
                        {zrc_Init_HashDRBG(fresh, 0), 0x0B070048},
                        {zrc_Instantiate_DRBG(nullptr), 0x0B020049},
                        {zrc_Instantiate_DRBG(fresh), 0x0B020034},
                        {zrc_Reseed_DRBG(nullptr), 0x0B030049},
                        {zrc_Reseed_DRBG(u), 0x0B030034},
                        {zrc_Generate_DRBG(nullptr, d, 1), 0x0B040049},
                        {zrc_Generate_DRBG(u, nullptr, 1), 0x0B040049},
                        {zrc_Generate_DRBG(u, d, 0), 0x0B04002B},
                        {zrc_Generate_DRBG(u, d, -1), 0x0B04002B},
                        {zrc_Generate_DRBG(u, d, 1), 0x0B040034},
                        {ZRC_Uninstantiate_DRBG(nullptr), 0x0B020049},
                        {instantiate_with(nullptr, 32, 8, 0), 0x0B020049},
                        {instantiate_with(u, -1, 8, 0), 0x0B02000C},
                        {instantiate_with(u, 0x7FFFFFF1, 8, 0), 0x0B02000C},
                        {instantiate_with(u, 32, -1, 0), 0x0B02000C},
                        {instantiate_with(u, 32, 0x7FFFFFF1, 0), 0x0B02000C},
                        {instantiate_with(u, 32, 8, -1), 0x0B02000C},
                        {instantiate_with(u, 32, 8, 0x7FFFFFF1), 0x0B02000C},
                        {zrc_Set_Reseed_DRBG_Param(u, d, -1, nullptr, 0), 0x0B03000C},
                        {zrc_Set_Reseed_DRBG_Param(u, d, 0x7FFFFFF1, nullptr, 0), 0x0B03000C},
                        {zrc_Set_Generate_DRBG_Param(u, nullptr, 0, d, -1), 0x0B04000C},
                        {zrc_Set_Generate_DRBG_Param(u, nullptr, 0, d, 0x7FFFFFF1), 0x0B04000C},
                        {std::uint32_t(u->input->entropy != nullptr), 0},
                        {instantiate_with(u, 15, 8, 0) | zrc_Instantiate_DRBG(u), 0x0B02000C},
                        {in_unit(u->input->personalization_length, zrc_Instantiate_DRBG), 0x0B02000C},
                        {instantiate_with(u, 16, 8, 0) | zrc_Instantiate_DRBG(u), 0},
                        {in_unit(u->additional_input_length, zrc_Reseed_DRBG), 0x0B03000C},
                        {Hash_df(ZRC_SHA256, nullptr, 1, d, 1), 0x0B080049},
                        {Hash_df(ZRC_SHA256, d, 1, nullptr, 1), 0x0B080049},
                        {Hash_df(ZRC_MD5, d, 1, d, 1), 0x0B080048},
                        {Hash_df(ZRC_SHA256, d, -1, d, 1), 0x0B08002B},
                        {Hash_df(ZRC_SHA256, d, 1, d, 0), 0x0B08002B},
                        {Hash_df(ZRC_SHA256, d, 1, d, 255 * 32 + 1), 0x0B08002B}});
}

// A request with inputs that are known: what it gives tells whether they were used.
bytes request(std::int32_t id, std::int32_t prediction_resistance = 0)
{
    bytes entropy(32, 1), nonce(16, 2), out(77);
    ZRC_DRBG_INPUT input{};
    input.entropy = entropy.data();
    input.entropy_length = 32;
    input.nonce = nonce.data();
    input.nonce_length = 16;
    EXPECT_EQ(zrc_Get_Rand_Bytes_DRBG(out.data(), size(out), 0, id, prediction_resistance, &input), 0U);
    return out;
}

bytes random_bytes(std::size_t length = 32)
{
    bytes out(length);
    EXPECT_EQ(ZRC_Rand_Bytes(out.data(), std::int32_t(length)), 0U);
    return out;
}

// The self-test has started the generator; a request with another digest makes the next one start anew.
void forget_the_state()
{
    request(ZRC_SHA384);
}

TEST(DrbgProcess, RequestsContinueOneState)
{
    in_a_fresh_process([] {
        forget_the_state();
        const unit_ptr unit = sample_unit(ZRC_SHA256), sha512 = sample_unit(ZRC_SHA512);
        for (const std::size_t length : {77U, 77U})
            EXPECT_EQ(request(ZRC_SHA256), generate(unit, length));
        EXPECT_EQ(random_bytes(1), generate(unit, 1));
        EXPECT_EQ(random_bytes(3000), generate(unit, 3000));
        const bytes predicted = generate(unit, 77);
        EXPECT_NE(request(ZRC_SHA256, 1), predicted) << "reseeded first";

        EXPECT_EQ(request(ZRC_SHA512), generate(sha512, 77)) << "another digest starts anew";
        EXPECT_EQ(request(ZRC_SHA512), generate(sha512, 77));
        EXPECT_EQ(request(ZRC_SHA256), generate(sample_unit(ZRC_SHA256), 77)) << "and the first one again";
    });
}

TEST(DrbgProcess, CarriesTheLastBlockAndTheCounterOver)
{
    for (const std::int32_t reseeds : {0, 1})
        in_a_fresh_process([reseeds] {
            const unit_ptr unit = sample_unit(ZRC_SHA256);
            forget_the_state();
            request(ZRC_SHA256);
            generate(unit, 77);
            zrc::saved_drbg& saved = *zrc::find_saved_drbg().state;
            EXPECT_EQ(saved.reseed_counter, 2);
            EXPECT_EQ(hex(saved.last_block), hex(unit->last_block));

            saved.reseed_counter = 100'000'001;
            EXPECT_NE(random_bytes(), generate(unit, 32)) << "reseeded at the limit";
            EXPECT_EQ(saved.reseed_counter, 2);
            zrc::sha256_hashgen broken{stuck<0>, zrc::kHashgenPortable.pair};
            std::memset(saved.last_block, 0xEE, 32);
            const std::string v = hex(saved.V), c = hex(saved.C);
            zrc::hashgen_kernels.force(&broken);
            std::uint8_t out[64];
            EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 64, 0, ZRC_SHA256, reseeds), 0x0B050067U);
            EXPECT_EQ(saved.reseed_counter, 2) << "the saved state keeps its contents";
            EXPECT_EQ(hex(saved.V) + hex(saved.C), v + c) << "a reseed counts for nothing when its request fails";
        });
}

// True when a request has not come back after a while: of this process, which leaves a thread that waits for ever, or
// of a child, where a thread sanitizer allows no thread: the alarm ends the one that waits.
bool requests_wait()
{
    const auto back = std::make_shared<std::atomic<bool>>(false); // shared with a thread that may never end
    std::thread{[back] {
        std::uint8_t out[8];
        ZRC_Rand_Bytes(out, 8);
        *back = true;
    }}.detach();
    for (int i = 0; i < 30 && !*back; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    const bool of_a_child = in_a_child([] {
                                std::uint8_t out[8];
                                ualarm(300'000, 0);
                                return bytes{ZRC_Rand_Bytes(out, 8) == 0};
                            }) != bytes{1};
    EXPECT_EQ(of_a_child, !*back);
    return !*back;
}

TEST(DrbgProcess, AFailedRequestLocksTheGeneratorForGoodOnPurpose)
{
    static std::uint8_t data[16];
    static const auto request_with = [](std::int32_t entropy_length) {
        ZRC_DRBG_INPUT input{};
        input.entropy = data;
        input.entropy_length = entropy_length;
        return zrc_Get_Rand_Bytes_DRBG(data, 8, 0, ZRC_SHA512, 0, &input);
    };
    const std::pair<std::function<std::uint32_t()>, std::uint32_t> cases[] = {
        {[] { return ZRC_Rand_Bytes_DRBG(data, 8, 1, ZRC_SHA256, 0); }, 0x0B050048},
        {[] { return ZRC_Rand_Bytes_DRBG(data, 8, 0, ZRC_MD5, 0); }, 0x0B050063},
        {[] { return request_with(16); }, 0x0B050064},
        {[] { return request_with(-1); }, 0x0B050064},
        {[] { return ZRC_Rand_Bytes(nullptr, 8); }, 0x0B050066},
        {[] { return ZRC_Rand_Bytes(data, 0); }, 0x0B050066},
    };
    for (const auto& c : cases) {
        in_a_fresh_process([&c] {
            ASSERT_EQ(ZRC_Rand_Bytes(data, 1), 0U); // takes the time of the self-test
            EXPECT_FALSE(requests_wait());
            EXPECT_EQ(c.first(), c.second);
            EXPECT_TRUE(requests_wait());
            EXPECT_EQ(generate(sample_unit(ZRC_SHA256), 5).size(), 5U) << "units of one's own still work";
        });
    }
}

TEST(DrbgProcess, AChildProcessDoesNotContinueTheParentsStream)
{
    const auto draw = [] { return random_bytes(); };
    bytes all = random_bytes();
    for (int i = 0; i < 4; ++i)
        all = all + in_a_child([&] { return in_a_child(draw) + draw(); }) + draw();
    test::expect_all_different(all, 32, 13);
}

// In the page that the kernel clears, and in ordinary memory as before Linux 4.14.
TEST(DrbgProcess, AChildProcessHasALockOfItsOwn)
{
    random_bytes();
    static zrc::saved_drbg ordinary{};
    const auto here = [](bool page) {
        return page ? zrc::find_saved_drbg() : zrc::saved_drbg_place{&ordinary, std::uint64_t(getpid())};
    };
    for (const bool page : {true, false}) {
        std::atomic<int> step{0};
        std::thread holder{[&] {
            const auto [state, process] = here(page);
            EXPECT_EQ(zrc::enter_saved_drbg(*state, process), 0U);
            state->valid = 1;
            step = 1;
            while (step != 2)
                std::this_thread::yield();
            EXPECT_EQ(zrc::leave_saved_drbg(*state), 0U);
        }};
        while (step != 1)
            std::this_thread::yield();
        const bytes answer = in_a_child([&] {
            alarm(20);
            const auto [state, process] = here(page);
            const bool entered = zrc::enter_saved_drbg(*state, process) == 0 && state->valid == 0;
            return bytes{entered && zrc::leave_saved_drbg(*state) == 0 && random_bytes() != random_bytes()};
        });
        EXPECT_EQ(answer, bytes{1}) << page;
        step = 2;
        holder.join();
    }
}

TEST(DrbgProcess, ManyThreadsGetDifferentBytes)
{
    std::vector<bytes> outputs(8);
    std::vector<std::thread> threads;
    for (bytes& mine : outputs)
        threads.emplace_back([&mine] {
            for (int i = 0; i < 300; ++i)
                mine = mine + random_bytes(16);
        });
    bytes all;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i].join();
        all = all + outputs[i];
    }
    test::expect_all_different(all, 16, 8 * 300);
}

TEST(DrbgProcess, NumbersHaveAtMostTheirBits)
{
    static const test::owned<ZRC_BIGINT, ZRC_Free_BIGINT> bn{ZRC_New_BIGINT()};
    for (const std::int32_t bits : {1, 7, 8, 9, 31, 32, 33, 4095, 4096, 4097, 20'000}) {
        std::set<std::uint32_t> lengths;
        for (int i = 0; i < 40; ++i) {
            EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(bn, bits), 0U);
            lengths.insert(ZRC_Get_BIGINT_Bits_Length(bn));
        }
        EXPECT_EQ(*lengths.rbegin(), std::uint32_t(bits)); // fails once in 2^40 runs
        EXPECT_GT(lengths.size(), 1U) << "the top bit is not forced";
    }
    for (const std::int32_t bits : {0, -1, INT32_MIN}) {
        EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(bn, bits), 0U);
        EXPECT_EQ(bn->length, 0) << "zero, and the generator is not asked: it would be locked";
    }
    EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(nullptr, 8), 0x0B060049U);
    random_bytes();
    for (const bool inner : {true, false}) {
        in_a_fresh_process([inner] {
            zrc::sha256_hashgen broken{stuck<0>, zrc::kHashgenPortable.pair};
            zrc::hashgen_kernels.force(&broken);
            EXPECT_EQ(inner ? ZRC_Get_Rand_BIGINT_Ex(bn, 800) : ZRC_Rand_BIGINT_Ex(bn, 800, 0, 0),
                      inner ? 0x0B06001DU : 0x0417001DU);
        });
    }
}

} // namespace
