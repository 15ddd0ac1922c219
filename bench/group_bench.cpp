// DSA, Diffie-Hellman and ECDSA beside OpenSSL's. Both sides hold the same keys; before anything is timed, each takes
// the other's signatures and refuses changed ones, and both agree on a secret and refuse a wrong public value.
#include "bench/library.hpp"
#include "bench/pubkey_peer.hpp"

#include <memory>
#include <openssl/ec.h>
#include <string>
#include <vector>

namespace {

using namespace bench;

// A number of ours, as bytes without zeros in front.
bytes value_of(const ZRC_BIGINT* number)
{
    bytes data(ZRC_Get_BIGINT_Bits_Length(number) / 8 + 1);
    data.resize(std::size_t(ZRC_BIGINT_To_Binary_Unsigned(number, data.data())));
    return data;
}

bytes padded(const bytes& value, std::size_t size)
{
    must(value.size() <= size, "a number is too long");
    bytes data(size - value.size());
    data.insert(data.end(), value.begin(), value.end());
    return data;
}

// A key of a group, with q ("DSA", "DHX") or without it ("DH").
of_openssl<EVP_PKEY> peer_key(const auto& unit, const char* algorithm)
{
    openssl_parts parts;
    parts.add(OSSL_PKEY_PARAM_FFC_P, value_of(unit.p));
    if (unit.q) parts.add(OSSL_PKEY_PARAM_FFC_Q, value_of(unit.q));
    parts.add(OSSL_PKEY_PARAM_FFC_G, value_of(unit.g));
    parts.add(OSSL_PKEY_PARAM_PUB_KEY, value_of(unit.y));
    parts.add(OSSL_PKEY_PARAM_PRIV_KEY, value_of(unit.x));
    return parts.key(algorithm);
}

// What signatures are made with. They are pairs of numbers here and there, a SEQUENCE of two INTEGERs in OpenSSL.
struct dsa {
    using unit = ZRC_DSA_UNIT;
    static constexpr auto init = ZRC_Init_DSA;
    static constexpr auto update = ZRC_Update_DSA;
    static constexpr auto sign = ZRC_Sign_DSA;
    static constexpr auto verify = ZRC_Verify_DSA;
};
struct ecdsa {
    using unit = ZRC_ECDSA_UNIT;
    static constexpr auto init = ZRC_Init_ECDSA;
    static constexpr auto update = ZRC_Update_ECDSA;
    static constexpr auto sign = ZRC_Sign_ECDSA;
    static constexpr auto verify = ZRC_Verify_ECDSA;
};

struct signature {
    std::uint8_t R[66], S[66];
    std::int32_t R_length, S_length;
};

bytes encoded(const signature& s)
{
    const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> pair{ECDSA_SIG_new(), ECDSA_SIG_free};
    ECDSA_SIG_set0(pair.get(), BN_bin2bn(s.R, s.R_length, nullptr), BN_bin2bn(s.S, s.S_length, nullptr));
    bytes result(std::size_t(i2d_ECDSA_SIG(pair.get(), nullptr)));
    std::uint8_t* end = result.data();
    i2d_ECDSA_SIG(pair.get(), &end);
    return result;
}

signature decoded(const bytes& sequence)
{
    const std::uint8_t* begin = sequence.data();
    const std::unique_ptr<ECDSA_SIG, decltype(&ECDSA_SIG_free)> pair{
        d2i_ECDSA_SIG(nullptr, &begin, long(sequence.size())), ECDSA_SIG_free};
    must(pair != nullptr, "OpenSSL's signature is no pair of numbers");
    signature s;
    s.R_length = BN_bn2bin(ECDSA_SIG_get0_r(pair.get()), s.R);
    s.S_length = BN_bn2bin(ECDSA_SIG_get0_s(pair.get()), s.S);
    return s;
}

// The unit keeps its digest from one message to the next.
template <class Algorithm>
class our_signer {
public:
    explicit our_signer(const std::shared_ptr<typename Algorithm::unit>& unit) : unit_{unit}
    {
        must(Algorithm::init(unit.get(), 1, ZRC_SHA256) == 0, "the unit does not start");
    }

    signature sign() const
    {
        signature s;
        must(update() && Algorithm::sign(unit_.get(), s.R, &s.R_length, s.S, &s.S_length) == 0, "not signed");
        return s;
    }

    bool verify(const signature& s) const
    {
        return update() && Algorithm::verify(unit_.get(), s.R, s.R_length, s.S, s.S_length) == 0;
    }

private:
    bool update() const { return Algorithm::update(unit_.get(), kMessage.data(), std::int32_t(kMessage.size())) == 0; }

    std::shared_ptr<typename Algorithm::unit> unit_;
};

template <class Algorithm>
void add_signatures(comparison& table, const std::string& row, const our_signer<Algorithm>& ours,
                    const openssl_signer& peer)
{
    const signature our_signature = ours.sign();
    const bytes peer_signature = peer.sign();
    must(ours.verify(decoded(peer_signature)) && peer.verify(encoded(our_signature)),
         row + ": the other's signature is refused");
    signature changed = our_signature;
    changed.S[changed.S_length - 1] ^= 1;
    must(!ours.verify(changed) && !peer.verify(encoded(changed)), row + ": another signature is taken");
    add(
        table, row + "/sign", [=] { ours.sign(); }, [=] { peer.sign(); });
    add(
        table, row + "/verify", [=] { must(ours.verify(our_signature), "not verified"); },
        [=] { must(peer.verify(peer_signature), "not verified"); });
}

// A new key pair in the place of the unit's, and a new key in OpenSSL.
void add_key_pair(comparison& table, const std::string& row, auto ours, const of_openssl<EVP_PKEY>& parameters)
{
    const auto context = context_of(parameters);
    must(EVP_PKEY_keygen_init(context.get()) == 1, "OpenSSL makes no keys");
    const auto peers = [=] {
        EVP_PKEY* key = nullptr;
        must(EVP_PKEY_keygen(context.get(), &key) == 1, "no key");
        EVP_PKEY_free(key);
    };
    add(
        table, row + "/key-pair", [=] { must(ours() == 0, "no key"); }, peers);
}

void add_dsa(comparison& table)
{
    const std::string row = "DSA-2048-256";
    const std::shared_ptr<ZRC_DSA_UNIT> unit{ZRC_New_DSA(), ZRC_Free_DSA};
    must(ZRC_Generate_DSA_Params(unit.get(), 2048, 256, ZRC_SHA256) == 0 && ZRC_Generate_DSA_Key_Pair(unit.get()) == 0,
         "no DSA key");
    const auto peer = peer_key(*unit, "DSA");
    add_signatures(table, row, our_signer<dsa>{unit}, openssl_signer{peer});

    const std::shared_ptr<ZRC_DSA_UNIT> other{ZRC_New_DSA(), ZRC_Free_DSA};
    must(ZRC_Set_DSA_Params(other.get(), unit->p, unit->q, unit->g, nullptr, nullptr) == 0, "no DSA parameters");
    add_key_pair(
        table, row, [=] { return ZRC_Generate_DSA_Key_Pair(other.get()); }, peer);
}

using dh_unit = std::shared_ptr<ZRC_DH_UNIT>;

dh_unit dh_key(const ZRC_BIGINT* p, const ZRC_BIGINT* q, const ZRC_BIGINT* g)
{
    constexpr std::int32_t kBits = 256; // of x, as many as q has
    dh_unit unit{ZRC_New_DH(), ZRC_Free_DH};
    must(ZRC_Init_DH_Params(unit.get(), p, q, g) == 0 && ZRC_Generate_DH_Key_Pair(unit.get(), q ? 0 : kBits) == 0,
         "no DH key");
    return unit;
}

// Empty when the public value is refused.
bytes secret_of(const dh_unit& own, const ZRC_BIGINT* peer)
{
    bytes secret(ZRC_Get_DH_Length(own.get()));
    std::int32_t length = 0;
    if (ZRC_Compute_Key(own.get(), peer, secret.data(), &length) != 0) secret.clear();
    return secret;
}

// The other's key is an object of OpenSSL's already. Its public value is tested as this library does: that it has the
// order q, or, without q, that it is from 2 to p - 2. OpenSSL knows the q of standard groups: its usual test would use
// it.
class openssl_agreement {
public:
    openssl_agreement(const of_openssl<EVP_PKEY>& own, const of_openssl<EVP_PKEY>& other, bool has_order)
        : other_{other}, has_order_{has_order}, derive_{context_of(own)}, check_{context_of(other)}
    {
        unsigned pad = 1;
        const OSSL_PARAM options[] = {OSSL_PARAM_uint(OSSL_EXCHANGE_PARAM_PAD, &pad), OSSL_PARAM_END};
        must(EVP_PKEY_derive_init_ex(derive_.get(), options) == 1, "OpenSSL cannot agree");
    }

    bytes secret() const
    {
        const bool good = has_order_ ? EVP_PKEY_derive_set_peer_ex(derive_.get(), other_.get(), 1) == 1
                                     : EVP_PKEY_public_check_quick(check_.get()) == 1 &&
                                           EVP_PKEY_derive_set_peer_ex(derive_.get(), other_.get(), 0) == 1;
        if (!good) return {};
        std::size_t length = std::size_t(EVP_PKEY_get_size(other_.get()));
        bytes secret(length);
        must(EVP_PKEY_derive(derive_.get(), secret.data(), &length) == 1, "OpenSSL has no secret");
        secret.resize(length);
        return secret;
    }

private:
    of_openssl<EVP_PKEY> other_;
    bool has_order_;
    of_openssl<EVP_PKEY_CTX> derive_, check_;
};

// A public value that is out of range, or, with q, is not of that order: p - 1, or p - y.
void refuse_another(const std::string& row, const dh_unit& own, const dh_unit& other, const of_openssl<EVP_PKEY>& peer)
{
    const kestrim::number one{bytes{1}}, wrong;
    must(ZRC_Sub_BIGINT(wrong, own->p, own->q ? static_cast<const ZRC_BIGINT*>(other->y) : one) == 0, "no value");
    openssl_parts parts;
    parts.add(OSSL_PKEY_PARAM_FFC_P, value_of(own->p));
    if (own->q) parts.add(OSSL_PKEY_PARAM_FFC_Q, value_of(own->q));
    parts.add(OSSL_PKEY_PARAM_FFC_G, value_of(own->g));
    parts.add(OSSL_PKEY_PARAM_PUB_KEY, wrong.value());
    const openssl_agreement agreement{peer, parts.key(own->q ? "DHX" : "DH"), own->q != nullptr};
    must(secret_of(own, wrong).empty() && agreement.secret().empty(), row + ": a wrong public value is taken");
}

void add_agreement(comparison& table, const std::string& row, const dh_unit& own, const dh_unit& other)
{
    const bool has_order = own->q != nullptr;
    const auto peer_own = peer_key(*own, has_order ? "DHX" : "DH"),
               peer_other = peer_key(*other, has_order ? "DHX" : "DH");
    const openssl_agreement peer{peer_own, peer_other, has_order};
    const bytes secret = secret_of(own, other->y);
    must(!secret.empty() && secret == peer.secret() && secret == secret_of(other, own->y), row + ": another secret");
    refuse_another(row, own, other, peer_own);
    add(
        table, row + "/agree", [=] { must(!secret_of(own, other->y).empty(), "no secret"); },
        [=] { must(!peer.secret().empty(), "no secret"); });
    // The group without q is one that OpenSSL knows, and makes shorter private values for.
    if (has_order) {
        add_key_pair(
            table, row, [=] { return ZRC_Generate_DH_Key_Pair(own.get(), 0); }, peer_own);
    }
}

void add_dh(comparison& table)
{
    const dh_unit set{ZRC_New_DH(), ZRC_Free_DH};
    must(ZRC_Generate_DH_Params(set.get(), 2048, 256, ZRC_DH_PRECOMPUTED) == 0, "no DH parameters");
    add_agreement(table, "DH-2048-256", dh_key(set->p, set->q, set->g), dh_key(set->p, set->q, set->g));

    const std::unique_ptr<BIGNUM, releaser> prime{BN_get_rfc3526_prime_2048(nullptr)};
    bytes group_14(std::size_t(BN_num_bytes(prime.get())));
    BN_bn2bin(prime.get(), group_14.data());
    const kestrim::number p{group_14}, g{bytes{2}};
    add_agreement(table, "DH-2048-group-14", dh_key(p, nullptr, g), dh_key(p, nullptr, g));
}

using curve = std::shared_ptr<ZRC_ECC_CURVE>;

// The curve of a key of OpenSSL's, in both libraries by its numbers alone.
class curve_numbers {
public:
    explicit curve_numbers(const of_openssl<EVP_PKEY>& key)
        : p_{part_of(key, OSSL_PKEY_PARAM_EC_P)}, a_{part_of(key, OSSL_PKEY_PARAM_EC_A)},
          b_{part_of(key, OSSL_PKEY_PARAM_EC_B)}, n_{part_of(key, OSSL_PKEY_PARAM_EC_ORDER)}
    {
        std::size_t length = 0;
        bytes point(2 * coordinate_bytes() + 1);
        must(EVP_PKEY_get_octet_string_param(key.get(), OSSL_PKEY_PARAM_EC_GENERATOR, point.data(), point.size(),
                                             &length) == 1 &&
                 length == point.size() && point[0] == 4,
             "no base point");
        generator_ = point;
    }

    std::size_t coordinate_bytes() const { return p_.size(); }

    curve ours() const
    {
        const auto middle = generator_.begin() + std::ptrdiff_t(1 + coordinate_bytes());
        const kestrim::number p{p_}, a{or_zero(a_)}, b{b_}, n{n_}, x{bytes(generator_.begin() + 1, middle)},
            y{bytes(middle, generator_.end())};
        curve made{ZRC_New_ECC_CURVE(), ZRC_Free_ECC_CURVE};
        must(ZRC_Set_ECC_CURVE(made.get(), p, a, b, x, y, n, 1) == 0, "no curve");
        return made;
    }

    openssl_parts parts() const
    {
        openssl_parts parts;
        parts.add_text(OSSL_PKEY_PARAM_EC_FIELD_TYPE, "prime-field");
        parts.add(OSSL_PKEY_PARAM_EC_P, p_);
        parts.add(OSSL_PKEY_PARAM_EC_A, a_);
        parts.add(OSSL_PKEY_PARAM_EC_B, b_);
        parts.add_octets(OSSL_PKEY_PARAM_EC_GENERATOR, generator_);
        parts.add(OSSL_PKEY_PARAM_EC_ORDER, n_);
        parts.add(OSSL_PKEY_PARAM_EC_COFACTOR, {1});
        return parts;
    }

private:
    static bytes or_zero(const bytes& value) { return value.empty() ? bytes{0} : value; }

    bytes p_, a_, b_, n_, generator_;
};

// Of a curve that OpenSSL knows by this name, with the arithmetic that it has for it.
of_openssl<EVP_PKEY> peer_key(const ZRC_ECDSA_UNIT& unit, const char* name, std::size_t coordinate_bytes)
{
    bytes point{4};
    for (const ZRC_BIGINT* coordinate : {unit.Q->x, unit.Q->y}) {
        const bytes value = padded(value_of(coordinate), coordinate_bytes);
        point.insert(point.end(), value.begin(), value.end());
    }
    openssl_parts parts;
    parts.add_text(OSSL_PKEY_PARAM_GROUP_NAME, name);
    parts.add(OSSL_PKEY_PARAM_PRIV_KEY, value_of(unit.d));
    parts.add_octets(OSSL_PKEY_PARAM_PUB_KEY, point);
    return parts.key("EC");
}

void add_ecdsa(comparison& table, const char* name)
{
    const std::string row = std::string{"ECDSA-"} + name;
    const curve_numbers numbers{held(EVP_EC_gen(name))};
    const curve curve = numbers.ours();
    const std::shared_ptr<ZRC_ECDSA_UNIT> unit{ZRC_New_ECDSA(), ZRC_Free_ECDSA};
    must(ZRC_Generate_ECDSA_Key_Pair(unit.get(), curve.get()) == 0, "no ECDSA key");
    const auto peer = peer_key(*unit, name, numbers.coordinate_bytes());
    add_signatures(table, row, our_signer<ecdsa>{unit}, openssl_signer{peer});

    const std::shared_ptr<ZRC_ECDSA_UNIT> other{ZRC_New_ECDSA(), ZRC_Free_ECDSA};
    must(ZRC_Generate_ECDSA_Key_Pair(other.get(), curve.get()) == 0, "no ECDSA key");
    add_key_pair(
        table, row, [=] { return ZRC_Generate_ECDSA_Key_Pair(other.get(), nullptr); }, peer);

    // This library prepares multiples of G then.
    const auto parameters = numbers.parts().parameters();
    const auto peers = [=] {
        EC_GROUP* const group = EC_GROUP_new_from_params(parameters.get(), nullptr, nullptr);
        must(group != nullptr, "OpenSSL makes no curve");
        EC_GROUP_free(group);
    };
    add(
        table, row + "/curve", [=] { numbers.ours(); }, peers);
}

} // namespace

int main(int argc, char** argv)
{
    start_library();
    comparison table;
    add_dsa(table);
    add_dh(table);
    for (const char* name : {"P-192", "P-224", "P-256", "P-384", "P-521", "secp256k1"})
        add_ecdsa(table, name);
    std::puts("The columns named MB/s are operations per second.");
    return table.run(argc, argv);
}
