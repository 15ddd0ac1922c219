// What a command of the tool is. To add one, write its add_ function in a file of its own, declare it below and name
// it in kCommands in main.cpp.
#pragma once

#include <span>
#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace tool {

enum exit_status : int {
    kOk = 0,
    kFailed = 1,  // an input could not be read, a check failed, output could not be written
    kUsage = 2,   // the command line makes no sense
    kRefused = 3, // the algorithm is not approved, and --proven was given
};

// Ends the program with a message and a status.
class failure : public std::runtime_error {
public:
    failure(exit_status status, const std::string& message) : std::runtime_error{message}, status_{status} {}
    exit_status status() const noexcept { return status_; }

private:
    exit_status status_;
};

// What all commands share: the global options, the arguments as the system shows them, and the status to end with.
struct session {
    bool proven = false;
    bool quiet = false;
    std::span<char*> arguments;
    exit_status status = kOk;
};

// Each adds its subcommand to the parser; the subcommand's callback does the work and sets the session's status.
void add_calc(CLI::App& app, session& session);
void add_dgst(CLI::App& app, session& session);
void add_dh(CLI::App& app, session& session);
void add_dhparam(CLI::App& app, session& session);
void add_enc(CLI::App& app, session& session);
void add_error(CLI::App& app, session& session);
void add_gendh(CLI::App& app, session& session);
void add_gendsa(CLI::App& app, session& session);
void add_genec(CLI::App& app, session& session);
void add_genkcdsa(CLI::App& app, session& session);
void add_genrsa(CLI::App& app, session& session);
void add_mac(CLI::App& app, session& session);
void add_prime(CLI::App& app, session& session);
void add_rand(CLI::App& app, session& session);
void add_rsadec(CLI::App& app, session& session);
void add_rsaenc(CLI::App& app, session& session);
void add_selftest(CLI::App& app, session& session);
void add_sign(CLI::App& app, session& session);
void add_speed(CLI::App& app, session& session);
void add_verify(CLI::App& app, session& session);
void add_version(CLI::App& app, session& session);

} // namespace tool
