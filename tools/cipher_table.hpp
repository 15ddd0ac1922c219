// The block ciphers and modes that the tool offers: names, identifiers, sizes, and what proven mode allows.
#pragma once

#include "kestrim_crypto.h"
#include "tools/command.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

constexpr std::size_t kLongestBlock = 16; // bytes

// CFB with segments shorter than a block, which the block cipher unit does not offer.
using segment_function = decltype(&zrc_Do_AES_CFB8);

struct segment_functions {
    segment_function cfb1, cfb8, cfb16, cfb32;
    segment_function cfb64; // null where a block is no longer, but for RC5
};

struct segmentation {
    std::size_t bits = 0;
    segment_function process = nullptr;

    std::size_t bytes() const { return bits == 1 ? 1 : bits / 8; } // a byte is the least that the tool works on
};

struct cipher {
    const char* name;
    std::uint32_t id;
    std::size_t key_bytes;
    std::size_t block_bytes;
    bool approved;
    const segment_functions* segments;
};

// A cipher in a mode, such as aria-256-cbc; or RC4, which has none.
struct cipher_mode {
    std::string name;
    std::uint32_t id; // stream modes carry ZRC_NO_PADDING, which their decryption asks for
    std::size_t key_bytes;
    std::size_t longest_key; // more than key_bytes for RC4 only, whose keys have any length between
    std::size_t iv_bytes;    // 0: the mode has none
    std::size_t block_bytes;
    bool takes_whole_blocks; // ECB and CBC, which pad
    bool approved;
    segmentation segments; // when the mode is CFB with short segments
    bool is_rc4;
};

// Help texts for the options that take a name.
std::string cipher_names();
std::string cipher_mode_help();

// Every cipher in every mode that it has, and RC4.
std::vector<cipher_mode> all_cipher_modes();

// Find by name ("aria-256-cbc", "ARIA256-CBC"), touching nothing of the library. Throw failure, kUsage, for an unknown
// name.
cipher find_cipher(const std::string& given);
cipher_mode find_cipher_mode(const std::string& given);

} // namespace tool
