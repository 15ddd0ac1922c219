// The random generator beside Crypto++'s Hash_DRBG. Both sides start from the same seed, so they give the same bytes.
#include "bench/comparison.hpp"
#include "bench/library.hpp"
#include "kestrim_crypto.h"

#if KESTRIM_BENCH_CRYPTOPP
#include <cryptopp/drbg.h>
#include <cryptopp/sha.h>
#endif

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace {

using bench::comparison;
using bench::output;

constexpr struct {
    std::size_t bytes;
    const char* name;
} kSizes[] = {{16, "16B"}, {64, "64B"}, {256, "256B"}, {4096, "4KiB"}, {1048576, "1MiB"}};

constexpr std::size_t kEntropyBytes = 64, kNonceBytes = 32;
std::uint8_t seed[kEntropyBytes + kNonceBytes] = {1, 2, 3};

// After a failed request the next one would wait forever.
void request(std::int32_t digest_id, std::span<std::uint8_t> out, const ZRC_DRBG_INPUT* input)
{
    if (zrc_Get_Rand_Bytes_DRBG(out.data(), std::int32_t(out.size()), 0, digest_id, 0, input) == 0) return;
    std::fputs("no random bytes\n", stderr);
    std::exit(1);
}

// Requests that go on from the seed: a request for another digest has made the generator forget its state.
auto our_requests(std::int32_t digest_id, std::size_t bytes)
{
    return [=] {
        ZRC_DRBG_INPUT input{};
        input.entropy = seed;
        input.entropy_length = kEntropyBytes;
        input.nonce = seed + kEntropyBytes;
        input.nonce_length = kNonceBytes;
        std::vector<std::uint8_t> buffer(bytes);
        request(ZRC_SHA384, std::span{buffer}.first(1), nullptr);
        return [=](output& out) mutable {
            request(digest_id, buffer, &input);
            std::memcpy(out.data(), buffer.data(), 16);
        };
    };
}

struct no_peer {};

#if KESTRIM_BENCH_CRYPTOPP
// One generator for all requests. It gives at most 64 KiB at once.
template <class Hash, unsigned Strength, unsigned SeedBytes>
struct cryptopp_generator {
    static auto requests(std::size_t bytes)
    {
        return [=] {
            auto generator = std::make_unique<CryptoPP::Hash_DRBG<Hash, Strength, SeedBytes>>(
                seed, kEntropyBytes, seed + kEntropyBytes, kNonceBytes);
            return [generator = std::move(generator), buffer = std::vector<std::uint8_t>(bytes)](output& out) mutable {
                constexpr std::size_t kAtOnce = 65536;
                for (std::size_t done = 0; done < buffer.size(); done += kAtOnce)
                    generator->GenerateBlock(buffer.data() + done, std::min(kAtOnce, buffer.size() - done));
                std::memcpy(out.data(), buffer.data(), 16);
            };
        };
    }
};
using cryptopp_sha1 = cryptopp_generator<CryptoPP::SHA1, 16, 55>;
using cryptopp_sha256 = cryptopp_generator<CryptoPP::SHA256, 16, 55>;
using cryptopp_sha512 = cryptopp_generator<CryptoPP::SHA512, 32, 111>;
#else
using cryptopp_sha1 = no_peer;
using cryptopp_sha256 = no_peer;
using cryptopp_sha512 = no_peer;
#endif

template <class Peer>
void add(comparison& table, const char* digest, std::int32_t digest_id)
{
    for (const auto& size : kSizes) {
        const std::string row = std::string{"Hash_DRBG/"} + digest + "/" + size.name;
        const auto ours = our_requests(digest_id, size.bytes);
        if constexpr (requires { Peer::requests(size.bytes); }) {
            table.add(row, "Cryptopp", size.bytes, ours, Peer::requests(size.bytes));
        } else {
            table.add_alone(row, size.bytes, ours);
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::start_library();
    comparison table;
    add<cryptopp_sha256>(table, "SHA-256", ZRC_SHA256);
    add<cryptopp_sha512>(table, "SHA-512", ZRC_SHA512);
    add<cryptopp_sha1>(table, "SHA-1", ZRC_SHA1);
    add<no_peer>(table, "HAS-160", ZRC_HAS160);
    return table.run(argc, argv);
}
