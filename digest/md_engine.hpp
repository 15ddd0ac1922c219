// Streaming shell of the Merkle-Damgard digests that share one record design (SHA-1, SHA-2, MD5): a buffer that collects
// input, a work block in which the padded end is assembled, and a 64-bit count of the bits compressed so far.
//
// A Hash describes one digest:
//   state         the public record: bit_count, work_count, work_block, buffer, buffer_count and the chaining value
//   length_bytes  size of the length field at the end of the last block (8 or 16; only the low 64 bits are ever used)
//   length_order  byte order of that field
//   compress      (state&, blocks): absorbs whole blocks into the chaining value
#pragma once

#include "core/bytes.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zrc {

// What a record that did not come from init can have wrong. The exported functions map it to their own codes.
enum class md_fault {
    none,
    work_count,   // more work bytes than the block holds
    buffer_count, // more buffered bytes than the block holds
};

template <class Hash>
class md_engine {
public:
    using state = typename Hash::state;
    static constexpr std::size_t block_bytes = sizeof(state::buffer);

    // Absorbs `data`. Whole blocks are compressed where they lie; the record ends up as if every block had gone through the
    // buffer, except for the stale bytes behind the buffered ones.
    static md_fault update(state& s, byte_span data) noexcept
    {
        if (s.work_count > block_bytes) return md_fault::work_count;
        if (data.empty()) return md_fault::none;
        if (s.buffer_count > block_bytes) return md_fault::buffer_count;

        if (s.buffer_count != 0) {
            const std::size_t taken = std::min(block_bytes - s.buffer_count, data.size());
            std::memcpy(s.buffer + s.buffer_count, data.data(), taken);
            s.buffer_count += std::uint32_t(taken);
            if (s.buffer_count < block_bytes) return md_fault::none;
            s.buffer_count = 0;
            compress(s, s.buffer);
            data = data.subspan(taken);
        }
        const std::size_t whole = data.size() - data.size() % block_bytes;
        if (whole != 0) compress(s, data.first(whole));
        data = data.subspan(whole);
        if (!data.empty()) std::memcpy(s.buffer, data.data(), data.size());
        s.buffer_count = std::uint32_t(data.size());
        return md_fault::none;
    }

    // Pads and compresses the end of the message. The chaining value and the bit count stay; the data are cleared.
    static md_fault finish(state& s) noexcept
    {
        if (s.work_count >= block_bytes) return md_fault::work_count;
        if (s.buffer_count > block_bytes) return md_fault::buffer_count;

        move_buffer_to_work_block(s);
        add_bytes(s, s.work_count);
        pad(s);
        std::memset(s.work_block, 0, block_bytes);
        std::memset(s.buffer, 0, block_bytes);
        s.work_count = 0;
        s.buffer_count = 0;
        return md_fault::none;
    }

private:
    static void compress(state& s, byte_span blocks) noexcept
    {
        Hash::compress(s, blocks);
        add_bytes(s, blocks.size());
    }

    static std::uint64_t bits(const state& s) noexcept { return std::uint64_t{s.bit_count[1]} << 32 | s.bit_count[0]; }

    static void add_bytes(state& s, std::uint64_t bytes) noexcept
    {
        const std::uint64_t sum = bits(s) + bytes * 8;
        s.bit_count[0] = std::uint32_t(sum);
        s.bit_count[1] = std::uint32_t(sum >> 32);
    }

    // work_count < block_bytes and buffer_count <= block_bytes, so the two hold at most one whole block and a rest that is
    // shorter than a block.
    static void move_buffer_to_work_block(state& s) noexcept
    {
        const std::size_t room = block_bytes - s.work_count;
        const std::size_t taken = std::min<std::size_t>(room, s.buffer_count);
        std::memcpy(s.work_block + s.work_count, s.buffer, taken);
        s.work_count += std::uint32_t(taken);
        if (taken < room) return;

        compress(s, s.work_block);
        s.work_count = std::uint32_t(s.buffer_count - taken);
        std::memcpy(s.work_block, s.buffer + taken, s.work_count);
    }

    // 0x80, zeros, and the bit count at the end of a block. The blocks of padding do not count as message bits.
    static void pad(state& s) noexcept
    {
        constexpr std::size_t kLengthAt = block_bytes - Hash::length_bytes;

        std::size_t used = s.work_count;
        s.work_block[used++] = 0x80;
        if (used > kLengthAt) {
            std::memset(s.work_block + used, 0, block_bytes - used);
            Hash::compress(s, s.work_block);
            used = 0;
        }
        std::memset(s.work_block + used, 0, block_bytes - used);
        store<Hash::length_order>(s.work_block + block_bytes - 8, bits(s));
        Hash::compress(s, s.work_block);
    }
};

} // namespace zrc
