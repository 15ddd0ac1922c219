// Big numbers and random bytes of the library for C++.
#pragma once

#include "kestrim_crypto.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tool {

struct release_number {
    void operator()(ZRC_BIGINT* number) const noexcept { ZRC_Free_BIGINT(number); }
};
using number = std::unique_ptr<ZRC_BIGINT, release_number>;

struct release_pool {
    void operator()(ZRC_BIGINT_POOL* pool) const noexcept { ZRC_Free_BIGINT_Pool(pool); }
};
using number_pool = std::unique_ptr<ZRC_BIGINT_POOL, release_pool>;

number new_number();
number_pool new_number_pool();

// From a word of the command line: hexadecimal digits, with or without 0x. Throws failure, kUsage, for any other.
number parse_number(std::string_view word);

// From and to big-endian bytes, as few as needed, so none for 0.
number to_number(std::span<const std::uint8_t> big_endian);
std::vector<std::uint8_t> to_bytes(const ZRC_BIGINT& value);

// The same of a number that may be absent: nothing stands for null.
number optional_number(std::span<const std::uint8_t> big_endian);
std::vector<std::uint8_t> optional_bytes(const ZRC_BIGINT* value);

// As many bytes, zeros in front. The value fits.
std::vector<std::uint8_t> to_bytes(const ZRC_BIGINT& value, std::size_t size);

// Lower-case hexadecimal without leading zeros, or decimal digits.
std::string to_text(const ZRC_BIGINT& value, bool decimal);

// Fills `bytes` from the library's random generator, in requests that it takes: one with bad arguments would lock it
// for good. After a failure, which throws, it must not be asked again.
void random_bytes(std::span<std::uint8_t> bytes);

} // namespace tool
