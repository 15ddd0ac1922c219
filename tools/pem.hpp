// The textual form of key files (RFC 7468): base64 between a line that begins it and one that ends it.
#pragma once

#include "tools/der.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tool {

struct pem_block {
    std::string label; // "PRIVATE KEY"
    bytes content;
};

// The one block in a text; explanations before and behind it are passed over, as RFC 7468 wishes. Throws malformed: no
// block or more than one, damaged, too long, or encrypted.
pem_block read_pem(std::string_view text);

std::string write_pem(std::string_view label, std::span<const std::uint8_t> content);

} // namespace tool
