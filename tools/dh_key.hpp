// Diffie-Hellman keys in the library's unit.
#pragma once

#include "kestrim_crypto.h"
#include "tools/dh_key_file.hpp"

#include <cstdint>
#include <memory>

namespace tool {

struct release_dh {
    void operator()(ZRC_DH_UNIT* unit) const noexcept { ZRC_Free_DH(unit); }
};
using dh_unit = std::unique_ptr<ZRC_DH_UNIT, release_dh>;

// Everything throws failure. The library is up.

// Parameters from the library: `source` as for ZRC_Generate_DH_Params.
dh_unit new_dh_domain(int p_bits, int q_bits, std::int32_t source);

// The parameters and, if there is x, the pair of x and y; y is made from x.
dh_unit load(const dh_key& key);

// What the unit has.
dh_key stored_key(const ZRC_DH_UNIT& unit);

// The public value, which is made from x when the key does not have it.
bytes public_value(const dh_key& key);

// What two parties have in common, as long as p.
bytes agree(const dh_key& own, const bytes& peer);

// The key for programs that do not know X9.42: without q, of which the length remains.
dh_key without_order(dh_key key);

// The q of a p, where there is a choice the longer one.
int usual_q_bits(int p_bits);

} // namespace tool
