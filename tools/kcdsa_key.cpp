#include "tools/kcdsa_key.hpp"

#include "tools/library.hpp"
#include "tools/number.hpp"

#include <new>

namespace tool {
kcdsa_unit new_kcdsa_unit()
{
    kcdsa_unit unit{ZRC_New_KCDSA()};
    if (!unit) throw std::bad_alloc{};
    return unit;
}

kcdsa_unit load(const kcdsa_key& key)
{
    kcdsa_unit unit = new_kcdsa_unit();
    require(ZRC_Set_KCDSA_Params(unit.get(), to_number(key.p).get(), to_number(key.q).get(), to_number(key.g).get(),
                                 optional_number(key.x).get(), optional_number(key.y).get()),
            "ZRC_Set_KCDSA_Params");
    return unit;
}

kcdsa_key stored_key(const ZRC_KCDSA_UNIT& unit)
{
    return {to_bytes(*unit.p), to_bytes(*unit.q), to_bytes(*unit.g), optional_bytes(unit.y), optional_bytes(unit.x)};
}

} // namespace tool
