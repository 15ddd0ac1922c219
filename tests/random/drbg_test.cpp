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
#include "tests/fresh_process.hpp"
#include "tests/vector_file.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using test::bytes;
using test::hex;
using test::in_a_fresh_process;

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

struct free_unit {
    void operator()(ZRC_DRBG_UNIT* unit) const { zrc_Free_DRBG_Unit(unit); }
};
using unit_ptr = std::unique_ptr<ZRC_DRBG_UNIT, free_unit>;

unit_ptr initialised(std::int32_t id, std::int32_t prediction_resistance = 0)
{
    unit_ptr unit{zrc_New_DRBG_Unit()};
    EXPECT_EQ(zrc_Init_DRBG(unit.get(), id, 0, prediction_resistance, 1), 0U);
    return unit;
}

const std::uint8_t* data_or_null(const bytes& value)
{
    return value.empty() ? nullptr : value.data();
}

std::int32_t size(const bytes& value)
{
    return std::int32_t(value.size());
}

unit_ptr instantiated(std::int32_t id, const bytes& entropy, const bytes& nonce, const bytes& personalization = {},
                      std::int32_t prediction_resistance = 0)
{
    unit_ptr unit = initialised(id, prediction_resistance);
    EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit.get(), entropy.data(), size(entropy), nonce.data(), size(nonce),
                                             data_or_null(personalization), size(personalization)),
              0U);
    EXPECT_EQ(zrc_Instantiate_DRBG(unit.get()), 0U);
    return unit;
}

unit_ptr sample_unit(std::int32_t id, std::uint8_t seed = 1)
{
    return instantiated(id, bytes(32, seed), bytes(16, 2));
}

bytes generate(ZRC_DRBG_UNIT* unit, std::size_t length, const bytes& additional = {}, const bytes& entropy = {})
{
    bytes out(length);
    EXPECT_EQ(zrc_Set_Generate_DRBG_Param(unit, data_or_null(additional), size(additional), data_or_null(entropy),
                                          size(entropy)),
              0U);
    EXPECT_EQ(zrc_Generate_DRBG(unit, out.data(), std::int32_t(length)), 0U);
    return out;
}

void reseed(ZRC_DRBG_UNIT* unit, const bytes& entropy, const bytes& additional)
{
    EXPECT_EQ(zrc_Set_Reseed_DRBG_Param(unit, data_or_null(additional), size(additional), data_or_null(entropy),
                                        size(entropy)),
              0U);
    EXPECT_EQ(zrc_Reseed_DRBG(unit), 0U);
}

std::string hex_of(const std::uint8_t* data, std::int32_t length)
{
    return hex({data, std::size_t(length)});
}

TEST(Drbg, GivesThePublishedOutputs)
{
    for (const digest& d : kPublishedDigests) {
        for (const std::string inputs : {" personalization=no additional=no", " personalization=no additional=yes",
                                         " personalization=yes additional=no", " personalization=yes additional=yes"}) {
            const auto vectors = [&](const char* kind) {
                return test::read_vectors("hash_drbg.txt", std::string{kind} + " " + d.name + inputs);
            };
            for (const char* kind : {"no_reseed", "reseed"}) {
                for (const test::stanza& v : vectors(kind)) {
                    const unit_ptr unit = instantiated(d.id, v["entropy"], v["nonce"], v["personalization"]);
                    if (v.values.count("entropy_reseed") != 0) {
                        reseed(unit.get(), v["entropy_reseed"], v["additional_reseed"]);
                    }
                    const std::size_t length = v["returned_bits"].size();
                    generate(unit.get(), length, v["additional_1"]);
                    EXPECT_EQ(hex(generate(unit.get(), length, v["additional_2"])), hex(v["returned_bits"])) << v.place;
                }
            }
            for (const test::stanza& v : vectors("prediction_resistance")) {
                const unit_ptr unit = instantiated(d.id, v["entropy"], v["nonce"], v["personalization"], 1);
                const std::size_t length = v["returned_bits"].size();
                generate(unit.get(), length, v["additional_1"], v["entropy_pr_1"]);
                EXPECT_EQ(hex(generate(unit.get(), length, v["additional_2"], v["entropy_pr_2"])),
                          hex(v["returned_bits"]))
                    << v.place;
            }
        }
    }
}

TEST(Drbg, GoesThroughThePublishedStates)
{
    for (const digest& d : kPublishedDigests) {
        for (const test::stanza& v : test::read_vectors("hash_drbg.txt", std::string{"intermediate "} + d.name)) {
            const unit_ptr unit = instantiated(d.id, v["entropy"], v["nonce"], v["personalization"]);
            const auto expect_state = [&](const char* name_of_v, const bytes& c) {
                EXPECT_EQ(hex_of(unit->V, d.seedlen), hex(v[name_of_v])) << v.place;
                EXPECT_EQ(hex_of(unit->C, d.seedlen), hex(c)) << v.place;
            };
            expect_state("V_instantiate", v["C_instantiate"]);
            bytes material = v["entropy"], derived(std::size_t(d.seedlen));
            for (const char* piece : {"nonce", "personalization"})
                material.insert(material.end(), v[piece].begin(), v[piece].end());
            EXPECT_EQ(Hash_df(d.id, material.data(), size(material), derived.data(), d.seedlen), 0U);
            EXPECT_EQ(hex(derived), hex(v["V_instantiate"])) << v.place;

            reseed(unit.get(), v["entropy_reseed"], v["additional_reseed"]);
            expect_state("V_reseed", v["C_reseed"]);
            EXPECT_EQ(hex(generate(unit.get(), v["output_1"].size(), v["additional_1"])), hex(v["output_1"]));
            expect_state("V_generate_1", v["C_reseed"]);
            EXPECT_EQ(hex(generate(unit.get(), v["returned_bits"].size(), v["additional_2"])), hex(v["returned_bits"]));
            expect_state("V_generate_2", v["C_reseed"]);
            EXPECT_EQ(unit->reseed_counter, v["counter_after"].at(0));

            EXPECT_EQ(unit->security_strength, d.strength);
            EXPECT_EQ(unit->min_entropy_length, d.strength);
            EXPECT_EQ(unit->min_nonce_length, d.strength / 2);
            EXPECT_EQ(unit->seedlen, d.seedlen);
            EXPECT_EQ(unit->outlen, d.outlen);
            EXPECT_EQ(unit->last_block_length, d.outlen);
        }
    }
}

bytes join(std::initializer_list<bytes> pieces)
{
    bytes whole;
    for (const bytes& piece : pieces)
        whole.insert(whole.end(), piece.begin(), piece.end());
    return whole;
}

bytes big_endian(std::uint32_t number)
{
    return {std::uint8_t(number >> 24), std::uint8_t(number >> 16), std::uint8_t(number >> 8), std::uint8_t(number)};
}

// Hash_DRBG as the standard writes it, byte by byte and message by message, over the digest unit.
struct plain_drbg {
    digest d;
    bytes v, c;
    std::uint32_t counter = 0;

    bytes hash(const bytes& message) const
    {
        bytes result(std::size_t(d.outlen));
        EXPECT_EQ(ZRC_DIGEST(d.id, message.data(), size(message), result.data(), nullptr), 0U);
        return result;
    }

    bytes derive(const bytes& material, std::size_t length) const
    {
        bytes out;
        for (std::uint8_t i = 1; out.size() < length; ++i)
            out = join({out, hash(join({{i}, big_endian(std::uint32_t(8 * length)), material}))});
        out.resize(length);
        return out;
    }

    void seed(const bytes& material)
    {
        v = derive(material, std::size_t(d.seedlen));
        c = derive(join({{0}, v}), std::size_t(d.seedlen));
        counter = 1;
    }

    static void add(bytes& v, const bytes& number)
    {
        unsigned carry = 0;
        for (std::size_t i = 0; i < v.size(); ++i) {
            const unsigned digit = i < number.size() ? number[number.size() - 1 - i] : 0;
            carry += v[v.size() - 1 - i] + digit;
            v[v.size() - 1 - i] = std::uint8_t(carry);
            carry >>= 8;
        }
    }

    bytes generate(std::size_t length, const bytes& additional = {})
    {
        if (!additional.empty()) add(v, hash(join({{2}, v, additional})));
        bytes out;
        for (bytes data = v; out.size() < length; add(data, {1}))
            out = join({out, hash(data)});
        out.resize(length);
        add(v, hash(join({{3}, v})));
        add(v, c);
        add(v, big_endian(counter++));
        return out;
    }
};

TEST(Drbg, DoesWhatTheStandardSaysToRandomInputs)
{
    test::repeatable random{160};
    for (const digest& d : kDigests) {
        for (int i = 0; i < 20; ++i) {
            const auto input = [&](std::size_t shortest) { return random.data(shortest + random.upto(150)); };
            const bytes entropy = input(32), nonce = input(1), personalization = input(0);
            const unit_ptr unit = instantiated(d.id, entropy, nonce, personalization);
            plain_drbg plain{d, {}, {}};
            plain.seed(join({entropy, nonce, personalization}));
            const auto expect_same = [&](std::size_t length, const bytes& additional) {
                EXPECT_EQ(hex(generate(unit.get(), length, additional)), hex(plain.generate(length, additional)))
                    << d.name;
                EXPECT_EQ(hex_of(unit->V, d.seedlen), hex(plain.v)) << d.name;
                EXPECT_EQ(hex_of(unit->C, d.seedlen), hex(plain.c)) << d.name;
            };
            expect_same(1 + random.upto(300), input(0));
            expect_same(1 + random.upto(300), {});
            const bytes fresh = input(32), additional = input(0);
            reseed(unit.get(), fresh, additional);
            plain.seed(join({{1}, plain.v, fresh, additional}));
            expect_same(1 + random.upto(300), {});

            bytes derived(1 + random.upto(std::size_t(255 * d.outlen - 1)));
            EXPECT_EQ(Hash_df(d.id, entropy.data(), size(entropy), derived.data(), size(derived)), 0U);
            EXPECT_EQ(hex(derived), hex(plain.derive(entropy, derived.size()))) << d.name;
        }
    }
}

// Calls `check` with each choice of kernels that this machine can run.
void with_each_kernel(const std::function<void(const char*)>& check)
{
    for (const auto& kernel : zrc::hashgen_kernels.list()) {
        if (!zrc::cpu_has(kernel.needs)) {
            std::printf("not on this machine: %s\n", kernel.name);
            continue;
        }
        zrc::hashgen_kernels.force(kernel.run);
        check(kernel.name);
    }
    zrc::hashgen_kernels.force(nullptr);
}

TEST(Drbg, GeneratesWhatTheStandardSaysAtEveryLength)
{
    test::repeatable random{90};
    for (const digest& d : kDigests) {
        for (const bool wraps : {false, true}) { // V + 1, V + 2, ... carry through all bytes
            const unit_ptr unit = sample_unit(d.id);
            const auto seedlen = std::size_t(d.seedlen);
            bytes v = random.data(seedlen), c = random.data(seedlen);
            if (wraps) {
                std::fill(v.begin(), v.end(), std::uint8_t(0xFF));
                v.back() = 0xF9;
                c = v;
            }
            plain_drbg next{d, v, c, 0x010203};
            const bytes stream = next.generate(700);

            with_each_kernel([&](const char* kernel) {
                for (std::size_t length = 1; length <= 600; ++length) {
                    std::copy(v.begin(), v.end(), unit->V);
                    std::copy(c.begin(), c.end(), unit->C);
                    unit->reseed_counter = 0x010203;
                    std::fill_n(unit->last_block, 64, std::uint8_t(0));
                    bytes out = generate(unit.get(), length);
                    ASSERT_TRUE(std::equal(out.begin(), out.end(), stream.begin())) << d.name << kernel << length;
                    ASSERT_EQ(hex_of(unit->V, d.seedlen), hex(next.v)) << d.name << kernel << length;
                    const std::size_t last = (length - 1) / std::size_t(d.outlen) * std::size_t(d.outlen);
                    ASSERT_EQ(hex_of(unit->last_block, d.outlen),
                              hex(std::span{stream}.subspan(last, std::size_t(d.outlen))));
                }
            });
        }
    }
}

TEST(Drbg, LongRequestsAreTheSameWithEveryKernel)
{
    for (const std::int32_t id : {ZRC_SHA224, ZRC_SHA256}) {
        std::set<std::string> outputs;
        with_each_kernel([&](const char*) {
            const bytes out = generate(sample_unit(id).get(), 100'003);
            outputs.insert(hex(out));
        });
        EXPECT_EQ(outputs.size(), 1U);
    }
}

// Writes the same block again and again, from block number `from` on.
template <std::size_t From>
void stuck(zrc::sha256_hashgen::initial_value, zrc::sha256_hashgen::block, std::size_t count, std::size_t digest_bytes,
           std::uint8_t* digests) noexcept
{
    for (std::size_t i = 0; i < count; ++i)
        std::memset(digests + i * digest_bytes, i < From ? int(i + 1) : 0xEE, digest_bytes);
}

TEST(Drbg, StopsAtABlockThatRepeatsTheOneBefore)
{
    for (const digest& d : kDigests) {
        const bytes first = generate(sample_unit(d.id).get(), std::size_t(d.outlen));
        for (const std::size_t length : {std::size_t{1}, first.size(), 3 * first.size(), std::size_t{10'000}}) {
            const unit_ptr unit = sample_unit(d.id);
            std::copy(first.begin(), first.end(), unit->last_block);
            const std::string v = hex_of(unit->V, d.seedlen);
            bytes out(length, 0xA5);
            EXPECT_EQ(zrc_Generate_DRBG(unit.get(), out.data(), std::int32_t(length)), 0x0B0A0067U);
            EXPECT_TRUE(std::ranges::all_of(out, [](std::uint8_t byte) { return byte == 0 || byte == 0xA5; }));
            EXPECT_NE(hex(std::span{out}.first(1)), hex(std::span{first}.first(1)));
            EXPECT_EQ(hex_of(unit->V, d.seedlen), v);
            EXPECT_EQ(unit->reseed_counter, 1);

            unit->last_block[d.outlen - 1] ^= 1; // all but equal
            EXPECT_EQ(generate(unit.get(), first.size()), first);
        }
    }
    for (const zrc::sha256_hashgen& broken : {zrc::sha256_hashgen{stuck<0>, zrc::kHashgenPortable.pair},
                                              zrc::sha256_hashgen{stuck<100>, zrc::kHashgenPortable.pair}}) {
        zrc::hashgen_kernels.force(&broken);
        bytes out(128 * 32);
        EXPECT_EQ(zrc_Generate_DRBG(sample_unit(ZRC_SHA256).get(), out.data(), size(out)), 0x0B0A0067U);
        EXPECT_EQ(out, bytes(128 * 32));
        zrc::hashgen_kernels.force(nullptr);
    }
}

// As long as all of the block that is kept is zero, there is none.
TEST(Drbg, TheFirstBlockIsOnlyKept)
{
    constexpr zrc::sha256_hashgen kCounting{
        [](zrc::sha256_hashgen::initial_value, zrc::sha256_hashgen::block, std::size_t count, std::size_t digest_bytes,
           std::uint8_t* digests) noexcept {
            for (std::size_t i = 0; i < count; ++i)
                std::memset(digests + i * digest_bytes, int(i), digest_bytes);
        },
        [](zrc::sha256_hashgen::initial_value, zrc::sha256_hashgen::block, zrc::sha256_hashgen::block,
           std::span<std::uint8_t, 32> last, std::span<std::uint8_t, 32> h) noexcept {
            std::memset(last.data(), 0, 32);
            std::memset(h.data(), 0x11, 32);
        }};
    ASSERT_EQ(ZRC_Crypto_Initialize(), 0U);
    zrc::hashgen_kernels.force(&kCounting);
    for (const std::size_t blocks : {1U, 4U}) { // the first one is made by `pair`, or by `run`
        const unit_ptr unit = sample_unit(ZRC_SHA256);
        const bytes out = generate(unit.get(), blocks * 32);
        for (std::size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(out[i], i / 32 + 1 < blocks ? i / 32 : 0);
        EXPECT_EQ(unit->last_block_length, 32);
    }
    bytes out(64, 0xA5); // the second block is zero, too
    EXPECT_EQ(zrc_Generate_DRBG(sample_unit(ZRC_SHA256).get(), out.data(), 64), 0x0B0A0067U);
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
            with_each_kernel([&](const char* kernel) {
                const unit_ptr unit = sample_unit(d.id);
                const bytes v(unit->V, unit->V + d.seedlen);
                fill_dead_stack();
                const std::uint32_t code = generate_below(unit.get(), out, length);
                ASSERT_TRUE(copy_dead_stack(memory));
                EXPECT_EQ(code, 0U);
                EXPECT_LT(words_left(v), 3U) << d.name << " " << kernel << " " << length;
            });
        }
    }
    close(memory);
}

TEST(Drbg, ReseedsAtTheLimitAndWithPredictionResistance)
{
    const unit_ptr unit = sample_unit(ZRC_SHA256), same = sample_unit(ZRC_SHA256);
    unit->reseed_counter = same->reseed_counter = 100'000'000; // the last one without a reseed
    EXPECT_EQ(generate(unit.get(), 40), generate(same.get(), 40));
    EXPECT_EQ(unit->reseed_counter, 100'000'001);
    EXPECT_NE(generate(unit.get(), 40), generate(same.get(), 40)); // both have fresh entropy of their own
    EXPECT_EQ(unit->reseed_counter, 2);

    const unit_ptr fresh = instantiated(ZRC_SHA256, bytes(32, 1), bytes(16, 2), {}, 1);
    EXPECT_NE(generate(fresh.get(), 40), generate(sample_unit(ZRC_SHA256).get(), 40));
    EXPECT_EQ(fresh->reseed_counter, 2);

    std::uint8_t out[1] = {0xA5};
    EXPECT_EQ(zrc_Generate_DRBG(unit.get(), out, 0x7FFFFFF1), 0x0B0A0026U);
    EXPECT_EQ(out[0], 0xA5);
}

TEST(Drbg, InputsAreUsedOnceAndReleased)
{
    const unit_ptr unit = instantiated(ZRC_SHA512, bytes(40, 1), bytes(16, 2), bytes(9, 3)),
                   same = sample_unit(ZRC_SHA512);
    for (const std::uint8_t* left : {unit->input->entropy, unit->input->nonce, unit->input->personalization})
        EXPECT_EQ(left, nullptr);
    EXPECT_EQ(unit->input->entropy_length + unit->input->nonce_length + unit->input->personalization_length, 0);

    generate(unit.get(), 10, bytes(5, 4), bytes(40, 5));
    EXPECT_EQ(unit->additional_input, nullptr);
    EXPECT_EQ(unit->additional_input_length, 0);
    EXPECT_EQ(unit->input->entropy, nullptr);
    reseed(unit.get(), bytes(40, 6), bytes(70, 7));
    EXPECT_EQ(unit->additional_input, nullptr);
    EXPECT_EQ(unit->input->entropy, nullptr);

    EXPECT_EQ(ZRC_Uninstantiate_DRBG(unit.get()), 0U);
    const auto* left = reinterpret_cast<const std::uint8_t*>(unit.get());
    EXPECT_TRUE(std::all_of(left, left + offsetof(ZRC_DRBG_UNIT, input), [](std::uint8_t byte) { return byte == 0; }));
    std::uint8_t out[1];
    EXPECT_EQ(zrc_Generate_DRBG(unit.get(), out, 1), 0x0B040034U);
    EXPECT_EQ(zrc_Init_DRBG(unit.get(), ZRC_SHA256, 0, 0, 1), 0U);
    EXPECT_EQ(zrc_Instantiate_DRBG(unit.get()), 0U); // entropy input and nonce are collected
    EXPECT_NE(generate(unit.get(), 32), generate(unit.get(), 32));
}

TEST(Drbg, RefusesBadInput)
{
    const unit_ptr unit = initialised(ZRC_SHA256), fresh{zrc_New_DRBG_Unit()};
    std::uint8_t data[64] = {1};
    EXPECT_EQ(zrc_Init_DRBG(nullptr, ZRC_SHA256, 0, 0, 1), 0x0B010049U);
    EXPECT_EQ(zrc_Init_DRBG(fresh.get(), ZRC_SHA256, 1, 0, 1), 0x0B010048U);
    EXPECT_EQ(zrc_Init_DRBG(fresh.get(), ZRC_MD5, 0, 0, 1), 0x0B070048U);
    EXPECT_EQ(zrc_Init_HashDRBG(nullptr, ZRC_SHA256), 0x0B070049U);
    EXPECT_EQ(zrc_Init_HashDRBG(fresh.get(), 0), 0x0B070048U);
    EXPECT_EQ(zrc_Instantiate_DRBG(nullptr), 0x0B020049U);
    EXPECT_EQ(zrc_Instantiate_DRBG(fresh.get()), 0x0B020034U);
    EXPECT_EQ(zrc_Reseed_DRBG(nullptr), 0x0B030049U);
    EXPECT_EQ(zrc_Reseed_DRBG(unit.get()), 0x0B030034U) << "not instantiated yet";
    EXPECT_EQ(zrc_Generate_DRBG(nullptr, data, 1), 0x0B040049U);
    EXPECT_EQ(zrc_Generate_DRBG(unit.get(), nullptr, 1), 0x0B040049U);
    for (const std::int32_t length : {0, -1, INT32_MIN})
        EXPECT_EQ(zrc_Generate_DRBG(unit.get(), data, length), 0x0B04002BU);
    EXPECT_EQ(zrc_Generate_DRBG(unit.get(), data, 1), 0x0B040034U);
    EXPECT_EQ(ZRC_Uninstantiate_DRBG(nullptr), 0x0B020049U);
    zrc_Free_DRBG_Unit(nullptr);

    for (const std::int32_t length : {-1, 0x7FFFFFF1}) {
        EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit.get(), data, length, data, 8, nullptr, 0), 0x0B02000CU);
        EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit.get(), data, 32, data, length, nullptr, 0), 0x0B02000CU);
        EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit.get(), data, 32, data, 8, data, length), 0x0B02000CU);
        EXPECT_EQ(zrc_Set_Reseed_DRBG_Param(unit.get(), data, length, nullptr, 0), 0x0B03000CU);
        EXPECT_EQ(zrc_Set_Generate_DRBG_Param(unit.get(), nullptr, 0, data, length), 0x0B04000CU);
    }
    EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(nullptr, data, 32, data, 8, nullptr, 0), 0x0B020049U);
    EXPECT_EQ(unit->input->entropy, nullptr);
    EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit.get(), data, 15, data, 8, nullptr, 0), 0U);
    EXPECT_EQ(zrc_Instantiate_DRBG(unit.get()), 0x0B02000CU) << "entropy shorter than the strength";
    unit->input->personalization_length = 0x7FFFFFF1;
    EXPECT_EQ(zrc_Instantiate_DRBG(unit.get()), 0x0B02000CU);
    unit->input->personalization_length = 0;
    EXPECT_EQ(zrc_Set_Instantiate_DRBG_Param(unit.get(), data, 16, data, 8, nullptr, 0), 0U);
    EXPECT_EQ(zrc_Instantiate_DRBG(unit.get()), 0U);
    unit->additional_input_length = 0x7FFFFFF1;
    EXPECT_EQ(zrc_Reseed_DRBG(unit.get()), 0x0B03000CU);
    unit->additional_input_length = 0;

    EXPECT_EQ(Hash_df(ZRC_SHA256, nullptr, 1, data, 1), 0x0B080049U);
    EXPECT_EQ(Hash_df(ZRC_SHA256, data, 1, nullptr, 1), 0x0B080049U);
    EXPECT_EQ(Hash_df(ZRC_MD5, data, 1, data, 1), 0x0B080048U);
    EXPECT_EQ(Hash_df(ZRC_SHA256, data, -1, data, 1), 0x0B08002BU);
    EXPECT_EQ(Hash_df(ZRC_SHA256, data, 1, data, 0), 0x0B08002BU);
    EXPECT_EQ(Hash_df(ZRC_SHA256, data, 1, data, 255 * 32 + 1), 0x0B08002BU);
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
            EXPECT_EQ(request(ZRC_SHA256), generate(unit.get(), length));
        EXPECT_EQ(random_bytes(1), generate(unit.get(), 1));
        EXPECT_EQ(random_bytes(3000), generate(unit.get(), 3000));
        const bytes predicted = generate(unit.get(), 77);
        EXPECT_NE(request(ZRC_SHA256, 1), predicted) << "reseeded first";

        EXPECT_EQ(request(ZRC_SHA512), generate(sha512.get(), 77)) << "another digest starts anew";
        EXPECT_EQ(request(ZRC_SHA512), generate(sha512.get(), 77));
        EXPECT_EQ(request(ZRC_SHA256), generate(sample_unit(ZRC_SHA256).get(), 77)) << "and the first one again";
    });
}

TEST(DrbgProcess, CarriesTheLastBlockAndTheCounterOver)
{
    in_a_fresh_process([] {
        const unit_ptr unit = sample_unit(ZRC_SHA256);
        forget_the_state();
        request(ZRC_SHA256);
        generate(unit.get(), 77);
        zrc::saved_drbg& saved = *zrc::find_saved_drbg().state;
        EXPECT_EQ(saved.reseed_counter, 2);
        EXPECT_EQ(hex(saved.last_block), hex(unit->last_block));

        saved.reseed_counter = 100'000'001;
        EXPECT_NE(random_bytes(), generate(unit.get(), 32)) << "reseeded at the limit";
        EXPECT_EQ(saved.reseed_counter, 2);

        zrc::sha256_hashgen broken{stuck<0>, zrc::kHashgenPortable.pair};
        std::memset(saved.last_block, 0xEE, 32);
        zrc::hashgen_kernels.force(&broken);
        std::uint8_t out[64];
        EXPECT_EQ(ZRC_Rand_Bytes(out, 64), 0x0B050067U);
        EXPECT_EQ(saved.reseed_counter, 2) << "the saved state keeps its contents";
    });
}

TEST(DrbgProcess, AReseedCountsForNothingWhenItsRequestFails)
{
    in_a_fresh_process([] {
        request(ZRC_SHA256);
        const zrc::saved_drbg& saved = *zrc::find_saved_drbg().state;
        const std::string v = hex(saved.V), c = hex(saved.C);
        std::uint8_t out[1];
        EXPECT_EQ(ZRC_Rand_Bytes_DRBG(out, 0x7FFFFFF1, 0, ZRC_SHA256, 1), 0x0B050066U);
        EXPECT_EQ(hex(saved.V), v);
        EXPECT_EQ(hex(saved.C), c);
    });
}

// True when a request of this process has not come back after a while.
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
    return !*back;
}

// Runs `scenario` in a child process of this one; its result is the child's answer.
bool in_a_child(const std::function<bool()>& scenario)
{
    const pid_t child = fork();
    if (child == 0) _exit(scenario() ? 7 : 8);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status) == 7;
}

// The same in a child process, where a thread sanitizer allows no further thread: the alarm ends the one that waits.
bool requests_of_a_child_wait()
{
    const pid_t child = fork();
    if (child == 0) {
        ualarm(300'000, 0);
        std::uint8_t out[8];
        ZRC_Rand_Bytes(out, 8);
        _exit(0);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM;
}

TEST(DrbgProcess, AFailedRequestLocksTheGeneratorForGoodOnPurpose)
{
    static std::uint8_t data[16];
    static const auto given = [](std::int32_t entropy_length) {
        ZRC_DRBG_INPUT input{};
        input.entropy = data;
        input.entropy_length = entropy_length;
        return zrc_Get_Rand_Bytes_DRBG(data, 8, 0, ZRC_SHA512, 0, &input);
    };
    struct {
        std::function<std::uint32_t()> fails;
        std::uint32_t code;
    } const cases[] = {
        {[] { return ZRC_Rand_Bytes_DRBG(data, 8, 1, ZRC_SHA256, 0); }, 0x0B050048},
        {[] { return ZRC_Rand_Bytes_DRBG(data, 8, 0, ZRC_MD5, 0); }, 0x0B050063},
        {[] { return given(16); }, 0x0B050064},
        {[] { return given(-1); }, 0x0B050064},
        {[] { return ZRC_Rand_Bytes(nullptr, 8); }, 0x0B050066},
        {[] { return ZRC_Rand_Bytes(data, 0); }, 0x0B050066},
    };
    for (const auto& c : cases) {
        in_a_fresh_process([&c] {
            ASSERT_EQ(ZRC_Rand_Bytes(data, 1), 0U); // takes the time of the self-test
            EXPECT_FALSE(requests_wait());
            EXPECT_FALSE(requests_of_a_child_wait());
            EXPECT_EQ(c.fails(), c.code);
            EXPECT_TRUE(requests_wait());
            EXPECT_TRUE(requests_of_a_child_wait());
            EXPECT_EQ(generate(sample_unit(ZRC_SHA256).get(), 5), generate(sample_unit(ZRC_SHA256).get(), 5))
                << "units of one's own still work";
        });
    }
}

TEST(DrbgProcess, AChildProcessDoesNotContinueTheParentsStream)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    random_bytes();
    std::set<bytes> seen;
    for (int i = 0; i < 4; ++i) {
        EXPECT_TRUE(in_a_child([&] {
            const bool grandchild = in_a_child([&] {
                const bytes out = random_bytes();
                return write(ends[1], out.data(), 32) == 32;
            });
            const bytes out = random_bytes();
            return grandchild && write(ends[1], out.data(), 32) == 32;
        }));
        for (int process = 0; process < 2; ++process) {
            bytes out(32);
            ASSERT_EQ(read(ends[0], out.data(), 32), 32);
            seen.insert(out);
        }
        seen.insert(random_bytes());
    }
    EXPECT_EQ(seen.size(), 12U);
    close(ends[0]);
    close(ends[1]);
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
        EXPECT_TRUE(in_a_child([&] {
            alarm(20);
            const auto [state, process] = here(page);
            if (zrc::enter_saved_drbg(*state, process) != 0 || state->valid != 0) return false;
            return zrc::leave_saved_drbg(*state) == 0 && random_bytes() != random_bytes();
        })) << page;
        step = 2;
        holder.join();
    }
}

TEST(DrbgProcess, ManyThreadsGetDifferentBytes)
{
    constexpr int kThreads = 8, kRequests = 300;
    std::vector<std::vector<bytes>> outputs(kThreads);
    std::vector<std::thread> threads;
    for (auto& mine : outputs) {
        threads.emplace_back([&mine] {
            for (int i = 0; i < kRequests; ++i)
                mine.push_back(random_bytes(16));
        });
    }
    std::set<bytes> all;
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& mine : outputs)
        all.insert(mine.begin(), mine.end());
    EXPECT_EQ(all.size(), std::size_t{kThreads * kRequests});
}

TEST(DrbgProcess, NumbersHaveAtMostTheirBits)
{
    ZRC_BIGINT* const bn = ZRC_New_BIGINT();
    ASSERT_NE(bn, nullptr);
    for (const std::int32_t bits : {1, 7, 8, 9, 31, 32, 33, 4095, 4096, 4097, 20'000}) {
        std::uint32_t longest = 0, shortest = UINT32_MAX;
        for (int i = 0; i < 40; ++i) {
            EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(bn, bits), 0U);
            const auto length = std::uint32_t(ZRC_Get_BIGINT_Bits_Length(bn));
            longest = std::max(longest, length);
            shortest = std::min(shortest, length);
        }
        EXPECT_EQ(longest, std::uint32_t(bits)); // fails once in 2^40 runs
        EXPECT_LT(shortest, std::uint32_t(bits)) << "the top bit is not forced";
    }
    for (const std::int32_t bits : {0, -1, INT32_MIN}) {
        EXPECT_EQ(ZRC_Set_BIGINT_Word(bn, 5), 0U);
        EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(bn, bits), 0U);
        EXPECT_EQ(bn->length, 0) << "zero, and the generator is not asked: it would be locked";
    }
    EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(nullptr, 8), 0x0B060049U);
    random_bytes();
    ZRC_Free_BIGINT(bn);

    in_a_fresh_process([] {
        static ZRC_BIGINT number{};
        number.flags = 0;
        zrc::sha256_hashgen broken{stuck<0>, zrc::kHashgenPortable.pair};
        zrc::hashgen_kernels.force(&broken);
        EXPECT_EQ(ZRC_Get_Rand_BIGINT_Ex(&number, 8 * 100), 0x0B06001DU);
    });
    in_a_fresh_process([] {
        ZRC_BIGINT* const number = ZRC_New_BIGINT();
        zrc::sha256_hashgen broken{stuck<0>, zrc::kHashgenPortable.pair};
        zrc::hashgen_kernels.force(&broken);
        EXPECT_EQ(ZRC_Rand_BIGINT_Ex(number, 8 * 100, 0, 0), 0x0417001DU);
        ZRC_Free_BIGINT(number);
    });
}

} // namespace
