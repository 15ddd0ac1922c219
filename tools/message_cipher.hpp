// A message on its way through any of the ciphers that the tool offers.
#pragma once

#include "tools/cipher_table.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace tool {

class message_cipher {
public:
    message_cipher() = default;
    message_cipher(const message_cipher&) = delete;
    message_cipher& operator=(const message_cipher&) = delete;
    virtual ~message_cipher() = default;

    // Both return the bytes written. `out` has room for the piece and a block, at the end for a block. Nothing: the
    // message was not whole blocks, or its padding is wrong.
    virtual std::size_t update(std::span<const std::uint8_t> piece, std::span<std::uint8_t> out) = 0;
    virtual std::optional<std::size_t> finish(std::span<std::uint8_t> out) = 0;
};

// `key` and `iv` are as long as the cipher's. Throws failure when the library refuses them.
std::unique_ptr<message_cipher> new_message_cipher(const cipher_mode& cipher, std::span<const std::uint8_t> key,
                                                   std::span<const std::uint8_t> iv, bool encrypt);

} // namespace tool
