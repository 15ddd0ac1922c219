// Owning pointers to what the C interface allocates.
#pragma once

#include <memory>

namespace zrc {

template <auto Free>
struct free_with {
    void operator()(auto* object) const noexcept { Free(object); }
};

// owned<ZRC_DIGEST_UNIT, ZRC_Free_DIGEST_Unit> unit{ZRC_New_DIGEST_Unit()};
template <class T, auto Free>
using owned = std::unique_ptr<T, free_with<Free>>;

} // namespace zrc
