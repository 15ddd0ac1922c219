// Bytes that are secret and whose number is known at run time only; secret_array of core/secret.hpp has a fixed size.
#pragma once

#include "core/bytes.hpp"
#include "kestrim/memory.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace zrc {

// Memory that is wiped and released when its scope ends. Not cleared at the start: what it holds then is undefined.
// Without memory the buffer is false, and must not be used.
class secret_buffer {
public:
    explicit secret_buffer(std::size_t bytes) noexcept
        : bytes_{bytes <= UINT32_MAX ? static_cast<std::uint8_t*>(ZRC_Malloc(std::uint32_t(bytes))) : nullptr},
          size_{bytes}
    {
    }
    ~secret_buffer() { ZRC_Free_Ex(bytes_, std::uint32_t(size_)); }
    secret_buffer(const secret_buffer&) = delete;
    secret_buffer& operator=(const secret_buffer&) = delete;

    explicit operator bool() const noexcept { return bytes_ != nullptr; }

    std::span<std::uint8_t> span() noexcept { return {bytes_, size_}; }
    std::uint8_t* data() noexcept { return bytes_; }
    std::size_t size() const noexcept { return size_; }

private:
    std::uint8_t* bytes_;
    std::size_t size_;
};

} // namespace zrc
