// A memory buffer that grows: a chain of fragments, written at its end and read from a place of its own.
#pragma once

#include "core/bytes.hpp"
#include "core/mempool.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {

class membuf {
public:
    membuf() = default;
    membuf(const membuf&) = delete;
    membuf& operator=(const membuf&) = delete;
    ~membuf() { free_memfrags(first_); }

    std::uint64_t length() const noexcept { return length_; }
    std::uint64_t position() const noexcept { return position_; }

    // False, with nothing appended, when there is no memory.
    bool append(byte_span bytes) noexcept;

    // The number of bytes read; 0 at the end.
    std::size_t read(std::span<std::uint8_t> out) noexcept;

    // Goes to a place for reading; false when that is behind the end.
    bool seek(std::uint64_t position) noexcept;

    // All bytes, from the start; `out` has room for them.
    void copy_to(std::uint8_t* out) const noexcept;

    // Empties the buffer. Its fragments are kept for what is appended next.
    void clear() noexcept;

private:
    // Byte i is byte i % memfrag::kBytes of fragment i / memfrag::kBytes. There are no empty fragments.
    mempool pool_;
    memfrag* first_ = nullptr;
    memfrag* last_ = nullptr;
    std::uint64_t length_ = 0;
    std::uint64_t position_ = 0;
    memfrag* current_ = nullptr; // holds the byte in front of the position; null at the start
};

} // namespace zrc
