#include "tools/cipher_table.hpp"

#include "tools/algorithm.hpp"
#include "tools/library.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace tool {
namespace {

constexpr segment_functions kAes{zrc_Do_AES_CFB1, zrc_Do_AES_CFB8, zrc_Do_AES_CFB16, zrc_Do_AES_CFB32,
                                 zrc_Do_AES_CFB64};
constexpr segment_functions kAria{zrc_Do_ARIA_CFB1, zrc_Do_ARIA_CFB8, zrc_Do_ARIA_CFB16, zrc_Do_ARIA_CFB32,
                                  zrc_Do_ARIA_CFB64};
constexpr segment_functions kSeed{zrc_Do_SEED_CFB1, zrc_Do_SEED_CFB8, zrc_Do_SEED_CFB16, zrc_Do_SEED_CFB32,
                                  zrc_Do_SEED_CFB64};
constexpr segment_functions kLea{zrc_Do_LEA_CFB1, zrc_Do_LEA_CFB8, zrc_Do_LEA_CFB16, zrc_Do_LEA_CFB32,
                                 zrc_Do_LEA_CFB64};
constexpr segment_functions kDes{zrc_Do_DES_CFB1, zrc_Do_DES_CFB8, zrc_Do_DES_CFB16, zrc_Do_DES_CFB32, nullptr};
constexpr segment_functions kDesEde{zrc_Do_DES_EDE_CFB1, zrc_Do_DES_EDE_CFB8, zrc_Do_DES_EDE_CFB16,
                                    zrc_Do_DES_EDE_CFB32, nullptr};
constexpr segment_functions kRc2{zrc_Do_RC2_CFB1, zrc_Do_RC2_CFB8, zrc_Do_RC2_CFB16, zrc_Do_RC2_CFB32, nullptr};
constexpr segment_functions kRc5{zrc_Do_RC5_CFB1, zrc_Do_RC5_CFB8, zrc_Do_RC5_CFB16, zrc_Do_RC5_CFB32,
                                 zrc_Do_RC5_CFB64};
constexpr segment_functions kBlowfish{zrc_Do_BF_CFB1, zrc_Do_BF_CFB8, zrc_Do_BF_CFB16, zrc_Do_BF_CFB32, nullptr};

constexpr cipher kCiphers[] = {
    {"aes-128", ZRC_AES_128, 16, 16, false, &kAes},    {"aes-192", ZRC_AES_192, 24, 16, false, &kAes},
    {"aes-256", ZRC_AES_256, 32, 16, false, &kAes},    {"aria-128", ZRC_ARIA_128, 16, 16, true, &kAria},
    {"aria-192", ZRC_ARIA_192, 24, 16, true, &kAria},  {"aria-256", ZRC_ARIA_256, 32, 16, true, &kAria},
    {"seed", ZRC_SEED, 16, 16, true, &kSeed},          {"seed-256", ZRC_SEED_256, 32, 16, false, &kSeed},
    {"lea-128", ZRC_LEA_128, 16, 16, false, &kLea},    {"lea-192", ZRC_LEA_192, 24, 16, false, &kLea},
    {"lea-256", ZRC_LEA_256, 32, 16, false, &kLea},    {"des", ZRC_DES, 8, 8, false, &kDes},
    {"des-ede", ZRC_DES_EDE2, 16, 8, false, &kDesEde}, {"des-ede3", ZRC_DES_EDE3, 24, 8, false, &kDesEde},
    {"rc2-40", ZRC_RC2_40, 5, 8, false, &kRc2},        {"rc2-64", ZRC_RC2_64, 8, 8, false, &kRc2},
    {"rc2-128", ZRC_RC2_128, 16, 8, false, &kRc2},     {"rc5", ZRC_RC5, 16, 8, false, &kRc5},
    {"bf", ZRC_BLOWFISH, 16, 8, false, &kBlowfish},
};

struct mode {
    std::string_view name;
    std::uint32_t id;
    bool has_iv;
    bool takes_whole_blocks;
    bool approved;
    std::size_t segment_bits = 0;
    segment_function segment_functions::*segments = nullptr;
};

// cfb128 is another name of cfb, and not ZRC_MODE_CFB128: a unit of AES does not decrypt in that mode what it encrypted,
// see kestrim/block_modes.h.
constexpr std::string_view kCfb128 = "cfb128";

constexpr mode kModes[] = {
    {"ecb", ZRC_MODE_ECB, false, true, true},
    {"cbc", ZRC_MODE_CBC, true, true, true},
    {"cfb", ZRC_MODE_CFB, true, false, true},
    {kCfb128, ZRC_MODE_CFB, true, false, true},
    {"ofb", ZRC_MODE_OFB, true, false, true},
    {"ctr", ZRC_MODE_CTR, true, false, false},
    {"cfb1", ZRC_MODE_CFB, true, false, true, 1, &segment_functions::cfb1},
    {"cfb8", ZRC_MODE_CFB, true, false, true, 8, &segment_functions::cfb8},
    {"cfb16", ZRC_MODE_CFB, true, false, true, 16, &segment_functions::cfb16},
    {"cfb32", ZRC_MODE_CFB, true, false, true, 32, &segment_functions::cfb32},
    {"cfb64", ZRC_MODE_CFB, true, false, true, 64, &segment_functions::cfb64},
};

constexpr std::size_t kLongestRc4Key = 256; // what stands behind has no effect

bool has_mode(const cipher& cipher, const mode& mode)
{
    if (mode.name == kCfb128) return cipher.block_bytes == 16;
    if (mode.id == ZRC_MODE_CTR) return !std::string_view{cipher.name}.starts_with("rc2-");
    if (mode.segments) return cipher.segments->*mode.segments != nullptr;
    return true;
}

segmentation segments_of(const cipher& cipher, const mode& mode)
{
    if (!mode.segments) return {};
    return {mode.segment_bits, cipher.segments->*mode.segments};
}

cipher_mode join(const cipher& cipher, const mode& mode)
{
    return {
        .name = (std::string{cipher.name} + "-").append(mode.name),
        .id = cipher.id | mode.id | (mode.takes_whole_blocks ? 0u : std::uint32_t{ZRC_NO_PADDING}),
        .key_bytes = cipher.key_bytes,
        .longest_key = cipher.key_bytes,
        .iv_bytes = mode.has_iv ? cipher.block_bytes : 0,
        .block_bytes = cipher.block_bytes,
        .takes_whole_blocks = mode.takes_whole_blocks,
        .approved = cipher.approved && mode.approved,
        .segments = segments_of(cipher, mode),
        .is_rc4 = false,
    };
}

cipher_mode rc4()
{
    return {
        .name = "rc4",
        .id = 0,
        .key_bytes = 1,
        .longest_key = kLongestRc4Key,
        .iv_bytes = 0,
        .block_bytes = 1,
        .takes_whole_blocks = false,
        .approved = false,
        .segments = {},
        .is_rc4 = true,
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
    return "CIPHER-MODE, such as aria-256-cbc, or rc4. Ciphers: " + cipher_names() + ". Modes: " + modes +
           " (cfb128, another name of cfb, not with 8-byte blocks, nor cfb64 but for rc5; no ctr with rc2)";
}

std::vector<cipher_mode> all_cipher_modes()
{
    std::vector<cipher_mode> all;
    for (const cipher& cipher : kCiphers)
        for (const mode& mode : kModes)
            if (has_mode(cipher, mode)) all.push_back(join(cipher, mode));
    all.push_back(rc4());
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
