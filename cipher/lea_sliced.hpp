// LEA on vectors that each hold one word of many blocks: the rounds, and the way through a message, which both vector
// kernels have in common. The kernel's file says which instructions it is compiled for in KESTRIM_LEA_TARGET before it
// includes this. A group is four vectors of blocks. Ops names the vector and its operations:
//   vector
//   add, subtract, xor2        of words of 32 bits
//   rotate_left<Bits>          of words
//   spread                     of one word, to every lane
//   unpack_low32, unpack_high32, unpack_low64, unpack_high64   in 128-bit lanes
#pragma once

#include "cipher/lea_engine.hpp"

#include <cstddef>
#include <cstdint>
#include <utility>

#ifndef KESTRIM_LEA_TARGET
#error "for vector kernels only"
#endif

namespace zrc {

template <class Ops>
class lea_sliced {
public:
    using vector = typename Ops::vector;

    // From blocks in a vector to one word of each block in a vector, and by the same exchange back.
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void transpose(vector* x) noexcept
    {
        const vector low01 = Ops::unpack_low32(x[0], x[1]), high01 = Ops::unpack_high32(x[0], x[1]);
        const vector low23 = Ops::unpack_low32(x[2], x[3]), high23 = Ops::unpack_high32(x[2], x[3]);
        x[0] = Ops::unpack_low64(low01, low23);
        x[1] = Ops::unpack_high64(low01, low23);
        x[2] = Ops::unpack_low64(high01, high23);
        x[3] = Ops::unpack_high64(high01, high23);
    }

    // All rounds on the words of as many groups as are counted by `Group`.
    template <bool Backwards, std::size_t... Group>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    rounds(const ZRC_LEA_KEY& key, vector* x, std::index_sequence<Group...> groups) noexcept
    {
        for (std::size_t done = 0; done < key.rounds; done += 4) {
            const std::uint32_t* const k = key.round_key + 6 * (Backwards ? key.rounds - 4 - done : done);
            round_of_groups<Backwards, Backwards ? 3 : 0>(x, k, groups);
            round_of_groups<Backwards, Backwards ? 2 : 1>(x, k, groups);
            round_of_groups<Backwards, Backwards ? 1 : 2>(x, k, groups);
            round_of_groups<Backwards, Backwards ? 0 : 3>(x, k, groups);
        }
    }

private:
    // The six words of a round key, in every lane.
    struct round_key {
        vector w[6];

        [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] explicit round_key(const std::uint32_t* words) noexcept
            : w{Ops::spread(words[0]), Ops::spread(words[1]), Ops::spread(words[2]),
                Ops::spread(words[3]), Ops::spread(words[4]), Ops::spread(words[5])}
        {
        }
    };

    // Round R (mod 4) for the words x of one group. A round moves every word one place; here the words stay and change
    // their names: what the standard calls X[i] is word i + R (mod 4).
    template <std::size_t R>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void round(vector* x, const round_key& k) noexcept
    {
        vector &a = x[R % 4], &b = x[(R + 1) % 4], &c = x[(R + 2) % 4], &d = x[(R + 3) % 4];
        const vector cd = Ops::add(Ops::xor2(c, k.w[4]), Ops::xor2(d, k.w[5]));
        const vector bc = Ops::add(Ops::xor2(b, k.w[2]), Ops::xor2(c, k.w[3]));
        const vector ab = Ops::add(Ops::xor2(a, k.w[0]), Ops::xor2(b, k.w[1]));
        d = Ops::template rotate_left<29>(cd);
        c = Ops::template rotate_left<27>(bc);
        b = Ops::template rotate_left<9>(ab);
    }

    // The inverse, one word at a time, for each waits for the one before it: groups take turns.
    template <int LeftRotation>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    inverse_step(const vector& before, vector& word, const vector& k_before, const vector& k_word) noexcept
    {
        const vector rotated = Ops::template rotate_left<LeftRotation>(word);
        word = Ops::xor2(Ops::subtract(rotated, Ops::xor2(before, k_before)), k_word);
    }

    template <bool Backwards, std::size_t R, std::size_t... Group>
    [[gnu::always_inline, gnu::target(KESTRIM_LEA_TARGET)]] static void
    round_of_groups(vector* x, const std::uint32_t* four_keys, std::index_sequence<Group...>) noexcept
    {
        const round_key k{four_keys + 6 * R};
        if constexpr (Backwards) {
            (inverse_step<23>(x[4 * Group + R % 4], x[4 * Group + (R + 1) % 4], k.w[0], k.w[1]), ...);
            (inverse_step<5>(x[4 * Group + (R + 1) % 4], x[4 * Group + (R + 2) % 4], k.w[2], k.w[3]), ...);
            (inverse_step<3>(x[4 * Group + (R + 2) % 4], x[4 * Group + (R + 3) % 4], k.w[4], k.w[5]), ...);
        } else {
            (round<R>(x + 4 * Group, k), ...);
        }
    }
};

// A message in any mode: steps of several groups, then of one group, then what is left over. Kernel describes them:
//   group_blocks   blocks to a group
//   side_by_side   groups to a long step
//   worth_a_group  fewer blocks are as fast one by one
//   step<Mode, Groups> (const ZRC_LEA_KEY&, chain, in, out)
//   rest<Mode> (const ZRC_LEA_KEY&, chain, in, out, blocks): fewer blocks than a group
template <class Kernel>
class lea_in_groups {
public:
    static void run(const ZRC_LEA_KEY& key, block_mode mode, std::uint8_t* chain, const std::uint8_t* in,
                    std::uint8_t* out, std::size_t blocks) noexcept
    {
        if (!is_keyed(key)) return;
        with_mode(mode, [&]<block_mode Mode>() {
            if constexpr (is_parallel(Mode))
                parallel<Mode>(key, chain, in, out, blocks);
            else
                lea_blocks_portable(key, Mode, chain, in, out, blocks);
        });
    }

private:
    static constexpr std::size_t kGroupBlocks = Kernel::group_blocks;

    // Works through all whole steps of `Groups` groups; returns the number of blocks done.
    template <block_mode Mode, std::size_t Groups>
    [[gnu::target(KESTRIM_LEA_TARGET)]] static std::size_t run_groups(const ZRC_LEA_KEY& key, std::uint8_t* chain,
                                                                      const std::uint8_t* in, std::uint8_t* out,
                                                                      std::size_t blocks) noexcept
    {
        constexpr std::size_t kStep = Groups * kGroupBlocks;
        std::size_t done = 0;
        for (; blocks - done >= kStep; done += kStep)
            Kernel::template step<Mode, Groups>(key, chain, in + 16 * done, out + 16 * done);
        return done;
    }

    template <block_mode Mode>
    static void parallel(const ZRC_LEA_KEY& key, std::uint8_t* chain, const std::uint8_t* in, std::uint8_t* out,
                         std::size_t blocks) noexcept
    {
        std::size_t done = run_groups<Mode, Kernel::side_by_side>(key, chain, in, out, blocks);
        done += run_groups<Mode, 1>(key, chain, in + 16 * done, out + 16 * done, blocks - done);
        const std::size_t rest = blocks - done;
        if (rest < Kernel::worth_a_group)
            return lea_blocks_portable(key, Mode, chain, in + 16 * done, out + 16 * done, rest);
        Kernel::template rest<Mode>(key, chain, in + 16 * done, out + 16 * done, rest);
    }
};

} // namespace zrc
