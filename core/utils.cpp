// Diagnostic helpers: hexadecimal dumps, and files read and written whole.
#include "kestrim/utils.h"

#include "core/bytes.hpp"
#include "core/secret.hpp"
#include "kestrim/memory.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zrc {
namespace {

// The hexadecimal digit of a value below 16, without a table: what is dumped may be a key.
char hex_digit(unsigned value) noexcept
{
    const unsigned above_nine = (9 - value) >> 31; // 1 for 10 to 15
    return char('0' + value + above_nine * ('A' - '0' - 10));
}

// Writes "01:AB:" for the bytes 01 AB: three characters each, no terminator.
void write_hex(byte_span bytes, char* text) noexcept
{
    for (const std::uint8_t byte : bytes) {
        *text++ = hex_digit(byte >> 4);
        *text++ = hex_digit(byte & 0xF);
        *text++ = ':';
    }
}

bool can_dump(const std::uint8_t* buf, std::int32_t len) noexcept
{
    return buf && len >= 1;
}

// Prints the pairs piece by piece, the last colon left out, and `end`.
void print_hex(const std::uint8_t* buf, std::int32_t len, const char* end) noexcept
{
    constexpr std::size_t kPieceBytes = 512;

    if (!can_dump(buf, len)) return;
    secret_array<char, 3 * kPieceBytes> text;
    byte_span rest{buf, std::size_t(len)};
    while (!rest.empty()) {
        const byte_span piece = rest.first(std::min(rest.size(), kPieceBytes));
        rest = rest.subspan(piece.size());
        write_hex(piece, text.data());
        std::fwrite(text.data(), 1, 3 * piece.size() - (rest.empty() ? 1 : 0), stdout);
    }
    std::fputs(end, stdout);
}

// An open file that is closed when its scope ends.
class open_file {
public:
    // Does not wait for the other end of a pipe.
    explicit open_file(const char* path) noexcept : descriptor_{open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK)} {}
    ~open_file()
    {
        if (descriptor_ >= 0) close(descriptor_);
    }
    open_file(const open_file&) = delete;
    open_file& operator=(const open_file&) = delete;

    // The size of a regular file of 1 to 2^31 - 1 bytes; -1 for anything else.
    std::int32_t size() const noexcept
    {
        struct stat status;
        if (descriptor_ < 0 || fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) return -1;
        if (status.st_size < 1 || status.st_size > INT32_MAX) return -1;
        return std::int32_t(status.st_size);
    }

    // Fills `bytes`, or returns false.
    bool read_all(std::span<std::uint8_t> bytes) const noexcept
    {
        while (!bytes.empty()) {
            const ssize_t got = read(descriptor_, bytes.data(), bytes.size());
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) return false;
            bytes = bytes.subspan(std::size_t(got));
        }
        return true;
    }

private:
    int descriptor_;
};

} // namespace
} // namespace zrc

void zrc_Print_HEX_No_Nl(const std::uint8_t* buf, std::int32_t len)
{
    zrc::print_hex(buf, len, "");
}

void zrc_Print_HEX(const std::uint8_t* buf, std::int32_t len)
{
    zrc::print_hex(buf, len, "\n");
}

void zrc_Print_HEX_Nl(const std::uint8_t* buf, std::int32_t len)
{
    zrc::print_hex(buf, len, "\n\n");
}

char* zrc_Dump_HEX(const std::uint8_t* buf, std::int32_t len)
{
    if (!zrc::can_dump(buf, len)) return nullptr;
    const std::size_t bytes = std::size_t(len);
    char* text = static_cast<char*>(ZRC_Calloc(std::uint32_t(len), 3));
    if (!text) return nullptr;
    zrc::write_hex({buf, bytes}, text);
    text[3 * bytes - 1] = '\0'; // in place of the last colon
    return text;
}

std::int32_t zrc_Binary_To_File(const std::uint8_t* buf, std::int32_t offset, std::int32_t length, const char* path)
{
    if (!buf || !path || offset < 0 || length < 1) return -1;
    if (length <= offset) return -1; // not a bound of anything, but part of the contract
    std::FILE* file = std::fopen(path, "wb");
    if (!file) return -1;
    const std::size_t written = std::fwrite(buf + offset, 1, std::size_t(length), file);
    if (std::fclose(file) != 0) return -1;
    return std::int32_t(written);
}

std::int32_t zrc_File_To_Binary(const char* path, std::uint8_t** out)
{
    if (!path || !out) return -1;
    const zrc::open_file file{path};
    const std::int32_t size = file.size();
    if (size < 0) return -1;
    auto* bytes = static_cast<std::uint8_t*>(ZRC_Malloc(std::uint32_t(size)));
    if (!bytes) return -1;
    if (!file.read_all({bytes, std::size_t(size)})) {
        ZRC_Free_Ex(bytes, std::uint32_t(size)); // part of a key, perhaps
        return -1;
    }
    *out = bytes;
    return size;
}
