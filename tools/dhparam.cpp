// kestrim dhparam: Diffie-Hellman parameters, and their verification.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/dh_key.hpp"
#include "tools/dh_validation.hpp"
#include "tools/key_file.hpp"
#include "tools/output.hpp"

#include <chrono>
#include <cstdio>
#include <memory>
#include <unistd.h>
#include <utility>

namespace tool {
namespace {

constexpr const char* kNotes =
    "100 sets of 1024 bits (q of 160) and 100 of 2048 bits (q of 256) come with the library. --generate makes new "
    "ones:\n"
    "p and q of 1024 and 160, 2048 and 224, 2048 and 256, 3072 and 256 bits, with SHA-256 from a random seed, as\n"
    "FIPS 186-4, A.1.1.2 and A.2.3, has it. The seed and its counter are part of the file.\n"
    "\n"
    "--verify makes q, p and g from the seed once more and tests that they are the same, that p and q are primes and\n"
    "that no smaller counter gives one. It ends with status 1 when something is wrong.\n"
    "\n"
    "Proven mode has no Diffie-Hellman.";

struct dhparam_options {
    int p_bits = 2048;
    int q_bits = 0; // 0: the usual
    bool generate = false;
    bool pkcs3 = false;
    bool verify = false;
    bool one_length = false; // of the sets to verify
    std::string digest = kDefaultAlgorithm;
    std::string output = "-";
    std::string file;
};

// A line on the terminal that says which set is next; not in the first second.
class set_counter {
public:
    explicit set_counter(const session& session) : shown_{!session.quiet && ::isatty(STDERR_FILENO) == 1} {}
    set_counter(const set_counter&) = delete;
    set_counter& operator=(const set_counter&) = delete;
    ~set_counter() { erase(); }

    void show(int p_bits, std::int32_t set)
    {
        if (!shown_ || clock::now() - start_ < std::chrono::seconds{1}) return;
        std::fprintf(stderr, "\r%d bits: set %d of %d", p_bits, int(set) + 1, int(ZRC_DH_PRECOMPUTED_SETS));
        written_ = true;
    }
    void erase()
    {
        if (std::exchange(written_, false)) std::fprintf(stderr, "\r%*s\r", kWidth, "");
    }

private:
    using clock = std::chrono::steady_clock;
    static constexpr int kWidth = 32; // of the longest line, and more

    bool shown_;
    bool written_ = false;
    clock::time_point start_ = clock::now();
};

bool verify_sets(int p_bits, const session& session)
{
    const algorithm digest{ZRC_SHA256, 32};
    set_counter counter{session};
    int good = 0;
    for (std::int32_t i = 0; i < ZRC_DH_PRECOMPUTED_SETS; ++i) {
        counter.show(p_bits, i);
        const dh_unit unit = new_dh_domain(p_bits, usual_q_bits(p_bits), ZRC_DH_PRECOMPUTED_SET + i);
        const std::string fault = fault_of(stored_key(*unit), digest.id);
        if (fault.empty()) {
            ++good;
        } else {
            counter.erase();
            write(std::to_string(p_bits) + " bits, set " + std::to_string(i) + ": FAILED (" + fault + ")\n");
        }
    }
    counter.erase();
    write(std::to_string(p_bits) + " bits: " + std::to_string(good) + " of " + std::to_string(ZRC_DH_PRECOMPUTED_SETS) +
          " sets verified\n");
    return good == ZRC_DH_PRECOMPUTED_SETS;
}

void require_sets(int p_bits, int q_bits)
{
    if (p_bits <= 2048 && q_bits == usual_q_bits(p_bits)) return;
    throw failure{kUsage, "no sets of " + std::to_string(p_bits) + " and " + std::to_string(q_bits) +
                              " bits come with the library: --generate makes new parameters"};
}

bool verify_all_sets(const dhparam_options& options, const session& session)
{
    if (options.one_length) require_sets(options.p_bits, usual_q_bits(options.p_bits));
    start_library("dh", false, session);
    if (options.one_length) return verify_sets(options.p_bits, session);
    const bool short_ones = verify_sets(1024, session);
    return verify_sets(2048, session) && short_ones;
}

bool verify_file(const dhparam_options& options, const session& session)
{
    const std::string name = plain(options.file);
    const dh_key parameters = key_file{name, session}.dh_parameters();
    const algorithm digest = choose_algorithm(options.digest, "dh", false, session);
    const std::string fault = fault_of(parameters, digest.id);
    write(name + (fault.empty() ? ": OK\n" : ": FAILED (" + fault + ")\n"));
    return fault.empty();
}

void make(const dhparam_options& options, const session& session)
{
    const int q_bits = options.q_bits != 0 ? options.q_bits : usual_q_bits(options.p_bits);
    if (!options.generate) require_sets(options.p_bits, q_bits);
    start_library("dh-" + std::to_string(options.p_bits) + "-" + std::to_string(q_bits), false, session);
    const dh_unit unit = new_dh_domain(options.p_bits, q_bits, options.generate ? ZRC_DH_GENERATE : ZRC_DH_PRECOMPUTED);
    const dh_key parameters = stored_key(*unit);
    save_key(write_dh_pem(options.pkcs3 ? without_order(parameters) : parameters), plain(options.output),
             readers::usual);
}

void run(const dhparam_options& options, session& session)
{
    if (!options.verify) return make(options, session);
    const bool good = options.file.empty() ? verify_all_sets(options, session) : verify_file(options, session);
    if (!good) session.status = kFailed;
}

} // namespace

void add_dhparam(CLI::App& app, session& session)
{
    const auto options = std::make_shared<dhparam_options>();
    const subcommand command{app, "dhparam", "Draw, generate or verify Diffie-Hellman parameters"};
    const option verify = command.add_flag("--verify", options->verify, "Verify the sets of the library, or a file");
    const option p = command.add("-b,--bits", options->p_bits, "Length of p; with --verify, the sets of this one only")
                         .one_of({1024, 2048, 3072})
                         .show_default();
    command.add("-q,--q-bits", options->q_bits, "Length of q; 160 for a p of 1024 bits, else 256").excludes(verify);
    command.add_flag("--generate", options->generate, "New parameters, not those of the library").excludes(verify);
    command.add_flag("--pkcs3", options->pkcs3, "Write PKCS #3, without q, and not X9.42").excludes(verify);
    command.add("-o,--output", options->output, "The parameters; - is standard output").excludes(verify).show_default();
    command.add("-a,--algorithm", options->digest, "That made the FILE. " + algorithm_help())
        .needs(verify)
        .show_default();
    command.add("FILE", options->file, "Parameters to verify; - is standard input").needs(verify).excludes(p);
    command.add_notes(kNotes);
    command.set_action([options, p, &session] {
        options->one_length = p.given();
        run(*options, session);
    });
}

} // namespace tool
