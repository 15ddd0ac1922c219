// Memory that held something secret is cleared here and nowhere else.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

namespace zrc {

// Zeroes `bytes` bytes at `memory`. The empty asm statement reads the memory as far as the compiler knows, so the stores
// cannot be removed as dead; written inline (not explicit_bzero) because short fixed sizes become a few vector stores.
inline void wipe(void* memory, std::size_t bytes) noexcept
{
    if (bytes == 0) return;
    std::memset(memory, 0, bytes);
    __asm__ __volatile__("" : : "r"(memory) : "memory");
}

// A plain object that is wiped when its scope ends, on every road out.
template <class T>
requires std::is_trivially_copyable_v<T>
class secret {
public:
    secret() = default;
    secret(const secret&) = delete;
    secret& operator=(const secret&) = delete;
    ~secret() { wipe(&value_, sizeof value_); }

    T& operator*() noexcept { return value_; }
    T* operator->() noexcept { return &value_; }

private:
    T value_;
};

// An array that is wiped when its scope ends. Not cleared at the start: what it holds then is undefined.
template <class T, std::size_t N>
requires std::is_trivially_copyable_v<T>
class secret_array {
public:
    secret_array() = default;
    secret_array(const secret_array&) = delete;
    secret_array& operator=(const secret_array&) = delete;
    ~secret_array() { wipe(items_.data(), sizeof items_); }

    std::span<T, N> span() noexcept { return items_; }
    T* data() noexcept { return items_.data(); }
    T& operator[](std::size_t index) noexcept { return items_[index]; }

private:
    std::array<T, N> items_;
};

} // namespace zrc
