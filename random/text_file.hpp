// Files of numbers such as those of /proc, read without the C library's streams: their buffers would not be wiped.
#pragma once

#include "core/secret.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <span>
#include <unistd.h>

namespace zrc {

inline constexpr std::size_t kLineBytes = 4096;        // of a line buffer, its terminator included
inline constexpr std::size_t kFileBytes = 1024 * 1024; // read of one file at most

// A file open for reading. It is not inherited by programs that another thread starts meanwhile, and opening it does
// not wait, whatever lies at the path.
class input_file {
public:
    explicit input_file(const char* path) noexcept
    {
        do
            descriptor_ = open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
        while (descriptor_ < 0 && errno == EINTR);
    }
    ~input_file()
    {
        if (descriptor_ >= 0) close(descriptor_);
    }
    input_file(const input_file&) = delete;
    input_file& operator=(const input_file&) = delete;

    int descriptor() const noexcept { return descriptor_; }

    // Reads as many bytes as there are at once; 0 at the end of the file and on failure.
    std::size_t read_some(void* out, std::size_t bytes) const noexcept
    {
        if (descriptor_ < 0) return 0;
        ssize_t got;
        do
            got = read(descriptor_, out, bytes);
        while (got < 0 && errno == EINTR);
        return got > 0 ? std::size_t(got) : 0;
    }

    // Reads until `out` is full or the file ends; returns the bytes read.
    std::size_t read_all(std::span<std::uint8_t> out) const noexcept
    {
        std::size_t filled = 0;
        while (filled < out.size()) {
            const std::size_t got = read_some(out.data() + filled, out.size() - filled);
            if (got == 0) break;
            filled += got;
        }
        return filled;
    }

private:
    int descriptor_;
};

// The lines of a file, one at a time in one buffer. A line that does not fit comes in pieces.
class line_reader {
public:
    explicit line_reader(const char* path) noexcept : file_{path} {}

    // The next line, terminated and without its line feed, valid and writable until the next call; null at the end.
    char* next() noexcept
    {
        for (;;) {
            char* line = buffer_.data() + begin_;
            const std::size_t held = end_ - begin_;
            if (auto* line_feed = static_cast<char*>(std::memchr(line, '\n', held))) {
                *line_feed = '\0';
                begin_ = std::size_t(line_feed + 1 - buffer_.data());
                return line;
            }
            std::memmove(buffer_.data(), line, held);
            begin_ = 0;
            end_ = held;
            const std::size_t room = std::min(kLineBytes - 1 - held, left_);
            const std::size_t got = room == 0 ? 0 : file_.read_some(buffer_.data() + held, room);
            if (got == 0) return rest();
            end_ += got;
            left_ -= got;
        }
    }

private:
    char* rest() noexcept
    {
        if (end_ == 0) return nullptr;
        buffer_[end_] = '\0';
        begin_ = end_;
        return buffer_.data();
    }

    input_file file_;
    std::size_t begin_ = 0; // of what the buffer still holds
    std::size_t end_ = 0;
    std::size_t left_ = kFileBytes;
    secret_array<char, kLineBytes> buffer_;
};

constexpr bool is_blank(char c) noexcept
{
    return c == ' ' || c == '\t';
}

// The word with this index, counted from 0, and what follows it; the terminator when there are fewer.
inline const char* word(const char* text, unsigned index) noexcept
{
    for (;; --index) {
        while (is_blank(*text))
            ++text;
        if (index == 0) return text;
        while (*text != '\0' && !is_blank(*text))
            ++text;
    }
}

// Reads a decimal number of up to 64 bits; false when the text does not start with one.
inline bool read_number(const char* text, std::uint64_t& number) noexcept
{
    char* end;
    number = std::strtoull(text, &end, 10);
    return end != text;
}

} // namespace zrc
