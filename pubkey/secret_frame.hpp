// A frame of a BIGINT pool for temporaries that hold secrets.
#pragma once

#include "bigint/pool_frame.hpp"
#include "core/secret.hpp"
#include "kestrim/bigint.h"

#include <cstddef>
#include <cstdint>

namespace zrc {

// A pool keeps what is in its temporaries until it is released. This frame wipes its own in the end, and those that
// were handed out and taken back meanwhile.
class secret_frame {
public:
    explicit secret_frame(ZRC_BIGINT_POOL* pool) noexcept : pool_{pool}, first_{pool ? pool->used : 0}, frame_{pool} {}
    secret_frame(const secret_frame&) = delete;
    secret_frame& operator=(const secret_frame&) = delete;
    ~secret_frame()
    {
        if (frame_.open()) wipe_temporaries();
    }

    // False: there is no pool, or it has no room for a frame.
    bool open() const noexcept { return frame_.open(); }

    // The next temporary, value zero; null without memory. It belongs to the pool.
    ZRC_BIGINT* get() noexcept { return frame_.get(); }

private:
    void wipe_temporaries() noexcept
    {
        std::int32_t index = 0;
        for (ZRC_BIGINT_POOL_BLOCK* block = pool_->head; block; block = block->next) {
            for (ZRC_BIGINT& bn : block->bigint) {
                if (index++ < first_) continue;
                wipe(bn.data, std::size_t(bn.allocated) * sizeof(std::uint32_t));
                bn.length = 0;
            }
        }
    }

    ZRC_BIGINT_POOL* pool_;
    std::int32_t first_; // temporaries that were out before
    pool_frame frame_;
};

} // namespace zrc
