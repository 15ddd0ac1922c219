#include "tools/signature.hpp"

#include "tools/algorithm.hpp"
#include "tools/kcdsa_key.hpp"
#include "tools/library.hpp"
#include "tools/output.hpp"
#include "tools/pair_signature.hpp"
#include "tools/rsa_key.hpp"

#include <algorithm>
#include <utility>

namespace tool {
namespace {

constexpr std::uint32_t kVerify = 0, kSign = 1; // the library's operations

// Proven mode signs with these two alone, and with KCDSA keys from these sizes on.
constexpr std::string_view kApprovedDigests[] = {"sha224", "sha256"};
constexpr std::size_t kApprovedX = 209, kApprovedY = 2033; // bits

bool is_approved_for_signatures(const std::string& digest)
{
    return std::ranges::find(kApprovedDigests, normalised(digest)) != std::end(kApprovedDigests);
}

bool is_one_of(std::uint32_t code, std::initializer_list<std::uint32_t> codes)
{
    return std::ranges::find(codes, code) != codes.end();
}

class rsa_scheme : public signature_scheme {
public:
    rsa_scheme(rsa_unit unit, const algorithm& digest, const signature_options& options, std::uint32_t operation)
        : unit_{std::move(unit)}
    {
        // The digest of the mode word is that of MGF1: other programs, too, use the one of the message.
        const std::size_t salt = options.salt == 0 ? digest.digest_bytes : std::size_t(options.salt);
        const std::uint32_t mode = options.pkcs1
                                       ? std::uint32_t{ZRC_RSASSA_PKCS1_V15}
                                       : std::uint32_t(digest.id) | std::uint32_t(salt) << 16 | ZRC_RSASSA_PSS;
        require(ZRC_Init_RSASSA(unit_.get(), digest.id, mode, operation), "ZRC_Init_RSASSA");
    }

    void update(std::span<const std::uint8_t> piece) override
    {
        require(ZRC_Update_RSASSA(unit_.get(), piece.data(), std::int32_t(piece.size())), "ZRC_Update_RSASSA");
    }

    bytes sign() override
    {
        bytes signature(ZRC_Get_RSA_Length(unit_.get()));
        std::int32_t length = 0;
        require(ZRC_Final_RSASSA(unit_.get(), signature.data(), &length), "ZRC_Final_RSASSA");
        signature.resize(std::size_t(length));
        return signature;
    }

    // The library takes signatures with leading zeros left out; RFC 8017, 8.1.2 and 8.2.2, does not.
    bool verify(std::span<const std::uint8_t> signature) override
    {
        if (signature.size() != ZRC_Get_RSA_Length(unit_.get())) return false;
        bytes copy{signature.begin(), signature.end()};
        auto length = std::int32_t(copy.size());
        const std::uint32_t code = ZRC_Final_RSASSA(unit_.get(), copy.data(), &length);
        if (is_one_of(code, {kTooLarge, kWrongPkcs1, kWrongPss})) return false;
        require(code, "ZRC_Final_RSASSA");
        return true;
    }

private:
    static constexpr std::uint32_t kTooLarge = 0x18070055, kWrongPkcs1 = 0x1807002B, kWrongPss = 0x18100059;

    rsa_unit unit_;
};

// A signature is R, as long as the digest, and behind it S, as long as q.
class kcdsa_scheme : public signature_scheme {
public:
    kcdsa_scheme(kcdsa_unit unit, const algorithm& digest, std::uint32_t operation)
        : unit_{std::move(unit)}, r_bytes_{digest.digest_bytes}
    {
        require(ZRC_Init_KCDSA_Ex(unit_.get(), operation, digest.id), "ZRC_Init_KCDSA_Ex");
        s_bytes_ = ZRC_Get_KCDSA_Length(unit_.get());
    }

    // Each ZRC_Update_KCDSA hashes a part of the public key before its data. The standard has it once, before the whole
    // message: so the pieces that follow go to the digest of the unit.
    void update(std::span<const std::uint8_t> piece) override
    {
        const auto length = std::int32_t(piece.size());
        if (std::exchange(started_, true)) {
            require(ZRC_Update_DIGEST(unit_->digest, piece.data(), length), "ZRC_Update_DIGEST");
        } else {
            require(ZRC_Update_KCDSA(unit_.get(), piece.data(), length), "ZRC_Update_KCDSA");
        }
    }

    // The length that the library gives for S is not that of the field it writes.
    bytes sign() override
    {
        require_message();
        bytes signature(r_bytes_ + s_bytes_);
        std::int32_t r_length = 0, s_length = 0;
        require(ZRC_Final_KCDSA(unit_.get(), signature.data(), &r_length, signature.data() + r_bytes_, &s_length),
                "ZRC_Final_KCDSA");
        return signature;
    }

    bool verify(std::span<const std::uint8_t> signature) override
    {
        require_message();
        if (signature.size() != r_bytes_ + s_bytes_) return false;
        bytes copy{signature.begin(), signature.end()};
        auto r_length = std::int32_t(r_bytes_), s_length = std::int32_t(s_bytes_);
        const std::uint32_t code =
            ZRC_Final_KCDSA(unit_.get(), copy.data(), &r_length, copy.data() + r_bytes_, &s_length);
        if (is_one_of(code, {kZero, kTooLarge, kWrong})) return false;
        require(code, "ZRC_Final_KCDSA");
        return true;
    }

private:
    static constexpr std::uint32_t kZero = 0x100C0037, kTooLarge = 0x100C000B, kWrong = 0x100C005E;

    // The library takes no empty piece, and without one its signature is of no public key.
    void require_message() const
    {
        if (!started_) throw failure{kFailed, "the message is empty; KCDSA here signs one byte or more"};
    }

    kcdsa_unit unit_;
    std::size_t r_bytes_;
    std::size_t s_bytes_ = 0;
    bool started_ = false;
};

std::string rsa_name(std::size_t modulus_bits, const signature_options& options)
{
    return "rsa-" + std::to_string(modulus_bits) + (options.pkcs1 ? " pkcs1 " : " pss ") + options.digest;
}

algorithm choose_rsa(std::size_t modulus_bits, const signature_options& options, const session& session)
{
    // The library's check of PSS does not fit such moduli.
    if (!options.pkcs1 && modulus_bits % 8 == 1) {
        report("PSS with a modulus of " + std::to_string(modulus_bits) + " bits: hardly any signature can be verified");
    }
    const bool approved =
        !options.pkcs1 && modulus_bits >= kApprovedRsaBits && is_approved_for_signatures(options.digest);
    return choose_algorithm(options.digest, rsa_name(modulus_bits, options), approved, session);
}

void forbid_rsa_options(const signature_options& options)
{
    if (options.pkcs1 || options.salt != 0) throw failure{kUsage, "--pkcs1 and --salt are for RSA keys"};
}

algorithm choose_kcdsa(const kcdsa_key& key, bool approved_size, const signature_options& options,
                       const session& session)
{
    forbid_rsa_options(options);
    const std::string name = "kcdsa-" + std::to_string(bits(key.p)) + "-" + std::to_string(bits(key.q));
    const bool approved = approved_size && is_approved_for_signatures(options.digest);
    return choose_algorithm(options.digest, name + " " + options.digest, approved, session);
}

std::unique_ptr<signature_scheme> new_scheme(const dsa_key& key, std::uint32_t operation,
                                             const signature_options& options, const session& session)
{
    forbid_rsa_options(options);
    const std::string name = "dsa-" + std::to_string(bits(key.p)) + "-" + std::to_string(bits(key.q));
    const algorithm digest = choose_algorithm(options.digest, name + " " + options.digest, false, session);
    return new_dsa_scheme(load(key), digest.id, operation);
}

std::unique_ptr<signature_scheme> new_scheme(const ec_key& key, std::uint32_t operation,
                                             const signature_options& options, const session& session)
{
    forbid_rsa_options(options);
    const std::string name = "ecdsa " + std::string{key.curve->name};
    const algorithm digest = choose_algorithm(options.digest, name + " " + options.digest, false, session);
    return new_ecdsa_scheme(load(key), digest.id, operation);
}

std::unique_ptr<signature_scheme> new_scheme(const kcdsa_key& key, std::uint32_t operation,
                                             const signature_options& options, const session& session)
{
    const bool approved_size = operation == kSign ? bits(key.x) >= kApprovedX : bits(key.y) >= kApprovedY;
    const algorithm digest = choose_kcdsa(key, approved_size, options, session);
    return std::make_unique<kcdsa_scheme>(load(key), digest, operation);
}

constexpr const char* kNoSignatures = "a Diffie-Hellman key, which signs nothing";

} // namespace

std::unique_ptr<signature_scheme> new_signing(const key_file& file, const signature_options& options,
                                              const session& session)
{
    switch (file.kind()) {
    case key_kind::kcdsa:
        return new_scheme(file.kcdsa_private(), kSign, options, session);
    case key_kind::dsa:
        return new_scheme(file.dsa_private(), kSign, options, session);
    case key_kind::ec:
        return new_scheme(file.ec_private(), kSign, options, session);
    case key_kind::dh:
        file.fail(kNoSignatures);
    case key_kind::rsa:
        break;
    }
    const rsa_private_key key = file.rsa_private();
    const algorithm digest = choose_rsa(bits(key.n), options, session);
    if (!belong_together(key)) file.fail("the numbers of the key do not belong together");
    return std::make_unique<rsa_scheme>(load(key), digest, options, kSign);
}

std::unique_ptr<signature_scheme> new_verification(const key_file& file, const signature_options& options,
                                                   const session& session)
{
    switch (file.kind()) {
    case key_kind::kcdsa: {
        kcdsa_key key = file.kcdsa_public();
        key.x.clear();
        return new_scheme(key, kVerify, options, session);
    }
    case key_kind::dsa:
        return new_scheme(file.dsa_public(), kVerify, options, session);
    case key_kind::ec:
        return new_scheme(file.ec(), kVerify, options, session);
    case key_kind::dh:
        file.fail(kNoSignatures);
    case key_kind::rsa:
        break;
    }
    const rsa_public_key key = file.rsa_public();
    const algorithm digest = choose_rsa(bits(key.n), options, session);
    return std::make_unique<rsa_scheme>(load(key), digest, options, kVerify);
}

} // namespace tool
