// KCDSA keys in the library's unit.
#pragma once

#include "kestrim_crypto.h"
#include "tools/kcdsa_key_file.hpp"

#include <memory>

namespace tool {

struct release_kcdsa {
    void operator()(ZRC_KCDSA_UNIT* unit) const noexcept { ZRC_Free_KCDSA(unit); }
};
using kcdsa_unit = std::unique_ptr<ZRC_KCDSA_UNIT, release_kcdsa>;

kcdsa_unit new_kcdsa_unit();

// What the key has of y and x. Throws failure. The library is up.
kcdsa_unit load(const kcdsa_key& key);

// What the unit has of y and x.
kcdsa_key stored_key(const ZRC_KCDSA_UNIT& unit);

} // namespace tool
