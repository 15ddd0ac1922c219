// The modes of operation (NIST SP 800-38A) on the fields of a block cipher unit, once for all ciphers.
//
// An Interface describes one cipher:
//   key            its schedule
//   block_bytes    8 or 16
//   library        ZRC_L_*
//   functions      the function numbers of the five modes, for the code of a null argument
//   is_keyed       (schedule); only where a schedule says whether it is keyed: one that is not is refused
//   run            (unit, mode, chain, in, out, blocks): whole blocks, see cipher/block_mode.hpp
#pragma once

#include "cipher/portable_blocks.hpp"
#include "core/error.hpp"
#include "core/secret.hpp"
#include "kestrim/block_cipher.h"

#include <algorithm>
#include <cstring>

namespace zrc {

struct mode_functions {
    std::uint32_t ecb, cbc, cfb, ofb, ctr;
};

// The unit's schedule, or null when it has none of that type.
template <class Key>
Key* schedule_of(const ZRC_BLOCK_CIPHER_UNIT* unit) noexcept
{
    if (!unit || unit->key_schedule_length != sizeof(Key)) return nullptr;
    return static_cast<Key*>(unit->key_schedule);
}

template <class Interface>
class modes {
    using unit_type = ZRC_BLOCK_CIPHER_UNIT;
    static constexpr std::size_t kBytes = Interface::block_bytes;

public:
    static std::uint32_t ecb(unit_type* unit, std::uint8_t* out, const std::uint8_t* in, std::int32_t length) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.ecb);
        const block_mode mode = unit->encrypt == 1 ? block_mode::ecb_encrypt : block_mode::ecb_decrypt;
        Interface::run(*unit, mode, nullptr, in, out, bytes(length) / kBytes);
        return 0;
    }

    static std::uint32_t cbc(unit_type* unit, std::uint8_t* out, const std::uint8_t* in, std::int32_t length) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.cbc);
        const bool encrypting = unit->encrypt == 1;
        const block_mode mode = encrypting ? block_mode::cbc_encrypt : block_mode::cbc_decrypt;
        const std::size_t rest = bytes(length) % kBytes;
        const std::size_t whole = bytes(length) - rest;
        Interface::run(*unit, mode, unit->iv, in, out, whole / kBytes);
        if (rest == 0) return 0;
        if (encrypting) {
            encipher_part(*unit, out + whole, in + whole, rest);
        } else {
            decipher_part(*unit, out + whole, in + whole, rest);
        }
        return 0;
    }

    static std::uint32_t cfb(unit_type* unit, std::uint8_t* out, const std::uint8_t* in, std::int32_t length) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.cfb);
        const bool encrypting = unit->encrypt != 0;
        const block_mode mode = encrypting ? block_mode::cfb_encrypt : block_mode::cfb_decrypt;
        stream(
            *unit, out, in, bytes(length), mode, [&] { encipher(*unit, unit->iv); },
            [&](std::uint8_t from, std::size_t at) {
                const auto to = std::uint8_t(from ^ unit->iv[at]);
                unit->iv[at] = encrypting ? to : from;
                return to;
            });
        return 0;
    }

    static std::uint32_t ofb(unit_type* unit, std::uint8_t* out, const std::uint8_t* in, std::int32_t length) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.ofb);
        stream(
            *unit, out, in, bytes(length), block_mode::ofb, [&] { encipher(*unit, unit->iv); },
            [&](std::uint8_t from, std::size_t at) { return std::uint8_t(from ^ unit->iv[at]); });
        return 0;
    }

    static std::uint32_t ctr(unit_type* unit, std::uint8_t* out, const std::uint8_t* in, std::int32_t length) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.ctr);
        const auto next_keystream_block = [&] {
            std::memcpy(unit->keystream, unit->iv, kBytes);
            encipher(*unit, unit->keystream);
            increment_counter<kBytes>(unit->iv);
        };
        stream(*unit, out, in, bytes(length), block_mode::ctr, next_keystream_block,
               [&](std::uint8_t from, std::size_t at) { return std::uint8_t(from ^ unit->keystream[at]); });
        return 0;
    }

    // One segment of `bits` bits.
    static std::uint32_t cfb_bits(unit_type* unit, std::uint8_t* out, const std::uint8_t* in,
                                  std::int32_t bits) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.cfb);
        if (bits < 1 || bits > std::int32_t(8 * kBytes)) return fail(Interface::functions.cfb);
        segment(*unit, out, in, std::size_t(bits));
        return 0;
    }

    // Segments of one bit. Each byte is put together before it is stored, so that in and out may be the same.
    static std::uint32_t cfb1(unit_type* unit, std::uint8_t* out, const std::uint8_t* in, std::int32_t bits) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.cfb);
        std::uint8_t input = 0, output = 0;
        for (std::size_t i = 0; i < bytes(bits); ++i) {
            if (i % 8 == 0) {
                input = in[i / 8];
                output = 0;
            }
            auto bit = std::uint8_t(input << i % 8 & 0x80);
            segment(*unit, &bit, &bit, 1);
            output |= std::uint8_t((bit & 0x80) >> i % 8);
            if (i % 8 == 7 || i + 1 == bytes(bits)) out[i / 8] = output;
        }
        return 0;
    }

    // Segments of `Segment` bytes. The last one may be incomplete: zero bytes are taken for what is missing.
    template <std::size_t Segment>
    static std::uint32_t cfb_segments(unit_type* unit, std::uint8_t* out, const std::uint8_t* in,
                                      std::int32_t length) noexcept
    {
        if (!usable(unit, out, in)) return fail(Interface::functions.cfb);
        for (std::size_t at = 0; at < bytes(length); at += Segment) {
            const std::size_t present = std::min(Segment, bytes(length) - at);
            secret_array<std::uint8_t, Segment> part;
            std::memset(part.data(), 0, Segment);
            std::memcpy(part.data(), in + at, present);
            segment(*unit, part.data(), part.data(), 8 * Segment);
            std::memcpy(out + at, part.data(), present);
        }
        return 0;
    }

private:
    static std::uint32_t fail(std::uint32_t function) noexcept
    {
        return code(Interface::library, function, ZRC_ERR_INVALID_INPUT);
    }

    static bool usable(const unit_type* unit, const std::uint8_t* out, const std::uint8_t* in) noexcept
    {
        const auto* schedule = schedule_of<typename Interface::key>(unit);
        if (!out || !in || !schedule) return false;
        if constexpr (requires { Interface::is_keyed(*schedule); }) return Interface::is_keyed(*schedule);
        return true;
    }

    static std::size_t bytes(std::int32_t length) noexcept { return length > 0 ? std::size_t(length) : 0; }

    static void encipher(const unit_type& unit, std::uint8_t* block) noexcept
    {
        Interface::run(unit, block_mode::ecb_encrypt, nullptr, block, block, 1);
    }

    // The bytes that the message does not have are those of the register.
    static void encipher_part(unit_type& unit, std::uint8_t* out, const std::uint8_t* in, std::size_t present) noexcept
    {
        for (std::size_t i = 0; i < present; ++i)
            unit.iv[i] ^= in[i];
        encipher(unit, unit.iv);
        std::memcpy(out, unit.iv, kBytes);
    }

    static void decipher_part(unit_type& unit, std::uint8_t* out, const std::uint8_t* in, std::size_t present) noexcept
    {
        secret_array<std::uint8_t, kBytes> plain;
        Interface::run(unit, block_mode::cbc_decrypt, unit.iv, in, plain.data(), 1);
        std::memcpy(out, plain.data(), present);
    }

    // CFB, OFB and CTR: what is left of a block begun earlier, whole blocks, the beginning of another block.
    static void stream(unit_type& unit, std::uint8_t* out, const std::uint8_t* in, std::size_t length, block_mode mode,
                       auto begin_block, auto step) noexcept
    {
        std::size_t position = unit.keystream_position % kBytes;
        for (; position != 0 && length != 0; --length, position = (position + 1) % kBytes)
            *out++ = step(*in++, position);

        const std::size_t rest = length % kBytes;
        const std::size_t whole = length - rest;
        if (whole != 0) Interface::run(unit, mode, unit.iv, in, out, whole / kBytes);
        if (rest != 0) begin_block();
        for (; position < rest; ++position)
            out[whole + position] = step(in[whole + position], position);
        unit.keystream_position = std::uint32_t(position);
    }

    // CFB with feedback of `bits` bits: the register takes that many bits of ciphertext in at its end. In whole bytes: the
    // caller masks the last one.
    static void segment(unit_type& unit, std::uint8_t* out, const std::uint8_t* in, std::size_t bits) noexcept
    {
        secret_array<std::uint8_t, 2 * kBytes> scratch; // the old register, and the ciphertext behind it
        std::memcpy(scratch.data(), unit.iv, kBytes);
        encipher(unit, unit.iv);
        for (std::size_t i = 0; i < (bits + 7) / 8; ++i) {
            const std::uint8_t from = in[i];
            out[i] = from ^ unit.iv[i];
            scratch[kBytes + i] = unit.encrypt != 0 ? out[i] : from;
        }
        const std::size_t skipped = bits / 8, shift = bits % 8;
        if (shift == 0) {
            std::memcpy(unit.iv, scratch.data() + skipped, kBytes);
            return;
        }
        for (std::size_t i = 0; i < kBytes; ++i) {
            unit.iv[i] = std::uint8_t(scratch[skipped + i] << shift | scratch[skipped + i + 1] >> (8 - shift));
        }
    }
};

// What the Init functions of all ciphers begin with: the IV, when there is one, and the working copy of it.
inline void set_iv(ZRC_BLOCK_CIPHER_UNIT& unit, const std::uint8_t* iv) noexcept
{
    constexpr std::size_t kWhole = sizeof unit.iv;
    if (iv && unit.iv_length >= kWhole) { // apart: a copy of fixed size is one store, which the load below finds whole
        std::memcpy(unit.initial_iv, iv, kWhole);
    } else if (iv) {
        std::memcpy(unit.initial_iv, iv, unit.iv_length);
    }
    std::memcpy(unit.iv, unit.initial_iv, kWhole);
}

// AES and ARIA: the modes whose decryption runs on the decryption schedule. CFB128 among them looks wrong, since CFB
// only enciphers, and is part of the contract.
inline bool wants_decryption_schedule(const ZRC_BLOCK_CIPHER_UNIT& unit, std::uint32_t encrypt) noexcept
{
    const bool listed = unit.mode == ZRC_MODE_ECB || unit.mode == ZRC_MODE_CBC || unit.mode == ZRC_MODE_CFB128;
    return encrypt == 0 && listed;
}

} // namespace zrc
