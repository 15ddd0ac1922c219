#include "tools/output.hpp"

#include "tools/command.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tool {
namespace {

[[noreturn]] void fail()
{
    throw failure{kFailed, std::string{"write error: "} + std::strerror(errno)};
}

} // namespace

void open_output()
{
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void write(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) fail();
}

void close_output()
{
    if (std::fflush(stdout) != 0 || std::fclose(stdout) != 0) fail();
}

void report(std::string_view message)
{
    std::string line = "kestrim: ";
    for (const char c : message)
        line += (c >= 0 && c < ' ') || c == '\x7F' ? '?' : c;
    line += '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace tool
