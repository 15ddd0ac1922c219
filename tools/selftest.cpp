// kestrim selftest: the library's self-tests one by one, with their results and times.
#include "kestrim_crypto.h"
#include "tools/command_line.hpp"
#include "tools/library.hpp"
#include "tools/output.hpp"

#include <algorithm>
#include <chrono>
#include <memory>
#include <span>
#include <string>

namespace tool {
namespace {

constexpr const char* kNotes =
    "The first line is the power-up self-test as every program runs it, in one go. When it has passed, each of its\n"
    "checks is run by itself, and then the conditional ones, which are for programs that generate keys. When it has\n"
    "not, its code tells which check failed: those behind it were not run.\n"
    "\n"
    "Status 1: a check failed.";

struct check {
    const char* name;
    std::uint32_t (*run)();
    std::uint32_t function; // in the code of its failure
};

// The checks of power-up, in their order.
constexpr check kPowerUp[] = {
    {"library file", zrc_Verify_DLL, ZRC_F_LIB_INTEGRITY_CHECK},
    {"construction of units", zrc_Context_Check, ZRC_F_CONTEXT_CHECK},
    {"version", zrc_Version_Check, ZRC_F_VERSION_CHECK},
    {"entropy source", zrc_Entropy_Check, ZRC_F_ENTROPY_CHECK},
    {"Hash_DRBG", zrc_DRBG_Check, ZRC_F_DRBG_CHECK},
    {"HMAC", zrc_HMAC_Check, ZRC_F_HMAC_CHECK},
    {"digests", zrc_DIGEST_Check, ZRC_F_DIGEST_CHECK},
    {"block ciphers", zrc_Sym_Check, ZRC_F_SYMMETIC_ALGORITHM_CHECK},
    {"RSA encryption", zrc_RSAES_Check, ZRC_F_RSAES_OAEP_CHECK},
    {"RSA signatures", zrc_RSASSA_Check, ZRC_F_RSASSA_CHECK},
    {"KCDSA signatures", zrc_KCDSA_Check, 0x0D},
};

constexpr check kConditional[] = {
    {"cipher key generation", zrc_Sym_Key_Check, ZRC_F_SYMMETIC_KEY_CHECK},
    {"RSA key generation", zrc_Asym_Key_Check, ZRC_F_ASYMMETIC_KEY_CHECK},
};

void write_line(std::string name, const std::string& time, const std::string& result)
{
    name.resize(std::max<std::size_t>(name.size(), 24), ' ');
    const std::string gap(10 - std::min<std::size_t>(time.size(), 10), ' ');
    write(name + gap + time + "  " + result + "\n");
}

std::string outcome(std::uint32_t code)
{
    if (code == 0) return "passed";
    const decoded_error names = decode(code);
    return "FAILED: " + code_text(code) + " " + names.library + " " + names.function + " " + names.reason;
}

// Runs a check; its line has the result and the time that it took.
std::uint32_t run_timed(const char* name, std::uint32_t (*run)())
{
    using microseconds = std::chrono::microseconds;
    const auto start = std::chrono::steady_clock::now();
    const std::uint32_t code = run();
    const auto time = std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - start);
    write_line(name, std::to_string(time.count()) + " us", outcome(code));
    return code;
}

bool is_skipped(const check& check)
{
    return check.run == zrc_Entropy_Check && !ZRC_Is_Proven();
}

void write_line_without_time(const check& check, const std::string& result)
{
    write_line(check.name, "", is_skipped(check) ? "not run outside proven mode" : result);
}

// Whether all of them passed.
bool run_each(std::span<const check> checks)
{
    bool passed = true;
    for (const check& check : checks) {
        if (is_skipped(check)) {
            write_line_without_time(check, "");
        } else {
            passed = run_timed(check.name, check.run) == 0 && passed;
        }
    }
    return passed;
}

// After a failure of power-up each check by itself would begin with power-up again: they are not run, but the code tells
// how far it came.
void show_failure(std::uint32_t code)
{
    const check* const failed = std::ranges::find(kPowerUp, code >> 16 & 0xFF, &check::function);
    if (failed != std::end(kPowerUp)) {
        for (const check& check : kPowerUp)
            write_line_without_time(check, &check < failed ? "passed" : &check == failed ? outcome(code) : "not run");
    }
    const std::string hint = advice(code);
    if (!hint.empty()) report(hint);
}

bool run(bool non_proven)
{
    if (non_proven) require(ZRC_Change_Non_Proven_Mode(), "ZRC_Change_Non_Proven_Mode");
    const std::uint32_t code = run_timed("power-up self-test", ZRC_Crypto_Initialize);
    if (code == 0) {
        const bool passed = run_each(kPowerUp);
        return run_each(kConditional) && passed;
    }
    show_failure(code);
    return false;
}

} // namespace

void add_selftest(CLI::App& app, session& session)
{
    const auto non_proven = std::make_shared<bool>(false);
    const subcommand command{app, "selftest", "Run the library's self-tests one by one"};
    command.add_flag("--non-proven", *non_proven, "Outside proven mode");
    command.add_notes(kNotes);
    command.set_action([non_proven, &session] {
        if (*non_proven && session.proven) throw failure{kUsage, "--proven and --non-proven exclude each other"};
        if (!run(*non_proven)) session.status = kFailed;
    });
}

} // namespace tool
