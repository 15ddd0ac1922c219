// Blowfish (B. Schneier, Fast Software Encryption, 1993): key expansion, single blocks and the portable kernel.
#include "cipher/bf_engine.hpp"

#include "cipher/bf_tables.hpp"
#include "cipher/interleaved_blocks.hpp"
#include "core/error.hpp"
#include "core/settled.hpp"

#include <array>
#include <bit>
#include <cstring>
#include <span>
#include <utility>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_BF_KEY) == 4168);

constexpr std::uint32_t kMostKeyBytes = 72; // as many as there are in P
constexpr std::size_t kRounds = 16;

// The entry that the second highest byte of a word selects. The whole chain waits for this one; its place in bytes is
// ready as soon as its index would be, and spares the processor the scaling.
[[gnu::always_inline]] inline std::uint32_t second_entry(const std::uint32_t (&box)[256], std::uint32_t read) noexcept
{
    const std::uint32_t place = settled(read >> 14) & 0x3FC;
    std::uint32_t entry;
    std::memcpy(&entry, reinterpret_cast<const std::uint8_t*>(box) + place, sizeof entry);
    return entry;
}

// One round: `changed` takes up the round function of `read`, and the subkey under which it will be read itself. That
// comes first, while the look-ups are on their way: it is no link of the chain from round to round.
[[gnu::always_inline]] inline void round(std::uint32_t& changed, std::uint32_t read, std::uint32_t subkey,
                                         const std::uint32_t (&s)[4][256]) noexcept
{
    const std::uint32_t second = second_entry(s[1], read);
    changed = settled(changed ^ subkey);
    changed ^= ((s[0][read >> 24] + second) ^ s[2][read >> 8 & 0xFF]) + s[3][read & 0xFF];
}

struct bf_core {
    using key = ZRC_BF_KEY;
    static constexpr std::endian order = std::endian::big;

    template <bool Backwards, std::size_t N>
    [[gnu::always_inline]] static void transform(const key& schedule, std::array<std::uint64_t, N>& x) noexcept
    {
        const auto subkey = [&](std::size_t i) { return schedule.p[Backwards ? kRounds + 1 - i : i]; };
        std::array<std::uint32_t, N> left, right;
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            left[n] = std::uint32_t(x[n] >> 32) ^ subkey(0);
            right[n] = std::uint32_t(x[n]);
        });
        // The halves change names, not places.
        for (std::size_t i = 0; i < kRounds; i += 2) {
            side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                round(right[n], left[n], subkey(i + 1), schedule.s);
            });
            side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
                round(left[n], right[n], subkey(i + 2), schedule.s);
            });
        }
        side_by_side<N>([&](std::size_t n) __attribute__((always_inline)) {
            x[n] = std::uint64_t{right[n] ^ subkey(kRounds + 1)} << 32 | left[n];
        });
    }
};

// Subkeys and boxes are replaced, two words at a time, by what the schedule so far makes of the pair before. This is a
// chain, in which putting the halves together and taking them apart would cost time.
void replace_words(ZRC_BF_KEY& schedule, std::uint32_t (&pair)[2], std::span<std::uint32_t> words) noexcept
{
    const auto& p = schedule.p;
    std::uint32_t left = pair[0], right = pair[1];
    for (std::size_t i = 0; i < words.size(); i += 2) {
        left ^= p[0];
        side_by_side<kRounds / 2>([&](std::size_t n) __attribute__((always_inline)) {
            round(right, left, p[2 * n + 1], schedule.s);
            round(left, right, p[2 * n + 2], schedule.s);
        });
        right ^= p[kRounds + 1];
        std::swap(left, right);
        words[i] = left;
        words[i + 1] = right;
    }
    pair[0] = left;
    pair[1] = right;
}

void expand_key(const std::uint8_t* key, std::size_t key_bytes, ZRC_BF_KEY& schedule) noexcept
{
    schedule = kBlowfishPi;
    std::size_t next = 0;
    for (std::uint32_t& subkey : schedule.p) {
        std::uint32_t word = 0; // the next four bytes of the key, which starts over at its end
        for (int i = 0; i < 4; ++i) {
            word = word << 8 | key[next];
            if (++next == key_bytes) next = 0;
        }
        subkey ^= word;
    }
    std::uint32_t pair[2]{};
    replace_words(schedule, pair, schedule.p);
    for (auto& box : schedule.s)
        replace_words(schedule, pair, box);
}

constexpr kernel<blocks_fn<ZRC_BF_KEY>> kKernels[] = {
    {"portable", cpu_feature::none, bf_blocks_portable},
};

} // namespace

constinit kernel_choice<blocks_fn<ZRC_BF_KEY>> bf_kernels{kKernels};

void bf_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    transform_block<bf_core, false>(schedule, in, out);
}

void bf_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    transform_block<bf_core, true>(schedule, in, out);
}

void bf_blocks_portable(const ZRC_BF_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                        std::uint8_t* out, std::size_t blocks) noexcept
{
    interleaved_modes<bf_core, 4, 2, 1>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc

std::uint32_t zrc_Init_Encrypt_BF_Key(const std::uint8_t* key, std::uint32_t key_length, ZRC_BF_KEY* schedule)
{
    if (!key || !schedule || key_length == 0 || key_length > zrc::kMostKeyBytes) {
        return zrc::code(ZRC_L_BF_INTERFACE, ZRC_F_INIT_BF_KEY, ZRC_ERR_INVALID_INPUT);
    }
    zrc::expand_key(key, key_length, *schedule);
    return 0;
}

void zrc_BF_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_BF_KEY* schedule)
{
    if (!in || !out || !schedule) return;
    zrc::bf_cipher::encrypt(*schedule, in, out);
}

void zrc_BF_Decrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_BF_KEY* schedule)
{
    if (!in || !out || !schedule) return;
    zrc::bf_cipher::decrypt(*schedule, in, out);
}
