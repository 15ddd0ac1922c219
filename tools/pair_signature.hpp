// Signatures of DSA and ECDSA, which are a pair of numbers: in files, SEQUENCE { r INTEGER, s INTEGER } (RFC 3279, 2.2.2
// and 2.2.3).
#pragma once

#include "tools/dsa_key.hpp"
#include "tools/ec_key.hpp"
#include "tools/signature.hpp"

#include <cstdint>
#include <memory>

namespace tool {

// The unit has the key. `operation` is the library's: 1 to sign, 0 to verify.
std::unique_ptr<signature_scheme> new_dsa_scheme(dsa_unit unit, std::int32_t digest_id, std::uint32_t operation);
std::unique_ptr<signature_scheme> new_ecdsa_scheme(ecdsa_unit unit, std::int32_t digest_id, std::uint32_t operation);

} // namespace tool
