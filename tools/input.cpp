#include "tools/input.hpp"

#include "tools/progress.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace tool {
namespace {

[[noreturn]] void fail(const std::string& name, int error)
{
    throw input_error{name + ": " + std::strerror(error)};
}

class input_file {
public:
    explicit input_file(const std::string& name) : name_{name}
    {
        descriptor_ = is_standard_input() ? STDIN_FILENO : ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
        if (descriptor_ < 0) fail(name_, errno);
    }
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;
    ~input_file()
    {
        if (!is_standard_input()) ::close(descriptor_);
    }

    // The size of a regular file, else 0.
    std::uint64_t size() const
    {
        struct stat info {};
        return ::fstat(descriptor_, &info) == 0 && S_ISREG(info.st_mode) ? std::uint64_t(info.st_size) : 0;
    }

    bool is_terminal() const { return ::isatty(descriptor_) == 1; }

    // Bytes read, 0 at the end.
    std::size_t read(std::span<std::uint8_t> buffer)
    {
        for (;;) {
            const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
            if (count >= 0) return std::size_t(count);
            if (errno != EINTR) fail(name_, errno);
        }
    }

private:
    bool is_standard_input() const { return name_ == "-"; }

    const std::string& name_;
    int descriptor_;
};

} // namespace

void read_pieces(const std::string& name, const session& session, const piece_consumer& consume)
{
    input_file file{name};
    const bool shown = !session.quiet && ::isatty(STDERR_FILENO) == 1 && !file.is_terminal();
    progress progress{shown, file.size()};

    std::vector<std::uint8_t> buffer(kPieceBytes);
    while (const std::size_t count = file.read(buffer)) {
        consume(std::span{buffer}.first(count));
        progress.add(count);
    }
}

} // namespace tool
