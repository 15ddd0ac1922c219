// kestrim dh: what two parties have in common, with Diffie-Hellman keys and those of elliptic curves.
#include "tools/algorithm.hpp"
#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/dh_key.hpp"
#include "tools/ec_key.hpp"
#include "tools/key_file.hpp"

#include <memory>

namespace tool {
namespace {

constexpr const char* kNotes =
    "The secret is the shared value itself, as many bytes as p has: derive keys from it, do not use it as one. The\n"
    "public value of the other party is checked, with its order where q is known.\n"
    "\n"
    "Keys of elliptic curves agree on the first coordinate of the shared point (ECDH without cofactor).\n"
    "\n"
    "Proven mode has neither.";

struct dh_options {
    std::string key;
    std::string peer;
    std::string output;
};

bytes agree_in_group(const key_file& own_file, const key_file& peer_file, const session& session)
{
    const dh_key own = own_file.dh_private(), peer = peer_file.dh_public();
    const bool same_order = own.q.empty() || peer.q.empty() || own.q == peer.q;
    if (own.p != peer.p || own.g != peer.g || !same_order) peer_file.fail("a key with other parameters");
    start_library("dh-" + std::to_string(bits(own.p)), false, session);
    return agree(own, public_value(peer));
}

bytes agree_on_curve(const key_file& own_file, const key_file& peer_file, const session& session)
{
    const ec_key own = own_file.ec_private(), peer = peer_file.ec();
    if (own.curve != peer.curve) peer_file.fail("a key of another curve");
    start_library("ec " + std::string{own.curve->name}, false, session);
    return agree(own, peer);
}

void run(const dh_options& options, const session& session)
{
    if (options.key == "-" && options.peer == "-") throw failure{kUsage, "only one of the keys can be standard input"};
    const key_file own{plain(options.key), session}, peer{plain(options.peer), session};
    const bool curve = own.kind() == key_kind::ec;
    const bytes secret = curve ? agree_on_curve(own, peer, session) : agree_in_group(own, peer, session);
    output_file output{plain(options.output), readers::owner};
    output.write(secret);
    output.commit();
}

} // namespace

void add_dh(CLI::App& app, session& session)
{
    const auto options = std::make_shared<dh_options>();
    const subcommand command{app, "dh", "Agree on a secret with another party"};
    command.add("-k,--key", options->key, "The own private key; - is standard input").required();
    command.add("-p,--peer", options->peer, "The public key of the other party; - is standard input").required();
    command.add("-o,--output", options->output, "The secret, for its owner only; - is standard output").required();
    command.add_notes(kNotes);
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool
