// Hashgen over SHA-224 and SHA-256 with the SHA extensions of x86-64. The messages do not depend on each other, so
// several of them go through the rounds side by side: each instruction waits for the one before it in its own message
// only.
#include "digest/sha_ni.hpp"
#include "random/dead_stack.hpp"
#include "random/hashgen.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <immintrin.h>
#include <utility>

namespace zrc {
namespace {

using namespace sha_ni;

// One message on its way: the message words of the last sixteen rounds are in w, four to a vector.
struct stream {
    registers v;
    __m128i w[4];
};

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void load_message(__m128i (&w)[4],
                                                                                 sha256_hashgen::block block) noexcept
{
    for (std::size_t i = 0; i < 4; ++i) {
        // Two loads as wide as the stores that they follow closely.
        const __m128i high = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(block.data() + 2 * i));
        const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(block.data() + 2 * i + 1));
        w[i] = _mm_shuffle_epi32(_mm_unpacklo_epi64(high, low), 0xB1);
    }
}

// Adds the value at the start and writes the digest; the last four bytes only when it is a whole one.
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void
store_digest(const registers& start, const registers& end, std::size_t digest_bytes, std::uint8_t* digest) noexcept
{
    const auto [abcd, efgh] = in_order(add(start, end));
    const __m128i back = swap_bytes(efgh);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(digest), swap_bytes(abcd));
    if (digest_bytes == 32) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(digest + 16), back);
    } else { // 28
        _mm_storel_epi64(reinterpret_cast<__m128i*>(digest + 16), back);
        const auto word = std::uint32_t(_mm_extract_epi32(back, 2));
        std::memcpy(digest + 24, &word, sizeof word);
    }
}

[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void rounds_of_group(stream& s,
                                                                                    std::size_t group) noexcept
{
    four_rounds(s.v, _mm_add_epi32(s.w[group % 4], words_of_group(group)));
}

// Rounds 4 * Group and on, of every stream.
template <std::size_t Group, std::size_t... Stream>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void
four_rounds_of_each(stream (&streams)[sizeof...(Stream)], std::index_sequence<Stream...>) noexcept
{
    if constexpr (Group >= 4) (next_words<Group>(streams[Stream].w), ...);
    (rounds_of_group(streams[Stream], Group), ...);
}

template <std::size_t Streams, std::size_t... Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void rounds(stream (&streams)[Streams],
                                                                           std::index_sequence<Group...>) noexcept
{
    (four_rounds_of_each<Group>(streams, std::make_index_sequence<Streams>{}), ...);
}

constexpr std::size_t kStreams = 4;
constexpr auto kAllGroups = std::make_index_sequence<16>{};
constexpr std::index_sequence<7, 8, 9, 10, 11, 12, 13, 14, 15> kGroupsFromSeven;

// The first half of four message words: those of sixteen and of fifteen rounds before.
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline __m128i far_words(__m128i sixteen_back,
                                                                                 __m128i twelve_back) noexcept
{
    return _mm_sha256msg1_epu32(sixteen_back, twelve_back);
}

// The second half: those of seven and of two rounds before.
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline __m128i near_words(__m128i far, __m128i eight_back,
                                                                                  __m128i four_back) noexcept
{
    return _mm_sha256msg2_epu32(_mm_add_epi32(far, _mm_alignr_epi8(four_back, eight_back, 4)), four_back);
}

// The messages of one run. They differ in word 13 alone, so they share the first twelve rounds, the message words 16
// to 19 and parts of the twelve words after these.
class messages {
public:
    [[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] messages(registers start,
                                                                     sha256_hashgen::block first) noexcept
        : start_{start}, after_twelve_{start}
    {
        __m128i w[4];
        load_message(w, first);
        for (std::size_t i = 0; i < 3; ++i)
            four_rounds(after_twelve_, _mm_add_epi32(w[i], words_of_group(i)));
        words_12_ = w[3];
        words_16_ = near_words(far_words(w[0], w[1]), w[2], w[3]);
        k_plus_words_16_ = _mm_add_epi32(words_16_, words_of_group(4));
        far_20_ = far_words(w[1], w[2]);
        far_24_ = far_words(w[2], w[3]);
    }

    template <std::size_t... Stream>
    [[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] void hash(std::size_t digest_bytes, std::uint8_t* digests,
                                                                      std::index_sequence<Stream...>) noexcept
    {
        stream streams[sizeof...(Stream)];
        (start(streams[Stream]), ...);
        (rounds_of_group(streams[Stream], 3), ...);
        (four_rounds(streams[Stream].v, k_plus_words_16_), ...);
        (rounds_of_group(streams[Stream], 5), ...);
        (rounds_of_group(streams[Stream], 6), ...);
        rounds(streams, kGroupsFromSeven);
        (store_digest(start_, streams[Stream].v, digest_bytes, digests + Stream * digest_bytes), ...);
    }

private:
    [[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] void start(stream& s) noexcept
    {
        s.v = after_twelve_;
        s.w[3] = words_12_;
        s.w[0] = words_16_;
        s.w[1] = near_words(far_20_, s.w[3], s.w[0]);
        s.w[2] = near_words(far_24_, s.w[0], s.w[1]);
        words_12_ = _mm_add_epi32(words_12_, _mm_set_epi32(0, 0, 0x100, 0)); // three bytes of the number, then 0x80
    }

    registers start_, after_twelve_;
    __m128i words_12_, words_16_, k_plus_words_16_, far_20_, far_24_;
};

// There are more vectors than registers: some of them, parts of the messages among them, have their place on the
// stack. So functions of its own do the work, and their frames are wiped behind them. The sizes, in bytes, are above
// those that the compilers choose.
constexpr std::size_t kWideFrame = 768, kNarrowFrame = 192, kPairFrame = 320;

// As many at a time as the registers are good for; a few messages do without the large frame that this takes.
template <bool Wide>
[[gnu::noinline, gnu::aligned(64), gnu::target("sha,ssse3,sse4.1")]] void
run_messages(sha256_hashgen::initial_value initial, sha256_hashgen::block first, std::size_t count,
             std::size_t digest_bytes, std::uint8_t* digests) noexcept
{
    messages next{load_registers(initial.data()), first};
    if constexpr (Wide) {
        for (; count >= kStreams; count -= kStreams, digests += kStreams * digest_bytes)
            next.hash(digest_bytes, digests, std::make_index_sequence<kStreams>{});
    }
    for (; count != 0; --count, digests += digest_bytes)
        next.hash(digest_bytes, digests, std::make_index_sequence<1>{});
}

void run_sha_ni(sha256_hashgen::initial_value initial, sha256_hashgen::block first, std::size_t count,
                std::size_t digest_bytes, std::uint8_t* digests) noexcept
{
    if (count >= kStreams) {
        run_messages<true>(initial, first, count, digest_bytes, digests);
        wipe_dead_stack<kWideFrame>();
    } else {
        run_messages<false>(initial, first, count, digest_bytes, digests);
        wipe_dead_stack<kNarrowFrame>();
    }
}

// Round constants plus message words of the block that ends a message of 56 bytes: zeros and the length.
consteval std::array<std::uint32_t, 64> padding_words()
{
    const auto rotate = [](std::uint32_t x, unsigned by) { return x >> by | x << (32 - by); };
    std::array<std::uint32_t, 64> w{};
    w[15] = 56 * 8;
    for (std::size_t t = 16; t < 64; ++t) {
        const std::uint32_t near = w[t - 2], far = w[t - 15];
        w[t] = (rotate(near, 17) ^ rotate(near, 19) ^ near >> 10) + w[t - 7] +
               (rotate(far, 7) ^ rotate(far, 18) ^ far >> 3) + w[t - 16];
    }
    for (std::size_t t = 0; t < 64; ++t)
        w[t] += kSha256K[t];
    return w;
}
alignas(16) constexpr auto kPaddingWords = padding_words();

template <std::size_t... Group>
[[gnu::always_inline, gnu::target("sha,ssse3,sse4.1")]] inline void
padding_rounds(registers& v, std::index_sequence<Group...>) noexcept
{
    (four_rounds(v, words_of_group(Group, kPaddingWords.data())), ...);
}

[[gnu::noinline, gnu::target("sha,ssse3,sse4.1")]] void
two_messages(sha256_hashgen::initial_value initial, sha256_hashgen::block short_one, sha256_hashgen::block long_one,
             std::span<std::uint8_t, 32> digest_of_short, std::span<std::uint8_t, 32> digest_of_long) noexcept
{
    const registers start = load_registers(initial.data());
    stream streams[2];
    streams[0].v = streams[1].v = start;
    load_message(streams[0].w, short_one);
    load_message(streams[1].w, long_one);
    rounds(streams, kAllGroups);
    store_digest(start, streams[0].v, 32, digest_of_short.data());

    const registers middle = add(start, streams[1].v);
    registers v = middle;
    padding_rounds(v, kAllGroups);
    store_digest(middle, v, 32, digest_of_long.data());
}

void pair_sha_ni(sha256_hashgen::initial_value initial, sha256_hashgen::block short_one, sha256_hashgen::block long_one,
                 std::span<std::uint8_t, 32> digest_of_short, std::span<std::uint8_t, 32> digest_of_long) noexcept
{
    two_messages(initial, short_one, long_one, digest_of_short, digest_of_long);
    wipe_dead_stack<kPairFrame>();
}

} // namespace

constexpr sha256_hashgen kHashgenShaNi{run_sha_ni, pair_sha_ni};

} // namespace zrc
