// Hashgen (SP 800-90A, 10.1.1.4): digests of V, V + 1, V + 2 and so on, each of which is one block with its padding.
//
// seedlen is 55 bytes where a digest's block has 64 and 111 where it has 128, so a value V is one byte short of 7 or
// 14 words of 64 bits. With one byte in front it fills them; behind them the block has room for the start of the
// padding.
#pragma once

#include "core/bytes.hpp"
#include "core/kernel.hpp"
#include "core/secret.hpp"
#include "core/settled.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>

namespace zrc {

// A number modulo 2^(64 * Words - 8), wiped when its scope ends.
template <std::size_t Words>
class seed_value {
public:
    static constexpr std::size_t bytes = 8 * Words - 1;
    static constexpr std::size_t message_words = Words == 7 ? 8 : 16;
    using message = std::span<std::uint64_t, message_words>;

    explicit seed_value(const std::uint8_t* big_endian) noexcept
    {
        words_[0] = load_be64(big_endian) >> 8;
        for_words_after_the_first([&](std::size_t i) { words_[i] = load_be64(big_endian + 8 * i - 1); });
    }
    // Word by word, as everything here: a wider load would wait for the stores of its words to leave the processor.
    seed_value(const seed_value& other) noexcept
    {
        words_[0] = settled(other.words_[0]);
        for_words_after_the_first([&](std::size_t i) { words_[i] = settled(other.words_[i]); });
    }
    seed_value& operator=(const seed_value&) = delete;
    ~seed_value() { wipe(words_.data(), sizeof words_); }

    void store(std::uint8_t* big_endian) const noexcept
    {
        store_be64(big_endian, words_[0] << 8);
        for_words_after_the_first([&](std::size_t i) { store_be64(big_endian + 8 * i - 1, words_[i]); });
    }

    void add(std::uint64_t number) noexcept
    {
        add_words([=](std::size_t i) { return i == Words - 1 ? number : 0; });
    }

    void add(const seed_value& number) noexcept
    {
        add_words([&](std::size_t i) { return number.words_[i]; });
    }

    // Adds a digest, a number of 4 * n bytes that is shorter than this one.
    template <std::size_t Bytes>
    void add_digest(std::span<const std::uint8_t, Bytes> digest) noexcept
    {
        add_words([&](std::size_t i) -> std::uint64_t {
            const std::size_t below = 8 * (Words - 1 - i); // bytes in the words behind this one
            if (below + 8 <= Bytes) return load_be64(digest.data() + Bytes - below - 8);
            return below < Bytes ? load_be32(digest.data()) : 0;
        });
    }

    // How often 1 can be added before a carry leaves the last three bytes.
    std::size_t steps_without_carry() const noexcept
    {
        return std::size_t(kLastThree - (words_[Words - 1] & kLastThree));
    }

    // The value as a whole message: one block with its padding. Word by word, see the copy above.
    void write_message(message block) const noexcept
    {
        for_words_after_the_first([&](std::size_t i) { block[i - 1] = settled(words_[i - 1] << 8 | words_[i] >> 56); });
        block[Words - 1] = words_[Words - 1] << 8 | 0x80;
        if constexpr (message_words == 16) block[Words] = 0;
        block[message_words - 1] = bytes * 8;
    }

    // One byte and the value. The padding takes a second block, which is always the same.
    void write_message(std::uint8_t front, message block) const noexcept
    {
        block[0] = words_[0] | std::uint64_t{front} << 56;
        for_words_after_the_first([&](std::size_t i) { block[i] = words_[i]; });
        block[Words] = std::uint64_t{0x80} << 56;
        if constexpr (message_words == 16) block[Words + 1] = 0;
    }

private:
    static constexpr std::uint64_t kFirstSeven = (std::uint64_t{1} << 56) - 1, kLastThree = 0xFFFFFF;

    // A loop that is unrolled by every compiler.
    [[gnu::always_inline]] static void for_words_after_the_first(auto do_word) noexcept
    {
        [&]<std::size_t... I>(std::index_sequence<I...>)
        {
            (do_word(I + 1), ...);
        }
        (std::make_index_sequence<Words - 1>{});
    }

    // Adds the number whose word i is word(i).
    [[gnu::always_inline]] void add_words(auto word) noexcept
    {
        bool carry = false;
        [&]<std::size_t... I>(std::index_sequence<I...>)
        {
            ((carry = add_to_word(Words - 1 - I, word(Words - 1 - I), carry)), ...);
        }
        (std::make_index_sequence<Words>{});
        words_[0] &= kFirstSeven;
    }

    [[gnu::always_inline]] bool add_to_word(std::size_t i, std::uint64_t number, bool carry) noexcept
    {
        const bool over = __builtin_add_overflow(words_[i], number, &words_[i]);
        const bool over_again = __builtin_add_overflow(words_[i], std::uint64_t{carry}, &words_[i]);
        return over | over_again;
    }

    std::array<std::uint64_t, Words> words_; // most significant first
};

// What Hash_DRBG needs of SHA-224 and SHA-256; they differ in the initial chaining value and in how much is kept of
// the last one. A block is passed as eight words of 64 bits, the first byte of the message on top of the first word.
struct sha256_hashgen {
    using initial_value = std::span<const std::uint32_t, 8>;
    using block = std::span<const std::uint64_t, 8>;

    // Digests of `count` messages, `digest_bytes` (28 or 32) of each, one behind the other: of `first`, a number of
    // 55 bytes with its padding, and of what it becomes as the number grows by 1. No carry leaves the last three
    // bytes of the number, which share 32 bits with the start of the padding: these are the only ones in which the
    // messages differ.
    void (*run)(initial_value initial, block first, std::size_t count, std::size_t digest_bytes,
                std::uint8_t* digests) noexcept;

    // Whole digests of a message of one block, and of a message of 56 bytes. Of that one, `long_one` is the first of
    // two blocks; the second is all padding.
    void (*pair)(initial_value initial, block short_one, block long_one, std::span<std::uint8_t, 32> digest_of_short,
                 std::span<std::uint8_t, 32> digest_of_long) noexcept;
};

extern const sha256_hashgen kHashgenPortable;
#if KESTRIM_X86_64_KERNELS
extern const sha256_hashgen kHashgenShaNi;
#endif

// The list, best first, and the choice made from it.
extern kernel_choice<const sha256_hashgen*> hashgen_kernels;

// Writes the chaining value `h` as a digest, or the start of one.
template <class Word, std::size_t N>
inline void store_digest(std::span<const Word, N> h, std::span<std::uint8_t> digest) noexcept
{
    std::uint8_t* out = digest.data();
    std::size_t left = digest.size();
    for (std::size_t i = 0; left >= sizeof(Word); ++i, out += sizeof(Word), left -= sizeof(Word))
        store<std::endian::big>(out, h[i]);
}

template <std::size_t N>
inline void store_block(std::span<const std::uint64_t, N> words, std::span<std::uint8_t, 8 * N> block) noexcept
{
    for (std::size_t i = 0; i < N; ++i)
        store_be64(block.data() + 8 * i, words[i]);
}

// The operations of sha256_hashgen for any block function of SHA, one message after the other.
template <class Word, std::size_t N, std::size_t BlockWords, class Compress>
inline void hashgen_run(std::span<const Word, N> initial, std::span<const std::uint64_t, BlockWords> first,
                        std::size_t count, std::size_t digest_bytes, std::uint8_t* digests, Compress compress) noexcept
{
    constexpr std::size_t kCounterAt = (BlockWords == 8 ? 56 : 112) - 4; // three bytes of the number and 0x80
    constexpr std::uint32_t kOne = 0x100;

    secret_array<std::uint8_t, 8 * BlockWords> block;
    secret_array<Word, N> h;
    store_block(first, block.span());
    for (std::size_t i = 0; i < count; ++i) {
        std::memcpy(h.data(), initial.data(), sizeof(Word) * N);
        compress(h.span(), byte_span{block.span()});
        store_digest(std::span<const Word, N>{h.span()}, {digests + i * digest_bytes, digest_bytes});
        store_be32(block.data() + kCounterAt, load_be32(block.data() + kCounterAt) + kOne);
    }
}

template <class Word, std::size_t N, std::size_t BlockWords, class Compress>
inline void hashgen_pair(std::span<const Word, N> initial, std::span<const std::uint64_t, BlockWords> short_one,
                         std::span<const std::uint64_t, BlockWords> long_one, std::span<std::uint8_t> digest_of_short,
                         std::span<std::uint8_t> digest_of_long, Compress compress) noexcept
{
    constexpr std::size_t kBlockBytes = 8 * BlockWords, kLongBytes = BlockWords == 8 ? 56 : 112;

    hashgen_run(initial, short_one, 1, digest_of_short.size(), digest_of_short.data(), compress);

    secret_array<std::uint8_t, 2 * kBlockBytes> blocks;
    secret_array<Word, N> h;
    store_block(long_one, blocks.span().template first<kBlockBytes>());
    std::memset(blocks.data() + kBlockBytes, 0, kBlockBytes);
    store_be64(blocks.data() + 2 * kBlockBytes - 8, kLongBytes * 8);
    std::memcpy(h.data(), initial.data(), sizeof(Word) * N);
    compress(h.span(), byte_span{blocks.span()});
    store_digest(std::span<const Word, N>{h.span()}, digest_of_long);
}

} // namespace zrc
