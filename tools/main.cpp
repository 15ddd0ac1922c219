// kestrim, the command-line tool: parses the command line and leaves the rest to the commands.
#include "tools/arguments.hpp"
#include "tools/command.hpp"
#include "tools/output.hpp"

#include <CLI/CLI.hpp>
#include <exception>
#include <sstream>

namespace {

constexpr void (*kCommands[])(CLI::App&, tool::session&) = {
    tool::add_dgst,   tool::add_mac,      tool::add_enc,     tool::add_rand,    tool::add_prime, tool::add_calc,
    tool::add_genrsa, tool::add_genkcdsa, tool::add_gendsa,  tool::add_genec,   tool::add_sign,  tool::add_verify,
    tool::add_rsaenc, tool::add_rsadec,   tool::add_gendh,   tool::add_dhparam, tool::add_dh,    tool::add_selftest,
    tool::add_error,  tool::add_speed,    tool::add_version,
};

constexpr const char* kNotes =
    "The library starts in proven mode, in which only SHA-224, SHA-256, SHA-384 and SHA-512, their HMACs, ARIA and\n"
    "SEED in ECB, CBC, CFB and OFB, and RSA (PSS, OAEP) and KCDSA with keys of 2048 bits or more can be used. The\n"
    "tool leaves that mode when another algorithm is chosen, unless --proven forbids it.\n"
    "\n"
    "Status: 0 success; 1 an input, a check or the output failed; 2 the command line makes no sense; 3 refused\n"
    "because of --proven.";

// Help is output; a mistake in the command line goes to standard error and is always status 2.
tool::exit_status explain(const CLI::App& app, const CLI::ParseError& error)
{
    std::ostringstream help;
    std::ostringstream complaint;
    const int code = app.exit(error, help, complaint);
    tool::write(help.str());
    if (code == 0) return tool::kOk;
    tool::report(error.what());
    tool::report("run with --help for more information");
    return tool::kUsage;
}

tool::exit_status run(std::span<char*> arguments)
{
    tool::session session;
    session.arguments = arguments;

    CLI::App app{"Digests, MACs, ciphers, signatures, key agreement, random and big numbers with Kestrim Crypto for C",
                 "kestrim"};
    app.set_version_flag("--version", "kestrim " KESTRIM_TOOL_VERSION);
    app.footer(kNotes);
    app.require_subcommand(1);
    app.fallthrough(); // the global options are also understood behind the command
    app.add_flag("--proven", session.proven, "Refuse algorithms that are not approved");
    app.add_flag("-q,--quiet", session.quiet, "Never show progress");
    for (const auto add : kCommands)
        add(app, session);

    try {
        app.parse(tool::parser_arguments(arguments));
    } catch (const CLI::ParseError& error) {
        return explain(app, error);
    }
    return session.status;
}

} // namespace

int main(int argc, char** argv)
{
    tool::exit_status status = tool::kFailed;
    try {
        tool::open_output();
        status = run({argv, std::size_t(argc)});
        tool::close_output();
    } catch (const tool::failure& error) {
        tool::report(error.what());
        status = error.status();
    } catch (const std::exception& error) {
        tool::report(error.what());
        status = tool::kFailed;
    }
    return status;
}
