// RSA and KCDSA beside OpenSSL's RSA and DSA. Speeds are operations per second. Both sides hold the same RSA keys and
// take each other's signatures and ciphertexts. Last comes the power-up self-test of proven mode, in a fresh process
// each time.
#include "bench/library.hpp"
#include "bench/mean.hpp"
#include "bench/pubkey_peer.hpp"

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace bench;

constexpr std::uint32_t kPss = ZRC_RSASSA_PSS | 32U << ZRC_RSASSA_SALT_SHIFT;

char pss[] = "pss", oaep[] = "oaep", sha256[] = "SHA256", salt_bytes[] = "32";
const OSSL_PARAM kPssOptions[] = {
    OSSL_PARAM_utf8_string(OSSL_SIGNATURE_PARAM_PAD_MODE, pss, sizeof pss - 1),
    OSSL_PARAM_utf8_string(OSSL_SIGNATURE_PARAM_DIGEST, sha256, sizeof sha256 - 1),
    OSSL_PARAM_utf8_string(OSSL_SIGNATURE_PARAM_PSS_SALTLEN, salt_bytes, sizeof salt_bytes - 1), OSSL_PARAM_END};
const OSSL_PARAM kOaepOptions[] = {
    OSSL_PARAM_utf8_string(OSSL_ASYM_CIPHER_PARAM_PAD_MODE, oaep, sizeof oaep - 1),
    OSSL_PARAM_utf8_string(OSSL_ASYM_CIPHER_PARAM_OAEP_DIGEST, sha256, sizeof sha256 - 1), OSSL_PARAM_END};

using rsa_unit = std::shared_ptr<ZRC_RSA_UNIT>;
using kcdsa_unit = std::shared_ptr<ZRC_KCDSA_UNIT>;

of_openssl<EVP_PKEY> openssl_rsa_key(std::size_t bits)
{
    return held(EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", bits));
}

// What OpenSSL calls the parts of an RSA key, in the order of ZRC_Set_RSA_Params.
constexpr const char* kParts[] = {
    OSSL_PKEY_PARAM_RSA_N,         OSSL_PKEY_PARAM_RSA_E,
    OSSL_PKEY_PARAM_RSA_D,         OSSL_PKEY_PARAM_RSA_FACTOR1,
    OSSL_PKEY_PARAM_RSA_FACTOR2,   OSSL_PKEY_PARAM_RSA_EXPONENT1,
    OSSL_PKEY_PARAM_RSA_EXPONENT2, OSSL_PKEY_PARAM_RSA_COEFFICIENT1,
};
constexpr std::size_t kAllParts = std::size(kParts), kPlainParts = 3; // without the primes

// The first parts of a key, in both libraries.
struct rsa_key {
    of_openssl<EVP_PKEY> peer;
    rsa_unit ours{ZRC_New_RSA(), ZRC_Free_RSA};

    rsa_key(const of_openssl<EVP_PKEY>& from, std::size_t parts)
    {
        openssl_parts of_peer;
        std::vector<kestrim::number> numbers;
        ZRC_BIGINT* part[kAllParts] = {};
        for (std::size_t i = 0; i < parts; ++i) {
            const bytes value = part_of(from, kParts[i]);
            of_peer.add(kParts[i], value);
            numbers.emplace_back(value);
            part[i] = numbers.back();
        }
        peer = of_peer.key("RSA");
        must(ZRC_Set_RSA_Params(ours.get(), part[0], part[1], part[2], part[3], part[4], part[5], part[6], part[7]) ==
                 0,
             "the key does not load");
    }
};

std::size_t bytes_of(const rsa_key& key)
{
    return ZRC_Get_RSA_Length(key.ours.get());
}

bytes sign(const rsa_key& key)
{
    bytes signature(bytes_of(key));
    std::int32_t length = 0;
    ZRC_RSA_UNIT* const unit = key.ours.get();
    must(ZRC_Init_RSASSA(unit, ZRC_SHA256, kPss, 1) == 0 &&
             ZRC_Update_RSASSA(unit, kMessage.data(), std::int32_t(kMessage.size())) == 0 &&
             ZRC_Final_RSASSA(unit, signature.data(), &length) == 0,
         "not signed");
    return signature;
}

bool verify(const rsa_key& key, bytes& signature)
{
    auto length = std::int32_t(signature.size());
    ZRC_RSA_UNIT* const unit = key.ours.get();
    return ZRC_Init_RSASSA(unit, ZRC_SHA256, kPss, 0) == 0 &&
           ZRC_Update_RSASSA(unit, kMessage.data(), std::int32_t(kMessage.size())) == 0 &&
           ZRC_Final_RSASSA(unit, signature.data(), &length) == 0;
}

void add_signatures(comparison& table, const std::string& row, const rsa_key& key, bool with_verify)
{
    const openssl_signer peer{key.peer, kPssOptions};
    bytes our_signature = sign(key), peer_signature = peer.sign();
    must(peer.verify(our_signature) && verify(key, peer_signature), row + ": the other's signature is refused");
    ++our_signature.back();
    ++peer_signature.back();
    must(!peer.verify(our_signature) && !verify(key, peer_signature), row + ": another signature is taken");
    --peer_signature.back();
    add(
        table, row, [=] { sign(key); }, [=] { peer.sign(); });
    if (!with_verify) return;
    add(
        table, row.substr(0, row.find('/')) + "/verify",
        [=]() mutable { must(verify(key, peer_signature), "not verified"); },
        [=] { must(peer.verify(peer_signature), "not verified"); });
}

// RSAES-OAEP with SHA-256.
class openssl_cipher {
public:
    explicit openssl_cipher(const of_openssl<EVP_PKEY>& key) : key_{key}
    {
        must(EVP_PKEY_encrypt_init_ex(encrypt_.get(), kOaepOptions) == 1 &&
                 EVP_PKEY_decrypt_init_ex(decrypt_.get(), kOaepOptions) == 1,
             "OpenSSL cannot encrypt");
    }

    bytes encrypt() const { return run(EVP_PKEY_encrypt, encrypt_.get(), kMessage); }
    bytes decrypt(const bytes& ciphertext) const { return run(EVP_PKEY_decrypt, decrypt_.get(), ciphertext); }

private:
    bytes run(auto function, EVP_PKEY_CTX* context, const bytes& input) const
    {
        bytes result(std::size_t(EVP_PKEY_get_size(key_.get())));
        std::size_t length = result.size();
        must(function(context, result.data(), &length, input.data(), input.size()) == 1, "OpenSSL's OAEP failed");
        result.resize(length);
        return result;
    }

    of_openssl<EVP_PKEY> key_;
    of_openssl<EVP_PKEY_CTX> encrypt_ = context_of(key_), decrypt_ = context_of(key_);
};

bytes run_cipher(const rsa_key& key, std::uint32_t operation, auto function, const bytes& input)
{
    bytes result(bytes_of(key));
    std::int32_t length = 0;
    must(ZRC_Init_RSAES(key.ours.get(), ZRC_RSAES_OAEP_V21, operation, ZRC_SHA256) == 0 &&
             function(key.ours.get(), result.data(), &length, input.data(), std::int32_t(input.size())) == 0,
         "OAEP failed");
    result.resize(std::size_t(length));
    return result;
}

void add_encryption(comparison& table, const std::string& row, const rsa_key& key)
{
    const openssl_cipher peer{key.peer};
    const auto encrypt = [=] { return run_cipher(key, 0, ZRC_Encrypt_RSAES, kMessage); };
    const auto decrypt = [=](const bytes& ciphertext) { return run_cipher(key, 1, ZRC_Decrypt_RSAES, ciphertext); };
    const bytes ciphertext = peer.encrypt();
    must(decrypt(ciphertext) == kMessage && peer.decrypt(encrypt()) == kMessage, row + ": another message");
    add(table, row + "/OAEP-encrypt", encrypt, [=] { peer.encrypt(); });
    add(
        table, row + "/OAEP-decrypt", [=] { decrypt(ciphertext); }, [=] { peer.decrypt(ciphertext); });
}

// Domain parameters of 2048 and 256 bits, each side's own.
of_openssl<EVP_PKEY> openssl_dsa_key()
{
    std::size_t p_bits = 2048, q_bits = 256;
    const OSSL_PARAM sizes[] = {OSSL_PARAM_size_t(OSSL_PKEY_PARAM_FFC_PBITS, &p_bits),
                                OSSL_PARAM_size_t(OSSL_PKEY_PARAM_FFC_QBITS, &q_bits), OSSL_PARAM_END};
    const std::unique_ptr<EVP_PKEY_CTX, openssl_releaser> maker{EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr)};
    EVP_PKEY *parameters = nullptr, *key = nullptr;
    EVP_PKEY_paramgen_init(maker.get());
    EVP_PKEY_CTX_set_params(maker.get(), sizes);
    EVP_PKEY_paramgen(maker.get(), &parameters);
    const auto context = context_of(held(parameters));
    EVP_PKEY_keygen_init(context.get());
    EVP_PKEY_keygen(context.get(), &key);
    return held(key);
}

struct kcdsa_signature {
    std::uint8_t R[64], S[32];
    std::int32_t R_length, S_length;
};

// The unit keeps its digest and its operation.
kcdsa_signature sign(const kcdsa_unit& unit)
{
    kcdsa_signature signature;
    must(ZRC_Init_KCDSA_Ex(unit.get(), 1, ZRC_SHA256) == 0 &&
             ZRC_Update_KCDSA(unit.get(), kMessage.data(), std::int32_t(kMessage.size())) == 0 &&
             ZRC_Final_KCDSA(unit.get(), signature.R, &signature.R_length, signature.S, &signature.S_length) == 0,
         "not signed");
    signature.S_length = std::int32_t(ZRC_Get_KCDSA_Length(unit.get()));
    return signature;
}

bool verify(const kcdsa_unit& unit, kcdsa_signature& signature)
{
    return ZRC_Init_KCDSA_Ex(unit.get(), 0, ZRC_SHA256) == 0 &&
           ZRC_Update_KCDSA(unit.get(), kMessage.data(), std::int32_t(kMessage.size())) == 0 &&
           ZRC_Final_KCDSA(unit.get(), signature.R, &signature.R_length, signature.S, &signature.S_length) == 0;
}

void add_kcdsa(comparison& table)
{
    const kcdsa_unit unit{ZRC_New_KCDSA(), ZRC_Free_KCDSA};
    must(ZRC_Generate_KCDSA_Params_Ex(unit.get(), 2048, 256, ZRC_SHA256) == 0 &&
             ZRC_Generate_KCDSA_Key_Pair_Ex(unit.get(), nullptr, 0, ZRC_SHA256) == 0,
         "no KCDSA key");
    const openssl_signer peer{openssl_dsa_key()};
    kcdsa_signature signature = sign(unit);
    const bytes peer_signature = peer.sign();
    must(verify(unit, signature) && peer.verify(peer_signature), "not verified");
    signature.S[31] ^= 1;
    must(!verify(unit, signature), "another signature is taken");
    signature.S[31] ^= 1;
    add(
        table, "KCDSA-2048-256/sign/DSA", [=] { sign(unit); }, [=] { peer.sign(); });
    add(
        table, "KCDSA-2048-256/verify/DSA", [=]() mutable { must(verify(unit, signature), "not verified"); },
        [=] { must(peer.verify(peer_signature), "not verified"); });
}

bool compare_key_generation(const std::string& row)
{
    constexpr int kBits = 2048, kKeys = 100;
    const kestrim::number e{bytes{1, 0, 1}};
    return compare_means(
        row, kKeys,
        [&] {
            const rsa_unit unit{ZRC_New_RSA(), ZRC_Free_RSA};
            const std::uint32_t error = ZRC_Generate_RSA_Params_Ex(unit.get(), e, kBits, 1);
            return [=] { return error == 0 && unit->key_flags == 0x1F && ZRC_Get_RSA_Length(unit.get()) == kBits / 8; };
        },
        [&] {
            const auto key = openssl_rsa_key(kBits);
            return [=] { return EVP_PKEY_get_bits(key.get()) == kBits; };
        });
}

// What the fresh process does: its first call passes the gate. Writes the seconds, or nothing. It finds the library's
// file as this one does.
constexpr char kPowerUp[] = "--power-up";
int power_up()
{
    const double start = thread_seconds();
    if (const std::uint32_t code = ZRC_Crypto_Initialize(); code != 0) {
        std::fprintf(stderr, "the self-test failed: %08X\n", unsigned(code));
        return 1;
    }
    const double seconds = thread_seconds() - start;
    return write(STDOUT_FILENO, &seconds, sizeof seconds) == sizeof seconds ? 0 : 1;
}

double fresh_power_up()
{
    int ends[2];
    must(pipe(ends) == 0, "no pipe");
    const pid_t child = fork();
    must(child >= 0, "no process");
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        execl("/proc/self/exe", "kestrim_pubkey_bench", kPowerUp, nullptr);
        _exit(127);
    }
    close(ends[1]);
    double seconds = 0;
    const bool told = read(ends[0], &seconds, sizeof seconds) == sizeof seconds;
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    must(told && status == 0, "no time came back");
    return seconds;
}

void time_power_up(const std::string& row)
{
    std::vector<double> times(9);
    std::generate(times.begin(), times.end(), fresh_power_up);
    std::sort(times.begin(), times.end());
    std::printf("%-44s %9.2f ms at best, %.2f ms in the middle\n", row.c_str(), 1e3 * times.front(),
                1e3 * times[times.size() / 2]);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 2 && std::string_view{argv[1]} == kPowerUp) return power_up();
    start_library();

    comparison table;
    for (const unsigned bits : {2048U, 3072U, 4096U}) {
        const std::string row = "RSA-" + std::to_string(bits);
        const auto whole = openssl_rsa_key(bits);
        const rsa_key key{whole, kAllParts};
        add_signatures(table, row + "/sign-CRT", key, true);
        add_signatures(table, row + "/sign-plain", rsa_key{whole, kPlainParts}, false);
        add_encryption(table, row, key);
    }
    add_kcdsa(table);
    std::puts("The columns named MB/s are operations per second.");
    if (const int status = table.run(argc, argv); status != 0) return status;
    if (selected("RSA-2048/generate/OpenSSL") && !compare_key_generation("RSA-2048/generate/OpenSSL")) return 1;
    if (selected("power-up")) time_power_up("power-up self-test in proven mode");
    return 0;
}
