// Exponentiation with a secret exponent, which no exported function offers alone, beside OpenSSL's. Speeds are
// operations per second; a pair is one operation.
#include "bench/bigint_peer.hpp"
#include "bigint/mod_exp.hpp"

int main(int argc, char** argv)
{
    using namespace bench;
    comparison table;
    operand_source source;
    for (const std::size_t bits : kLengths) {
        std::vector<operand_set> sets(4);
        for (operand_set& set : sets)
            for (int i = 0; i < 2; ++i)
                set.insert(set.end(), {source.number(bits), source.number(bits), source.number(bits, 0xC0, true)});
        add_row<openssl>(
            table, "secret_mod_exp/" + std::to_string(bits), sets,
            [](auto& r, auto* x, auto&) {
                zrc::secret_mod_exp({r[0], x[0], x[1], x[2], 0});
            },
            [](auto& r, auto* x, auto& context) {
                BN_mod_exp_mont_consttime(r[0], x[0], x[1], x[2], context, nullptr);
            });
        if (bits == 4096) continue; // primes are shorter
        add_row<openssl>(
            table, "secret_mod_exp_pair/" + std::to_string(bits), sets,
            [](auto& r, auto* x, auto&) {
                zrc::secret_mod_exp_pair({r[0], x[0], x[1], x[2], 0}, {r[1], x[3], x[4], x[5], 0});
            },
            [](auto& r, auto* x, auto& context) {
                BN_mod_exp_mont_consttime_x2(r[0], x[0], x[1], x[2], nullptr, r[1], x[3], x[4], x[5], nullptr, context);
            });
    }
    std::puts("The columns named MB/s are operations per second.");
    return table.run(argc, argv);
}
