#include "tools/ec_key.hpp"

#include "tools/library.hpp"
#include "tools/number.hpp"

#include <new>

namespace tool {
namespace {

using ec_curve = std::unique_ptr<ZRC_ECC_CURVE, release_ec>;
using ec_point = std::unique_ptr<ZRC_ECC_POINT, release_ec>;

template <class Owner>
Owner required(Owner object)
{
    if (!object) throw std::bad_alloc{};
    return object;
}

ecdsa_unit new_unit()
{
    return required(ecdsa_unit{ZRC_New_ECDSA()});
}

ec_curve load_curve(const named_curve& curve)
{
    ec_curve loaded = required(ec_curve{ZRC_New_ECC_CURVE()});
    const auto value = [](std::string_view digits) { return parse_number(digits); };
    require(ZRC_Set_ECC_CURVE(loaded.get(), value(curve.p).get(), value(curve.a).get(), value(curve.b).get(),
                              value(curve.gx).get(), value(curve.gy).get(), value(curve.n).get(), 1),
            "ZRC_Set_ECC_CURVE");
    return loaded;
}

// Null when the key does not have it.
ec_point load_point(const ec_key& key)
{
    if (key.x.empty()) return nullptr;
    ec_point point = required(ec_point{ZRC_New_ECC_POINT()});
    require(ZRC_Set_ECC_POINT(point.get(), to_number(key.x).get(), to_number(key.y).get()), "ZRC_Set_ECC_POINT");
    return point;
}

} // namespace

ec_key generate_key(const named_curve& curve)
{
    const ec_curve loaded = load_curve(curve);
    const ecdsa_unit unit = new_unit();
    require(ZRC_Generate_ECDSA_Key_Pair(unit.get(), loaded.get()), "ZRC_Generate_ECDSA_Key_Pair");
    const std::size_t size = curve.coordinate_bytes();
    return {&curve, to_bytes(*unit->Q->x, size), to_bytes(*unit->Q->y, size), to_bytes(*unit->d, curve.scalar_bytes())};
}

ecdsa_unit load(const ec_key& key)
{
    ecdsa_unit unit = new_unit();
    require(ZRC_Set_ECDSA_Params(unit.get(), load_curve(*key.curve).get(), optional_number(key.d).get(),
                                 load_point(key).get()),
            "ZRC_Set_ECDSA_Params");
    return unit;
}

bytes agree(const ec_key& own, const ec_key& peer)
{
    const ecdsa_unit mine = load(own), theirs = load(peer);
    const ec_point shared = required(ec_point{ZRC_New_ECC_POINT()});
    require(ZRC_Mtp_ECC_POINT(mine->curve, shared.get(), mine->d, theirs->Q), "ZRC_Mtp_ECC_POINT");
    return to_bytes(*shared->x, own.curve->coordinate_bytes());
}

} // namespace tool
