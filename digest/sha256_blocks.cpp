// SHA-256 block function (FIPS 180-4, 6.2.2), portable, and the list of all of them.
#include "digest/sha2_rounds.hpp"
#include "digest/sha_blocks.hpp"
#include "digest/sha_constants.hpp"

namespace zrc {
void sha256_blocks_portable(std::span<std::uint32_t, 8> h, byte_span blocks) noexcept
{
    sha2_blocks(h, blocks, kSha256K);
}

namespace {

constexpr kernel<sha256_blocks_fn> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"sha-ni", cpu_feature::sha_ni, sha256_blocks_sha_ni},
#endif
    {"portable", cpu_feature::none, sha256_blocks_portable},
};

} // namespace

constinit kernel_choice<sha256_blocks_fn> sha256_kernels{kKernels};

} // namespace zrc
