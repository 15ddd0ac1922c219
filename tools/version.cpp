// kestrim version: versions, mode and the result of the self-test.
#include "tools/command_line.hpp"
#include "tools/library.hpp"
#include "tools/output.hpp"

namespace tool {

void add_version(CLI::App& app, session&)
{
    const subcommand command{app, "version", "Show versions, mode and the result of the self-test"};
    command.set_action([] {
        write("kestrim      " KESTRIM_TOOL_VERSION "\n");
        write(std::string{"library      "} + ZRC_Get_Crypto_Version() + "\n");
        write(std::string{"proven mode  "} + (ZRC_Is_Proven() ? "on" : "off") + "\n");
        const std::uint32_t failed = ZRC_Crypto_Initialize();
        write(std::string{"self-test    "} + (failed ? "FAILED" : "passed") + "\n");
        require(failed, "self-test");
    });
}

} // namespace tool
