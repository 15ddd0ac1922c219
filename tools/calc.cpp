// kestrim calc: arithmetic on big numbers, one operation a call.
#include "tools/arguments.hpp"
#include "tools/command.hpp"
#include "tools/command_line.hpp"
#include "tools/library.hpp"
#include "tools/number.hpp"
#include "tools/output.hpp"

#include <memory>
#include <vector>

namespace tool {
namespace {

struct calc_options {
    std::string operation;
    std::vector<std::string> operands;
    bool decimal = false;
};

using operands = std::vector<number>;
using operation_function = std::uint32_t (*)(ZRC_BIGINT* r, const operands& x, ZRC_BIGINT_POOL* pool);

// The product of the library for a factor of zero is not zero.
std::uint32_t multiply(ZRC_BIGINT* r, const operands& x, ZRC_BIGINT_POOL* pool)
{
    if (x[0]->length == 0 || x[1]->length == 0) return 0;
    return ZRC_Mtp_BIGINT(r, x[0].get(), x[1].get(), pool);
}

// The power of the library for the exponent 0 is 1 whatever the modulus is, even 0 or 1.
std::uint32_t power(ZRC_BIGINT* r, const operands& x, ZRC_BIGINT_POOL* pool)
{
    const std::uint32_t failed = ZRC_Mod_Exp_BIGINT(r, x[0].get(), x[1].get(), x[2].get(), pool);
    return failed != 0 ? failed : ZRC_Div_BIGINT(nullptr, r, r, x[2].get(), pool);
}

struct operation {
    const char* name;
    std::size_t operands;
    operation_function run;
};

constexpr operation kOperations[] = {
    {"add", 2, [](auto* r, auto& x, auto*) { return ZRC_Add_BIGINT(r, x[0].get(), x[1].get()); }},
    {"sub", 2, [](auto* r, auto& x, auto*) { return ZRC_Sub_BIGINT(r, x[0].get(), x[1].get()); }},
    {"mul", 2, multiply},
    {"div", 2, [](auto* r, auto& x, auto* pool) { return ZRC_Div_BIGINT(r, nullptr, x[0].get(), x[1].get(), pool); }},
    {"mod", 2, [](auto* r, auto& x, auto* pool) { return ZRC_Div_BIGINT(nullptr, r, x[0].get(), x[1].get(), pool); }},
    {"gcd", 2, [](auto* r, auto& x, auto* pool) { return zrc_Gcd_BIGINT(r, x[0].get(), x[1].get(), pool); }},
    {"inverse", 2,
     [](auto* r, auto& x, auto* pool) { return ZRC_Mod_Inverse_BIGINT(r, x[0].get(), x[1].get(), pool); }},
    {"modmul", 3,
     [](auto* r, auto& x, auto* pool) { return ZRC_Mod_Mtp_BIGINT(r, x[0].get(), x[1].get(), x[2].get(), pool); }},
    {"modexp", 3, power},
};

const operation& find_operation(const std::string& name)
{
    for (const operation& candidate : kOperations)
        if (name == candidate.name) return candidate;
    throw failure{kUsage, "unknown operation: " + name};
}

void run(const calc_options& options)
{
    const std::string name = plain(options.operation);
    const operation& chosen = find_operation(name);
    if (options.operands.size() != chosen.operands) {
        throw failure{kUsage, name + " takes " + std::to_string(chosen.operands) + " numbers"};
    }
    operands numbers;
    for (const std::string& text : options.operands)
        numbers.push_back(parse_number(text));
    const number result = new_number();
    require(chosen.run(result.get(), numbers, new_number_pool().get()), chosen.name);
    write(to_text(*result, options.decimal) + '\n');
}

} // namespace

void add_calc(CLI::App& app, session&)
{
    const auto options = std::make_shared<calc_options>();
    const subcommand command{app, "calc", "Arithmetic on big non-negative numbers in hexadecimal"};
    command
        .add("operation", options->operation,
             "add, sub, mul, div, mod, gcd A B; inverse A M; modmul A B M; modexp A E M")
        .required();
    command.add("numbers", options->operands, "The operands").required().values(1, 3);
    command.add_flag("--dec", options->decimal, "Decimal output");
    command.set_action([options] { run(*options); });
}

} // namespace tool
