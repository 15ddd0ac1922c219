#include "tools/input.hpp"

#include "kestrim_crypto.h"
#include "tools/progress.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace tool {
namespace {

struct release {
    void operator()(ZRC_STREAM* stream) const noexcept { ZRC_Free_STREAM(stream); }
};

// Where what is typed and the progress would mix.
bool may_be_terminal(const std::string& name)
{
    std::error_code unknown;
    return name == "-" ? ::isatty(STDIN_FILENO) == 1 : std::filesystem::is_character_file(name, unknown);
}

} // namespace

void read_pieces(const std::string& name, const session& session, const piece_consumer& consume)
{
    const auto require = [&](std::uint32_t code) {
        if (code != 0) throw input_error{name + ": " + std::strerror(errno)};
    };

    const std::unique_ptr<ZRC_STREAM, release> input{ZRC_New_STREAM()};
    if (!input) throw std::bad_alloc{};
    require(name == "-" ? ZRC_Open_Descriptor_STREAM(input.get(), STDIN_FILENO, ZRC_STREAM_READ)
                        : ZRC_Open_File_STREAM(input.get(), name.c_str(), ZRC_STREAM_READ));
    const bool shown = !session.quiet && ::isatty(STDERR_FILENO) == 1 && !may_be_terminal(name);
    const std::int64_t size = ZRC_Get_STREAM_Length(input.get());
    progress progress{shown, size > 0 ? std::uint64_t(size) : 0};

    std::vector<std::uint8_t> buffer(kPieceBytes);
    for (;;) {
        std::int32_t count = 0;
        const std::uint32_t code = ZRC_Read_STREAM(input.get(), buffer.data(), kPieceBytes, &count);
        if ((code & 0xFF) == ZRC_ERR_END_OF_STREAM) return;
        require(code);
        consume(std::span{buffer}.first(std::size_t(count)));
        progress.add(std::size_t(count));
    }
}

} // namespace tool
