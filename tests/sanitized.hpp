// Tests that run long do less where everything takes several times as long: under a sanitizer, or under valgrind.
#pragma once

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#endif

namespace test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kSanitized = true;
#elif defined(__has_feature)
inline constexpr bool kSanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool kSanitized = false;
#endif

inline bool runs_slowly()
{
#if defined(RUNNING_ON_VALGRIND)
    if (RUNNING_ON_VALGRIND) return true;
#endif
    return kSanitized;
}

} // namespace test
