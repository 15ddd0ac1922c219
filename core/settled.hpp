// A value that the compiler has to take as it is.
#pragma once

namespace zrc {

// Hides from the compiler where `value` comes from, so that it is made before it is used: sums are added in the order in
// which they are written, and nothing is remembered about memory behind a pointer. No instruction comes of it.
template <class T>
[[gnu::always_inline]] inline T settled(T value) noexcept
{
    __asm__("" : "+r"(value));
    return value;
}

} // namespace zrc
