// SEED (RFC 4269) and SEED-256: key schedules, single blocks by table and the portable kernel. Table look-ups follow
// key and data, so this code does not run in constant time.
#include "cipher/seed_engine.hpp"

#include "cipher/portable_blocks.hpp"
#include "cipher/seed_tables.hpp"
#include "core/bytes.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"

#include <bit>
#include <span>

namespace zrc {
namespace {

static_assert(sizeof(ZRC_SEED_KEY) == 196);

// Keeps the compiler from computing `sum` in another order than written: what is added last is ready last.
[[gnu::always_inline]] inline void keep_order(std::uint32_t& sum) noexcept
{
    __asm__("" : "+r"(sum));
}

// The rounds of a block wait for one another, so latency is all that counts: one step to take out a byte, the load, and
// three XORs. Byte 2 takes two steps and is the fourth load, of which a processor starts two or three at once; it
// comes last. With indices as wide as pointers GCC needs neither an extension nor an addition for the table's offset.
[[gnu::always_inline]] inline std::uint32_t g(std::uint32_t word) noexcept
{
    const std::uint32_t* const box = SEED_BOX.data();
    const std::size_t x = word;
    std::uint32_t sum = box[x & 0xFF] ^ box[256 + (x >> 8 & 0xFF)];
    keep_order(sum);
    sum ^= box[768 + (x >> 24)];
    keep_order(sum);
    return sum ^ box[512 + (x >> 16 & 0xFF)];
}

struct half {
    std::uint32_t w0, w1;
};

// left ^= F(right) with the round keys k[0] and k[1]. `x` is the argument of the first G, k[0] ^ k[1] ^ both words of
// right. It becomes that of the next round, whose keys are next[0] and next[1], on a shorter way than through left:
// all that is ready early is added up before the last two words are.
[[gnu::always_inline]] inline void round(half& left, const half& right, std::uint32_t& x, const std::uint32_t* k,
                                         const std::uint32_t* next) noexcept
{
    std::uint32_t early = left.w0 ^ left.w1 ^ next[0] ^ next[1];
    keep_order(early);
    std::uint32_t c = right.w0 ^ k[0];
    std::uint32_t d = g(x);
    c = g(c + d);
    d = g(c + d);
    c += d;
    early ^= d;
    keep_order(early);
    x = c ^ early;
    left.w0 ^= c;
    left.w1 ^= d;
}

half load_half(const std::uint8_t* bytes) noexcept
{
    const std::uint64_t words = load_be64(bytes);
    return {std::uint32_t(words >> 32), std::uint32_t(words)};
}

// One store for both words, because chaining modes read the half again at once, and not in words.
void store_half(std::uint8_t* bytes, const half& words) noexcept
{
    store_be64(bytes, std::uint64_t{words.w0} << 32 | words.w1);
}

// `k` are the keys of the round that comes first; `Step`, +2 or -2, leads to those of the next.
template <std::ptrdiff_t Step>
[[gnu::always_inline]] inline void crypt(const std::uint32_t* k, std::uint32_t rounds, const std::uint8_t* in,
                                         std::uint8_t* out) noexcept
{
    half left = load_half(in), right = load_half(in + 8);
    std::uint32_t x = right.w0 ^ right.w1 ^ k[0] ^ k[1];
    for (; rounds != 0; rounds -= 2) { // halves change roles instead of places
        const std::uint32_t* const second = k + Step;
        k = rounds > 2 ? second + Step : second; // nothing uses what the last round prepares for a next one
        round(left, right, x, second - Step, second);
        round(right, left, x, second, k);
    }
    // With the second half, which was ready one round earlier, chaining modes can begin the next block while the last
    // round is still under way. GCC would join the stores, and both would wait.
    store_half(out + 8, left);
    __asm__("" ::: "memory");
    store_half(out, right);
}

constexpr std::uint32_t kGolden = 0x9E3779B9; // KC of round 0

void load_words(const std::uint8_t* bytes, std::span<std::uint32_t> words) noexcept
{
    for (std::uint32_t& word : words) {
        word = load_be32(bytes);
        bytes += 4;
    }
}

// Words together make one number, the first the most significant; amounts are 1 to 31.
template <std::size_t N>
void rotate_right(std::span<std::uint32_t, N> words, unsigned amount) noexcept
{
    std::uint32_t before = words[N - 1];
    for (std::uint32_t& word : words) {
        const std::uint32_t old = word;
        word = old >> amount | before << (32 - amount);
        before = old;
    }
}

template <std::size_t N>
void rotate_left(std::span<std::uint32_t, N> words, unsigned amount) noexcept
{
    const std::uint32_t first = words[0];
    for (std::size_t i = 0; i < N; ++i)
        words[i] = words[i] << amount | (i + 1 < N ? words[i + 1] : first) >> (32 - amount);
}

void expand_128(const std::uint8_t* key, ZRC_SEED_KEY& schedule) noexcept
{
    secret_array<std::uint32_t, 4> w; // A, B, C, D
    load_words(key, w.span());
    schedule = {};
    schedule.rounds = 16;
    for (unsigned i = 0; i < 16; ++i) {
        const std::uint32_t kc = std::rotl(kGolden, int(i));
        schedule.round_key[2 * i] = g(w[0] + w[2] - kc);
        schedule.round_key[2 * i + 1] = g(w[1] - w[3] + kc);
        if (i % 2 == 0) {
            rotate_right(w.span().first<2>(), 8);
        } else {
            rotate_left(w.span().last<2>(), 8);
        }
    }
}

void expand_256(const std::uint8_t* key, ZRC_SEED_KEY& schedule) noexcept
{
    constexpr unsigned kAmount[] = {9, 11, 12};

    secret_array<std::uint32_t, 8> w; // A to H
    load_words(key, w.span());
    schedule = {};
    schedule.rounds = 24;
    for (unsigned i = 0; i < 24; ++i) {
        const std::uint32_t kc = std::rotl(kGolden, int(i));
        schedule.round_key[2 * i] = g((((w[0] + w[2]) ^ w[4]) - w[5]) ^ kc);
        schedule.round_key[2 * i + 1] = g((((w[1] - w[3]) ^ w[6]) + w[7]) ^ kc);
        if (i % 2 == 0) {
            rotate_right(w.span().first<4>(), kAmount[i / 2 % 3]);
        } else {
            rotate_left(w.span().last<4>(), kAmount[i / 2 % 3]);
        }
    }
}

std::uint32_t init(const std::uint8_t* key, ZRC_SEED_KEY* schedule, auto expand) noexcept
{
    if (!key || !schedule) return code(ZRC_L_SEED_INTERFACE, ZRC_F_INIT_SEED_KEY, ZRC_ERR_INVALID_INPUT);
    expand(key, *schedule);
    return 0;
}

constexpr kernel<blocks_fn<ZRC_SEED_KEY>> kSeedKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"gfni-avx512", cpu_feature::gfni_avx512, seed_blocks_gfni},
#endif
    {"portable", cpu_feature::none, seed_blocks_portable},
};

} // namespace

constinit kernel_choice<blocks_fn<ZRC_SEED_KEY>> seed_kernels{kSeedKernels};

void seed_cipher::encrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (is_keyed(schedule)) crypt<2>(schedule.round_key, schedule.rounds, in, out);
}

void seed_cipher::decrypt(const key& schedule, const std::uint8_t* in, std::uint8_t* out) noexcept
{
    if (is_keyed(schedule)) crypt<-2>(schedule.round_key + 2 * schedule.rounds - 2, schedule.rounds, in, out);
}

void seed_blocks_portable(const ZRC_SEED_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                          std::uint8_t* out, std::size_t blocks) noexcept
{
    if (is_keyed(key)) portable_modes<seed_cipher>::run(key, mode, chain, in, out, blocks);
}

} // namespace zrc

std::uint32_t zrc_Init_Encrypt_SEED_Key(const std::uint8_t* key, ZRC_SEED_KEY* schedule)
{
    return zrc::init(key, schedule, zrc::expand_128);
}

std::uint32_t zrc_Init_Encrypt_SEED_Key_256(const std::uint8_t* key, ZRC_SEED_KEY* schedule)
{
    return zrc::init(key, schedule, zrc::expand_256);
}

void zrc_SEED_Encrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_SEED_KEY* schedule)
{
    zrc::seed_cipher::encrypt(*schedule, in, out);
}

void zrc_SEED_Decrypt_Block(const std::uint8_t* in, std::uint8_t* out, const ZRC_SEED_KEY* schedule)
{
    zrc::seed_cipher::decrypt(*schedule, in, out);
}
