// AES kernel with the AES instructions of x86-64, eight blocks side by side. Runs in constant time.
#include "cipher/aes_ni.hpp"
#include "core/secret.hpp"

namespace zrc {
namespace {

// Round keys in memory, because sixteen registers do not hold them beside eight blocks; wiped. One block leaves room
// for them in registers.
template <int Rounds>
struct stored_keys : aes_ni::round_keys<Rounds> {
    [[gnu::always_inline, gnu::target(KESTRIM_TARGET_AES_NI)]] explicit stored_keys(const ZRC_AES_KEY& key) noexcept
        : aes_ni::round_keys<Rounds>{key}
    {
    }
    stored_keys(const stored_keys&) = delete;
    stored_keys& operator=(const stored_keys&) = delete;
    ~stored_keys() { wipe(this->k, sizeof this->k); }

    // Makes the compiler read the keys from here again instead of keeping copies elsewhere on the stack.
    [[gnu::always_inline]] void forget_copies() noexcept { __asm__ __volatile__("" : "+m"(this->k)); }
};

template <block_mode Mode, int Rounds>
[[gnu::target(KESTRIM_TARGET_AES_NI)]] void chained(const ZRC_AES_KEY& schedule, std::uint8_t* chain,
                                                    const std::uint8_t* in, std::uint8_t* out,
                                                    std::size_t blocks) noexcept
{
    aes_ni::chained<Mode, Rounds>(aes_ni::round_keys<Rounds>{schedule}, chain, in, out, blocks);
}

template <block_mode Mode, int Rounds>
[[gnu::target(KESTRIM_TARGET_AES_NI)]] void parallel(const ZRC_AES_KEY& schedule, std::uint8_t* chain,
                                                     const std::uint8_t* in, std::uint8_t* out,
                                                     std::size_t blocks) noexcept
{
    stored_keys<Rounds> key{schedule};
    for (; blocks >= 8; blocks -= 8, in += 128, out += 128) {
        key.forget_copies();
        aes_ni::side_by_side<Mode, Rounds, 8>(key, chain, in, out);
    }
    for (; blocks != 0; --blocks, in += 16, out += 16) {
        key.forget_copies();
        aes_ni::side_by_side<Mode, Rounds, 1>(key, chain, in, out);
    }
}

} // namespace

void aes_blocks_aes_ni(const ZRC_AES_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                       std::uint8_t* out, std::size_t blocks) noexcept
{
    aes_ni::with_mode_and_rounds(key, mode, [&]<block_mode Mode, int Rounds>() {
        if constexpr (is_parallel(Mode))
            parallel<Mode, Rounds>(key, chain, in, out, blocks);
        else
            chained<Mode, Rounds>(key, chain, in, out, blocks);
    });
}

} // namespace zrc
