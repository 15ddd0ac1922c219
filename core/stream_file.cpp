// Streams over files and descriptors: one system call for each read or write, repeated when a signal interrupts it.

// Files of any size on 32-bit systems, too. NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
#define _FILE_OFFSET_BITS 64

#include "core/stream.hpp"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace zrc {
namespace {

struct file_state {
    int descriptor;
    bool owned; // by the stream, which closes it
};

// The flags of open(2) for a mode of a stream.
constexpr int open_flags(std::uint32_t mode) noexcept
{
    constexpr int kAlways = O_CLOEXEC | O_NOCTTY;

    if ((mode & ZRC_STREAM_APPEND) != 0) return kAlways | O_WRONLY | O_CREAT | O_APPEND;
    if (mode == ZRC_STREAM_READ) return kAlways | O_RDONLY;
    if (mode == ZRC_STREAM_WRITE) return kAlways | O_WRONLY | O_CREAT | O_TRUNC;
    return kAlways | O_RDWR | O_CREAT;
}

int open_path(const char* path, int flags) noexcept
{
    for (;;) { // opening a pipe waits, and can be interrupted
        const int descriptor = open(path, flags, 0666);
        if (descriptor >= 0 || errno != EINTR) return descriptor;
    }
}

// Where a descriptor stands; 0 when it has no place.
std::int64_t place_of(int descriptor, int origin) noexcept
{
    const int before = errno;
    const off_t place = lseek(descriptor, 0, origin);
    errno = before;
    return place > 0 ? place : 0;
}

std::uint32_t open_file(ZRC_STREAM* stream, void* argument) noexcept
{
    file_state& file = state_of<file_state>(stream);
    file.descriptor = open_path(static_cast<const char*>(argument), open_flags(stream->mode));
    if (file.descriptor < 0) return ZRC_ERR_CANNOT_OPEN_STREAM;
    file.owned = true;
    if ((stream->mode & ZRC_STREAM_APPEND) != 0) stream->position = place_of(file.descriptor, SEEK_END);
    return 0;
}

std::uint32_t open_descriptor(ZRC_STREAM* stream, void* argument) noexcept
{
    if ((stream->mode & ZRC_STREAM_APPEND) != 0) return ZRC_ERR_INVALID_INPUT; // was settled when it was opened
    const int descriptor = *static_cast<const std::int32_t*>(argument);
    struct stat status;
    if (fstat(descriptor, &status) != 0) return ZRC_ERR_CANNOT_OPEN_STREAM;
    state_of<file_state>(stream) = {descriptor, false};
    stream->position = place_of(descriptor, SEEK_CUR);
    return 0;
}

std::uint32_t read_file(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done) noexcept
{
    for (;;) {
        const ssize_t count = read(state_of<file_state>(stream).descriptor, out, std::size_t(length));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return ZRC_ERR_READ_FROM_FILE;
        if (count == 0) return ZRC_ERR_END_OF_STREAM;
        *done = std::int32_t(count);
        stream->position += count;
        return 0;
    }
}

std::uint32_t write_file(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    while (length != 0) {
        const ssize_t count = write(state_of<file_state>(stream).descriptor, data, std::size_t(length));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) return ZRC_ERR_WRITE_TO_FILE;
        stream->position += count;
        data += count;
        length -= std::int32_t(count);
    }
    return 0;
}

std::uint32_t seek_file(ZRC_STREAM* stream, std::int64_t position) noexcept
{
    if ((stream->mode & ZRC_STREAM_APPEND) != 0) return ZRC_ERR_NOT_SUPPORTED;
    if (lseek(state_of<file_state>(stream).descriptor, position, SEEK_SET) < 0) {
        return errno == ESPIPE ? ZRC_ERR_NOT_SUPPORTED : ZRC_ERR_INVALID_INPUT;
    }
    stream->position = position;
    return 0;
}

// Never repeated: whatever close returns, the descriptor is gone.
std::uint32_t close_file(ZRC_STREAM* stream) noexcept
{
    file_state& file = state_of<file_state>(stream);
    if (!file.owned) return 0;
    file.owned = false;
    return close(file.descriptor) == 0 ? 0 : std::uint32_t{ZRC_ERR_CANNOT_CLOSE_STREAM};
}

// Behind a close that did happen, or for a stream that is given up.
void free_file(ZRC_STREAM* stream) noexcept
{
    const int before = errno;
    close_file(stream);
    errno = before;
}

std::int64_t file_length(const ZRC_STREAM* stream) noexcept
{
    struct stat status;
    const bool known = fstat(state_of<file_state>(stream).descriptor, &status) == 0 && S_ISREG(status.st_mode);
    return known ? std::int64_t{status.st_size} : -1;
}

constexpr ZRC_STREAM_OPERATIONS make_operations(const char* name,
                                                std::uint32_t (*open)(ZRC_STREAM*, void*) noexcept) noexcept
{
    return {.name = name,
            .state_length = sizeof(file_state),
            .open = open,
            .read = read_file,
            .write = write_file,
            .seek = seek_file,
            .flush = nullptr,
            .close = close_file,
            .free = free_file,
            .length = file_length};
}

constexpr ZRC_STREAM_OPERATIONS kFile = make_operations("file", open_file);
constexpr ZRC_STREAM_OPERATIONS kDescriptor = make_operations("descriptor", open_descriptor);

} // namespace
} // namespace zrc

std::uint32_t ZRC_Open_File_STREAM(ZRC_STREAM* stream, const char* path, std::uint32_t mode)
{
    if (!path) return zrc::open_failure(ZRC_ERR_NULL_INPUT);
    return ZRC_Open_STREAM(stream, &zrc::kFile, const_cast<char*>(path), mode); // only read
}

std::uint32_t ZRC_Open_Descriptor_STREAM(ZRC_STREAM* stream, std::int32_t descriptor, std::uint32_t mode)
{
    if (!stream) return zrc::open_failure(ZRC_ERR_NULL_INPUT);
    if (descriptor < 0) return zrc::open_failure(ZRC_ERR_INVALID_INPUT);
    return ZRC_Open_STREAM(stream, &zrc::kDescriptor, &descriptor, mode);
}
