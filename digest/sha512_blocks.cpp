// SHA-512 block function (FIPS 180-4, 6.4.2), portable, and the list of all of them.
#include "digest/sha2_rounds.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"

namespace zrc {
void sha512_blocks_portable(std::span<std::uint64_t, 8> h, byte_span blocks) noexcept
{
    sha2_blocks(h, blocks, kSha512K);
}

namespace {

constexpr kernel<sha512_blocks_fn> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"avx512vl", cpu_feature::avx512vl, sha512_blocks_avx512vl},
    {"avx2", cpu_feature::avx2, sha512_blocks_avx2},
#endif
    {"portable", cpu_feature::none, sha512_blocks_portable},
};

} // namespace

constinit kernel_choice<sha512_blocks_fn> sha512_kernels{kKernels};

} // namespace zrc
