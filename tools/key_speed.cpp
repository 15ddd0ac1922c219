#include "tools/key_speed.hpp"

#include "tools/dh_key.hpp"
#include "tools/dsa_key.hpp"
#include "tools/ec_key.hpp"
#include "tools/kcdsa_key.hpp"
#include "tools/library.hpp"
#include "tools/number.hpp"
#include "tools/rsa_key.hpp"

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>

namespace tool {
namespace {

constexpr std::uint8_t kMessage[64] = {};
constexpr std::uint32_t kVerify = 0, kSign = 1; // the library's operations

// PSS with a salt as long as the digest.
key_work rsa_2048()
{
    constexpr std::uint32_t kPss = ZRC_SHA256 | 32U << 16 | ZRC_RSASSA_PSS;
    const std::shared_ptr<ZRC_RSA_UNIT> unit = new_rsa_unit();
    const number exponent = new_number();
    require(ZRC_Set_BIGINT_Word(exponent.get(), 65537), "ZRC_Set_BIGINT_Word");
    require(ZRC_Generate_RSA_Params_Ex(unit.get(), exponent.get(), 2048, 2), "ZRC_Generate_RSA_Params_Ex");
    static_cast<void>(generated_key(*unit)); // there is one

    const auto signature = std::make_shared<bytes>(ZRC_Get_RSA_Length(unit.get()));
    const auto run = [=](std::uint32_t operation) {
        auto length = std::int32_t(signature->size());
        require(ZRC_Init_RSASSA(unit.get(), ZRC_SHA256, kPss, operation), "ZRC_Init_RSASSA");
        require(ZRC_Update_RSASSA(unit.get(), kMessage, sizeof kMessage), "ZRC_Update_RSASSA");
        require(ZRC_Final_RSASSA(unit.get(), signature->data(), &length), "ZRC_Final_RSASSA");
    };
    return {.sign = [=] { run(kSign); }, .verify = [=] { run(kVerify); }, .agree = {}};
}

struct pair {
    std::uint8_t r[64], s[64];
    std::int32_t r_length, s_length;
};

// Of the families whose signatures are pairs of numbers.
template <auto Init, auto Update, auto Final, auto Length, class Unit>
key_work pair_work(const std::shared_ptr<Unit>& unit)
{
    const auto signature = std::make_shared<pair>();
    const auto run = [=](std::uint32_t operation) {
        pair& s = *signature;
        require(Init(unit.get(), operation, ZRC_SHA256), "initialisation of the signature");
        require(Update(unit.get(), kMessage, sizeof kMessage), "hashing of the message");
        require(Final(unit.get(), s.r, &s.r_length, s.s, &s.s_length), "signature");
        s.s_length = std::int32_t(Length(unit.get())); // for KCDSA, the library gives another one
    };
    return {.sign = [=] { run(kSign); }, .verify = [=] { run(kVerify); }, .agree = {}};
}

key_work kcdsa_2048()
{
    const std::shared_ptr<ZRC_KCDSA_UNIT> unit = new_kcdsa_unit();
    require(ZRC_Generate_KCDSA_Params_Ex(unit.get(), 2048, 256, ZRC_SHA256), "ZRC_Generate_KCDSA_Params_Ex");
    require(ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), nullptr, 0, ZRC_SHA256), "ZRC_Generate_KCDSA_Key_Pair_Ex");
    return pair_work<ZRC_Init_KCDSA_Ex, ZRC_Update_KCDSA, ZRC_Final_KCDSA, ZRC_Get_KCDSA_Length>(unit);
}

key_work dsa_2048()
{
    const std::shared_ptr<ZRC_DSA_UNIT> unit = new_dsa_unit();
    require(ZRC_Generate_DSA_Params(unit.get(), 2048, 256, ZRC_SHA256), "ZRC_Generate_DSA_Params");
    require(ZRC_Generate_DSA_Key_Pair(unit.get()), "ZRC_Generate_DSA_Key_Pair");
    return pair_work<ZRC_Init_DSA, ZRC_Update_DSA, ZRC_Final_DSA, ZRC_Get_DSA_Length>(unit);
}

key_work ec_p256()
{
    const std::shared_ptr<ZRC_ECDSA_UNIT> unit = load(generate_key(*find_curve("p256")));
    return pair_work<ZRC_Init_ECDSA, ZRC_Update_ECDSA, ZRC_Final_ECDSA, ZRC_Get_ECDSA_Length>(unit);
}

// A secret with the own public value, which is as good as any.
key_work dh_2048()
{
    const std::shared_ptr<ZRC_DH_UNIT> unit = new_dh_domain(2048, 256, ZRC_DH_PRECOMPUTED);
    require(ZRC_Generate_DH_Key_Pair(unit.get(), 0), "ZRC_Generate_DH_Key_Pair");
    return {.sign = {}, .verify = {}, .agree = [=] {
                std::uint8_t secret[2048 / 8];
                std::int32_t length = 0;
                require(ZRC_Compute_Key(unit.get(), unit->y, secret, &length), "ZRC_Compute_Key");
            }};
}

constexpr std::pair<const char*, key_work (*)()> kKeys[] = {{"rsa-2048", rsa_2048},
                                                            {"kcdsa-2048-256", kcdsa_2048},
                                                            {"dsa-2048-256", dsa_2048},
                                                            {"ecdsa-p-256", ec_p256},
                                                            {"dh-2048-256", dh_2048}};

} // namespace

std::vector<std::string> key_work_names()
{
    std::vector<std::string> names;
    std::ranges::transform(kKeys, std::back_inserter(names), [](const auto& key) { return key.first; });
    return names;
}

key_work new_key_work(const std::string& name)
{
    return std::ranges::find(kKeys, name, [](const auto& key) { return key.first; })->second();
}

} // namespace tool
