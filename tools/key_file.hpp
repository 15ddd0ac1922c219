// The key of a public-key command, from its file into the library.
#pragma once

#include "tools/command.hpp"
#include "tools/kcdsa_key_file.hpp"
#include "tools/rsa_key_file.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tool {

// A PEM file with an RSA or KCDSA key. Everything throws failure with the file's name in it.
class key_file {
public:
    // Standard input for "-". Nothing of the library is called.
    key_file(const std::string& name, const session& session);

    bool is_kcdsa() const { return tool::is_kcdsa(block_); }
    rsa_private_key rsa_private() const;
    rsa_public_key rsa_public() const;
    kcdsa_key kcdsa_private() const; // has all numbers
    kcdsa_key kcdsa_public() const;  // has at least y
    kcdsa_key kcdsa_parameters() const;

    [[noreturn]] void fail(const std::string& reason) const;

private:
    std::string name_;
    pem_block block_;
};

// Of a big-endian number without leading zeros.
std::size_t bits(std::span<const std::uint8_t> number);

} // namespace tool
