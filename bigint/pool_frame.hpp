// One frame of a BIGINT pool, finished on every way out of the scope.
#pragma once

#include "kestrim/bigint.h"

namespace zrc {

class pool_frame {
public:
    explicit pool_frame(ZRC_BIGINT_POOL* pool) noexcept : pool_{ZRC_Start_BIGINT_Pool(pool) == 0 ? pool : nullptr} {}
    pool_frame(const pool_frame&) = delete;
    pool_frame& operator=(const pool_frame&) = delete;
    ~pool_frame()
    {
        if (pool_ != nullptr) ZRC_Finish_BIGINT_Pool(pool_);
    }

    // False: there is no pool, or it has no room for a frame.
    bool open() const noexcept { return pool_ != nullptr; }

    // The next temporary, value zero; null without memory. It belongs to the pool.
    ZRC_BIGINT* get() noexcept { return ZRC_Get_BIGINT_Pool(pool_); }

private:
    ZRC_BIGINT_POOL* pool_;
};

} // namespace zrc
