// Every kernel that this machine can run, against the portable one.
#include "digest/sha_blocks.hpp"
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

TEST(Kernel, EqualsThePortableOne)
{
    expect_equal_kernels<std::uint32_t, 5>(zrc::sha1_kernels, 64);
    expect_equal_kernels<std::uint32_t, 8>(zrc::sha256_kernels, 64);
    expect_equal_kernels<std::uint64_t, 8>(zrc::sha512_kernels, 128);
}

} // namespace
