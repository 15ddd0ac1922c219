// kestrim prime: random primes, and the test of a number.
#include "tools/algorithm.hpp"
#include "tools/command.hpp"
#include "tools/command_line.hpp"
#include "tools/library.hpp"
#include "tools/number.hpp"
#include "tools/output.hpp"

#include <cstdint>
#include <memory>

namespace tool {
namespace {

constexpr int kMostBits = 16384;
constexpr std::int32_t kWitnesses = 64;

struct prime_options {
    int bits = 0;
    int count = 1;
    bool decimal = false;
    std::string value;
};

// Throws when the library could not tell. It says so with the 0 that an even number gets, too.
bool is_prime(const ZRC_BIGINT& value, std::int32_t witnesses, ZRC_BIGINT_POOL& pool)
{
    const std::int32_t verdict = ZRC_Is_BIGINT_Prime_Ex(&value, witnesses + 1, &pool);
    if (verdict == 0 && ZRC_Is_BIGINT_Bit_Set(&value, 0) == 1) throw failure{kFailed, "the number cannot be tested"};
    return verdict == 1;
}

// Ends with kFailed for what is no prime, so that scripts can ask. 0 and 1 are neither prime nor composite.
exit_status check(const prime_options& options)
{
    const number value = parse_number(options.value);
    const bool prime = is_prime(*value, kWitnesses, *new_number_pool());
    write(prime ? "prime\n" : "not prime\n");
    return prime ? kOk : kFailed;
}

void generate(const prime_options& options)
{
    const number value = new_number();
    const number_pool pool = new_number_pool();
    for (int i = 0; i < options.count; ++i) {
        require(ZRC_Generate_BIGINT_Prime_Ex(value.get(), options.bits, pool.get()), "ZRC_Generate_BIGINT_Prime_Ex");
        // A search that is cut short leaves a candidate that was not tested to the end.
        if (!is_prime(*value, 1, *pool)) throw failure{kFailed, "the search for a prime failed"};
        write(to_text(*value, options.decimal) + '\n');
    }
}

} // namespace

void add_prime(CLI::App& app, session& session)
{
    const auto options = std::make_shared<prime_options>();
    const subcommand command{app, "prime", "Generate random primes, or test whether a number is one"};
    const option bits =
        command.add("-b,--bits", options->bits, "Generate a prime of exactly so many bits").in_range(2, kMostBits);
    command.add("-n,--count", options->count, "So many of them").in_range(1, 1000000).needs(bits);
    const option test =
        command.add("-t,--test", options->value,
                    "Test this number (hexadecimal) with 64 Miller-Rabin witnesses; status 1: no prime");
    test.excludes(bits);
    command.add_flag("--dec", options->decimal, "Decimal output").needs(bits);
    command.set_action([options, test, &session] {
        if (!test.given() && options->bits == 0) throw failure{kUsage, "prime needs --bits or --test"};
        start_library("prime", true, session);
        if (test.given()) {
            session.status = check(*options);
        } else {
            generate(*options);
        }
    });
}

} // namespace tool
