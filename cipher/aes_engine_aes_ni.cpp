// AES kernel with the AES instructions of x86-64, eight blocks side by side. Runs in constant time.
#include "cipher/aes_ni.hpp"

namespace zrc {
namespace {

template <int Rounds>
[[gnu::target(KESTRIM_TARGET_AES_NI)]] void run(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain,
                                                const std::uint8_t* in, std::uint8_t* out, std::size_t blocks) noexcept
{
    using enum block_mode;
    switch (mode) {
    case ecb_encrypt:
        return aes_ni::parallel<ecb_encrypt, Rounds, 8>(key, chain, in, out, blocks);
    case ecb_decrypt:
        return aes_ni::parallel<ecb_decrypt, Rounds, 8>(key, chain, in, out, blocks);
    case cbc_encrypt:
        return aes_ni::chained<cbc_encrypt, Rounds>(key, chain, in, out, blocks);
    case cbc_decrypt:
        return aes_ni::parallel<cbc_decrypt, Rounds, 8>(key, chain, in, out, blocks);
    case cfb_encrypt:
        return aes_ni::chained<cfb_encrypt, Rounds>(key, chain, in, out, blocks);
    case cfb_decrypt:
        return aes_ni::parallel<cfb_decrypt, Rounds, 8>(key, chain, in, out, blocks);
    case ofb:
        return aes_ni::chained<ofb, Rounds>(key, chain, in, out, blocks);
    case ctr:
        return aes_ni::parallel<ctr, Rounds, 8>(key, chain, in, out, blocks);
    }
}

} // namespace

void aes_blocks_aes_ni(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept
{
    switch (key.rounds) {
    case 10:
        return run<10>(key, mode, chain, in, out, blocks);
    case 12:
        return run<12>(key, mode, chain, in, out, blocks);
    case 14:
        return run<14>(key, mode, chain, in, out, blocks);
    default:
        return;
    }
}

} // namespace zrc
