// Streams over memory of the caller, and the null stream.
#include "core/stream.hpp"

#include <algorithm>
#include <cstring>

namespace zrc {
namespace {

struct buffer_state {
    std::uint8_t* bytes;
    std::int32_t capacity;
    std::int32_t length; // bytes of content, up to the capacity
};

std::uint32_t open_buffer(ZRC_STREAM* stream, void* argument) noexcept
{
    if ((stream->mode & ZRC_STREAM_APPEND) != 0) return ZRC_ERR_INVALID_INPUT;
    state_of<buffer_state>(stream) = *static_cast<const buffer_state*>(argument);
    return 0;
}

// The two ways to move bytes allow that the caller's bytes lie in the buffer itself.
std::uint32_t read_buffer(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done) noexcept
{
    const buffer_state& buffer = state_of<buffer_state>(stream);
    const auto rest = std::int32_t(buffer.length - stream->position);
    if (rest == 0) return ZRC_ERR_END_OF_STREAM;
    *done = std::min(length, rest);
    std::memmove(out, buffer.bytes + stream->position, std::size_t(*done));
    stream->position += *done;
    return 0;
}

std::uint32_t write_buffer(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    buffer_state& buffer = state_of<buffer_state>(stream);
    if (length > buffer.capacity - stream->position) return ZRC_ERR_BUF_TOO_SMALL;
    std::memmove(buffer.bytes + stream->position, data, std::size_t(length));
    stream->position += length;
    buffer.length = std::max(buffer.length, std::int32_t(stream->position));
    return 0;
}

std::uint32_t seek_buffer(ZRC_STREAM* stream, std::int64_t position) noexcept
{
    if (position > state_of<buffer_state>(stream).length) return ZRC_ERR_INVALID_INPUT;
    stream->position = position;
    return 0;
}

std::int64_t buffer_length(const ZRC_STREAM* stream) noexcept
{
    return state_of<buffer_state>(stream).length;
}

constexpr ZRC_STREAM_OPERATIONS kBuffer = {.name = "buffer",
                                           .state_length = sizeof(buffer_state),
                                           .open = open_buffer,
                                           .read = read_buffer,
                                           .write = write_buffer,
                                           .seek = seek_buffer,
                                           .flush = nullptr,
                                           .close = nullptr,
                                           .free = nullptr,
                                           .length = buffer_length};

std::uint32_t open_null(ZRC_STREAM* stream, void*) noexcept
{
    return (stream->mode & ZRC_STREAM_APPEND) != 0 ? std::uint32_t{ZRC_ERR_INVALID_INPUT} : 0;
}

std::uint32_t read_null(ZRC_STREAM*, std::uint8_t*, std::int32_t, std::int32_t*) noexcept
{
    return ZRC_ERR_END_OF_STREAM;
}

std::uint32_t write_null(ZRC_STREAM* stream, const std::uint8_t*, std::int32_t length) noexcept
{
    stream->position += length;
    return 0;
}

std::int64_t null_length(const ZRC_STREAM* stream) noexcept
{
    return stream->position;
}

constexpr ZRC_STREAM_OPERATIONS kNull = {.name = "null",
                                         .state_length = 0,
                                         .open = open_null,
                                         .read = read_null,
                                         .write = write_null,
                                         .seek = nullptr,
                                         .flush = nullptr,
                                         .close = nullptr,
                                         .free = nullptr,
                                         .length = null_length};

} // namespace
} // namespace zrc

// NOLINTNEXTLINE(readability-non-const-parameter): the stream writes it
std::uint32_t ZRC_Open_Buffer_STREAM(ZRC_STREAM* stream, std::uint8_t* buffer, std::int32_t length, std::uint32_t mode)
{
    if (!stream || !buffer) return zrc::open_failure(ZRC_ERR_NULL_INPUT);
    if (length < 0) return zrc::open_failure(ZRC_ERR_INVALID_INPUT);
    zrc::buffer_state state{buffer, length, (mode & ZRC_STREAM_READ) != 0 ? length : 0};
    return ZRC_Open_STREAM(stream, &zrc::kBuffer, &state, mode);
}

std::uint32_t ZRC_Open_Data_STREAM(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length)
{
    return ZRC_Open_Buffer_STREAM(stream, const_cast<std::uint8_t*>(data), length,
                                  ZRC_STREAM_READ); // is not written to
}

std::uint32_t ZRC_Open_Null_STREAM(ZRC_STREAM* stream, std::uint32_t mode)
{
    return ZRC_Open_STREAM(stream, &zrc::kNull, nullptr, mode);
}
