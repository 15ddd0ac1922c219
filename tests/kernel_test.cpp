// Every kernel that this machine can run, against the portable one and against published digests.
#include "digest/sha_blocks.hpp"
#include "kestrim_crypto.h"
#include "tests/runnable.hpp"
#include "tests/vector_file.hpp"

#include <array>
#include <gtest/gtest.h>

namespace {

// `Word` and `N` are those of the chaining value.
template <class Word, std::size_t N, class Run>
void expect_equal_kernels(zrc::kernel_choice<Run>& kernels, std::size_t block)
{
    ASSERT_EQ(kernels.list().back().needs, zrc::cpu_feature::none) << "the portable kernel is the last";
    test::repeatable random{21};
    const test::bytes data = random.data(33 * block + 64);
    const auto random_value = [&] {
        std::array<Word, N> value;
        for (Word& word : value)
            word = Word(std::uint64_t{random.upto(UINT32_MAX)} << 32 | random.upto(UINT32_MAX));
        return value;
    };
    for (const auto& kernel : test::runnable(kernels)) {
        for (std::size_t blocks = 0; blocks <= 33; ++blocks) {
            for (const std::size_t shift : {0U, 1U, 2U, 3U, 4U, 5U, 8U, 15U, 16U, 31U, 33U}) {
                std::array<Word, N> value = random_value(), expected = value;
                const std::span<const std::uint8_t> message{data.data() + shift, blocks * block};
                kernels.list().back().run(expected, message);
                kernel.run(value, message);
                ASSERT_EQ(value, expected) << kernel.name << ", " << blocks << " blocks, shifted by " << shift;
            }
        }
    }
}

template <class Run>
void expect_published_digests(zrc::kernel_choice<Run>& kernels, std::int32_t id, const char* section)
{
    const auto runnable = test::runnable(kernels);
    for (const auto& kernel : runnable) {
        kernels.force(kernel.run);
        EXPECT_EQ(kernels.get(), kernel.run);
        for (const test::stanza& vector : test::read_vectors("sha.txt", section)) {
            const test::bytes& message = vector["message"];
            test::bytes digest(64);
            std::int32_t length = 0;
            EXPECT_EQ(ZRC_DIGEST(id, message.empty() ? digest.data() : message.data(), std::int32_t(message.size()),
                                 digest.data(), &length),
                      0U);
            digest.resize(std::size_t(length));
            EXPECT_EQ(test::hex(digest), test::hex(vector["digest"])) << kernel.name << " " << vector.place;
        }
    }
    // Released, the choice is again the first of the list that can run.
    kernels.force(nullptr);
    EXPECT_EQ(kernels.get(), runnable.front().run);
}

TEST(Kernel, EqualsThePortableOne)
{
    expect_equal_kernels<std::uint32_t, 5>(zrc::sha1_kernels, 64);
    expect_equal_kernels<std::uint32_t, 8>(zrc::sha256_kernels, 64);
    expect_equal_kernels<std::uint64_t, 8>(zrc::sha512_kernels, 128);
}

TEST(Kernel, GivesThePublishedDigests)
{
    expect_published_digests(zrc::sha1_kernels, ZRC_SHA1, "SHA-1");
    expect_published_digests(zrc::sha256_kernels, ZRC_SHA224, "SHA-224");
    expect_published_digests(zrc::sha256_kernels, ZRC_SHA256, "SHA-256");
    expect_published_digests(zrc::sha512_kernels, ZRC_SHA384, "SHA-384");
    expect_published_digests(zrc::sha512_kernels, ZRC_SHA512, "SHA-512");
}

} // namespace
