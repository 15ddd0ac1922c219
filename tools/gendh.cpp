// kestrim gendh: Diffie-Hellman keys.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/dh_key.hpp"
#include "tools/key_file.hpp"
#include "tools/key_generation.hpp"
#include "tools/library.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "Both parties need the same parameters: those of --params, a file of kestrim dhparam or the key of the other "
    "party.\n"
    "Without it they are drawn from the sets that come with the library.\n"
    "\n"
    "A private value is any below q. Where the file does not tell q, it is as long as the file says, or as p.\n"
    "\n"
    "Proven mode has no Diffie-Hellman.";

struct gendh_options {
    int bits = 2048;
    int private_bits = 0; // 0: as the notes say
    bool pkcs3 = false;
    std::string parameters; // a file
    key_output output;
};

dh_key given_parameters(const gendh_options& options, const session& session)
{
    dh_key parameters = key_file{plain(options.parameters), session}.dh_parameters();
    parameters.x.clear();
    parameters.y.clear();
    start_library("dh-" + std::to_string(bits(parameters.p)), false, session);
    return parameters;
}

dh_key drawn_parameters(const gendh_options& options, const session& session)
{
    start_library("dh-" + std::to_string(options.bits), false, session);
    return stored_key(*new_dh_domain(options.bits, usual_q_bits(options.bits), ZRC_DH_PRECOMPUTED));
}

void run(const gendh_options& options, const session& session)
{
    dh_key key = options.parameters.empty() ? drawn_parameters(options, session) : given_parameters(options, session);
    const dh_unit unit = load(key);
    const auto private_bits = options.private_bits != 0 ? options.private_bits : std::int32_t(small_number(key.length));
    require(ZRC_Generate_DH_Key_Pair(unit.get(), private_bits), "ZRC_Generate_DH_Key_Pair");
    if (options.pkcs3) key = without_order(std::move(key));

    dh_key private_key = key;
    private_key.x = stored_key(*unit).x;
    key.y = stored_key(*unit).y;
    save_key_pair(options.output, write_dh_pem(private_key), write_dh_pem(key));
}

} // namespace

void add_gendh(CLI::App& app, session& session)
{
    const auto options = std::make_shared<gendh_options>();
    const subcommand command{app, "gendh", "Generate a Diffie-Hellman key"};
    const option bits =
        command.add("-b,--bits", options->bits, "Draw parameters of this length").one_of({1024, 2048}).show_default();
    command.add("--params", options->parameters, "Take the parameters from this file").excludes(bits);
    command.add("--length", options->private_bits, "Length of the private value, 160 bits or more")
        .in_range(160, 16384);
    command.add_flag("--pkcs3", options->pkcs3, "Write parameters of PKCS #3, without q, and not of X9.42");
    add_key_output(command, options->output);
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool
