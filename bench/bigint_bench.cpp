// Big numbers beside GMP, OpenSSL and Mbed TLS. Speeds are operations per second.
#include "bench/bigint_peer.hpp"
#include "bench/library.hpp"
#include "bench/mean.hpp"

#include <cstring>
#include <string>

namespace {

using namespace bench;

constexpr std::size_t kSets = 16;

// `make` gives one set.
std::vector<operand_set> sets_of(auto make)
{
    std::vector<operand_set> sets(kSets);
    for (operand_set& set : sets)
        set = make();
    return sets;
}

#if KESTRIM_BENCH_OPENSSL
void add_exponentiations(comparison& table, operand_source& source)
{
    static constexpr struct {
        std::size_t modulus, exponent;
    } kBits[] = {{1024, 1024}, {2048, 2048}, {4096, 4096}, {2048, 256}};
    for (const auto& bits : kBits) {
        const auto sets = sets_of([&] {
            return operand_set{source.number(bits.modulus), source.number(bits.exponent),
                               source.number(bits.modulus, 0xC0, true)};
        });
        add_row<openssl>(
            table, "Mod_Exp_Mont/" + std::to_string(bits.modulus) + "/exponent-" + std::to_string(bits.exponent), sets,
            [](auto& r, auto* x, auto& pool) { ZRC_Mod_Exp_Mont_BIGINT(r[0], x[0], x[1], x[2], pool); },
            [](auto& r, auto* x, auto& context) { BN_mod_exp_mont(r[0], x[0], x[1], x[2], context, nullptr); });
    }
}
#endif

// Odd pairs that have an inverse.
[[maybe_unused]] std::vector<operand_set> invertible(std::size_t bits, operand_source& source)
{
    return sets_of([&] {
        for (const kestrim::scratch pool;;) {
            const operand_set set{source.number(bits), source.number(bits, 0xC0, true)};
            if (ZRC_Mod_Inverse_BIGINT(nullptr, kestrim::number{set[0]}, kestrim::number{set[1]}, pool) == 0)
                return set;
        }
    });
}

template <class Peer>
void add_inverse(comparison& table, operand_source& source, auto peers)
{
    add_row<Peer>(
        table, "Mod_Inverse/2048", invertible(2048, source),
        [](auto& r, auto* x, auto& pool) { ZRC_Mod_Inverse_BIGINT(r[0], x[0], x[1], pool); }, peers);
}

#if KESTRIM_BENCH_GMP
void add_products(comparison& table, operand_source& source)
{
    for (const std::size_t bits : kLengths) {
        const auto sets = sets_of([&] { return operand_set{source.number(bits), source.number(bits)}; });
        add_row<gmp>(
            table, "Mtp/" + std::to_string(bits), sets,
            [](auto& r, auto* x, auto& pool) { ZRC_Mtp_BIGINT(r[0], x[0], x[1], pool); },
            [](auto& r, auto* x, auto&) { mpz_mul(r[0], x[0], x[1]); });
        add_row<gmp>(
            table, "Sqr/" + std::to_string(bits), sets,
            [](auto& r, auto* x, auto& pool) { ZRC_Sqr_BIGINT(r[0], x[0], pool); },
            [](auto& r, auto* x, auto&) { mpz_mul(r[0], x[0], x[0]); });
    }
}

void add_divisions(comparison& table, operand_source& source)
{
    add_row<gmp>(
        table, "Div/4096/2048", sets_of([&] {
            return operand_set{source.number(4096), source.number(2048)};
        }),
        [](auto& r, auto* x, auto& pool) { ZRC_Div_BIGINT(r[0], r[1], x[0], x[1], pool); },
        [](auto& r, auto* x, auto&) { mpz_tdiv_qr(r[0], r[1], x[0], x[1]); });
    add_row<gmp>(
        table, "Gcd/2048", sets_of([&] {
            return operand_set{source.number(2048), source.number(2048)};
        }),
        [](auto& r, auto* x, auto& pool) { zrc_Gcd_BIGINT(r[0], x[0], x[1], pool); },
        [](auto& r, auto* x, auto&) { mpz_gcd(r[0], x[0], x[1]); });
}

// Text, which is compared by its first digits here, and all of it before.
void add_decimal(comparison& table, operand_source& source)
{
    const bytes value = source.number(4096);
    const auto make = [value](auto number, auto write, auto release) {
        return [=](output& out) {
            char* const text = write(*number);
            std::memcpy(out.data(), text, out.size());
            release(text);
        };
    };
    const auto ours = [](const kestrim::number& n) { return ZRC_BIGINT_To_DEC(n); };
    const auto peers = [](const gmp::number& n) { return mpz_get_str(nullptr, 10, n); };
    const auto release_ours = [](char* text) { ZRC_Free(text); };
    const auto release_peers = [](char* text) { std::free(text); };

    char* const our_text = ours(kestrim::number{value});
    char* const peer_text = peers(gmp::number{value});
    if (std::strcmp(our_text, peer_text) != 0) {
        std::fputs("BIGINT_To_DEC: the two sides differ\n", stderr);
        std::exit(1);
    }
    release_ours(our_text);
    release_peers(peer_text);
    table.add(
        "BIGINT_To_DEC/4096", gmp::kName, kOperation,
        [=] { return make(std::make_shared<const kestrim::number>(value), ours, release_ours); },
        [=] { return make(std::make_shared<const gmp::number>(value), peers, release_peers); });
}

constexpr int kPrimeBits = 1024, kPrimes = 400;

class gmp_prime_search {
public:
    gmp_prime_search() { gmp_randinit_default(random_); }
    gmp_prime_search(const gmp_prime_search&) = delete;
    gmp_prime_search& operator=(const gmp_prime_search&) = delete;
    ~gmp_prime_search() { gmp_randclear(random_); }

    // mpz_nextprime tests what it takes with witness 2, a Lucas test and a random witness; two more make four
    // witnesses, as many as this library takes at this length.
    void find(gmp::number& prime)
    {
        do {
            mpz_urandomb(prime, random_, kPrimeBits);
            mpz_setbit(prime, kPrimeBits - 1);
            mpz_setbit(prime, 0);
            mpz_nextprime(prime, prime);
        } while (!passes(prime) || !passes(prime));
    }

private:
    bool passes(const gmp::number& n)
    {
        mpz_sub_ui(minus_one_, n, 1);
        const mp_bitcnt_t twos = mpz_scan1(minus_one_, 0);
        mpz_tdiv_q_2exp(odd_part_, minus_one_, twos);
        mpz_urandomm(x_, random_, minus_one_);
        mpz_add_ui(x_, x_, 1);
        mpz_powm(x_, x_, odd_part_, n);
        if (mpz_cmp_ui(static_cast<mpz_srcptr>(x_), 1) == 0) return true;
        for (mp_bitcnt_t i = 0; i < twos; ++i) {
            if (mpz_cmp(x_, minus_one_) == 0) return true;
            mpz_powm_ui(x_, x_, 2, n);
        }
        return false;
    }

    gmp_randstate_t random_;
    gmp::number minus_one_, odd_part_, x_;
};

// Each side's primes are tested by the other.
bool compare_prime_search(const std::string& row)
{
    kestrim::number our_prime;
    kestrim::scratch pool;
    gmp::number peer_prime;
    gmp_prime_search peer;
    return compare_means(
        row, kPrimes,
        [&] {
            const std::uint32_t error = ZRC_Generate_BIGINT_Prime_Ex(our_prime, kPrimeBits, pool);
            return [&, error] {
                const gmp::number prime{our_prime.value()};
                return error == 0 && mpz_sizeinbase(prime, 2) == kPrimeBits && mpz_probab_prime_p(prime, 25) != 0;
            };
        },
        [&] {
            peer.find(peer_prime);
            return [&] { return ZRC_Is_BIGINT_Prime_Ex(kestrim::number{peer_prime.value()}, 5, pool) == 1; };
        });
}
#endif

} // namespace

int main(int argc, char** argv)
{
    bench::start_library();
    comparison table;
    operand_source source;
#if KESTRIM_BENCH_OPENSSL
    add_exponentiations(table, source);
#endif
#if KESTRIM_BENCH_MBEDTLS
    add_inverse<mbedtls>(table, source, [](auto& r, auto* x, auto&) {
        benchmark::DoNotOptimize(mbedtls_mpi_inv_mod(r[0], x[0], x[1]));
    });
#endif
#if KESTRIM_BENCH_GMP
    add_inverse<gmp>(table, source, [](auto& r, auto* x, auto&) { mpz_invert(r[0], x[0], x[1]); });
    add_products(table, source);
    add_divisions(table, source);
    add_decimal(table, source);
#endif
    std::puts("The columns named MB/s are operations per second.");
    if (const int status = table.run(argc, argv); status != 0) return status;
#if KESTRIM_BENCH_GMP
    const std::string row = "Generate_Prime/1024/GMP";
    if (selected(row) && !compare_prime_search(row)) return 1;
#endif
    return 0;
}
