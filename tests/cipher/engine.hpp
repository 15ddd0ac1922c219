// What the engines of all ciphers are tested for alike.
#pragma once

#include "cipher/block_mode.hpp"
#include "cipher/portable_blocks.hpp"
#include "tests/runnable.hpp"
#include "tests/vector_file.hpp"

#include <cstring>
#include <string>

namespace test {

template <class Key>
Key filled(std::uint8_t value)
{
    Key key;
    std::memset(&key, value, sizeof key);
    return key;
}

template <class Key>
bool same(const Key& a, const Key& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The words of a schedule as the vector files write them, most significant digit first.
template <class Word>
std::string hex_words(std::span<const Word> words)
{
    bytes data;
    for (const Word word : words)
        for (std::size_t i = sizeof word; i-- != 0;)
            data.push_back(std::uint8_t(word >> 8 * i));
    return hex(data);
}

template <class Key>
using transform_fn = void (*)(const std::uint8_t*, std::uint8_t*, const Key*);

// `transform`, an exported function, makes `to` of `from`, block by block, misaligned, in place and not.
template <class Key>
void expect_blocks(transform_fn<Key> transform, const Key& key, const bytes& from, const bytes& to,
                   const std::string& place, std::size_t block = 8)
{
    bytes made(from.size() + 2), in_place = from;
    for (std::size_t i = 0; i < from.size(); i += block) {
        transform(&from[i], &made[1 + i], &key);
        transform(&in_place[i], &in_place[i], &key);
    }
    EXPECT_EQ(hex(made), "00" + hex(to) + "00") << place;
    EXPECT_EQ(hex(in_place), hex(to)) << place;
}

// Both exported functions do the vector, whose keys these are.
template <class Key>
void expect_vector(transform_fn<Key> encrypt, const Key& encryption, transform_fn<Key> decrypt, const Key& decryption,
                   const stanza& vector, std::size_t block = 8)
{
    expect_blocks(encrypt, encryption, vector["plaintext"], vector["ciphertext"], vector.place, block);
    expect_blocks(decrypt, decryption, vector["ciphertext"], vector["plaintext"], vector.place, block);
}

// The schedule that `init` makes of a key, over something else.
template <class Key>
Key schedule_for(auto init, const bytes& key, std::uint8_t before = 0xA5)
{
    auto schedule = filled<Key>(before);
    EXPECT_EQ(init(key.data(), std::uint32_t(key.size()), &schedule), 0U);
    return schedule;
}

// `init` refuses no key, no schedule, and keys of these lengths; the schedule stays as it was.
template <class Key>
void expect_refusals(auto init, std::uint32_t code, std::initializer_list<std::uint32_t> lengths)
{
    const bytes key(256, 0x5C);
    const auto before = filled<Key>(0xA5);
    auto schedule = before;
    EXPECT_EQ(init(nullptr, 16, &schedule), code);
    EXPECT_EQ(init(key.data(), 16, nullptr), code);
    for (const std::uint32_t length : lengths)
        EXPECT_EQ(init(key.data(), length, &schedule), code) << length;
    EXPECT_TRUE(same(schedule, before));
}

// Neither function, nor any kernel in any mode, does anything with this schedule for blocks of 16 bytes.
template <class Key>
void expect_nothing_done(const zrc::kernel_choice<zrc::blocks_fn<Key>>& kernels, transform_fn<Key> encrypt,
                         transform_fn<Key> decrypt, const Key& schedule)
{
    const bytes in(16 * 100, 0x11), before(in.size(), 0x22), iv(16, 0x33);
    bytes out = before, chain = iv;
    encrypt(in.data(), out.data(), &schedule);
    decrypt(in.data(), out.data(), &schedule);
    for (const auto& kernel : runnable(kernels))
        for (int mode = 0; mode <= int(zrc::block_mode::ctr); ++mode)
            kernel.run(schedule, zrc::block_mode(mode), chain.data(), in.data(), out.data(), 100);
    EXPECT_TRUE(out == before && chain == iv);
}

// All kernels that this machine can run give what the last of the list, the portable one, gives: in every mode, for 0
// to `most_blocks` blocks, at any alignment, in place and not, and leave the same chain.
template <class Key>
[[gnu::noinline]] void expect_kernels_equal(zrc::kernel_choice<zrc::blocks_fn<Key>>& kernels, const Key& encryption,
                                            const Key& decryption, std::size_t block_bytes, std::size_t most_blocks)
{
    using zrc::block_mode;
    repeatable random{std::uint32_t(block_bytes + most_blocks)};
    const auto portable = kernels.list().back().run;
    for (const auto& kernel : runnable(kernels)) {
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

                SCOPED_TRACE(testing::Message()
                             << kernel.name << ", mode " << int(mode) << ", " << blocks << " blocks");
                const auto part = [&](const bytes& data, std::size_t from) {
                    return bytes(data.begin() + std::ptrdiff_t(from), data.begin() + std::ptrdiff_t(from + size));
                };
                ASSERT_EQ(part(out, 63 - shift), expected);
                ASSERT_EQ(part(in_place, shift), expected);
                ASSERT_EQ(chain, expected_chain);
                ASSERT_EQ(in_place_chain, expected_chain);
                ASSERT_EQ(out[63 - shift + size], 0xEE) << "written behind the end";
            }
        }
    }
}

// Each kernel does in every mode what the modes say of single blocks.
template <class Cipher, class Key = typename Cipher::key>
void expect_modes_of_single_blocks(const zrc::kernel_choice<zrc::blocks_fn<Key>>& kernels, const Key& encryption,
                                   const Key& decryption, std::size_t most_blocks)
{
    std::vector<zrc::kernel<zrc::blocks_fn<Key>>> list(kernels.list().begin(), kernels.list().end());
    list.push_back({"one by one", zrc::cpu_feature::none, zrc::portable_modes<Cipher>::run});
    zrc::kernel_choice<zrc::blocks_fn<Key>> with_reference{list};
    expect_kernels_equal(with_reference, encryption, decryption, Cipher::block_bytes, most_blocks);
}

} // namespace test
