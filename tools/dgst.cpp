// kestrim dgst: digests in the format of sha256sum, and the check of such lists.
#include "tools/dgst.hpp"

#include "tools/arguments.hpp"
#include "tools/command_line.hpp"
#include "tools/input.hpp"
#include "tools/library.hpp"
#include "tools/line.hpp"
#include "tools/output.hpp"

#include <memory>

namespace tool {
namespace {

struct dgst_options {
    std::string algorithm = kDefaultAlgorithm;
    bool check = false;
    std::vector<std::string> files;
};

bool print_digest(const std::string& name, const algorithm& algorithm, const session& session)
{
    try {
        write(make_line(digest_of(name, algorithm, session), name));
        return true;
    } catch (const input_error& error) {
        report(error.what());
        return false;
    }
}

void run(const dgst_options& options, session& session)
{
    const algorithm algorithm = choose_algorithm(options.algorithm, session);
    const auto handle = options.check ? check_list : print_digest;
    for (const std::string& name : plain_files(options.files))
        if (!handle(name, algorithm, session)) session.status = kFailed;
}

} // namespace

std::vector<std::uint8_t> digest_of(const std::string& name, const algorithm& algorithm, const session& session)
{
    digest digest{algorithm.id};
    read_pieces(name, session, [&](auto piece) { digest.update(piece); });
    return digest.finish();
}

void add_dgst(CLI::App& app, session& session)
{
    const auto options = std::make_shared<dgst_options>();
    const subcommand command{app, "dgst", "Print or check message digests"};
    command.add("-a,--algorithm", options->algorithm, algorithm_help()).show_default();
    command.add_flag("-c,--check", options->check, "Read lists of digests and check the files they name");
    command.add("FILE", options->files, "Files; standard input when none is given or for -");
    command.set_action([options, &session] { run(*options, session); });
}

} // namespace tool
