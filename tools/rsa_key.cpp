#include "tools/rsa_key.hpp"

#include "tools/library.hpp"
#include "tools/number.hpp"

#include <new>

namespace tool {
namespace {

number product(const number& a, const number& b, ZRC_BIGINT_POOL& pool)
{
    number result = new_number();
    require(ZRC_Mtp_BIGINT(result.get(), a.get(), b.get(), &pool), "ZRC_Mtp_BIGINT");
    return result;
}

number remainder(const number& a, const number& m, ZRC_BIGINT_POOL& pool)
{
    number result = new_number();
    require(ZRC_Div_BIGINT(nullptr, result.get(), a.get(), m.get(), &pool), "ZRC_Div_BIGINT");
    return result;
}

number one_less(const number& a)
{
    number result = new_number();
    require(ZRC_Sub_BIGINT(result.get(), a.get(), ZRC_Value_One_BIGINT()), "ZRC_Sub_BIGINT");
    return result;
}

bool equal(const number& a, const number& b)
{
    return ZRC_Cmp_BIGINT(a.get(), b.get()) == 0;
}

} // namespace

rsa_unit new_rsa_unit()
{
    rsa_unit unit{ZRC_New_RSA()};
    if (!unit) throw std::bad_alloc{};
    return unit;
}

rsa_unit load(const rsa_public_key& key)
{
    rsa_unit unit = new_rsa_unit();
    require(ZRC_Set_RSA_Public_Params(unit.get(), to_number(key.n).get(), to_number(key.e).get()),
            "ZRC_Set_RSA_Public_Params");
    return unit;
}

rsa_unit load(const rsa_private_key& key)
{
    rsa_unit unit = new_rsa_unit();
    require(ZRC_Set_RSA_Params(unit.get(), to_number(key.n).get(), to_number(key.e).get(), to_number(key.d).get(),
                               to_number(key.p).get(), to_number(key.q).get(), to_number(key.dP).get(),
                               to_number(key.dQ).get(), to_number(key.qInv).get()),
            "ZRC_Set_RSA_Params");
    return unit;
}

bool belong_together(const rsa_private_key& key)
{
    const number_pool pool = new_number_pool();
    const number p = to_number(key.p), q = to_number(key.q), d = to_number(key.d);
    const number p1 = one_less(p), q1 = one_less(q);
    if (p1->length == 0 || q1->length == 0) return false;
    const number inverse = remainder(product(to_number(key.qInv), q, *pool), p, *pool);
    return equal(product(p, q, *pool), to_number(key.n)) && equal(remainder(d, p1, *pool), to_number(key.dP)) &&
           equal(remainder(d, q1, *pool), to_number(key.dQ)) &&
           ZRC_Cmp_BIGINT(inverse.get(), ZRC_Value_One_BIGINT()) == 0;
}

rsa_private_key generated_key(const ZRC_RSA_UNIT& unit)
{
    // The search for primes can end without an error and without a key.
    for (const ZRC_BIGINT* part : {unit.n, unit.e, unit.d, unit.p, unit.q, unit.dP, unit.dQ, unit.qInv})
        if (!part || part->length == 0) throw failure{kFailed, "no key was found; try again"};
    return {to_bytes(*unit.n), to_bytes(*unit.e),  to_bytes(*unit.d),  to_bytes(*unit.p),
            to_bytes(*unit.q), to_bytes(*unit.dP), to_bytes(*unit.dQ), to_bytes(*unit.qInv)};
}

} // namespace tool
