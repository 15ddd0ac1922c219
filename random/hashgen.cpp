// Hashgen over SHA-224 and SHA-256, portable, and the list of its kernels.
#include "random/hashgen.hpp"

#include "digest/sha_blocks.hpp"
#include "random/dead_stack.hpp"

namespace zrc {
namespace {

constexpr std::size_t kFrames = 1024; // bytes of stack that these two use, at most

[[gnu::noinline]] void run(sha256_hashgen::initial_value initial, sha256_hashgen::block first, std::size_t count,
                           std::size_t digest_bytes, std::uint8_t* digests) noexcept
{
    hashgen_run(initial, first, count, digest_bytes, digests, sha256_blocks_portable);
}

[[gnu::noinline]] void pair(sha256_hashgen::initial_value initial, sha256_hashgen::block short_one,
                            sha256_hashgen::block long_one, std::span<std::uint8_t, 32> digest_of_short,
                            std::span<std::uint8_t, 32> digest_of_long) noexcept
{
    hashgen_pair(initial, short_one, long_one, digest_of_short, digest_of_long, sha256_blocks_portable);
}

void run_portable(sha256_hashgen::initial_value initial, sha256_hashgen::block first, std::size_t count,
                  std::size_t digest_bytes, std::uint8_t* digests) noexcept
{
    run(initial, first, count, digest_bytes, digests);
    wipe_dead_stack<kFrames>();
}

void pair_portable(sha256_hashgen::initial_value initial, sha256_hashgen::block short_one,
                   sha256_hashgen::block long_one, std::span<std::uint8_t, 32> digest_of_short,
                   std::span<std::uint8_t, 32> digest_of_long) noexcept
{
    pair(initial, short_one, long_one, digest_of_short, digest_of_long);
    wipe_dead_stack<kFrames>();
}

constexpr kernel<const sha256_hashgen*> kKernels[] = {
#if KESTRIM_X86_64_KERNELS
    {"sha-ni", cpu_feature::sha_ni, &kHashgenShaNi},
#endif
    {"portable", cpu_feature::none, &kHashgenPortable},
};

} // namespace

constexpr sha256_hashgen kHashgenPortable{run_portable, pair_portable};

constinit kernel_choice<const sha256_hashgen*> hashgen_kernels{kKernels};

} // namespace zrc
