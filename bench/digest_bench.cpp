// Digests and HMACs beside OpenSSL and RHash.
#include "bench/comparison.hpp"
#include "bench/library.hpp"
#include "kestrim_crypto.h"

#if KESTRIM_BENCH_OPENSSL
#include "bench/openssl_peer.hpp"
#endif
#if KESTRIM_BENCH_RHASH
#include <rhash.h>
#endif

#include <memory>
#include <span>

namespace {

using bench::comparison;
using bench::output;
using data_span = std::span<const std::uint8_t>;

constexpr struct {
    std::size_t bytes;
    const char* name;
} kSizes[] = {{16, "16B"}, {256, "256B"}, {1024, "1KiB"}, {16384, "16KiB"}, {1048576, "1MiB"}};

constexpr struct {
    std::int32_t id;
    const char *row, *openssl;
} kDigests[] = {{ZRC_SHA1, "SHA-1", "SHA1"}, {ZRC_SHA256, "SHA-256", "SHA256"}, {ZRC_SHA512, "SHA-512", "SHA512"},
                {ZRC_MD5, "MD5", "MD5"},     {ZRC_HAS160, "HAS-160", nullptr},  {ZRC_MDC2, "MDC-2", "MDC2"}};

struct freer {
    void operator()(ZRC_DIGEST_UNIT* unit) const { ZRC_Free_DIGEST_Unit(unit); }
    void operator()(ZRC_HMAC_UNIT* unit) const { ZRC_Free_HMAC_Unit(unit); }
};

// An initialised unit, kept from message to message.
auto our_unit(std::int32_t id, data_span data)
{
    return [=] {
        std::unique_ptr<ZRC_DIGEST_UNIT, freer> unit{ZRC_New_DIGEST_Unit()};
        ZRC_Init_DIGEST(unit.get(), id);
        return [=, unit = std::move(unit)](output& out) {
            ZRC_Update_DIGEST(unit.get(), data.data(), std::int32_t(data.size()));
            ZRC_Final_DIGEST(unit.get(), out.data(), nullptr);
        };
    };
}

auto our_digest(std::int32_t id, data_span data)
{
    return [=] {
        return [=](output& out) { ZRC_DIGEST(id, data.data(), std::int32_t(data.size()), out.data(), nullptr); };
    };
}

auto our_keyed_mac(std::int32_t id, data_span key, data_span data)
{
    return [=] {
        std::unique_ptr<ZRC_HMAC_UNIT, freer> unit{ZRC_New_HMAC_Unit()};
        ZRC_Init_HMAC(unit.get(), id, key.data(), std::int32_t(key.size()));
        return [=, unit = std::move(unit)](output& out) {
            ZRC_Update_HMAC(unit.get(), data.data(), std::int32_t(data.size()));
            ZRC_Final_HMAC(unit.get(), out.data(), nullptr);
        };
    };
}

auto our_mac(std::int32_t id, data_span key, data_span data)
{
    return [=] {
        return [=](output& out) {
            ZRC_HMAC(id, key.data(), std::int32_t(key.size()), data.data(), std::int32_t(data.size()), out.data(),
                     nullptr);
        };
    };
}

#if KESTRIM_BENCH_RHASH
auto rhash_unit(unsigned id, data_span data)
{
    return [=] {
        std::unique_ptr<rhash_context, decltype([](rhash context) { rhash_free(context); })> context{rhash_init(id)};
        return [=, context = std::move(context)](output& out) {
            rhash_update(context.get(), data.data(), data.size());
            rhash_final(context.get(), out.data());
            rhash_reset(context.get());
        };
    };
}
#endif

void add_units(comparison& table, data_span data)
{
    for (const auto& digest : kDigests) {
        for (const auto& size : kSizes) {
            const std::string row = std::string{digest.row} + "/unit/" + size.name;
            const data_span message = data.first(size.bytes);
            const auto ours = our_unit(digest.id, message);
#if KESTRIM_BENCH_OPENSSL
            if (EVP_MD* const md = digest.openssl ? bench::openssl::fetch(digest.openssl) : nullptr) {
                table.add(row, "EVP", size.bytes, ours, bench::openssl::unit(md, message));
                continue;
            }
            if (digest.id == ZRC_MDC2) {
                table.add(row, "over-DES", size.bytes, ours, bench::openssl::mdc2_over_des(message));
                continue;
            }
#endif
#if KESTRIM_BENCH_RHASH
            if (digest.id == ZRC_HAS160) {
                table.add(row, "RHash", size.bytes, ours, rhash_unit(RHASH_HAS160, message));
                continue;
            }
#endif
            table.add_alone(row, size.bytes, ours);
        }
    }
}

// One call for each message, where the interface weighs most.
void add_one_shots(comparison& table, data_span data)
{
    const data_span key = data.first(32);
    for (const auto& digest : kDigests) {
        if (digest.id == ZRC_HAS160 || digest.id == ZRC_MDC2) continue;
        for (const auto& size : kSizes) {
            if (size.bytes != 16 && size.bytes != 1024) continue;
            const data_span message = data.first(size.bytes);
            const auto row = [&](const char* call) { return std::string{digest.row} + call + size.name; };
#if KESTRIM_BENCH_OPENSSL
            namespace peer = bench::openssl;
            EVP_MD* const md = peer::fetch(digest.openssl);
            const auto ours = our_digest(digest.id, message);
            const auto our_hmac = our_mac(digest.id, key, message);
            table.add(row("/ZRC_DIGEST/"), "EVP_Digest", size.bytes, ours, peer::evp_digest(md, message));
            table.add(row("/ZRC_DIGEST/"), "EVP_Q_digest", size.bytes, ours,
                      peer::evp_q_digest(digest.openssl, message));
            table.add(row("/ZRC_HMAC/"), "HMAC", size.bytes, our_hmac, peer::hmac(md, key, message));
            table.add(row("/ZRC_HMAC/"), "EVP_Q_mac", size.bytes, our_hmac,
                      peer::evp_q_mac(digest.openssl, key, message));
            table.add(row("/HMAC-keyed/"), "EVP_MAC", size.bytes, our_keyed_mac(digest.id, key, message),
                      peer::keyed_mac(digest.openssl, key, message));
#else
            table.add_alone(row("/ZRC_DIGEST/"), size.bytes, our_digest(digest.id, message));
            table.add_alone(row("/ZRC_HMAC/"), size.bytes, our_mac(digest.id, key, message));
            table.add_alone(row("/HMAC-keyed/"), size.bytes, our_keyed_mac(digest.id, key, message));
#endif
        }
    }
}

} // namespace

int main(int argc, char** argv)
{
    bench::start_library();
#if KESTRIM_BENCH_RHASH
    rhash_library_init();
#endif
    std::vector<std::uint8_t> data(kSizes[std::size(kSizes) - 1].bytes);
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = std::uint8_t(i * 167 + 13);
    comparison table;
    add_units(table, data);
    add_one_shots(table, data);
    return table.run(argc, argv);
}
