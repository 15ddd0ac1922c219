#include "tools/cipher_table.hpp"

#include "tools/algorithm.hpp"
#include "tools/library.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tool {
namespace {

constexpr cipher kCiphers[] = {
    {"aes-128", ZRC_AES_128, 16, 16, false},  {"aes-192", ZRC_AES_192, 24, 16, false},
    {"aes-256", ZRC_AES_256, 32, 16, false},  {"aria-128", ZRC_ARIA_128, 16, 16, true},
    {"aria-192", ZRC_ARIA_192, 24, 16, true}, {"aria-256", ZRC_ARIA_256, 32, 16, true},
    {"seed", ZRC_SEED, 16, 16, true},         {"seed-256", ZRC_SEED_256, 32, 16, false},
    {"lea-128", ZRC_LEA_128, 16, 16, false},  {"lea-192", ZRC_LEA_192, 24, 16, false},
    {"lea-256", ZRC_LEA_256, 32, 16, false},  {"des", ZRC_DES, 8, 8, false},
    {"des-ede", ZRC_DES_EDE2, 16, 8, false},  {"des-ede3", ZRC_DES_EDE3, 24, 8, false},
    {"rc2-40", ZRC_RC2_40, 5, 8, false},      {"rc2-64", ZRC_RC2_64, 8, 8, false},
    {"rc2-128", ZRC_RC2_128, 16, 8, false},   {"rc5", ZRC_RC5, 16, 8, false},
    {"bf", ZRC_BLOWFISH, 16, 8, false},
};

struct mode {
    std::string_view name;
    std::uint32_t id;
    bool has_iv;
    bool takes_whole_blocks;
    bool approved;
};

// cfb128 is another name of cfb, and not ZRC_MODE_CFB128: a unit of AES does not decrypt in that mode what it encrypted,
// see kestrim/block_modes.h.
constexpr std::string_view kCfb128 = "cfb128";

constexpr mode kModes[] = {
    {"ecb", ZRC_MODE_ECB, false, true, true}, {"cbc", ZRC_MODE_CBC, true, true, true},
    {"cfb", ZRC_MODE_CFB, true, false, true}, {kCfb128, ZRC_MODE_CFB, true, false, true},
    {"ofb", ZRC_MODE_OFB, true, false, true}, {"ctr", ZRC_MODE_CTR, true, false, false},
};

bool has_mode(const cipher& cipher, const mode& mode)
{
    if (mode.name == kCfb128) return cipher.block_bytes == 16;
    if (mode.id == ZRC_MODE_CTR) return !std::string_view{cipher.name}.starts_with("rc2-");
    return true;
}

cipher_mode join(const cipher& cipher, const mode& mode)
{
    return {
        .name = (std::string{cipher.name} + "-").append(mode.name),
        .id = cipher.id | mode.id | (mode.takes_whole_blocks ? 0u : std::uint32_t{ZRC_NO_PADDING}),
        .key_bytes = cipher.key_bytes,
        .iv_bytes = mode.has_iv ? cipher.block_bytes : 0,
        .block_bytes = cipher.block_bytes,
        .takes_whole_blocks = mode.takes_whole_blocks,
        .approved = cipher.approved && mode.approved,
    };
}

} // namespace

std::string cipher_names()
{
    std::string list;
    for (const cipher& cipher : kCiphers)
        list.append(list.empty() ? "" : " ").append(cipher.name);
    return list;
}

std::string cipher_mode_help()
{
    std::string modes;
    for (const mode& mode : kModes)
        modes.append(modes.empty() ? "" : " ").append(mode.name);
    return "CIPHER-MODE, such as aria-256-cbc. Ciphers: " + cipher_names() + ". Modes: " + modes +
           " (cfb128, another name of cfb, not with 8-byte blocks; no ctr with rc2)";
}

std::vector<cipher_mode> all_cipher_modes()
{
    std::vector<cipher_mode> all;
    for (const cipher& cipher : kCiphers)
        for (const mode& mode : kModes)
            if (has_mode(cipher, mode)) all.push_back(join(cipher, mode));
    return all;
}

cipher find_cipher(const std::string& given)
{
    const std::string name = normalised(given);
    const auto* const found = std::ranges::find_if(kCiphers, [&](const auto& c) { return normalised(c.name) == name; });
    if (found == std::end(kCiphers)) throw failure{kUsage, "unknown cipher " + given + "; known are " + cipher_names()};
    return *found;
}

cipher_mode find_cipher_mode(const std::string& given)
{
    const std::string name = normalised(given);
    for (cipher_mode& known : all_cipher_modes())
        if (normalised(known.name) == name) return std::move(known);
    throw failure{kUsage, "unknown cipher and mode " + given + "; see kestrim enc --help"};
}

} // namespace tool
