// What the engines of 8-byte blocks are tested for alike.
#pragma once

#include "cipher/portable_blocks.hpp"
#include "core/kernel.hpp"
#include "tests/cipher/kernels_equal.hpp"
#include "tests/vector_file.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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

// `transform`, an exported function, makes `to` of `from`, block by block, in place and not.
template <class Key>
void expect_blocks(void (*transform)(const std::uint8_t*, std::uint8_t*, const Key*), const Key& key, const bytes& from,
                   const bytes& to, const std::string& place)
{
    bytes made(from.size()), in_place = from;
    for (std::size_t i = 0; i < from.size(); i += 8) {
        transform(&from[i], &made[i], &key);
        transform(&in_place[i], &in_place[i], &key);
    }
    EXPECT_EQ(hex(made), hex(to)) << place;
    EXPECT_EQ(hex(in_place), hex(to)) << place;
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
