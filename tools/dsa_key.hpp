// DSA keys in the library's unit.
#pragma once

#include "kestrim_crypto.h"
#include "tools/dsa_key_file.hpp"

#include <memory>

namespace tool {

struct release_dsa {
    void operator()(ZRC_DSA_UNIT* unit) const noexcept { ZRC_Free_DSA(unit); }
};
using dsa_unit = std::unique_ptr<ZRC_DSA_UNIT, release_dsa>;

dsa_unit new_dsa_unit();

// What the key has of y and x; y is made from x. Throws failure. The library is up.
dsa_unit load(const dsa_key& key);

// What the unit has of y and x.
dsa_key stored_key(const ZRC_DSA_UNIT& unit);

} // namespace tool
