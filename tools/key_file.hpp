// The keys of public-key commands in their files.
#pragma once

#include "tools/command.hpp"
#include "tools/dh_key_file.hpp"
#include "tools/dsa_key_file.hpp"
#include "tools/ec_key_file.hpp"
#include "tools/kcdsa_key_file.hpp"
#include "tools/output_file.hpp"
#include "tools/rsa_key_file.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace tool {

enum class key_kind {
    rsa,
    kcdsa,
    dsa,
    dh,
    ec
};

// A PEM file with a key. Everything throws failure with the file's name in it.
class key_file {
public:
    // Standard input for "-". Nothing of the library is called.
    key_file(const std::string& name, const session& session);

    // What is none of the others is taken for RSA, whose reader complains then.
    key_kind kind() const;
    rsa_private_key rsa_private() const;
    rsa_public_key rsa_public() const;
    kcdsa_key kcdsa_private() const; // has all numbers
    kcdsa_key kcdsa_public() const;  // has at least y
    kcdsa_key kcdsa_parameters() const;

    dsa_key dsa_private() const; // has x, and perhaps y
    dsa_key dsa_public() const;  // has y, or x to make it from
    dsa_key dsa_parameters() const;
    dh_key dh_private() const;
    dh_key dh_public() const; // has y, or x to make it from
    dh_key dh_parameters() const;
    ec_key ec() const;         // has the point, or d to make it from
    ec_key ec_private() const; // has d, and perhaps the point

    [[noreturn]] void fail(const std::string& reason) const;

private:
    std::string name_;
    pem_block block_;
};

// Writes a key or parameters.
void save_key(const std::string& pem, const std::string& name, readers readers);

// Of a big-endian number without leading zeros.
std::size_t bits(std::span<const std::uint8_t> number);

} // namespace tool
