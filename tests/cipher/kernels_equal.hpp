// Every kernel of a cipher against the portable one.
#pragma once

#include "cipher/block_mode.hpp"
#include "core/kernel.hpp"
#include "tests/vector_file.hpp"

#include <gtest/gtest.h>

// All kernels of the list that this machine can run give what the last one, the portable one, gives: in every mode, for 0
// to `most_blocks` blocks, at any alignment, in place and not, and leave the same chain.
template <class Key>
[[gnu::noinline]] void expect_kernels_equal(zrc::kernel_choice<zrc::blocks_fn<Key>>& kernels, const Key& encryption,
                                            const Key& decryption, std::size_t block_bytes, std::size_t most_blocks)
{
    using test::bytes;
    using zrc::block_mode;
    test::repeatable random{std::uint32_t(block_bytes + most_blocks)};
    const auto portable = kernels.list().back().run;
    for (const auto& kernel : kernels.list()) {
        if (!zrc::cpu_has(kernel.needs)) continue;
        for (const block_mode mode :
             {block_mode::ecb_encrypt, block_mode::ecb_decrypt, block_mode::cbc_encrypt, block_mode::cbc_decrypt,
              block_mode::cfb_encrypt, block_mode::cfb_decrypt, block_mode::ofb, block_mode::ctr}) {
            const Key& key = zrc::uses_decryption(mode) ? decryption : encryption;
            for (std::size_t blocks = 0; blocks <= most_blocks; ++blocks) {
                const std::size_t size = blocks * block_bytes, shift = random.upto(63);
                bytes chain = random.data(block_bytes);
                for (std::size_t i = 1; i + 1 < chain.size() && blocks % 3 == 0; ++i)
                    chain[i] = 0xFF; // a counter that wraps
                bytes expected_chain = chain, in_place_chain = chain;
                const bytes in = random.data(size + 128);
                bytes expected(size), out(size + 128, 0xEE), in_place = in;

                const bool ecb =
                    mode == block_mode::ecb_encrypt || mode == block_mode::ecb_decrypt; // takes a null chain
                const auto chain_of = [ecb](bytes& block) { return ecb ? nullptr : block.data(); };
                portable(key, mode, chain_of(expected_chain), in.data() + shift, expected.data(), blocks);
                kernel.run(key, mode, chain_of(chain), in.data() + shift, out.data() + 63 - shift, blocks);
                kernel.run(key, mode, chain_of(in_place_chain), in_place.data() + shift, in_place.data() + shift,
                           blocks);

                const std::uint8_t* const separate = out.data() + 63 - shift;
                const bytes got(separate, separate + size);
                const bytes got_in_place(in_place.data() + shift, in_place.data() + shift + size);
                ASSERT_EQ(got, expected) << kernel.name << ", mode " << int(mode) << ", " << blocks << " blocks";
                ASSERT_EQ(got_in_place, expected) << kernel.name << " in place, mode " << int(mode) << ", " << blocks;
                ASSERT_EQ(chain, expected_chain) << kernel.name << " chain, mode " << int(mode) << ", " << blocks;
                ASSERT_EQ(in_place_chain, expected_chain);
                ASSERT_EQ(out[63 - shift + size], 0xEE) << "written behind the end";
            }
        }
    }
}

namespace test {
using ::expect_kernels_equal;
}
