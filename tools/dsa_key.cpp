#include "tools/dsa_key.hpp"

#include "tools/library.hpp"
#include "tools/number.hpp"

#include <new>

namespace tool {

dsa_unit new_dsa_unit()
{
    dsa_unit unit{ZRC_New_DSA()};
    if (!unit) throw std::bad_alloc{};
    return unit;
}

dsa_unit load(const dsa_key& key)
{
    dsa_unit unit = new_dsa_unit();
    require(ZRC_Set_DSA_Params(unit.get(), to_number(key.p).get(), to_number(key.q).get(), to_number(key.g).get(),
                               optional_number(key.x).get(), optional_number(key.y).get()),
            "ZRC_Set_DSA_Params");
    return unit;
}

dsa_key stored_key(const ZRC_DSA_UNIT& unit)
{
    return {to_bytes(*unit.p), to_bytes(*unit.q), to_bytes(*unit.g), optional_bytes(unit.y), optional_bytes(unit.x)};
}

} // namespace tool
