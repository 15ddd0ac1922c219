// Streams: the functions that every kind is used through. They test arguments and keep a failed write in mind.
#include "core/stream.hpp"

#include "core/secret.hpp"
#include "kestrim/memory.h"

namespace zrc {
namespace {

constexpr std::int32_t kCopyPiece = 16 * 1024;

constexpr bool is_mode(std::uint32_t mode) noexcept
{
    const std::uint32_t directions = mode & (ZRC_STREAM_READ | ZRC_STREAM_WRITE);
    return directions != 0 && (mode == directions || mode == (ZRC_STREAM_WRITE | ZRC_STREAM_APPEND));
}

// The stream at the end of a chain of filters.
const ZRC_STREAM* last_of(const ZRC_STREAM* stream) noexcept
{
    while (stream->next)
        stream = stream->next;
    return stream;
}

// Opens a stream that has its state; on failure the caller takes it back.
std::uint32_t start(ZRC_STREAM* stream, const ZRC_STREAM_OPERATIONS* operations, void* argument) noexcept
{
    if (operations->state_length != 0) {
        stream->state = ZRC_Calloc(1, operations->state_length);
        if (!stream->state) return ZRC_ERR_MEMORY_ALLOC;
    }
    return operations->open ? reason_in(operations->open(stream, argument)) : 0;
}

// Closed, with nothing left of the state.
void reset(ZRC_STREAM* stream, std::uint32_t state_length) noexcept
{
    ZRC_Free_Ex(stream->state, state_length);
    wipe(stream, sizeof *stream);
}

void give_up(ZRC_STREAM* stream) noexcept
{
    const ZRC_STREAM_OPERATIONS* operations = stream->operations;
    if (operations->free) operations->free(stream);
    reset(stream, operations->state_length);
}

std::uint32_t read(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t& done) noexcept
{
    if (length < 0) return ZRC_ERR_INVALID_INPUT;
    if (!stream->operations) return ZRC_ERR_INVALID_UNIT;
    if ((stream->mode & ZRC_STREAM_READ) == 0 || !stream->operations->read) return ZRC_ERR_NOT_SUPPORTED;
    if (length == 0) return 0;
    std::int32_t count = 0;
    if (const std::uint32_t reason = reason_in(stream->operations->read(stream, out, length, &count))) return reason;
    if (count < 1 || count > length) return ZRC_ERR_INTERNAL;
    done = count;
    return 0;
}

std::uint32_t write(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length) noexcept
{
    if (length < 0) return ZRC_ERR_INVALID_INPUT;
    if (!stream->operations) return ZRC_ERR_INVALID_UNIT;
    if ((stream->mode & ZRC_STREAM_WRITE) == 0 || !stream->operations->write) return ZRC_ERR_NOT_SUPPORTED;
    if (stream->failed == 0 && length != 0) {
        stream->failed = reason_in(stream->operations->write(stream, data, length));
    }
    return stream->failed;
}

// Copies up to the end of the source.
std::uint32_t copy(ZRC_STREAM* destination, ZRC_STREAM* source, std::int64_t& copied) noexcept
{
    secret_array<std::uint8_t, kCopyPiece> piece;
    for (;;) {
        std::int32_t count = 0;
        const std::uint32_t stopped = read(source, piece.data(), kCopyPiece, count);
        if (stopped != 0) return stopped == ZRC_ERR_END_OF_STREAM ? 0 : stopped;
        if (const std::uint32_t reason = write(destination, piece.data(), count)) return reason;
        copied += count;
    }
}

} // namespace

std::uint32_t attach(ZRC_STREAM* filter, ZRC_STREAM* next) noexcept
{
    if (!next->operations || (next->mode & filter->mode) == 0) return ZRC_ERR_CANNOT_OPEN_STREAM;
    if (last_of(next) == filter) return ZRC_ERR_INVALID_INPUT; // closed, it is the end of its chain
    filter->next = next;
    return 0;
}

} // namespace zrc

ZRC_STREAM* ZRC_New_STREAM()
{
    return static_cast<ZRC_STREAM*>(ZRC_Calloc(1, sizeof(ZRC_STREAM)));
}

std::uint32_t ZRC_Open_STREAM(ZRC_STREAM* stream, const ZRC_STREAM_OPERATIONS* operations, void* argument,
                              std::uint32_t mode)
{
    if (!stream || !operations) return zrc::open_failure(ZRC_ERR_NULL_INPUT);
    if (!zrc::is_mode(mode)) return zrc::open_failure(ZRC_ERR_INVALID_INPUT);
    if (stream->operations) return zrc::open_failure(ZRC_ERR_CANNOT_OPEN_STREAM);
    stream->mode = mode;
    if (const std::uint32_t reason = zrc::start(stream, operations, argument)) {
        zrc::reset(stream, operations->state_length);
        return zrc::open_failure(reason);
    }
    stream->operations = operations;
    return 0;
}

std::uint32_t ZRC_Read_STREAM(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_READ_STREAM, reason); };

    if (!stream || !out || !done) return fail(ZRC_ERR_NULL_INPUT);
    *done = 0;
    const std::uint32_t reason = zrc::read(stream, out, length, *done);
    return reason != 0 ? fail(reason) : 0;
}

std::uint32_t ZRC_Read_Exact_STREAM(ZRC_STREAM* stream, std::uint8_t* out, std::int32_t length, std::int32_t* done)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_READ_EXACT_STREAM, reason); };

    if (!stream || !out || !done) return fail(ZRC_ERR_NULL_INPUT);
    *done = 0;
    do {
        std::int32_t count = 0;
        if (const std::uint32_t reason = zrc::read(stream, out + *done, length - *done, count)) return fail(reason);
        *done += count;
    } while (*done != length);
    return 0;
}

std::uint32_t ZRC_Write_STREAM(ZRC_STREAM* stream, const std::uint8_t* data, std::int32_t length)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_WRITE_STREAM, reason); };

    if (!stream || !data) return fail(ZRC_ERR_NULL_INPUT);
    const std::uint32_t reason = zrc::write(stream, data, length);
    return reason != 0 ? fail(reason) : 0;
}

std::uint32_t ZRC_Seek_STREAM(ZRC_STREAM* stream, std::int64_t position)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_SEEK_STREAM, reason); };

    if (!stream) return fail(ZRC_ERR_NULL_INPUT);
    if (position < 0) return fail(ZRC_ERR_INVALID_INPUT);
    if (!stream->operations) return fail(ZRC_ERR_INVALID_UNIT);
    if (!stream->operations->seek) return fail(ZRC_ERR_NOT_SUPPORTED);
    const std::uint32_t reason = zrc::reason_in(stream->operations->seek(stream, position));
    return reason != 0 ? fail(reason) : 0;
}

std::uint32_t ZRC_Rewind_STREAM(ZRC_STREAM* stream)
{
    return ZRC_Seek_STREAM(stream, 0);
}

std::uint32_t ZRC_Flush_STREAM(ZRC_STREAM* stream)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_FLUSH_STREAM, reason); };

    if (!stream) return fail(ZRC_ERR_NULL_INPUT);
    if (!stream->operations) return fail(ZRC_ERR_INVALID_UNIT);
    if ((stream->mode & ZRC_STREAM_WRITE) == 0) return 0;
    if (stream->failed == 0 && stream->operations->flush) {
        stream->failed = zrc::reason_in(stream->operations->flush(stream));
    }
    return stream->failed != 0 ? fail(stream->failed) : 0;
}

std::uint32_t ZRC_Copy_STREAM(ZRC_STREAM* destination, ZRC_STREAM* source, std::int64_t* copied)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_COPY_STREAM, reason); };

    if (copied) *copied = 0;
    if (!destination || !source) return fail(ZRC_ERR_NULL_INPUT);
    if (zrc::last_of(destination) == zrc::last_of(source)) return fail(ZRC_ERR_INVALID_INPUT); // would feed itself
    std::int64_t total = 0;
    std::uint32_t reason = zrc::write(destination, nullptr, 0); // nothing is read in vain
    if (reason == 0) reason = zrc::copy(destination, source, total);
    if (copied) *copied = total;
    return reason != 0 ? fail(reason) : 0;
}

std::int64_t ZRC_Get_STREAM_Length(const ZRC_STREAM* stream)
{
    if (!stream || !stream->operations || !stream->operations->length) return -1;
    return stream->operations->length(stream);
}

std::uint32_t ZRC_Close_STREAM(ZRC_STREAM* stream)
{
    const auto fail = [](std::uint32_t reason) { return zrc::code(ZRC_L_FOUNDATION, ZRC_F_CLOSE_STREAM, reason); };

    if (!stream) return fail(ZRC_ERR_NULL_INPUT);
    if (!stream->operations) return fail(ZRC_ERR_INVALID_UNIT);
    std::uint32_t reason = stream->failed;
    if (reason == 0 && stream->operations->close) reason = zrc::reason_in(stream->operations->close(stream));
    zrc::give_up(stream);
    return reason != 0 ? fail(reason) : 0;
}

void ZRC_Free_STREAM(ZRC_STREAM* stream)
{
    if (stream && stream->operations) zrc::give_up(stream);
    ZRC_Free(stream);
}
