// The block ciphers and modes that the tool offers: names, identifiers, sizes, and what proven mode allows.
#pragma once

#include "tools/command.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tool {

struct cipher {
    const char* name;
    std::uint32_t id;
    std::size_t key_bytes;
    std::size_t block_bytes;
    bool approved;
};

// A cipher in a mode, such as aria-256-cbc.
struct cipher_mode {
    std::string name;
    std::uint32_t id; // stream modes carry ZRC_NO_PADDING, which their decryption asks for
    std::size_t key_bytes;
    std::size_t iv_bytes; // 0: the mode has none
    std::size_t block_bytes;
    bool takes_whole_blocks; // ECB and CBC, which pad
    bool approved;
};

// Help texts for the options that take a name.
std::string cipher_names();
std::string cipher_mode_help();

// Every cipher in every mode that it has.
std::vector<cipher_mode> all_cipher_modes();

// Find by name ("aria-256-cbc", "ARIA256-CBC"), touching nothing of the library. Throw failure, kUsage, for an unknown
// name.
cipher find_cipher(const std::string& given);
cipher_mode find_cipher_mode(const std::string& given);

} // namespace tool
