#include "tools/output_file.hpp"

#include "tools/command.hpp"

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tool {
namespace {

constexpr int kSignals[] = {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM};

// The temporary file's name; empty when there is none. The signal handler reads it, so it changes only while these signals
// are held off.
char temporary[PATH_MAX];

class signals_held_off {
public:
    signals_held_off()
    {
        sigset_t set;
        sigemptyset(&set);
        for (const int signal : kSignals)
            sigaddset(&set, signal);
        sigprocmask(SIG_BLOCK, &set, &before_);
    }
    signals_held_off(const signals_held_off&) = delete;
    signals_held_off& operator=(const signals_held_off&) = delete;
    ~signals_held_off()
    {
        const int error = errno;
        sigprocmask(SIG_SETMASK, &before_, nullptr);
        errno = error;
    }

private:
    sigset_t before_{};
};

// The signal ends the program as if it had not been caught.
extern "C" void remove_and_die(int signal)
{
    if (temporary[0] != '\0') unlink(temporary);
    raise(signal);
}

// SA_RESETHAND: the raised signal meets the default action. What the caller had ignored (nohup) stays ignored.
void catch_signals()
{
    struct sigaction action {};
    action.sa_handler = remove_and_die;
    action.sa_flags = int(SA_RESETHAND);
    for (const int signal : kSignals) {
        struct sigaction before {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaction(signal, &action, nullptr);
        }
    }
    std::signal(SIGXFSZ, SIG_IGN); // a file that gets too large is an error of write
}

// The name behind symbolic links, so that the file is replaced and not a link to it.
std::string behind_links(const std::string& name)
{
    char* const path = ::realpath(name.c_str(), nullptr);
    if (!path) return name; // there is nothing yet
    std::string result = path;
    std::free(path);
    return result;
}

mode_t usual_permissions()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return mode_t{0666} & ~mask;
}

} // namespace

output_file::output_file(const std::string& name, readers readers) : name_{name}, readers_{readers}
{
    struct stat info {};
    if (name == "-") {
        name_ = "write error";
        descriptor_ = STDOUT_FILENO;
    } else if (::stat(name.c_str(), &info) == 0 && !S_ISREG(info.st_mode)) {
        open_directly();
    } else {
        open_temporary();
    }
}

output_file::~output_file()
{
    if (descriptor_ > STDERR_FILENO) ::close(descriptor_);
    if (temporary[0] == '\0') return;
    const signals_held_off held;
    ::unlink(temporary);
    temporary[0] = '\0';
}

void output_file::fail(int error) const
{
    throw failure{kFailed, name_ + ": " + std::strerror(error)};
}

void output_file::open_directly()
{
    descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor_ < 0) fail(errno);
}

void output_file::open_temporary()
{
    target_ = behind_links(name_);
    const std::size_t slash = target_.rfind('/');
    const std::string pattern = target_.substr(0, slash == target_.npos ? 0 : slash + 1) + ".kestrim-XXXXXX";
    if (pattern.size() >= sizeof temporary) fail(ENAMETOOLONG);

    catch_signals();
    const signals_held_off held;
    std::memcpy(temporary, pattern.c_str(), pattern.size() + 1);
    descriptor_ = ::mkostemp(temporary, O_CLOEXEC); // mode 0600
    if (descriptor_ >= 0) return;
    temporary[0] = '\0';
    fail(errno);
}

void output_file::write(std::span<const std::uint8_t> bytes)
{
    while (!bytes.empty()) {
        const ssize_t count = ::write(descriptor_, bytes.data(), bytes.size());
        if (count >= 0) {
            bytes = bytes.subspan(std::size_t(count));
        } else if (errno != EINTR) {
            fail(errno);
        }
    }
}

void output_file::commit()
{
    if (descriptor_ == STDOUT_FILENO && target_.empty()) return; // closed with the program's other output
    const bool shared = !target_.empty() && readers_ == readers::usual;
    if (shared && ::fchmod(descriptor_, usual_permissions()) != 0) fail(errno);
    const int closed = ::close(descriptor_); // can be the first to hear of a full disk
    descriptor_ = -1;
    if (closed != 0) fail(errno);
    if (target_.empty()) return;

    const signals_held_off held;
    if (::rename(temporary, target_.c_str()) != 0) fail(errno);
    temporary[0] = '\0';
}

} // namespace tool
