// RSA keys in the library's unit.
#pragma once

#include "kestrim_crypto.h"
#include "tools/rsa_key_file.hpp"

#include <cstddef>
#include <memory>

namespace tool {

struct release_rsa {
    void operator()(ZRC_RSA_UNIT* unit) const noexcept { ZRC_Free_RSA(unit); }
};
using rsa_unit = std::unique_ptr<ZRC_RSA_UNIT, release_rsa>;

constexpr std::size_t kApprovedRsaBits = 2041; // the shortest modulus that proven mode takes

rsa_unit new_rsa_unit();

// Throw failure. The library is up.
rsa_unit load(const rsa_public_key& key);
rsa_unit load(const rsa_private_key& key);

// n = p q, and dP, dQ and qInv are those of d, p and q. A signature made with a wrong one of them would give the key
// away. That d belongs to e is checked by the library.
bool belong_together(const rsa_private_key& key);

// The key that the library has generated; nothing may be missing.
rsa_private_key generated_key(const ZRC_RSA_UNIT& unit);

} // namespace tool
