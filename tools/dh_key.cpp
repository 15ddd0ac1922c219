#include "tools/dh_key.hpp"

#include "tools/key_file.hpp"
#include "tools/library.hpp"
#include "tools/number.hpp"

#include <new>

namespace tool {
namespace {

dh_unit new_dh_unit()
{
    dh_unit unit{ZRC_New_DH()};
    if (!unit) throw std::bad_alloc{};
    return unit;
}

bytes of_word(std::size_t value)
{
    const number word = new_number();
    require(ZRC_Set_BIGINT_Word(word.get(), std::uint32_t(value)), "ZRC_Set_BIGINT_Word");
    return to_bytes(*word);
}

} // namespace

dh_unit new_dh_domain(int p_bits, int q_bits, std::int32_t source)
{
    dh_unit unit = new_dh_unit();
    require(ZRC_Generate_DH_Params(unit.get(), p_bits, q_bits, source), "ZRC_Generate_DH_Params");
    return unit;
}

dh_unit load(const dh_key& key)
{
    dh_unit unit = new_dh_unit();
    require(
        ZRC_Init_DH_Params(unit.get(), to_number(key.p).get(), optional_number(key.q).get(), to_number(key.g).get()),
        "ZRC_Init_DH_Params");
    if (!key.x.empty()) {
        require(ZRC_Set_DH_Key_Pair(unit.get(), to_number(key.x).get(), optional_number(key.y).get()),
                "ZRC_Set_DH_Key_Pair");
    }
    return unit;
}

dh_key stored_key(const ZRC_DH_UNIT& unit)
{
    dh_key key;
    key.p = to_bytes(*unit.p);
    key.g = to_bytes(*unit.g);
    key.q = optional_bytes(unit.q);
    if (unit.seed_length > 0) {
        key.seed.assign(unit.seed, unit.seed + unit.seed_length);
        key.counter = of_word(std::size_t(unit.counter));
    }
    key.y = optional_bytes(unit.y);
    key.x = optional_bytes(unit.x);
    return key;
}

bytes public_value(const dh_key& key)
{
    return key.y.empty() ? to_bytes(*load(key)->y) : key.y;
}

bytes agree(const dh_key& own, const bytes& peer)
{
    const dh_unit unit = load(own);
    bytes secret(ZRC_Get_DH_Length(unit.get()));
    std::int32_t length = 0;
    require(ZRC_Compute_Key(unit.get(), to_number(peer).get(), secret.data(), &length), "ZRC_Compute_Key");
    secret.resize(std::size_t(length));
    return secret;
}

dh_key without_order(dh_key key)
{
    if (!key.q.empty()) key.length = of_word(bits(key.q));
    for (bytes* part : {&key.q, &key.j, &key.seed, &key.counter})
        part->clear();
    return key;
}

int usual_q_bits(int p_bits)
{
    return p_bits == 1024 ? 160 : 256;
}

} // namespace tool
