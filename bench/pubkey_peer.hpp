// OpenSSL's keys and signatures, for the programs that hold the same keys in both libraries. OpenSSL keeps its
// contexts and its digest from one message to the next. Speeds are operations per second.
//
// <openssl/rsa.h> cannot be included: it has a PKCS1_MGF1, too. Options are set by name instead.
#pragma once

#include "bench/bigint_peer.hpp"

#include <array>
#include <memory>
#include <openssl/core_names.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

inline const bytes kMessage(64, 0x6B);

inline void must(bool good, std::string_view what)
{
    if (good) return;
    std::fprintf(stderr, "%.*s\n", int(what.size()), what.data());
    std::exit(1);
}

struct openssl_releaser {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(EVP_MD* md) const { EVP_MD_free(md); }
    void operator()(OSSL_PARAM* parameters) const { OSSL_PARAM_free(parameters); }
    void operator()(OSSL_PARAM_BLD* builder) const { OSSL_PARAM_BLD_free(builder); }
};
template <class T>
using of_openssl = std::shared_ptr<T>;

inline of_openssl<EVP_PKEY> held(EVP_PKEY* key)
{
    must(key != nullptr, "OpenSSL made no key");
    return {key, openssl_releaser{}};
}

inline of_openssl<EVP_PKEY_CTX> context_of(const of_openssl<EVP_PKEY>& key)
{
    return {EVP_PKEY_CTX_new(key.get(), nullptr), openssl_releaser{}};
}

// A number of a key, by OpenSSL's name for it.
inline bytes part_of(const of_openssl<EVP_PKEY>& key, const char* name)
{
    BIGNUM* value = nullptr;
    must(EVP_PKEY_get_bn_param(key.get(), name, &value) == 1, name);
    bytes data(std::size_t(BN_num_bytes(value)));
    BN_bn2bin(value, data.data());
    BN_clear_free(value);
    return data;
}

// What a key or a curve is made of, by OpenSSL's names.
class openssl_parts {
public:
    void add(const char* name, const bytes& number)
    {
        numbers_.emplace_back(number);
        must(OSSL_PARAM_BLD_push_BN(builder_.get(), name, numbers_.back()) == 1, name);
    }
    void add_text(const char* name, const char* text) // that stays in place
    {
        must(OSSL_PARAM_BLD_push_utf8_string(builder_.get(), name, text, 0) == 1, name);
    }
    void add_octets(const char* name, const bytes& octets)
    {
        octets_.push_back(octets);
        must(OSSL_PARAM_BLD_push_octet_string(builder_.get(), name, octets_.back().data(), octets.size()) == 1, name);
    }

    of_openssl<OSSL_PARAM> parameters() const { return {OSSL_PARAM_BLD_to_param(builder_.get()), openssl_releaser{}}; }

    of_openssl<EVP_PKEY> key(const char* algorithm) const
    {
        const of_openssl<OSSL_PARAM> parts = parameters();
        const of_openssl<EVP_PKEY_CTX> context{EVP_PKEY_CTX_new_from_name(nullptr, algorithm, nullptr),
                                               openssl_releaser{}};
        EVP_PKEY* key = nullptr;
        EVP_PKEY_fromdata_init(context.get());
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_KEYPAIR, parts.get());
        return held(key);
    }

private:
    std::vector<openssl::number> numbers_; // the builder refers to them, as to the octets
    std::vector<bytes> octets_;
    of_openssl<OSSL_PARAM_BLD> builder_{OSSL_PARAM_BLD_new(), openssl_releaser{}};
};

// SHA-256, and then a signature of it. Not with the message's digest inside, for speed.
class openssl_signer {
public:
    explicit openssl_signer(const of_openssl<EVP_PKEY>& key, const OSSL_PARAM* options = nullptr) : key_{key}
    {
        must(EVP_PKEY_sign_init_ex(sign_.get(), options) == 1 && EVP_PKEY_verify_init_ex(verify_.get(), options) == 1,
             "OpenSSL cannot sign");
    }

    bytes sign() const
    {
        const auto digest = hash();
        bytes signature(std::size_t(EVP_PKEY_get_size(key_.get())));
        std::size_t length = signature.size();
        must(EVP_PKEY_sign(sign_.get(), signature.data(), &length, digest.data(), digest.size()) == 1, "not signed");
        signature.resize(length);
        return signature;
    }

    bool verify(const bytes& signature) const
    {
        const auto digest = hash();
        return EVP_PKEY_verify(verify_.get(), signature.data(), signature.size(), digest.data(), digest.size()) == 1;
    }

private:
    std::array<std::uint8_t, 32> hash() const
    {
        std::array<std::uint8_t, 32> digest;
        EVP_Digest(kMessage.data(), kMessage.size(), digest.data(), nullptr, md_.get(), nullptr);
        return digest;
    }

    of_openssl<EVP_PKEY> key_;
    of_openssl<EVP_PKEY_CTX> sign_ = context_of(key_), verify_ = context_of(key_);
    of_openssl<EVP_MD> md_{EVP_MD_fetch(nullptr, "SHA256", nullptr), openssl_releaser{}};
};

// A row whose two sides have been checked already; `ours` and `peers` do the work once.
inline void add(comparison& table, const std::string& row, auto ours, auto peers)
{
    const auto run = [](auto work) { return [=] { return [=](output&) mutable { work(); }; }; };
    table.add(row, "OpenSSL", kOperation, run(ours), run(peers));
}

} // namespace bench
