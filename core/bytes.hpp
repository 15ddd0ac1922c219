// Bytes: the span that inner code passes them in, and words from bytes and back in either byte order, at any alignment.
#pragma once

#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <span>

namespace zrc {

using byte_span = std::span<const std::uint8_t>;

constexpr std::uint32_t byte_swap(std::uint32_t word) noexcept
{
    return __builtin_bswap32(word);
}
constexpr std::uint64_t byte_swap(std::uint64_t word) noexcept
{
    return __builtin_bswap64(word);
}

template <std::unsigned_integral Word, std::endian Order>
inline Word load(const std::uint8_t* bytes) noexcept
{
    Word word;
    std::memcpy(&word, bytes, sizeof word);
    return Order == std::endian::native ? word : byte_swap(word);
}

template <std::endian Order, std::unsigned_integral Word>
inline void store(std::uint8_t* bytes, Word word) noexcept
{
    if constexpr (Order != std::endian::native) word = byte_swap(word);
    std::memcpy(bytes, &word, sizeof word);
}

inline std::uint32_t load_le32(const std::uint8_t* bytes) noexcept
{
    return load<std::uint32_t, std::endian::little>(bytes);
}
inline std::uint32_t load_be32(const std::uint8_t* bytes) noexcept
{
    return load<std::uint32_t, std::endian::big>(bytes);
}
inline std::uint64_t load_be64(const std::uint8_t* bytes) noexcept
{
    return load<std::uint64_t, std::endian::big>(bytes);
}
inline void store_le32(std::uint8_t* bytes, std::uint32_t word) noexcept
{
    store<std::endian::little>(bytes, word);
}
inline void store_be32(std::uint8_t* bytes, std::uint32_t word) noexcept
{
    store<std::endian::big>(bytes, word);
}
inline void store_be64(std::uint8_t* bytes, std::uint64_t word) noexcept
{
    store<std::endian::big>(bytes, word);
}

} // namespace zrc
