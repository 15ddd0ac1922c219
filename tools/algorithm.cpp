#include "tools/algorithm.hpp"

#include "kestrim_crypto.h"
#include "tools/library.hpp"

#include <algorithm>
#include <string_view>

namespace tool {
namespace {

struct known_digest {
    std::string_view name;
    bool approved;
};

// Proven mode can only be left before the first call that passes the self-test, and looking up a name is such a call:
// what the tool needs to know beforehand stands here. A name that is not listed is tried in proven mode.
constexpr known_digest kDigests[] = {
    {"sha224", true}, {"sha256", true}, {"sha384", true},  {"sha512", true},
    {"sha1", false},  {"md5", false},   {"has160", false}, {"mdc2", false},
};

std::string names()
{
    std::string list;
    for (const known_digest& digest : kDigests)
        list.append(list.empty() ? "" : " ").append(digest.name);
    return list;
}

} // namespace

std::string normalised(std::string name)
{
    std::erase(name, '-');
    for (char& c : name)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return name;
}

std::string algorithm_help()
{
    return "Digest algorithm: " + names();
}

std::vector<std::string> digest_names()
{
    std::vector<std::string> list;
    for (const known_digest& digest : kDigests)
        list.emplace_back(digest.name);
    return list;
}

void start_library(const std::string& name, bool approved, const session& session)
{
    if (!approved) {
        if (session.proven) throw failure{kRefused, name + " is not an approved algorithm (--proven)"};
        require(ZRC_Change_Non_Proven_Mode(), "ZRC_Change_Non_Proven_Mode");
    }
    require(ZRC_Crypto_Initialize(), "self-test");
}

bool is_approved_digest(const std::string& given)
{
    const auto known = std::ranges::find(kDigests, normalised(given), &known_digest::name);
    return known == std::end(kDigests) || known->approved;
}

algorithm choose_algorithm(const std::string& given, const session& session)
{
    return choose_algorithm(given, given, is_approved_digest(given), session);
}

algorithm choose_algorithm(const std::string& given, const std::string& whole, bool approved, const session& session)
{
    start_library(whole, approved, session);
    const std::int32_t id = ZRC_Get_DIGEST_Alg_ID_By_Name(normalised(given).c_str());
    if (id == 0) throw failure{kUsage, "unknown algorithm " + given + "; known are " + names()};
    return {id, std::size_t(ZRC_Get_DIGEST_Length(id))};
}

} // namespace tool
