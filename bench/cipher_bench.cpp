// Block ciphers in every mode, and RC4, beside OpenSSL and Crypto++.
#include "bench/comparison.hpp"
#include "kestrim_crypto.h"

#if KESTRIM_BENCH_OPENSSL
#include "bench/openssl_peer.hpp"
#endif
#if KESTRIM_BENCH_CRYPTOPP
#include "bench/cryptopp_peer.hpp"
#endif

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
    {ZRC_AES_256, "AES-256", "AES-256", 32, 16},
    {ZRC_ARIA_128, "ARIA-128", "ARIA-128", 16, 16},
    {ZRC_ARIA_256, "ARIA-256", "ARIA-256", 32, 16},
    {ZRC_SEED, "SEED", "SEED", 16, 16},
    {ZRC_LEA_128, "LEA-128", "LEA-128", 16, 16},
    {ZRC_LEA_256, "LEA-256", "LEA-256", 32, 16},
    {ZRC_DES, "DES", "DES", 8, 8},
    {ZRC_DES_EDE3, "DES-EDE3", "DES-EDE3", 24, 8},
    {ZRC_BLOWFISH, "Blowfish", "BF", 16, 8},
    {ZRC_RC2_128, "RC2-128", "RC2", 16, 8},
};

struct cipher_mode {
    std::uint32_t id;
    const char* name;
    bool both_ways; // decryption is other work than encryption
};
constexpr cipher_mode kEcb{ZRC_MODE_ECB, "ECB", true}, kCbc{ZRC_MODE_CBC, "CBC", true}, kCfb{ZRC_MODE_CFB, "CFB", true},
    kOfb{ZRC_MODE_OFB, "OFB", false}, kCtr{ZRC_MODE_CTR, "CTR", false};

constexpr struct {
    cipher algorithm;
    cipher_mode mode;
} kShortRows[] = {
    {kCiphers[0], kCbc}, {kCiphers[0], kCtr}, {kCiphers[2], kCbc}, {kCiphers[4], kCbc}, {kCiphers[5], kCbc}};

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

auto our_rc4(data_span key, data_span data, std::uint8_t* out)
{
    return [=] {
        std::unique_ptr<ZRC_RC4_UNIT, freer> unit{ZRC_New_RC4_Unit()};
        must(ZRC_Init_RC4(unit.get(), key.data(), std::int32_t(key.size())) == 0, "Init failed");
        return [=, unit = std::move(unit)] { ZRC_Do_RC4(unit.get(), data.data(), std::uint32_t(data.size()), out); };
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
        const data_span key = data().first(c.key_bytes), iv = data().subspan(64, c.block_bytes);
        const data_span message = data().first(size.bytes);
        const auto ours = our_cipher(c.id | mode.id, encrypt, key, iv, message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        namespace peer = bench::openssl;
        if (EVP_CIPHER* const evp = peer::fetch_cipher(evp_name(c, mode).c_str())) {
            const auto theirs = peer::cipher(evp, encrypt, key, iv, message, peer_out_.data());
            return add(row, "EVP", size.bytes, ours, theirs);
        }
#endif
#if KESTRIM_BENCH_CRYPTOPP
        if (is_lea(c)) {
            const auto theirs = bench::cryptopp::lea(mode.name, encrypt, key, iv, message, peer_out_.data());
            return add(row, "Cryptopp", size.bytes, ours, theirs);
        }
#endif
        add_alone(row, size.bytes, ours);
    }

    void add_messages(const cipher& c, const cipher_mode& mode, const sized& size)
    {
        const std::string row = std::string{c.row} + "/" + mode.name + "-message/" + size.name;
        const data_span key = data().first(c.key_bytes), iv = data().subspan(64, c.block_bytes);
        const data_span message = data().first(size.bytes);
        const auto ours = our_messages(c.id | mode.id, key, iv, message, our_out_.data());
#if KESTRIM_BENCH_OPENSSL
        namespace peer = bench::openssl;
        if (EVP_CIPHER* const evp = peer::fetch_cipher(evp_name(c, mode).c_str())) {
            std::uint8_t* const out = peer_out_.data();
            add(row, "EVP", size.bytes, ours, peer::cipher_messages(evp, true, key, iv, message, out));
            return add(row, "EVP-rekeyed", size.bytes, ours, peer::cipher_messages(evp, false, key, iv, message, out));
        }
#endif
#if KESTRIM_BENCH_CRYPTOPP
        if (is_lea(c)) {
            const auto theirs = bench::cryptopp::lea_messages(mode.name, key, iv, message, peer_out_.data());
            return add(row, "Cryptopp", size.bytes, ours, theirs);
        }
#endif
        add_alone(row, size.bytes, ours);
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

private:
    static constexpr std::size_t kLongest = kSizes[std::size(kSizes) - 1].bytes;

    static std::string evp_name(const cipher& c, const cipher_mode& mode)
    {
        return std::string{c.openssl} + "-" + mode.name;
    }
    static bool is_lea(const cipher& c)
    {
        return std::string_view{c.row}.starts_with("LEA");
    }
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
    ZRC_Change_Non_Proven_Mode();
    must(ZRC_Crypto_Initialize() == 0, "the self-test failed");
    comparison table;
    cipher_rows rows{table};
    for (const cipher& c : kCiphers) {
        for (const cipher_mode& mode : {kEcb, kCbc, kCfb, kOfb, kCtr}) {
            if (c.id == ZRC_RC2_128 && mode.id == ZRC_MODE_CTR) continue; // the unit has no such mode
            for (const sized& size : kSizes) {
                rows.add(c, mode, true, size);
                if (mode.both_ways) rows.add(c, mode, false, size);
            }
        }
    }
    for (const sized& size : kSizes)
        rows.add_rc4(size);
    for (const auto& [algorithm, mode] : kShortRows)
        for (const sized& size : kShortSizes)
            rows.add_messages(algorithm, mode, size);
    return table.run(argc, argv);
}
