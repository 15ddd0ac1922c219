// Block ciphers in every mode, and RC4, beside OpenSSL and Crypto++: long messages under one key, and short ones each
// of which is keyed anew.
#include "bench/comparison.hpp"
#include "bench/library.hpp"
#include "kestrim_crypto.h"

#if KESTRIM_BENCH_OPENSSL
#include "bench/openssl_peer.hpp"
#endif
#if KESTRIM_BENCH_CRYPTOPP
#include "bench/cryptopp_peer.hpp"
#endif

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>

namespace {

using bench::comparison;
using bench::output;
using data_span = std::span<const std::uint8_t>;

struct sized {
    std::size_t bytes;
    const char* name;
};
constexpr sized kSizes[] = {{16384, "16KiB"}, {1048576, "1MiB"}};
constexpr sized kShortSizes[] = {{16, "16B"}, {64, "64B"}, {256, "256B"}};
constexpr std::size_t kEndBytes = 16;

struct cipher {
    std::uint32_t id;
    const char *row, *openssl;
    std::size_t key_bytes, block_bytes;
};
constexpr cipher kCiphers[] = {
    {ZRC_AES_128, "AES-128", "AES-128", 16, 16},
    {ZRC_AES_192, "AES-192", "AES-192", 24, 16},
    {ZRC_AES_256, "AES-256", "AES-256", 32, 16},
    {ZRC_ARIA_128, "ARIA-128", "ARIA-128", 16, 16},
    {ZRC_ARIA_192, "ARIA-192", "ARIA-192", 24, 16},
    {ZRC_ARIA_256, "ARIA-256", "ARIA-256", 32, 16},
    {ZRC_SEED, "SEED", "SEED", 16, 16},
    {ZRC_SEED_256, "SEED-256", nullptr, 32, 16},
    {ZRC_LEA_128, "LEA-128", nullptr, 16, 16},
    {ZRC_LEA_192, "LEA-192", nullptr, 24, 16},
    {ZRC_LEA_256, "LEA-256", nullptr, 32, 16},
    {ZRC_DES, "DES", "DES", 8, 8},
    {ZRC_DES_EDE2, "DES-EDE", "DES-EDE", 16, 8},
    {ZRC_DES_EDE3, "DES-EDE3", "DES-EDE3", 24, 8},
    {ZRC_BLOWFISH, "Blowfish", "BF", 16, 8},
    {ZRC_RC2_40, "RC2-40", "RC2-40", 5, 8},
    {ZRC_RC2_64, "RC2-64", "RC2-64", 8, 8},
    {ZRC_RC2_128, "RC2-128", "RC2", 16, 8},
    {ZRC_RC5, "RC5", nullptr, 16, 8},
};

struct cipher_mode {
    std::uint32_t id;
    const char* name;
    bool both_ways; // decryption is other work than encryption
};
constexpr cipher_mode kEcb{ZRC_MODE_ECB, "ECB", true}, kCbc{ZRC_MODE_CBC, "CBC", true}, kCfb{ZRC_MODE_CFB, "CFB", true},
    kOfb{ZRC_MODE_OFB, "OFB", false}, kCtr{ZRC_MODE_CTR, "CTR", false};

// CFB with short segments, which functions of the cipher do on the unit's fields. One key size of each cipher.
using segment_function = decltype(&zrc_Do_AES_CFB8);
constexpr const char* kSegments[] = {"CFB1", "CFB8", "CFB16", "CFB32", "CFB64"};
constexpr struct {
    std::uint32_t cipher;
    segment_function functions[std::size(kSegments)]; // null: the cipher has no such mode
} kSegmented[] = {
    {ZRC_AES_128, {zrc_Do_AES_CFB1, zrc_Do_AES_CFB8, zrc_Do_AES_CFB16, zrc_Do_AES_CFB32, zrc_Do_AES_CFB64}},
    {ZRC_ARIA_128, {zrc_Do_ARIA_CFB1, zrc_Do_ARIA_CFB8, zrc_Do_ARIA_CFB16, zrc_Do_ARIA_CFB32, zrc_Do_ARIA_CFB64}},
    {ZRC_SEED, {zrc_Do_SEED_CFB1, zrc_Do_SEED_CFB8, zrc_Do_SEED_CFB16, zrc_Do_SEED_CFB32, zrc_Do_SEED_CFB64}},
    {ZRC_LEA_128, {zrc_Do_LEA_CFB1, zrc_Do_LEA_CFB8, zrc_Do_LEA_CFB16, zrc_Do_LEA_CFB32, zrc_Do_LEA_CFB64}},
    {ZRC_DES, {zrc_Do_DES_CFB1, zrc_Do_DES_CFB8, zrc_Do_DES_CFB16, zrc_Do_DES_CFB32}},
    {ZRC_DES_EDE3, {zrc_Do_DES_EDE_CFB1, zrc_Do_DES_EDE_CFB8, zrc_Do_DES_EDE_CFB16, zrc_Do_DES_EDE_CFB32}},
    {ZRC_BLOWFISH, {zrc_Do_BF_CFB1, zrc_Do_BF_CFB8, zrc_Do_BF_CFB16, zrc_Do_BF_CFB32}},
    {ZRC_RC2_128, {zrc_Do_RC2_CFB1, zrc_Do_RC2_CFB8, zrc_Do_RC2_CFB16, zrc_Do_RC2_CFB32}},
    {ZRC_RC5, {zrc_Do_RC5_CFB1, zrc_Do_RC5_CFB8, zrc_Do_RC5_CFB16, zrc_Do_RC5_CFB32, zrc_Do_RC5_CFB64}},
};

const cipher& cipher_of(std::uint32_t id)
{
    return *std::find_if(std::begin(kCiphers), std::end(kCiphers), [&](const cipher& c) { return c.id == id; });
}

// The unit has no such mode.
bool lacks(const cipher& c, const cipher_mode& mode)
{
    return std::string_view{c.row}.starts_with("RC2") && mode.id == ZRC_MODE_CTR;
}

void must(bool good, const std::string& what)
{
    if (good) return;
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

struct freer {
    void operator()(ZRC_BLOCK_CIPHER_UNIT* unit) const { ZRC_Free_BLOCK_CIPHER_Unit(unit); }
    void operator()(ZRC_RC4_UNIT* unit) const { ZRC_Free_RC4_Unit(unit); }
};
using unit_ptr = std::unique_ptr<ZRC_BLOCK_CIPHER_UNIT, freer>;

// A keyed unit without padding, always in the same message.
auto our_cipher(std::uint32_t id, bool encrypt, data_span key, data_span iv, data_span data, std::uint8_t* out)
{
    return [=] {
        unit_ptr unit{ZRC_New_BLOCK_CIPHER_Unit()};
        must(ZRC_Init_BLOCK_CIPHER(unit.get(), id | ZRC_NO_PADDING, key.data(), iv.data(), encrypt) == 0,
             "Init failed");
        return [=, unit = std::move(unit)] {
            std::int32_t written = 0;
            ZRC_Update_BLOCK_CIPHER(unit.get(), out, &written, data.data(), std::int32_t(data.size()));
            must(std::size_t(written) == data.size(), "Update failed");
        };
    };
}

// Encrypts message after message in one unit, each with its key and IV.
auto our_messages(std::uint32_t id, data_span key, data_span iv, data_span data, std::uint8_t* out)
{
    return [=] {
        return [=, unit = unit_ptr{ZRC_New_BLOCK_CIPHER_Unit()}] {
            std::int32_t written = 0, rest = 0;
            ZRC_Init_BLOCK_CIPHER(unit.get(), id | ZRC_NO_PADDING, key.data(), iv.data(), 1);
            ZRC_Update_BLOCK_CIPHER(unit.get(), out, &written, data.data(), std::int32_t(data.size()));
            must(ZRC_Final_BLOCK_CIPHER(unit.get(), out + written, &rest) == 0, "Final failed");
        };
    };
}

// A keyed unit in one of the segmented modes, always in the same message.
auto our_segments(std::uint32_t id, segment_function function, bool in_bits, data_span key, data_span iv,
                  data_span data, std::uint8_t* out)
{
    return [=] {
        unit_ptr unit{ZRC_New_BLOCK_CIPHER_Unit()};
        must(ZRC_Init_BLOCK_CIPHER(unit.get(), id | ZRC_MODE_CFB, key.data(), iv.data(), 1) == 0, "Init failed");
        return [=, unit = std::move(unit)] {
            const auto length = std::int32_t(in_bits ? 8 * data.size() : data.size());
            must(function(unit.get(), out, data.data(), length) == 0, "segmented CFB failed");
        };
    };
}

auto our_rc4(data_span key, data_span data, std::uint8_t* out)
{
    return [=] {
        std::unique_ptr<ZRC_RC4_UNIT, freer> unit{ZRC_New_RC4_Unit()};
        must(ZRC_Init_RC4(unit.get(), key.data(), std::int32_t(key.size())) == 0, "Init failed");
        return [=, unit = std::move(unit)] { ZRC_Do_RC4(unit.get(), data.data(), std::uint32_t(data.size()), out); };
    };
}

auto our_rc4_messages(data_span key, data_span data, std::uint8_t* out)
{
    return [=] {
        return [=, unit = std::unique_ptr<ZRC_RC4_UNIT, freer>{ZRC_New_RC4_Unit()}] {
            ZRC_Init_RC4(unit.get(), key.data(), std::int32_t(key.size()));
            must(ZRC_Do_RC4(unit.get(), data.data(), std::uint32_t(data.size()), out) == 0, "RC4 failed");
        };
    };
}

// The table, and the buffers that its rows work in. Each side has its own for output.
class cipher_rows {
public:
    explicit cipher_rows(comparison& table)
        : table_{table}, data_(kLongest), our_out_(kLongest + kEndBytes), peer_out_(kLongest + kEndBytes)
    {
        for (std::size_t i = 0; i < data_.size(); ++i)
            data_[i] = std::uint8_t(i * 167 + (i >> 8) + 13);
    }

    void add(const cipher& c, const cipher_mode& mode, bool encrypt, const sized& size)
    {
        const std::string row = std::string{c.row} + "/" + mode.name + (encrypt ? "-enc/" : "-dec/") + size.name;
        const inputs in = inputs_of(c, size);
        const auto ours = our_cipher(c.id | mode.id, encrypt, in.key, in.iv, in.message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        if (EVP_CIPHER* const evp = evp_of(c, mode.name)) {
            const auto theirs = bench::openssl::cipher(evp, encrypt, in.key, in.iv, in.message, peer_out_.data());
            return add(row, "EVP", size.bytes, ours, theirs);
        }
#endif
#if KESTRIM_BENCH_CRYPTOPP
        if (bench::cryptopp::has(c.row)) {
            const auto theirs =
                bench::cryptopp::cipher(c.row, mode.name, encrypt, in.key, in.iv, in.message, peer_out_.data());
            return add(row, "Cryptopp", size.bytes, ours, theirs);
        }
#endif
        add_alone(row, size.bytes, ours);
    }

    void add_segmented(const cipher& c, const char* mode, segment_function function, const sized& size)
    {
        const std::string row = std::string{c.row} + "/" + mode + "-enc/" + size.name;
        const inputs in = inputs_of(c, size);
        const bool in_bits = mode == std::string_view{"CFB1"};
        const auto ours = our_segments(c.id, function, in_bits, in.key, in.iv, in.message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        if (EVP_CIPHER* const evp = evp_of(c, mode)) {
            const auto theirs = bench::openssl::cipher(evp, true, in.key, in.iv, in.message, peer_out_.data());
            return add(row, "EVP", size.bytes, ours, theirs);
        }
#endif
        add_alone(row, size.bytes, ours);
    }

    // Only with a peer.
    void add_messages(const cipher& c, const cipher_mode& mode, const sized& size)
    {
        [[maybe_unused]] const std::string row = std::string{c.row} + "/" + mode.name + "-message/" + size.name;
        const inputs in = inputs_of(c, size);
        [[maybe_unused]] const auto ours = our_messages(c.id | mode.id, in.key, in.iv, in.message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        if (EVP_CIPHER* const evp = evp_of(c, mode.name)) {
            const auto theirs = bench::openssl::cipher_messages(evp, in.key, in.iv, in.message, peer_out_.data());
            return add(row, "EVP-rekeyed", size.bytes, ours, theirs);
        }
#endif
#if KESTRIM_BENCH_CRYPTOPP
        if (bench::cryptopp::has(c.row)) {
            const auto theirs =
                bench::cryptopp::cipher_messages(c.row, mode.name, in.key, in.iv, in.message, peer_out_.data());
            return add(row, "Cryptopp", size.bytes, ours, theirs);
        }
#endif
    }

    void add_rc4(const sized& size)
    {
        const std::string row = std::string{"RC4/"} + size.name;
        const data_span key = data().first(16), message = data().first(size.bytes);
        const auto ours = our_rc4(key, message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        if (EVP_CIPHER* const evp = bench::openssl::fetch_cipher("RC4")) {
            const auto theirs = bench::openssl::cipher(evp, true, key, {}, message, peer_out_.data());
            return add(row, "EVP", size.bytes, ours, theirs);
        }
#endif
        add_alone(row, size.bytes, ours);
    }

    // Only with a peer.
    void add_rc4_messages(const sized& size)
    {
        [[maybe_unused]] const std::string row = std::string{"RC4-message/"} + size.name;
        const data_span key = data().first(16), message = data().first(size.bytes);
        [[maybe_unused]] const auto ours = our_rc4_messages(key, message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        if (EVP_CIPHER* const evp = bench::openssl::fetch_cipher("RC4")) {
            const auto theirs = bench::openssl::cipher_messages(evp, key, {}, message, peer_out_.data());
            return add(row, "EVP-rekeyed", size.bytes, ours, theirs);
        }
#endif
    }

private:
    static constexpr std::size_t kLongest = kSizes[std::size(kSizes) - 1].bytes;

    struct inputs {
        data_span key, iv, message;
    };
    inputs inputs_of(const cipher& c, const sized& size) const
    {
        return {data().first(c.key_bytes), data().subspan(64, c.block_bytes), data().first(size.bytes)};
    }

#if KESTRIM_BENCH_OPENSSL
    static EVP_CIPHER* evp_of(const cipher& c, const char* mode)
    {
        return c.openssl ? bench::openssl::fetch_cipher((std::string{c.openssl} + "-" + mode).c_str()) : nullptr;
    }
#endif
    data_span data() const
    {
        return data_;
    }

    // The end of the output is what the table compares and keeps from being optimised away.
    static auto with_end(auto make, const std::uint8_t* out, std::size_t bytes)
    {
        return [=] {
            return [work = make(), end = out + bytes - kEndBytes](output& result) {
                work();
                std::memcpy(result.data(), end, kEndBytes);
            };
        };
    }

    void add(const std::string& row, const std::string& peer, std::size_t bytes, auto ours, auto theirs)
    {
        std::fill(our_out_.begin(), our_out_.end(), std::uint8_t{0x0F});
        std::fill(peer_out_.begin(), peer_out_.end(), std::uint8_t{0xF0});
        table_.add(row, peer, bytes, with_end(ours, our_out_.data(), bytes), with_end(theirs, peer_out_.data(), bytes));
        must(std::equal(our_out_.begin(), our_out_.begin() + std::ptrdiff_t(bytes), peer_out_.begin()),
             row + ": the two sides differ");
    }

    void add_alone(const std::string& row, std::size_t bytes, auto ours)
    {
        table_.add_alone(row, bytes, with_end(ours, our_out_.data(), bytes));
    }

    comparison& table_;
    std::vector<std::uint8_t> data_, our_out_, peer_out_;
};

} // namespace

int main(int argc, char** argv)
{
    bench::start_library();
    comparison table;
    cipher_rows rows{table};
    for (const cipher& c : kCiphers) {
        for (const cipher_mode& mode : {kEcb, kCbc, kCfb, kOfb, kCtr}) {
            if (lacks(c, mode)) continue;
            for (const sized& size : kSizes) {
                rows.add(c, mode, true, size);
                if (mode.both_ways) rows.add(c, mode, false, size);
            }
        }
    }
    for (const auto& [id, functions] : kSegmented)
        for (std::size_t i = 0; i < std::size(kSegments); ++i)
            if (functions[i]) rows.add_segmented(cipher_of(id), kSegments[i], functions[i], kSizes[0]);
    for (const sized& size : kSizes)
        rows.add_rc4(size);
    for (const cipher& c : kCiphers) {
        for (const cipher_mode& mode : {kEcb, kCbc, kCtr}) {
            if (lacks(c, mode)) continue;
            for (const sized& size : kShortSizes)
                rows.add_messages(c, mode, size);
        }
    }
    for (const sized& size : kShortSizes)
        rows.add_rc4_messages(size);
    return table.run(argc, argv);
}
