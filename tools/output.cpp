#include "tools/output.hpp"

#include "tools/command.hpp"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace tool {
namespace {

[[noreturn]] void fail()
{
    throw failure{kFailed, std::string{"write error: "} + std::strerror(errno)};
}

void occupy_standard_streams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) >= 0) continue;
        // The wrong way round, so that reading or writing fails as on a closed one.
        const int opened = ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (opened != stream) throw failure{kFailed, "a standard stream is closed, and there is no /dev/null for it"};
    }
}

} // namespace

void open_output()
{
    occupy_standard_streams();
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
