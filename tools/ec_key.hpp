// Keys of elliptic curves in the library's unit.
#pragma once

#include "kestrim_crypto.h"
#include "tools/ec_key_file.hpp"

#include <memory>

namespace tool {

struct release_ec {
    void operator()(ZRC_ECDSA_UNIT* unit) const noexcept { ZRC_Free_ECDSA(unit); }
    void operator()(ZRC_ECC_CURVE* curve) const noexcept { ZRC_Free_ECC_CURVE(curve); }
    void operator()(ZRC_ECC_POINT* point) const noexcept { ZRC_Free_ECC_POINT(point); }
};
using ecdsa_unit = std::unique_ptr<ZRC_ECDSA_UNIT, release_ec>;

// Everything throws failure. The library is up.

// A new key.
ec_key generate_key(const named_curve& curve);

// What the key has of the point and d; the point is made from d.
ecdsa_unit load(const ec_key& key);

// What two parties have in common: the first coordinate of d Q, as long as p (SEC 1, 3.3.1).
bytes agree(const ec_key& own, const ec_key& peer);

} // namespace tool
